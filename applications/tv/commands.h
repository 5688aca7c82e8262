// What a person or a script asks of the television, and how it is written as a line.
// Pure functions, any thread.
#pragma once

#include <string>
#include <variant>
#include <vector>

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
    kZoomTo,         ///< number: steps, each doubles, -3 to 3
    kZoomBy,         ///< likewise, from here
    kRotateTo,       ///< number: quarter turns clockwise, 0 to 3
    kRotateBy,       ///< likewise, from here
    kPlainPicture,   ///< neither zoomed nor turned
    kMove,           ///< text: "up", "down", "left", "right"; number: pixels of the screen
    kRepeat,         ///< text: "a", "ab", "none"; empty: the next of these
    kAudioTrack,     ///< number: counted from 0
    kNextAudioTrack, ///< after the last one the first
    kRatio,          ///< number: 0 to 8, what the player makes of them
    kNextRatio,
    kCrop,    ///< numbers: x, y, width, height of the picture's part that is seen; none: all of it
    kPlace,   ///< likewise; where on the screen it is seen
    kBlank,   ///< number: 1 black, 0 the picture
    kStretch, ///< number: 1 without regard for its shape, 0 with it
    kFullScreen, ///< number: 1 the whole display, 0 a window
    kIdle,       ///< text: "play", "stop" or the address of what is shown while nothing else is
    kIdleLoop,   ///< number: 1 again and again, 0 once
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
    std::vector<long> numbers = {};
    long lineNumber = 0; ///< where a script or standard input has it, from 1; 0: a key
};
/// Same meaning, however it was written.
inline bool operator==(const Command& left, const Command& right) {
    return left.verb == right.verb && left.text == right.text && left.number == right.number &&
           left.numbers == right.numbers;
}

/// The command that a line means, or what is wrong with it.
std::variant<Command, std::string> parseLine(const std::string& line);

/// The commands with one line each.
extern const char kCommandHelp[];

} // namespace tv
