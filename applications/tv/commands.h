// What a person or a script asks of the television, and how it is written as a line.
// Pure functions, any thread.
#pragma once

#include <string>
#include <variant>

namespace tv {

enum class Verb {
    kNothing, ///< an empty line or a comment
    kPause,
    kResume,
    kPauseOrResume,
    kSeekTo,   ///< number: seconds from the start
    kSeekBy,   ///< number: seconds from here, negative backward
    kForward,  ///< number: times as fast; 0: the next step
    kBackward, ///< likewise
    kSlow,     ///< number: as the divisor; 0: the next step
    kStop,
    kVolumeUp,
    kVolumeDown,
    kMute,
    kUnmute,
    kAllow,
    kDeny,
    kAnswer, ///< text: "ask", "allow", "deny": how questions are answered from now on
    kPolicy, ///< text: likewise; whether controllers are asked about at all
    kShow,
    kHide,
    kRename,   ///< text: the new name
    kSnapshot, ///< text: the picture's file; empty: one is chosen
    kStatus,
    kWait,  ///< text: event name, number: milliseconds
    kSleep, ///< number: milliseconds
    kHelp,
    kQuit,
};

struct Command {
    Verb verb = Verb::kNothing;
    std::string text;
    long number = 0;
    std::string line; ///< as it was written; empty for a key
};
/// Same meaning, however it was written.
inline bool operator==(const Command& left, const Command& right) {
    return left.verb == right.verb && left.text == right.text && left.number == right.number;
}

/// The command that a line means, or what is wrong with it.
std::variant<Command, std::string> parseLine(const std::string& line);

/// The commands with one line each.
extern const char kCommandHelp[];

} // namespace tv
