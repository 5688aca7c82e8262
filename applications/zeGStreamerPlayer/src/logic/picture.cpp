#include "logic/picture.h"

#include <algorithm>
#include <array>
#include <limits>

#include "logic/numbers.h"

namespace player {
namespace {

struct NamedNumber {
    const char* name;
    int number;
};

constexpr std::array kZooms = {
    NamedNumber{"Zoom/8", -3}, NamedNumber{"Zoom/4", -2}, NamedNumber{"Zoom/2", -1},
    NamedNumber{"Zoomx1", 0},  NamedNumber{"Zoomx2", 1},  NamedNumber{"Zoomx4", 2},
    NamedNumber{"Zoomx8", 3},
};

constexpr std::array kRotations = {
    NamedNumber{"000", 0},
    NamedNumber{"090", 1},
    NamedNumber{"180", 2},
    NamedNumber{"270", 3},
};

struct Direction {
    const char* name;
    int x;
    int y;
};

constexpr std::array kDirections = {
    Direction{"UP", 0, -1},
    Direction{"DOWN", 0, 1},
    Direction{"LEFT", -1, 0},
    Direction{"RIGHT", 1, 0},
};

/// The row with that name, or null.
template <class Rows> auto find(const Rows& rows, std::string_view name) {
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [name](const auto& each) { return name == each.name; });
    return row == rows.end() ? nullptr : &*row;
}

/// A decimal number with or without a minus sign.
std::optional<int> wholeNumber(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    const auto number = decimalNumber(negative ? text.substr(1) : text);
    if (!number || *number > static_cast<unsigned>(std::numeric_limits<int>::max())) {
        return std::nullopt;
    }
    return negative ? -static_cast<int>(*number) : static_cast<int>(*number);
}

bool flag(bool& target, const std::string& value) {
    if (value != "0" && value != "1") {
        return false;
    }
    target = value == "1";
    return true;
}

} // namespace

struct Picture::Row {
    const char* name;
    bool (*carryOut)(Picture& self, const std::string& value);

    static const std::array<Row, 17> kAll;
};

const std::array<Picture::Row, 17> Picture::Row::kAll = {{
    {"Zoom", [](Picture& self, const std::string& value) { return self.zoom(value); }},
    {"Rotate", [](Picture& self, const std::string& value) { return self.rotate(value); }},
    {"MOVE_DIRECTION",
     [](Picture& self, const std::string& value) { return self.moveDirection(value); }},
    {"MOVE_OFFSET", [](Picture& self, const std::string& value) { return self.moveOffset(value); }},
    {"MOVE_SET", [](Picture& self, const std::string& value) { return self.moveNow(value); }},
    {"DisplayAspectRatio",
     [](Picture& self, const std::string& value) { return self.aspectRatio(value); }},
    {"FullScreen", [](Picture& self, const std::string& value) { return self.fullScreen(value); }},
    {"CropRect_s32X",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::x, self.coming_.crop, value, true);
     }},
    {"CropRect_s32Y",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::y, self.coming_.crop, value, true);
     }},
    {"CropRect_u16Height",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::height, self.coming_.crop, value, false);
     }},
    {"CropRect_u16Width",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::width, self.coming_.crop, value, false);
     }},
    {"DispRect_s32X",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::x, self.coming_.display, value, true);
     }},
    {"DispRect_s32Y",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::y, self.coming_.display, value, true);
     }},
    {"DispRect_u16Height",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::height, self.coming_.display, value, false);
     }},
    {"DispRect_u16Width",
     [](Picture& self, const std::string& value) {
         return self.coordinate(&Rectangle::width, self.coming_.display, value, false);
     }},
    {"bVideoMute",
     [](Picture& self, const std::string& value) { return flag(self.coming_.mute, value); }},
    {"bKeepRatio",
     [](Picture& self, const std::string& value) { return flag(self.coming_.keepRatio, value); }},
}};

namespace {
constexpr char kApplyRectangles[] = "SetCropDisplayRectangle";
}

Picture::Picture(MediaEngine& engine) : engine_(engine) {}

bool Picture::knows(std::string_view word) {
    return word == kApplyRectangles || find(Row::kAll, word) != nullptr;
}

bool Picture::set(std::string_view word, const std::string& value) {
    if (word == kApplyRectangles) {
        return rectangles(value);
    }
    const Row* const row = find(Row::kAll, word);
    return row != nullptr && row->carryOut(*this, value);
}

void Picture::apply() {
    engine_.setView(view_);
}

void Picture::follow(const PlayerStatus& status) {
    if (status.aside) {
        return;
    }
    // A photo that is finished is on the screen and can be zoomed.
    const bool over = status.state == PlayerState::kStopped ||
                      (status.state == PlayerState::kFinished &&
                       kindNamedIn(status.track.protocolInfo) != MediaKind::kImage);
    if (over) {
        beginMedia();
    }
}

void Picture::beginMedia() {
    if (view_.zoomSteps != 0 || view_.quarterTurns != 0) {
        view_.zoomSteps = 0;
        view_.quarterTurns = 0;
        apply();
    }
}

bool Picture::zoom(const std::string& value) {
    const NamedNumber* const zoom = find(kZooms, value);
    if (zoom == nullptr) {
        return false;
    }
    view_.zoomSteps = zoom->number;
    apply();
    return true;
}

bool Picture::rotate(const std::string& value) {
    const NamedNumber* const rotation = find(kRotations, value);
    if (rotation == nullptr) {
        return false;
    }
    view_.quarterTurns = rotation->number;
    apply();
    return true;
}

bool Picture::moveDirection(const std::string& value) {
    const Direction* const direction = find(kDirections, value);
    if (direction == nullptr) {
        return false;
    }
    directionX_ = direction->x;
    directionY_ = direction->y;
    return true;
}

bool Picture::moveOffset(const std::string& value) {
    const auto offset = decimalNumber(value);
    if (!offset) {
        return false;
    }
    constexpr std::uint32_t kFarEnough = 1 << 20; // beyond every edge
    offset_ = static_cast<int>(std::min(*offset, kFarEnough));
    return true;
}

bool Picture::moveNow(const std::string&) {
    engine_.moveView(directionX_ * offset_, directionY_ * offset_);
    directionX_ = directionY_ = offset_ = 0;
    return true;
}

bool Picture::aspectRatio(const std::string& value) {
    const auto number = decimalNumber(value);
    if (!number || *number >= static_cast<unsigned>(kAspectRatios)) {
        return false;
    }
    view_.ratio = static_cast<AspectRatio>(*number);
    apply();
    return true;
}

bool Picture::fullScreen(const std::string& value) {
    bool on = false;
    if (!flag(on, value)) {
        return false;
    }
    engine_.setFullScreen(on);
    return true;
}

bool Picture::coordinate(int Rectangle::*side, Rectangle& rectangle, const std::string& value,
                         bool canBeNegative) {
    const std::optional<int> number = wholeNumber(value);
    if (!number ||
        (!canBeNegative && (*number < 0 || *number > std::numeric_limits<std::uint16_t>::max()))) {
        return false;
    }
    rectangle.*side = *number;
    return true;
}

bool Picture::rectangles(const std::string&) {
    view_.crop = coming_.crop;
    view_.display = coming_.display;
    view_.mute = coming_.mute;
    view_.keepRatio = coming_.keepRatio;
    apply();
    return true;
}

} // namespace player
