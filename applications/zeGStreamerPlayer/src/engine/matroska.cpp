#include "engine/matroska.h"

#include <cstring>

namespace player {
namespace {

constexpr std::uint64_t kFileHeader = 0x1A45DFA3;
constexpr std::uint64_t kSegment = 0x18538067;
constexpr std::uint64_t kInfo = 0x1549A966;
constexpr std::uint64_t kLength = 0x4489;
constexpr std::uint64_t kCluster = 0x1F43B675;

struct Element {
    std::uint64_t id = 0;
    std::uint64_t size = 0; ///< of what it contains
    bool endless = false;   ///< it does not say its size
};

class Reader {
public:
    Reader(const std::uint8_t* bytes, std::size_t size) : at_(bytes), left_(size) {}

    /// The head of the next element; nothing when it is not there as a whole or is none.
    std::optional<Element> next() {
        Element element;
        constexpr int kLongestId = 4;
        const std::optional<int> id = number(element.id, kLongestId);
        if (!id) {
            return std::nullopt;
        }
        constexpr int kLongestSize = 8;
        const std::optional<int> bytes = number(element.size, kLongestSize);
        if (!bytes) {
            return std::nullopt;
        }
        // The bit that tells the length of a number is part of an id, but not of a size.
        element.size &= (std::uint64_t{1} << 7 * *bytes) - 1;
        element.endless = element.size == (std::uint64_t{1} << 7 * *bytes) - 1;
        return element;
    }

    /// What an element contains; nothing when not all of it is there.
    std::optional<Reader> contents(const Element& element) {
        if (element.endless || element.size > left_) {
            return std::nullopt;
        }
        const Reader inside(at_, static_cast<std::size_t>(element.size));
        at_ += element.size;
        left_ -= static_cast<std::size_t>(element.size);
        return inside;
    }

    /// A floating-point number that is all there is; 0 when it is none.
    double real() const {
        std::uint64_t bits = 0;
        for (std::size_t byte = 0; byte < left_ && byte < sizeof bits; ++byte) {
            bits = bits << 8 | at_[byte];
        }
        if (left_ == sizeof(float)) {
            const auto half = static_cast<std::uint32_t>(bits);
            float value = 0;
            std::memcpy(&value, &half, sizeof value);
            return static_cast<double>(value);
        }
        double value = 0;
        if (left_ == sizeof(double)) {
            std::memcpy(&value, &bits, sizeof value);
        }
        return value;
    }

    bool empty() const { return left_ == 0; }

private:
    /// How many bytes the number has that is next, which its first byte tells.
    std::optional<int> number(std::uint64_t& value, int longest) {
        int length = 1;
        while (left_ > 0 && length <= longest && (at_[0] & 0x80 >> (length - 1)) == 0) {
            ++length;
        }
        if (length > longest || static_cast<std::size_t>(length) > left_) {
            return std::nullopt;
        }
        value = 0;
        for (int byte = 0; byte < length; ++byte) {
            value = value << 8 | at_[byte];
        }
        at_ += length;
        left_ -= static_cast<std::size_t>(length);
        return length;
    }

    const std::uint8_t* at_;
    std::size_t left_;
};

bool infoStatesLength(Reader info) {
    while (!info.empty()) {
        const std::optional<Element> element = info.next();
        const std::optional<Reader> inside = element ? info.contents(*element) : std::nullopt;
        if (!inside) {
            return false;
        }
        if (element->id == kLength) {
            return inside->real() > 0;
        }
    }
    return false;
}

} // namespace

bool isMatroska(const std::string& type) {
    return type == "video/x-matroska" || type == "audio/x-matroska" || type == "video/webm" ||
           type == "audio/webm";
}

std::optional<bool> statesLength(const std::uint8_t* bytes, std::size_t size) {
    Reader file(bytes, size);
    const std::optional<Element> header = file.next();
    if (!header || header->id != kFileHeader || !file.contents(*header)) {
        return std::nullopt;
    }
    const std::optional<Element> segment = file.next();
    if (!segment || segment->id != kSegment) {
        return std::nullopt;
    }
    for (;;) {
        const std::optional<Element> element = file.next();
        if (!element) {
            return std::nullopt;
        }
        // Behind the first pictures nobody looks for it.
        const std::optional<Reader> inside =
            element->id != kCluster ? file.contents(*element) : std::nullopt;
        if (!inside) {
            return std::nullopt;
        }
        if (element->id == kInfo) {
            return infoStatesLength(*inside);
        }
    }
}

} // namespace player
