// The console on which the library asks its operator: standard input, taken away from it.
//
// With a second player on the state bus the library lists them by number, waits on standard input
// without a limit for the number of the one that a command is for, and asks again when there is no
// input. The TV's remote control is for the TV's own player. It was there before any other (the TV
// does not start beside one), so it is the first of the list.
#pragma once

namespace tv {

class Console {
public:
    /// Standard input becomes a supply of answers; child processes inherit that. One object per
    /// process, before the library starts.
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Where the TV's own input comes from: the standard input of before.
    int input() const { return input_; }
    /// Tops the supply up. Before each command to the library.
    void refill() const;

private:
    int input_ = -1;
    int answers_ = -1;
};

} // namespace tv
