#include "sbus/arguments.h"

#include <charconv>
#include <optional>

namespace sbus {

namespace {

using Arguments = std::vector<std::string>;
using Parsed = std::variant<Request, std::string>;

template <class T> std::optional<T> toNumber(const std::string& text) {
    T value{};
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (text.empty() || result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

Parsed parseCustomCommand(Request request, const Arguments& rest) {
    if (rest.empty() || rest.size() > 2)
        return "customcommand takes a word and a value: customcommand Volume UP";
    request.argument = CustomCommand{rest[0], rest.size() == 2 ? rest[1] : ""};
    return request;
}

Parsed parseMediaAddress(Request request, const Arguments& rest) {
    if (rest.empty() || rest.size() > 2)
        return "seturiex takes a URI and, if wanted, its DIDL-Lite text";
    request.argument = MediaAddress{rest[0], rest.size() == 2 ? rest[1] : ""};
    return request;
}

Parsed parsePlainCommand(Request request, const Arguments& rest) {
    if (rest.empty())
        return request;
    if (rest[0] == "-i" || rest[0] == "-u") {
        if (rest.size() != 2)
            return "after " + rest[0] + " one number is expected";
        if (rest[0] == "-i") {
            const auto number = toNumber<long>(rest[1]);
            if (!number)
                return "not a whole number: " + rest[1];
            request.argument = *number;
        } else {
            const auto number = toNumber<unsigned long>(rest[1]);
            if (!number)
                return "not a whole number from 0 on: " + rest[1];
            request.argument = *number;
        }
        return request;
    }
    if (rest[0] == "--" && rest.size() == 2) {
        request.argument = rest[1];
        return request;
    }
    if (rest.size() != 1)
        return "command " + request.word + " takes one argument at most";
    request.argument = rest[0];
    return request;
}

Parsed parseCommand(const Arguments& arguments) {
    if (arguments.size() < 3)
        return std::string("command needs a state and a word");
    Request request;
    request.action = Action::kCommand;
    request.state = arguments[1];
    request.word = arguments[2];
    const Arguments rest(arguments.begin() + 3, arguments.end());
    if (request.word == "customcommand")
        return parseCustomCommand(request, rest);
    if (request.word == "seturiex")
        return parseMediaAddress(request, rest);
    return parsePlainCommand(request, rest);
}

Parsed parseSet(const Arguments& arguments) {
    if (arguments.size() != 4)
        return std::string("set needs a state, the path of a field and a value");
    Request request;
    request.action = Action::kSet;
    request.state = arguments[1];
    request.path = arguments[2];
    request.value = arguments[3];
    return request;
}

Parsed parseShow(const Arguments& arguments) {
    if (arguments.size() != 2)
        return std::string("show needs one state");
    Request request;
    request.action = Action::kShow;
    request.state = arguments[1];
    return request;
}

Parsed parseWatch(const Arguments& arguments) {
    if (arguments.size() > 2)
        return std::string("watch takes one state at most");
    Request request;
    request.action = Action::kWatch;
    request.state = arguments.size() == 2 ? arguments[1] : "";
    return request;
}

Parsed parseList(const Arguments& arguments) {
    if (arguments.size() != 1)
        return std::string("list takes no argument");
    Request request;
    request.action = Action::kList;
    return request;
}

Parsed parseHelp(const Arguments&) {
    return Request{};
}

struct Verb {
    const char* name;
    Parsed (*parse)(const Arguments&);
};
constexpr Verb kVerbs[] = {
    {"list", parseList}, {"show", parseShow}, {"watch", parseWatch}, {"command", parseCommand},
    {"set", parseSet},   {"help", parseHelp}, {"--help", parseHelp}, {"-h", parseHelp},
};

} // namespace

const char kHelpText[] =
    R"(usage: sbus list                               every state that is on the bus
       sbus show STATE                         its whole record
       sbus watch [STATE]                      whole record, then what changes, until Ctrl-C
       sbus command STATE WORD [ARGUMENT]      sends a command and waits for the answer
       sbus set STATE PATH VALUE               writes one field

STATE is a full name such as 'ContentPlayerService$main' (quote it: the shell
would take the $), or a type name when it has one instance only.

ARGUMENT is a text (after -- whatever it looks like), or -i NUMBER (signed), or
-u NUMBER (unsigned). Two words carry a record instead:
  customcommand WORD VALUE      e.g. customcommand Volume UP
  seturiex URI [DIDL]           opens a media

  sbus command ContentPlayerService play 2
  sbus command MediaRendererService authorize_operation -u 3
  sbus set ContentPlayerService mPlayback.mPositionSec 60

The bus is the one that KETRA_BUS_ADDRESS names, else DBUS_SESSION_BUS_ADDRESS.
Exit status: 0 done, 1 refused or not answered, 2 wrong use, 3 no such state,
4 no bus.
)";

std::variant<Request, std::string> parseArguments(const Arguments& arguments) {
    if (arguments.empty())
        return std::string("what to do is missing");
    for (const Verb& verb : kVerbs)
        if (arguments[0] == verb.name)
            return verb.parse(arguments);
    return "unknown word: " + arguments[0];
}

} // namespace sbus
