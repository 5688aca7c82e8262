#include "DMR/support/transcript.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

// Programs that link the faked system calls reach the real ones by these names.
extern "C" pid_t __real_fork();

namespace dmrtest {

namespace {

using fake::Kind;

std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result += character == '\x1b' ? std::string("\\e") : std::string(1, character);
    }
    return result;
}

std::string behind(const std::string& mark, const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += mark + line + "\n";
    }
    return result;
}

std::string requested() {
    std::string result;
    for (const std::string& call : fake::Journal::instance().lines(
             {Kind::kCommand, Kind::kWrite, Kind::kPost, Kind::kSystem})) {
        result += "> " + call + "\n";
    }
    fake::Journal::instance().clear();
    return result;
}

std::string contentOf(std::FILE* file) {
    std::string text;
    char buffer[4096];
    std::rewind(file);
    for (std::size_t count; (count = std::fread(buffer, 1, sizeof buffer, file)) > 0;) {
        text.append(buffer, count);
    }
    return text;
}

std::string firstDifference(const std::string& expected, const std::string& found) {
    std::istringstream left(expected);
    std::istringstream right(found);
    std::string expectedLine;
    std::string foundLine;
    int number = 0;
    do {
        ++number;
        expectedLine = "(the end)";
        foundLine = "(the end)";
        std::getline(left, expectedLine);
        std::getline(right, foundLine);
    } while (expectedLine == foundLine && (left || right));
    return "line " + std::to_string(number) + "\nexpected: " + expectedLine +
           "\nfound:    " + foundLine + "\n";
}

std::string endOf(int status) {
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGABRT ? "aborted"
                                           : "signal " + std::to_string(WTERMSIG(status));
    }
    return "exit " + std::to_string(WEXITSTATUS(status));
}

} // namespace

void Transcript::SetUp() {
    Bare::SetUp();
    unsetenv("LD_LIBRARY_PATH");
    for (const unsigned long event : {16ul, 94ul, 98ul}) {
        fake::inspectEvent(event, recordAt);
    }
    // An error code is a number of 32 bits in a word that may be longer.
    fake::inspectEvent(
        2, [](unsigned long code) { return std::to_string(static_cast<std::int32_t>(code)); });
    calls();
}

void Transcript::step(const std::string& title, const std::function<void()>& action) {
    action();
    const std::string console = fake::consoleOutput();
    fake::clearConsole();
    text_ += "# " + title + "\n" + escaped(printed()) + behind("| ", console) + requested() + "\n";
}

void Transcript::end(const std::string& title, const std::function<void()>& action) {
    std::FILE* const output = std::tmpfile();
    std::FILE* const errors = std::tmpfile();
    std::FILE* const asked = std::tmpfile();
    ASSERT_TRUE(output != nullptr && errors != nullptr && asked != nullptr);
    std::fflush(nullptr);
    const pid_t child = __real_fork();
    if (child == 0) {
        dup2(fileno(output), STDOUT_FILENO);
        dup2(fileno(errors), STDERR_FILENO);
        countCoverageOfAborts();
        system().onExit = [asked](int) {
            std::fputs(requested().c_str(), asked);
            std::fflush(asked);
        };
        action();
        _exit(99);
    }
    ASSERT_GT(child, 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    text_ += "# " + title + "\n" + escaped(maskLineNumbers(contentOf(output), true)) +
             behind("! ", withoutEmulator(contentOf(errors))) + contentOf(asked) + "= " +
             endOf(status) + "\n\n";
    for (std::FILE* const file : {output, errors, asked}) {
        std::fclose(file);
    }
}

void Transcript::aside(const std::function<void()>& action) {
    action();
    printed();
    calls();
    fake::clearConsole();
}

void Transcript::expectGolden(const std::string& name) {
    std::ifstream file(std::string(KETRA_GOLDEN_FOLDER) + "/" + name);
    ASSERT_TRUE(file) << name << " is missing";
    std::ostringstream golden;
    golden << file.rdbuf();
    if (text_ != golden.str()) {
        const std::string found = std::string(KETRA_FOUND_FOLDER) + "/" + name;
        std::ofstream(found) << text_;
        ADD_FAILURE() << firstDifference(golden.str(), text_) << "the whole text is in " << found;
    }
}

std::string Transcript::recordAt(unsigned long parameter) {
    KetraSrv_DLNADMR& dmr = *KetraSrv_DLNADMR::m_pInstance;
    const auto isAt = [parameter](const void* address) {
        return parameter == reinterpret_cast<unsigned long>(address);
    };
    if (isAt(&Access::request(dmr))) {
        const DMRAuthRequest& request = Access::request(dmr);
        return "request " + std::to_string(request.m_u32RequestId) + ": " + request.m_strTitle;
    }
    if (isAt(&Access::movieInfo(dmr))) {
        return "movie: " + Access::movieInfo(dmr).MetadataStr;
    }
    if (isAt(&Access::musicInfo(dmr))) {
        return "music: " + Access::musicInfo(dmr).MetadataStr;
    }
    if (isAt(&Access::photoMetadata(dmr))) {
        return "photo: " + Access::photoMetadata(dmr);
    }
    if (isAt(&Access::fileInit(dmr))) {
        return "file: " + Access::fileInit(dmr).m_strTitle;
    }
    return std::to_string(parameter);
}

} // namespace dmrtest
