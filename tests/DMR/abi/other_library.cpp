// A library that is not ours: the check of exported symbols must refuse it.
extern "C" [[gnu::visibility("default")]] int somethingElse() {
    return 0;
}
