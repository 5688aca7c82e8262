#include "tv/options.h"

#include <charconv>

#include "tv/commands.h"
#include "tv/remote_keys.h"

namespace tv {

namespace {

struct Option {
    const char* name;
    bool takesValue;
    /// False: the value is not one.
    bool (*apply)(Options&, const std::string& value);
};

bool setPatience(Options& options, const std::string& value) {
    int seconds = 0;
    const char* end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, seconds);
    if (result.ec != std::errc() || result.ptr != end || seconds < 1 || seconds > 3600)
        return false;
    options.patience = std::chrono::seconds(seconds);
    return true;
}

bool setFile(std::string& file, const std::string& value) {
    file = value;
    return !value.empty();
}

const Option kOptions[] = {
    {"--help", false,
     [](Options& o, const std::string&) {
         return o.help = true;
     }},
    {"-h", false,
     [](Options& o, const std::string&) {
         return o.help = true;
     }},
    {"--version", false,
     [](Options& o, const std::string&) {
         return o.version = true;
     }},
    {"--ask", false,
     [](Options& o, const std::string&) {
         o.answer = AnswerMode::kAsk;
         return true;
     }},
    {"--allow", false,
     [](Options& o, const std::string&) {
         o.answer = AnswerMode::kAllow;
         return true;
     }},
    {"--deny", false,
     [](Options& o, const std::string&) {
         o.answer = AnswerMode::kDeny;
         return true;
     }},
    {"--json", false,
     [](Options& o, const std::string&) {
         return o.json = true;
     }},
    {"--verbose", false,
     [](Options& o, const std::string&) {
         return o.verbose = true;
     }},
    {"--script", true,
     [](Options& o, const std::string& v) {
         return setFile(o.script, v);
     }},
    {"--trace", true,
     [](Options& o, const std::string& v) {
         return setFile(o.trace, v);
     }},
    {"--patience", true, setPatience},
};

const char kUsage[] =
    R"(usage: ketra-tv [OPTION..]

A television that is a renderer of the home network. Every event of its
middleware is printed as one line; only that the player ends with the
television is a notice, unless with --json.

  --ask, --allow, --deny   how to answer when a controller wants to play something;
                           without one of them you are asked
  --script FILE            commands from a file, one a line; - is standard input
  --json                   one JSON object a line
  --trace FILE             keeps what the library and the companion processes print
  --verbose                shows it among the TV's own lines
  --patience SECONDS       how long the companions may take to appear (10)
  -h, --help, --version

At a terminal these keys are the remote control:

)";

const char kCommandsHeading[] =
    "\nIn a script, or when standard input is not a terminal, these lines are. They are\n"
    "carried out one after the other while the television is ready. It goes on when they\n"
    "are at their end, until \"quit\", Ctrl-C or a signal:\n\n";

const char kEnding[] =
    R"(
The state bus is the one that KETRA_BUS_ADDRESS names, else
DBUS_SESSION_BUS_ADDRESS. Pictures go to the folder KETRA_SNAPSHOT_DIR, else
into the one where ketra-tv was started. The companions have further settings
in KETRA_... variables.
Exit status: 0 ended as asked, 2 wrong use or a line that is no command, 3 a
companion ended by itself (it says why), another television has the bus, or the
library did not start, 4 no state bus, 5 a companion is not installed, or runs
but did not appear within the patience, 6 a wait of the script was in vain, 7 a
command of the --script was refused.
)";

} // namespace

AnswerMode answerModeOf(const std::string& word) {
    if (word == "allow")
        return AnswerMode::kAllow;
    return word == "deny" ? AnswerMode::kDeny : AnswerMode::kAsk;
}

std::variant<Options, std::string> parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Option* found = nullptr;
        for (const Option& option : kOptions)
            if (arguments[i] == option.name)
                found = &option;
        if (found == nullptr)
            return "unknown option: " + arguments[i];
        std::string value;
        if (found->takesValue) {
            if (++i == arguments.size())
                return std::string(found->name) + " needs a value";
            value = arguments[i];
        }
        if (!found->apply(options, value))
            return "not a value for " + std::string(found->name) + ": " + value;
    }
    if (options.verbose && !options.trace.empty())
        return std::string("--verbose and --trace exclude each other");
    return options;
}

std::string helpText() {
    return std::string(kUsage) + kKeyHelp + kCommandsHeading + kCommandHelp + kEnding;
}

} // namespace tv
