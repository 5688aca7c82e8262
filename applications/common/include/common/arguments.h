// What a companion answers to a person who starts it by hand. A television gives it no argument,
// and not even an argument vector.
#pragma once

#include <optional>

namespace companion {

/// Answers --help and --version on standard output, anything else with the usage on standard error;
/// the exit status that follows. Nothing when there is no argument: the companion goes on. Before
/// anything is opened. `usage` begins with "usage: " and ends its last line.
std::optional<int> answerArguments(int argc, const char* const* argv, const char* program,
                                   const char* usage);

} // namespace companion
