// The terminal that the remote control is: keys one by one, without an echo.
#pragma once

#include <optional>

#include <termios.h>

namespace tv {

/// Makes a terminal hand over every key at once and puts it back when destroyed, and also when
/// Ctrl-\ or an abort ends the process. Ctrl-C, Ctrl-Z and the like keep their meaning. Does
/// nothing for what is not a terminal. One object per process.
class KeyByKey {
public:
    explicit KeyByKey(int descriptor);
    ~KeyByKey();
    KeyByKey(const KeyByKey&) = delete;
    KeyByKey& operator=(const KeyByKey&) = delete;

    bool isTerminal() const { return before_.has_value(); }
    /// Puts the terminal back before the end.
    void restore();

private:
    const int descriptor_;
    std::optional<termios> before_;
};

} // namespace tv
