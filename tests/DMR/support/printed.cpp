#include "DMR/support/printed.h"

#include <cctype>
#include <cstdio>
#include <iostream>
#include <ostream>
#include <set>
#include <stdexcept>

#include <unistd.h>

#ifdef KETRA_COVERAGE
#include <csignal>

extern "C" void __gcov_dump();
#endif

namespace dmrtest {

namespace {

void flushAll() {
    std::cout.flush();
    std::fflush(stdout);
    std::fflush(stderr);
}

std::set<Capture*> gCaptures;

// GoogleTest writes the reasons of a failure to standard output. They are not what the code under
// test prints: one listener in front of the printer and one behind it keep them out.
class BeforeThePrinter : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult&) override {
        for (Capture* const capture : gCaptures) {
            capture->pause();
        }
    }
};

class BehindThePrinter : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult&) override {
        for (Capture* const capture : gCaptures) {
            capture->resume();
        }
    }
};

void letFailuresThrough() {
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    testing::TestEventListener* const printer =
        listeners.Release(listeners.default_result_printer());
    if (printer != nullptr) { // the first time
        listeners.Append(new BeforeThePrinter);
        listeners.Append(printer);
        listeners.Append(new BehindThePrinter);
    }
}

std::size_t digitsFrom(const std::string& text, std::size_t start) {
    std::size_t end = start;
    while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end]))) {
        ++end;
    }
    return end - start;
}

std::string maskLine(std::string line, bool keepFileNames) {
    const std::size_t bracket = line.find("][");
    if (bracket != std::string::npos && digitsFrom(line, bracket + 2) == 6 &&
        line.compare(bracket + 8, 1, "]") == 0) {
        line.replace(bracket + 2, 6, "NNNNNN");
    }
    const std::size_t word = line.find(",line:");
    if (word != std::string::npos) {
        line.replace(word + 6, digitsFrom(line, word + 6), "N");
    }
    if (line.compare(0, 13, "ASSERT FAIL: ") == 0) {
        const std::size_t pathEnd = line.find(' ', 13);
        const std::size_t slash = line.rfind('/', pathEnd);
        if (!keepFileNames && slash != std::string::npos && pathEnd != std::string::npos) {
            line.replace(slash + 1, pathEnd - slash - 1, "*");
        }
        const std::size_t blank = line.rfind(' ');
        const std::string number = line.substr(blank + 1);
        const bool isPosition = digitsFrom(number, 0) == number.size() && !number.empty();
        if (isPosition && number != "212" && number != "217") {
            line.replace(blank + 1, number.size(), "N");
        }
    }
    return line;
}

class PrintsMatcher {
public:
    explicit PrintsMatcher(std::string expected) : expected_(std::move(expected)) {}

    bool MatchAndExplain(const std::string& text, testing::MatchResultListener* listener) const {
        const std::string masked = maskLineNumbers(withoutEmulator(text));
        if (masked == expected_) {
            return true;
        }
        *listener << "printed " << testing::PrintToString(masked);
        return false;
    }
    void DescribeTo(std::ostream* out) const {
        *out << "prints exactly " << testing::PrintToString(expected_);
    }
    void DescribeNegationTo(std::ostream* out) const {
        *out << "does not print exactly " << testing::PrintToString(expected_);
    }

private:
    std::string expected_;
};

} // namespace

Capture::Capture(int descriptor) : descriptor_(descriptor) {
    letFailuresThrough();
    flushAll();
    std::FILE* file = std::tmpfile();
    if (!file) {
        throw std::runtime_error("no temporary file for captured output");
    }
    file_ = dup(fileno(file));
    std::fclose(file);
    saved_ = dup(descriptor_);
    resume();
    gCaptures.insert(this);
}

void Capture::pause() {
    flushAll();
    dup2(saved_, descriptor_);
}

void Capture::resume() {
    flushAll();
    dup2(file_, descriptor_);
}

Capture::~Capture() {
    gCaptures.erase(this);
    pause();
    close(saved_);
    close(file_);
}

std::string Capture::take() {
    flushAll();
    std::string text;
    char buffer[4096];
    ssize_t count;
    while ((count = pread(file_, buffer, sizeof buffer, taken_)) > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
        taken_ += count;
    }
    return maskLineNumbers(text);
}

std::string maskLineNumbers(const std::string& text, bool keepFileNames) {
    std::string masked;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        end = end == std::string::npos ? text.size() : end;
        masked += maskLine(text.substr(start, end - start), keepFileNames);
        if (end < text.size()) {
            masked += '\n';
        }
        start = end + 1;
    }
    return masked;
}

std::string withoutEmulator(const std::string& text) {
    static const std::string kLine = "qemu: uncaught target signal 6 (Aborted) - core dumped\n";
    const bool isLast = text.size() >= kLine.size() &&
                        text.compare(text.size() - kLine.size(), kLine.size(), kLine) == 0;
    return isLast ? text.substr(0, text.size() - kLine.size()) : text;
}

std::string trace(const std::string& operation, const std::string& message) {
    return "\x1b[0;35m[" + operation + "][NNNNNN] " + message + "\x1b[0m\n";
}

std::string assertion(const std::string& folder, const std::string& signature) {
    return "ASSERT FAIL: " + folder + "/* " + signature + " N\n";
}

void countCoverageOfAborts() {
#ifdef KETRA_COVERAGE
    // An abort writes no counts by itself. Afterwards it goes on to end the process.
    struct sigaction action = {};
    action.sa_handler = [](int) {
        __gcov_dump();
    };
    sigaction(SIGABRT, &action, nullptr);
#endif
}

void printToStandardError() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    countCoverageOfAborts();
}

testing::Matcher<const std::string&> prints(const std::string& expected) {
    return testing::MakePolymorphicMatcher(PrintsMatcher(expected));
}

} // namespace dmrtest
