// The remote control on a keyboard: bytes of a terminal become commands.
// Main thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tv/commands.h"

namespace tv {

/// Turns keys into commands and, after the key for renaming, lines into a name.
class RemoteKeys {
public:
    /// What the bytes that a terminal sent mean, in order. A key's sequence of bytes may be torn
    /// apart between two calls.
    std::vector<Command> feed(std::string_view bytes);

    /// The name as typed so far while one is asked for, with a prompt; else empty.
    std::string prompt() const;

private:
    void key(char byte, std::vector<Command>& out);
    void beginName();
    void sequence(char byte, std::vector<Command>& out);
    void nameKey(char byte, std::vector<Command>& out);

    enum class State { kPlain, kEscape, kSequence };
    State state_ = State::kPlain;
    bool naming_ = false;
    std::string name_;
};

/// The keys with one line each.
extern const char kKeyHelp[];

} // namespace tv
