// A library that is not ours: the checks of exported symbols and of static constructors must refuse
// it.
namespace {

int* const gAllocated = new int(1);

} // namespace

extern "C" [[gnu::visibility("default")]] int somethingElse() {
    return *gAllocated;
}
