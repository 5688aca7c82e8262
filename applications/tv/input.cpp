#include "tv/input.h"

#include <cerrno>

#include <unistd.h>

namespace tv {

std::vector<std::string> LineSplitter::feed(std::string_view bytes) {
    std::vector<std::string> lines;
    for (const char byte : bytes) {
        if (byte == '\n')
            lines.push_back(finish());
        else
            rest_ += byte;
    }
    return lines;
}

std::string LineSplitter::finish() {
    std::string last = std::move(rest_);
    rest_.clear();
    return last;
}

InputChunk readChunk(int descriptor) {
    char buffer[4096];
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count > 0)
        return {std::string(buffer, static_cast<std::size_t>(count)), false};
    const bool again = count < 0 && (errno == EINTR || errno == EAGAIN);
    return {"", !again};
}

} // namespace tv
