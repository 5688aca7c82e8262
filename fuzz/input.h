// A fuzzer's bytes as the texts that the code under test takes: each lies in memory of exactly its
// length, so that AddressSanitizer sees the first byte that is read behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace fuzz {

inline std::string_view bytes(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// A copy with an end mark. What follows a NUL within the text is nobody's.
class Text {
public:
    explicit Text(std::string_view text) : text_(new char[text.size() + 1]) {
        std::memcpy(text_.get(), text.data(), text.size());
        text_[text.size()] = '\0';
    }
    char* get() const { return text_.get(); }

private:
    std::unique_ptr<char[]> text_;
};

/// Texts that live as long as this; records hold plain pointers.
class Texts {
public:
    char* operator()(std::string_view text) {
        texts_.emplace_back(text);
        return texts_.back().get();
    }
    /// A row of a record: `row`, a small letter, sets the field, its capital makes it null. False
    /// when the key is another row's.
    bool set(char*& field, char row, char key, std::string_view value) {
        if (key == row) {
            field = (*this)(value);
        } else if (key == row - 'a' + 'A') {
            field = nullptr;
        } else {
            return false;
        }
        return true;
    }

private:
    std::vector<Text> texts_;
};

/// Cuts the input into lines: a key of one character and the rest of the line as its value. So
/// kept inputs can be read and written by hand.
template <class Take> void eachLine(std::string_view input, Take take) {
    while (!input.empty()) {
        const std::size_t end = input.find('\n');
        const std::string_view line = input.substr(0, end);
        if (!line.empty()) {
            take(line[0], line.substr(1));
        }
        if (end == std::string_view::npos) {
            return;
        }
        input.remove_prefix(end + 1);
    }
}

} // namespace fuzz
