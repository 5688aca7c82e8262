// What the library writes to a descriptor, and how it is compared: every byte counts, only source
// line numbers are masked, because they move with every edit.
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace dmrtest {

/// Catches what is written to a descriptor (1 or 2) while it lives. One per descriptor at a time.
class Capture {
public:
    explicit Capture(int descriptor);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    /// What was written since the last call, buffered output included, line numbers masked.
    std::string take();
    /// What is written from here on goes where it would have gone, until resume().
    void pause();
    void resume();

private:
    int descriptor_;
    int saved_;
    int file_;
    long long taken_ = 0;
};

/// Replaces source line numbers: "[000123]" by "[NNNNNN]" (only behind a bracketed name and of
/// exactly six digits), ",line:123" by ",line:N"; in an assertion line the line by "N" and, unless
/// file names are kept, the source file's name by "*" (its folder stays). The lines 212 and 217 of
/// the bus link's assertions are texts, not positions, and stay.
std::string maskLineNumbers(const std::string& text, bool keepFileNames = false);

/// A coloured trace line as the library writes it, line number masked.
std::string trace(const std::string& operation, const std::string& message = "");

/// An assertion line, file name and line number masked. `folder` is relative to the project.
std::string assertion(const std::string& folder, const std::string& signature);

/// Sends standard output where standard error goes. First statement of a death test's body, because
/// GoogleTest catches only standard error. What is still buffered when the process dies is lost, as
/// it would be on a pipe.
void printToStandardError();

/// Before an abort in a child: a build that counts executed lines counts those, too.
void countCoverageOfAborts();

/// Without the line that the emulator of the target adds when a program was aborted.
std::string withoutEmulator(const std::string& text);

/// Matches when the masked text is exactly `expected`.
testing::Matcher<const std::string&> prints(const std::string& expected);

} // namespace dmrtest
