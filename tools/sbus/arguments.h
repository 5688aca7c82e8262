// The command line of sbus. Parsing is a pure function, so that it can be tested without a bus.
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace sbus {

enum class Action { kHelp, kList, kShow, kWatch, kCommand, kSet };

/// Argument of the command "customcommand".
struct CustomCommand {
    std::string word;
    std::string value;
};
/// Argument of the command "seturiex".
struct MediaAddress {
    std::string uri;
    std::string didl; ///< DIDL-Lite; empty: sent as null
};

using CommandArgument =
    std::variant<std::monostate, std::string, long, unsigned long, CustomCommand, MediaAddress>;

struct Request {
    Action action = Action::kHelp;
    std::string state; ///< as typed; empty: watch everything
    std::string word;  ///< of a command
    CommandArgument argument;
    std::string path;  ///< of a write
    std::string value; ///< of a write
};

/// The request, or what is wrong with the command line in one sentence. `arguments` without the
/// program's name.
std::variant<Request, std::string> parseArguments(const std::vector<std::string>& arguments);

/// What --help prints.
extern const char kHelpText[];

} // namespace sbus
