// What the TV's status line shows, and how it fits the terminal. Pure functions, any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tv/media.h"

namespace tv {

/// What the viewer has set, as far as it is not the usual.
struct Adjustments {
    long zoom = 0;      ///< steps, each doubles
    long turn = 0;      ///< quarter turns clockwise
    bool moved = false; ///< the view of the zoomed picture
    long ratio = 0;     ///< shape of the picture
    std::string repeat; ///< "a", "ab"; "none" or empty: no part
};

struct Status {
    MM_STATE state = MM_STATE_IDLE;
    MediaKind media = MediaKind::kNone;
    std::string title;
    std::optional<std::uint32_t> position; ///< seconds
    std::optional<std::uint32_t> duration; ///< seconds
    MM_TRICK_MODE speed = MM_TRICK_NUM;
    Adjustments adjustments;
    std::string name; ///< of this renderer on the network
    bool visible = false;
    std::optional<unsigned> volume; ///< 0 to 100
    bool muted = false;
};

/// "0:07", "1:02:03".
std::string clockText(std::uint32_t seconds);
/// Columns that a text takes in a terminal. Bytes that are not UTF-8 take none.
std::size_t columns(const std::string& text);
/// As much of the text as `width` columns hold, "..." at the end when something is missing.
std::string fitted(const std::string& text, std::size_t width);
/// The line, `width` columns at most, nothing in it that moves the cursor.
std::string statusLine(const Status& status, std::size_t width);

} // namespace tv
