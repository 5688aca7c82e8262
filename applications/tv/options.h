// The command line of ketra-tv. Parsing is a pure function.
#pragma once

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace tv {

/// How a question of permission is answered.
enum class AnswerMode { kAsk, kAllow, kDeny };
/// From "ask", "allow", "deny"; anything else is kAsk.
AnswerMode answerModeOf(const std::string& word);

struct Options {
    bool help = false;
    bool version = false;
    AnswerMode answer = AnswerMode::kAsk;
    std::string script; ///< file with commands, "-" standard input, empty: keys or lines
    bool json = false;
    std::string trace;    ///< file for the library's and the companions' output; empty: dropped
    bool verbose = false; ///< that output stays where the TV's own goes
    std::chrono::seconds patience{10}; ///< how long the companions may take to appear
};

/// The options, or what is wrong with the command line. `arguments` without the program's name.
std::variant<Options, std::string> parseOptions(const std::vector<std::string>& arguments);

/// What --help prints, keys and commands included.
std::string helpText();

} // namespace tv
