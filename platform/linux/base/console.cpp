#include "ze/zeConsole.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

// The console is the process's standard output and input. Standard output, because the services
// print their traces there: a person reads both in the order in which they were written.

void zeConsole_Printf(const char* aFormat, ...) {
    std::va_list arguments;
    va_start(arguments, aFormat);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, aFormat, arguments);
    va_end(arguments);
    if (length > 0) {
        // One write for the whole text: two threads never mix within a line.
        std::string text(static_cast<std::size_t>(length) + 1, '\0');
        std::vsnprintf(text.data(), text.size(), aFormat, again);
        (void)std::fwrite(text.data(), 1, text.size() - 1, stdout); // nobody to tell
        (void)std::fflush(stdout);
    }
    va_end(again);
}

int zeConsole_GetInput(char* aBuffer, int aSize) {
    int kept = 0;
    bool any = false;
    flockfile(stdin);
    for (;;) {
        const int character = getc_unlocked(stdin);
        if (character == EOF) {
            const bool interrupted = std::ferror(stdin) != 0 && errno == EINTR;
            // A terminal may go on after an end of input.
            std::clearerr(stdin);
            if (interrupted)
                continue;
            break;
        }
        any = true;
        if (character == '\n')
            break;
        if (kept < aSize)
            aBuffer[kept++] = static_cast<char>(character);
    }
    funlockfile(stdin);
    aBuffer[kept] = '\0';
    return any ? kept : -1;
}
