#include "fake/console.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "fake/failures.h"
#include "fake/journal.h"
#include "ze/zeConsole.h"

namespace {

struct Console {
    std::mutex mutex;
    std::deque<std::optional<std::string>> answers; ///< nothing: end of input
    std::string output;
    std::function<void()> whileAsking;
};

Console& console() {
    static auto* const theConsole = new Console;
    return *theConsole;
}

} // namespace

void zeConsole_Printf(const char* aFormat, ...) {
    va_list arguments;
    va_start(arguments, aFormat);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, aFormat, arguments);
    va_end(arguments);
    std::string text(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), aFormat, again);
    va_end(again);
    text.pop_back();
    const std::lock_guard<std::mutex> lock(console().mutex);
    console().output += text;
    fake::Journal::instance().add(fake::Kind::kConsole,
                                  "zeConsole_Printf(" + fake::quoted(text) + ")");
}

int zeConsole_GetInput(char* aBuffer, int aSize) {
    std::function<void()> happens;
    {
        const std::lock_guard<std::mutex> lock(console().mutex);
        happens = console().whileAsking;
    }
    if (happens)
        happens();
    const std::lock_guard<std::mutex> lock(console().mutex);
    const std::string call = "zeConsole_GetInput(" + std::to_string(aSize) + ")";
    if (console().answers.empty())
        fake::stopTest(call + " without a scripted answer");
    const std::optional<std::string> answer = console().answers.front();
    console().answers.pop_front();
    if (!answer) {
        aBuffer[0] = '\0';
        fake::Journal::instance().add(fake::Kind::kConsole, call + " = end of input");
        return -1;
    }
    const std::string kept = answer->substr(0, static_cast<std::size_t>(std::max(aSize, 0)));
    std::memcpy(aBuffer, kept.c_str(), kept.size() + 1);
    fake::Journal::instance().add(fake::Kind::kConsole, call + " = " + fake::quoted(kept));
    return static_cast<int>(kept.size());
}

namespace fake {

void answerOnConsole(const std::string& line) {
    const std::lock_guard<std::mutex> lock(console().mutex);
    console().answers.emplace_back(line);
}

void endConsoleInput() {
    const std::lock_guard<std::mutex> lock(console().mutex);
    console().answers.emplace_back(std::nullopt);
}

void whileAsking(std::function<void()> hook) {
    const std::lock_guard<std::mutex> lock(console().mutex);
    console().whileAsking = std::move(hook);
}

std::string consoleOutput() {
    const std::lock_guard<std::mutex> lock(console().mutex);
    return console().output;
}

int consoleAnswersLeft() {
    const std::lock_guard<std::mutex> lock(console().mutex);
    return static_cast<int>(console().answers.size());
}

void clearConsole() {
    const std::lock_guard<std::mutex> lock(console().mutex);
    console().answers.clear();
    console().output.clear();
    console().whileAsking = nullptr;
}

} // namespace fake
