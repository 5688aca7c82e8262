// How long the player of a test waits for a server that sends nothing.
#pragma once

#include <chrono>

namespace test {

/// Long enough for a busy machine to open a film; with a sanitizer that takes longer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::chrono::seconds kPatience{5};
#else
constexpr std::chrono::seconds kPatience{2};
#endif

} // namespace test
