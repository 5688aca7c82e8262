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
  volume-up, volume-down, mute, unmute
  allow, deny                 answers the question that is open
  answer ask|allow|deny       how questions are answered from now on
  policy ask|allow|deny       whether there are questions: allow lets everybody in without
                              one, deny refuses everybody without one
  show, hide                  on the network
  rename NAME                 gives the TV another name on the network
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
