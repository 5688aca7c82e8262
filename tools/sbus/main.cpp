// sbus: looks at the state bus and speaks to it from a terminal.
#include <cstdio>

#include "sbus/actions.h"

int main(int argc, char** argv) {
    const auto parsed = sbus::parseArguments({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        std::fprintf(stderr, "sbus: %s; sbus --help tells more\n", problem->c_str());
        return static_cast<int>(sbus::ExitCode::kUsage);
    }
    return static_cast<int>(sbus::perform(std::get<sbus::Request>(parsed)));
}
