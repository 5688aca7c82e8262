#include "engine/mp4_fragments.h"

#include <string_view>

namespace player {
namespace {

struct Box {
    std::string_view type;
    std::string_view contents; ///< as much as is there
    bool whole = false;
};

std::uint64_t number(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

/// Takes the next box from the front; nothing when its head is not there or is none.
std::optional<Box> takeBox(std::string_view& bytes) {
    constexpr std::size_t kHead = 8;
    constexpr std::size_t kLongHead = 16;
    if (bytes.size() < kHead) {
        return std::nullopt;
    }
    std::uint64_t size = number(bytes.substr(0, 4));
    std::size_t head = kHead;
    if (size == 1) { // the real one follows
        if (bytes.size() < kLongHead) {
            return std::nullopt;
        }
        size = number(bytes.substr(kHead, 8));
        head = kLongHead;
    }
    const bool endless = size == 0;
    if (!endless && size < head) {
        return std::nullopt;
    }
    Box box;
    box.type = bytes.substr(4, 4);
    box.whole = !endless && size <= bytes.size();
    const std::size_t end = box.whole ? static_cast<std::size_t>(size) : bytes.size();
    box.contents = bytes.substr(head, end - head);
    bytes.remove_prefix(end);
    return box;
}

std::optional<bool> announcesFragments(const Box& movie) {
    std::string_view left = movie.contents;
    while (const std::optional<Box> box = takeBox(left)) {
        if (box->type == "mvex") {
            return true;
        }
    }
    return movie.whole ? std::optional<bool>(false) : std::nullopt;
}

} // namespace

std::optional<bool> isFragmented(const std::uint8_t* bytes, std::size_t size) {
    std::string_view left(reinterpret_cast<const char*>(bytes), size);
    bool known = false; // as an MP4
    while (const std::optional<Box> box = takeBox(left)) {
        known = known || box->type == "ftyp" || box->type == "moov";
        if (!known) {
            return std::nullopt;
        }
        if (box->type == "moov") {
            return announcesFragments(*box);
        }
        if (box->type == "mdat") {
            return false; // pictures without a table before them belong to one behind them
        }
    }
    return std::nullopt;
}

bool isWithoutIndex(const std::uint8_t* bytes, std::size_t size) {
    std::string_view left(reinterpret_cast<const char*>(bytes), size);
    bool known = false; // as an MP4
    while (const std::optional<Box> box = takeBox(left)) {
        // Before there were types of files, the first box was one of the others.
        known = known || box->type == "ftyp" || box->type == "mdat" || box->type == "wide";
        if (!known || box->type == "moov") {
            return false;
        }
        if (box->type == "mdat") {
            return true;
        }
    }
    return known;
}

} // namespace player
