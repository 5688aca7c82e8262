#include "tv/commands.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "common/text.h"
#include "statebus/visible_text.h"
#include "tv/events.h"
#include "tv/media.h"

namespace tv {

namespace {

using Parsed = std::variant<Command, std::string>;

constexpr long kLongestSeek = 1000000; // seconds
constexpr long kWaitMs = 10000;
constexpr double kLongestWait = 3600; // seconds

constexpr std::string_view kBlanks = " \t\r";

/// Takes the first word off `rest`.
std::string takeWord(std::string& rest) {
    const std::size_t end = rest.find_first_of(kBlanks);
    const std::string word = rest.substr(0, end);
    rest = end == std::string::npos
               ? ""
               : std::string(text::trimmed(std::string_view(rest).substr(end), kBlanks));
    return word;
}

std::optional<long> toNumber(const std::string& text) {
    const bool plus = !text.empty() && text.front() == '+';
    long value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + (plus ? 1 : 0), end, value);
    if (result.ec != std::errc() || result.ptr != end || (plus && value < 0))
        return std::nullopt;
    return value;
}

/// Seconds, fractions allowed, as milliseconds.
std::optional<long> toMilliseconds(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || errno != 0 || *end != '\0' || !(seconds >= 0 && seconds <= kLongestWait))
        return std::nullopt;
    return std::lround(seconds * 1000);
}

Parsed takeNothing(Command command, const std::string& rest) {
    if (!rest.empty())
        return "takes nothing behind it";
    return command;
}

Parsed takeSeek(Command command, const std::string& rest) {
    const auto number = toNumber(rest);
    if (!number || *number > kLongestSeek || *number < -kLongestSeek)
        return "needs seconds: 90 from the start, +10 or -10 from here";
    const bool relative = rest.front() == '+' || rest.front() == '-';
    command.verb = relative ? Verb::kSeekBy : Verb::kSeekTo;
    command.number = *number;
    return command;
}

Parsed takeFactor(Command command, const std::string& rest) {
    if (rest.empty())
        return command;
    const auto number = toNumber(rest);
    if (!number || forwardMode(*number) == MM_TRICK_NUM)
        return "takes 2, 4, 8, 16 or 32, or nothing for the next step";
    command.number = *number;
    return command;
}

/// A word and the number that it stands for.
struct Named {
    const char* word;
    long number;
};

template <std::size_t kCount>
std::optional<long> named(const Named (&words)[kCount], const std::string& text) {
    for (const Named& known : words)
        if (text == known.word)
            return known.number;
    return std::nullopt;
}

Parsed takeZoom(Command command, const std::string& rest) {
    constexpr Named kTo[] = {{"/8", -3}, {"/4", -2}, {"/2", -1}, {"1", 0},
                             {"2", 1},   {"4", 2},   {"8", 3}};
    constexpr Named kBy[] = {{"in", 1}, {"out", -1}};
    const auto by = named(kBy, rest);
    const auto to = named(kTo, rest);
    if (!by && !to)
        return "needs /8, /4, /2, 1, 2, 4, 8, in or out";
    command.verb = by ? Verb::kZoomBy : Verb::kZoomTo;
    command.number = by ? *by : *to;
    return command;
}

Parsed takeRotation(Command command, const std::string& rest) {
    constexpr Named kTo[] = {{"0", 0}, {"90", 1}, {"180", 2}, {"270", 3}};
    const auto to = named(kTo, rest);
    if (!to && !rest.empty())
        return "takes 0, 90, 180 or 270, or nothing for the next quarter turn";
    command.verb = to ? Verb::kRotateTo : Verb::kRotateBy;
    command.number = to.value_or(1);
    return command;
}

Parsed takeMove(Command command, const std::string& rest) {
    constexpr long kUsual = 60;
    constexpr long kFarthest = 10000;
    std::string pixels = rest;
    command.text = takeWord(pixels);
    const auto number = pixels.empty() ? kUsual : toNumber(pixels);
    const bool known = command.text == "up" || command.text == "down" || command.text == "left" ||
                       command.text == "right";
    if (!known || !number || *number < 0 || *number > kFarthest)
        return "needs up, down, left or right, and perhaps pixels of the screen";
    command.number = *number;
    return command;
}

Parsed takeRepeat(Command command, const std::string& rest) {
    if (rest != "a" && rest != "ab" && rest != "none" && !rest.empty())
        return "takes a, ab or none, or nothing for the next of these";
    command.text = rest;
    return command;
}

/// A small number, or nothing for the next one.
template <long kLast> Parsed takeChoice(Command command, const std::string& rest) {
    const auto number = toNumber(rest);
    if (rest.empty()) {
        command.verb = command.verb == Verb::kRatio ? Verb::kNextRatio : Verb::kNextAudioTrack;
        return command;
    }
    if (!number || *number < 0 || *number > kLast)
        return "takes 0 to " + std::to_string(kLast) + ", or nothing for the next";
    command.number = *number;
    return command;
}

Parsed takeRectangle(Command command, const std::string& rest) {
    constexpr long kFarthest = 65535;
    const char* const problem = "needs x, y, width and height in pixels, or off";
    if (rest == "off")
        return command;
    std::string numbers = rest;
    while (!numbers.empty()) {
        const auto number = toNumber(takeWord(numbers));
        const bool isSize = command.numbers.size() >= 2;
        if (!number || *number > kFarthest || *number < (isSize ? 1 : -kFarthest))
            return problem;
        command.numbers.push_back(*number);
    }
    if (command.numbers.size() != 4)
        return problem;
    return command;
}

Parsed takeSwitch(Command command, const std::string& rest) {
    if (rest != "on" && rest != "off")
        return "needs on or off";
    command.number = rest == "on" ? 1 : 0;
    return command;
}

Parsed takeIdle(Command command, const std::string& rest) {
    if (rest.empty())
        return "needs an address, play or stop";
    command.text = rest;
    return command;
}

Parsed takeMode(Command command, const std::string& rest) {
    if (rest != "ask" && rest != "allow" && rest != "deny")
        return "needs ask, allow or deny";
    command.text = rest;
    return command;
}

Parsed takeName(Command command, const std::string& rest) {
    if (rest.empty())
        return "needs the new name";
    command.text = rest;
    return command;
}

Parsed takeFile(Command command, const std::string& rest) {
    command.text = rest;
    return command;
}

Parsed takeWait(Command command, const std::string& rest) {
    std::string time = rest;
    command.text = takeWord(time);
    if (!isEventName(command.text))
        return "needs an event's name, such as MM_START_PLAY, and perhaps seconds";
    if (time.empty()) {
        command.number = kWaitMs;
        return command;
    }
    const auto milliseconds = toMilliseconds(time);
    if (!milliseconds)
        return "needs seconds from 0 to 3600 behind the event's name";
    command.number = *milliseconds;
    return command;
}

Parsed takeSleep(Command command, const std::string& rest) {
    const auto milliseconds = toMilliseconds(rest);
    if (!milliseconds)
        return "needs seconds from 0 to 3600";
    command.number = *milliseconds;
    return command;
}

struct Word {
    const char* word;
    Verb verb;
    Parsed (*take)(Command, const std::string&);
};
constexpr Word kWords[] = {
    {"pause", Verb::kPause, takeNothing},
    {"resume", Verb::kResume, takeNothing},
    {"seek", Verb::kSeekTo, takeSeek},
    {"ff", Verb::kForward, takeFactor},
    {"fb", Verb::kBackward, takeFactor},
    {"slow", Verb::kSlow, takeFactor},
    {"stop", Verb::kStop, takeNothing},
    {"zoom", Verb::kZoomTo, takeZoom},
    {"rotate", Verb::kRotateTo, takeRotation},
    {"move", Verb::kMove, takeMove},
    {"repeat", Verb::kRepeat, takeRepeat},
    {"audio", Verb::kAudioTrack, takeChoice<99>},
    {"ratio", Verb::kRatio, takeChoice<8>},
    {"crop", Verb::kCrop, takeRectangle},
    {"place", Verb::kPlace, takeRectangle},
    {"blank", Verb::kBlank, takeSwitch},
    {"stretch", Verb::kStretch, takeSwitch},
    {"fullscreen", Verb::kFullScreen, takeSwitch},
    {"idle", Verb::kIdle, takeIdle},
    {"idle-loop", Verb::kIdleLoop, takeSwitch},
    {"volume-up", Verb::kVolumeUp, takeNothing},
    {"volume-down", Verb::kVolumeDown, takeNothing},
    {"mute", Verb::kMute, takeNothing},
    {"unmute", Verb::kUnmute, takeNothing},
    {"allow", Verb::kAllow, takeNothing},
    {"deny", Verb::kDeny, takeNothing},
    {"answer", Verb::kAnswer, takeMode},
    {"policy", Verb::kPolicy, takeMode},
    {"show", Verb::kShow, takeNothing},
    {"hide", Verb::kHide, takeNothing},
    {"rename", Verb::kRename, takeName},
    {"snapshot", Verb::kSnapshot, takeFile},
    {"status", Verb::kStatus, takeNothing},
    {"wait", Verb::kWait, takeWait},
    {"sleep", Verb::kSleep, takeSleep},
    {"help", Verb::kHelp, takeNothing},
    {"quit", Verb::kQuit, takeNothing},
};

} // namespace

const char kCommandHelp[] =
    R"(  pause, resume, stop         resume also returns from any speed to the normal one
  seek SECONDS                from the start; with + or -: from here
  ff, fb, slow [2..32]        forward, backward, slow; without a number the next step
  repeat [a|ab|none]          from a to b again and again; without a word the next of these
  audio [N]                   sound track, counted from 0; without a number the next
  volume-up, volume-down, mute, unmute
  zoom /8../2, 1, 2..8, in, out
  rotate [0|90|180|270]       clockwise; without a number a quarter turn
  move up|down|left|right [PIXELS]
                              the view of a zoomed picture
  ratio [0..8]                shape of the picture; without a number the next
  crop X Y WIDTH HEIGHT|off   the part of the picture that is seen
  place X Y WIDTH HEIGHT|off  where on the screen it is seen
  blank, stretch, fullscreen on|off
  idle ADDRESS|play|stop      what is shown while nothing else is
  idle-loop on|off            whether that begins again
  allow, deny                 answers the question that is open
  answer ask|allow|deny       how questions are answered from now on
  policy ask|allow|deny       whether there are questions: allow lets everybody in without
                              one, deny refuses everybody without one
  show, hide                  on the network
  rename NAME                 gives the TV another name on the network; %h in it is the
                              name of this host
  snapshot [FILE.png]         writes what is on the screen into the folder for pictures
  status                      one line: state, media, title, position, speed, name
  wait EVENT [SECONDS]        until the event has come, 10 seconds at most; each event
                              satisfies one wait, also when it came before it
  sleep SECONDS
  help, quit
)";

Parsed parseLine(const std::string& line) {
    std::string rest(text::trimmed(line, kBlanks));
    if (rest.empty() || rest.front() == '#')
        return Command{};
    const std::string word = takeWord(rest);
    for (const Word& known : kWords) {
        if (word != known.word)
            continue;
        Command command;
        command.verb = known.verb;
        command.line = text::trimmed(line, kBlanks);
        Parsed parsed = known.take(command, rest);
        if (const auto* problem = std::get_if<std::string>(&parsed))
            return word + ' ' + *problem;
        return parsed;
    }
    return "unknown command: " + statebus::visibleText(word);
}

} // namespace tv
