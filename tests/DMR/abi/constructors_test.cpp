// What the shipped library does while it is loaded: nothing that needs memory. A TV loads it into a
// process that may never start a renderer.
//
// Its static constructors are called a second time while allocations are counted; the loader's own
// work is left out in this way.
#include <cstddef>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

namespace {

/// Allocations while somebody counts; -1: nobody does. Volatile, because the compiler knows that a
/// malloc writes no variable of ours.
volatile long gAllocations = -1;

void count() {
    if (gAllocations >= 0) {
        gAllocations = gAllocations + 1;
    }
}

} // namespace

// The C library's allocator under its own names; everybody in this process comes by here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t elements, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
    count();
    return __libc_malloc(size);
}
[[gnu::visibility("default")]] void* calloc(std::size_t elements, std::size_t size) {
    count();
    return __libc_calloc(elements, size);
}
[[gnu::visibility("default")]] void* realloc(void* old, std::size_t size) {
    count();
    return __libc_realloc(old, size);
}
}

namespace {

struct Constructors {
    int number = 0;
    long allocations = 0;
};

/// Loads a library and calls its static constructors once more.
Constructors runConstructorsOf(const char* file) {
    Constructors result;
    void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        ADD_FAILURE() << dlerror();
        return result;
    }
    link_map* map = nullptr;
    EXPECT_EQ(dlinfo(library, RTLD_DI_LINKMAP, &map), 0);
    typedef void (*Constructor)(int, char**, char**);
    const Constructor* constructors = nullptr;
    std::size_t bytes = 0;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_INIT_ARRAY) {
            constructors = reinterpret_cast<const Constructor*>(map->l_addr + entry->d_un.d_ptr);
        } else if (entry->d_tag == DT_INIT_ARRAYSZ) {
            bytes = entry->d_un.d_val;
        }
    }
    result.number = static_cast<int>(bytes / sizeof(Constructor));
    gAllocations = 0;
    for (int i = 0; i < result.number; ++i) {
        constructors[i](0, nullptr, nullptr);
    }
    result.allocations = gAllocations;
    gAllocations = -1;
    return result; // stays loaded: what was constructed twice is not destroyed twice
}

TEST(TheLibrary, AllocatesNothingWhileItIsLoaded) {
    const Constructors found = runConstructorsOf(KETRA_LIBRARY);
    EXPECT_GT(found.number, 0) << "nothing was looked at";
    EXPECT_EQ(found.allocations, 0);
}

TEST(ALibrary, ThatAllocatesWhileItIsLoadedIsSeen) {
    const Constructors found = runConstructorsOf(KETRA_OTHER_LIBRARY);
    EXPECT_GT(found.number, 0);
    EXPECT_GT(found.allocations, 0);
}

} // namespace
