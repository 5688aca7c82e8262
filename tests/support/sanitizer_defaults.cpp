// What the sanitizers shall not say about GStreamer, its codecs, GLib and libsoup, which are not
// built with them: their names for ever interned, a source's last few bytes, and locks that
// ThreadSanitizer cannot see. Our own code hands work over through locks that it sees.
//
// Part of the tests of the player and of the phone's side, and of the player itself when a
// sanitizer is built in.

#define KETRA_EXPORT extern "C" __attribute__((visibility("default")))

// The names are the sanitizers'.
// NOLINTBEGIN(bugprone-reserved-identifier)
KETRA_EXPORT const char* __asan_default_options();
KETRA_EXPORT const char* __lsan_default_suppressions();
KETRA_EXPORT const char* __tsan_default_options();
KETRA_EXPORT const char* __tsan_default_suppressions();

const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0"; // the libraries keep no frame pointers
}

const char* __lsan_default_suppressions() {
    return "leak:g_intern_string\n"
           "leak:g_intern_static_string\n"
           "leak:g_quark_from\n"
           "leak:g_type_\n"
           "leak:call_init\n"
           "leak:libfontconfig.so\n"
           "leak:libgstsoup.so\n"
           "leak:gst_init_check\n"
           "leak:g_module_open\n";
}

const char* __tsan_default_suppressions() {
    return "race:libglib-2.0.so\n"
           "race:libgobject-2.0.so\n"
           "race:libgio-2.0.so\n"
           "race:libgst\n"
           "race:libsoup-3.0.so\n"
           "race:libavcodec.so\n"
           "race:libavutil.so\n"
           "race:libjpeg.so\n"
           "race:libpng16.so\n"
           "race:libmp3lame.so\n"
           "race:libvorbis.so\n"
           "race:libvpx.so\n"
           "mutex:libgst\n"
           "called_from_lib:libgstreamer-1.0.so.0\n"
           "called_from_lib:libglib-2.0.so.0\n"
           "called_from_lib:libgobject-2.0.so.0\n"
           "called_from_lib:libgio-2.0.so.0\n";
}

// The search for deadlocks gives up the whole process when a thread seems to hold 64 locks, and of
// the libraries' locks it sees some taken and never let go.
const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:report_mutex_bugs=0:detect_deadlocks=0";
}
// NOLINTEND(bugprone-reserved-identifier)
