// Keeps what the library and the companion processes print apart from the TV's own lines: they
// write to standard output, which is led elsewhere, while the TV writes to a copy of it.
#pragma once

#include <string>

namespace tv {

class Output {
public:
    Output() = default;
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Where the TV's own lines go: the standard output of before.
    int own() const { return own_; }

    /// What is to be read of standard error, without waiting; -1 when it is left as it was.
    int errors() const { return errors_; }

    /// Leads standard output to a file; an empty name drops what is printed. Standard error, when
    /// that is a terminal, is led to `errors()`. False: the file cannot be written, `errno` tells
    /// why. Child processes inherit this. Before anything was printed.
    bool divert(const std::string& file);
    /// Leaves everything together.
    bool keepTogether();

private:
    bool copyOwn();
    bool takeErrors();
    int own_ = -1;
    int errors_ = -1;
};

} // namespace tv
