// What ThreadSanitizer shall not say about libsystemd. It keeps one random number for its hash
// tables in the whole process and renews it when a table grows, without a lock. Two connections,
// each on a thread of its own, may do so at a time; every table keeps a copy of what it read, and
// any number will do.
//
// Part of every program that links the platform, when that sanitizer is built in.

// No more than the place where the number is written, which is nobody else's: told to leave out the
// library, the sanitizer would no longer see that what comes out of a socket went into one before,
// and a suppression of races in it would match below every callback of ours, too.
//
// The name is the sanitizer's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions() {
    return "race_top:getrandom\n";
}
// NOLINTEND(bugprone-reserved-identifier)
