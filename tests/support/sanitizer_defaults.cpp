// What the sanitizers shall not say about GStreamer, its codecs, GLib and libsoup, which are not
// built with them: their names for ever interned, a source's last few bytes, and what they guard
// with locks that ThreadSanitizer cannot see. Our own code hands work over through locks that it
// sees, and is reported also when one of the libraries has called it.
//
// Part of the tests of the player and of the phone's side, and of the player itself when a
// sanitizer is built in.

#include <cstdlib>

#define KETRA_EXPORT extern "C" __attribute__((visibility("default")))

// The names are the sanitizers'.
// NOLINTBEGIN(bugprone-reserved-identifier)
KETRA_EXPORT const char* __asan_default_options();
KETRA_EXPORT const char* __lsan_default_suppressions();
KETRA_EXPORT int __lsan_is_turned_off();
KETRA_EXPORT const char* __tsan_default_options();

const char* __asan_default_options() {
    // The libraries keep no frame pointers; each frame of an allocation costs the more, and more
    // than ten made a film three times as slow.
    return "fast_unwind_on_malloc=0:malloc_context_size=10";
}

const char* __lsan_default_suppressions() {
    return "leak:g_intern_string\n"
           "leak:g_intern_static_string\n"
           "leak:g_quark_from\n"
           "leak:g_type_\n"
           "leak:call_init\n"
           "leak:libfontconfig.so\n"
           "leak:libgstximagesrc.so\n"
           "leak:libgstsoup.so\n"
           "leak:g_cancellable_source_new\n" // of a read that libsoup gives up
           "leak:libgstlibav.so\n"
           "leak:gst_init_check\n"
           "leak:g_module_open\n";
}

// The leak check reads what belongs to each thread, and crashes there when a library that had a
// part in it was unloaded, as the TLS library's modules are. A test that speaks TLS goes without.
int __lsan_is_turned_off() {
    return std::getenv("KETRA_TEST_SPEAKS_TLS") != nullptr ? 1 : 0;
}

// What the libraries themselves do is left out, instruction by instruction. Suppressions would name
// the libraries, and match wherever one stands in a stack: below every callback of ours, too.
//
// The search for deadlocks gives up the whole process when a thread seems to hold 64 locks, and of
// the libraries' locks it sees some taken and never let go.
const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:report_mutex_bugs=0:detect_deadlocks=0";
}
// NOLINTEND(bugprone-reserved-identifier)
