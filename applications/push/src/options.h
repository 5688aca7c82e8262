// The command line of ketra-push.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace push {

struct Options {
    enum class Action { kPush, kList, kHelp, kVersion };
    Action action = Action::kPush;
    std::string file;
    std::string rendererName;                  ///< empty = the only one there is
    std::string interfaceName;                 ///< empty = all that can multicast
    std::uint16_t port = 0;                    ///< where the file is served; 0 = any free one
    std::chrono::milliseconds timeout{5000};   ///< how long renderers are looked for
    std::string controllerName = "ketra-push"; ///< how the television tells this controller
    bool keepPhoto = false; ///< a photo: stay until the renderer stops showing it
};

/// False when the line makes no sense; then `error` says why.
bool parseOptions(int argc, char** argv, Options& options, std::string& error);

/// What --help prints.
const char* usageText();

} // namespace push
