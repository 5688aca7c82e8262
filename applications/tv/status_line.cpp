#include "tv/status_line.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "statebus/visible_text.h"

namespace tv {

namespace {

constexpr char kEllipsis[] = "...";
constexpr std::size_t kEllipsisColumns = 3;

std::size_t columnsOf(char32_t codePoint) {
    const int width = wcwidth(static_cast<wchar_t>(codePoint));
    if (width >= 0)
        return static_cast<std::size_t>(width);
    // Unknown to this system's tables, or the locale has no wide characters: one column is the
    // best guess for what is not a control character.
    return codePoint < 0x20 ? 0 : 1;
}

/// Length in bytes of the part that `width` columns hold.
std::size_t prefixLength(const std::string& text, std::size_t width) {
    std::size_t used = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const auto character = statebus::firstCharacter(std::string_view(text).substr(at));
        const std::size_t wide = character.length != 0 ? columnsOf(character.codePoint) : 0;
        if (used + wide > width)
            break;
        used += wide;
        at += character.length != 0 ? character.length : 1;
    }
    return at;
}

std::string positionText(const Status& status) {
    if (!status.position && !status.duration)
        return "";
    std::string text = "  " + (status.position ? clockText(*status.position) : "-:--");
    if (status.duration)
        text += " / " + clockText(*status.duration);
    return text;
}

std::string adjustmentsText(const Adjustments& set) {
    std::string text;
    if (set.zoom != 0)
        text += std::string("  zoom ") + (set.zoom < 0 ? "1/" : "") +
                std::to_string(1L << std::labs(set.zoom)) + 'x';
    if (set.turn != 0)
        text += "  turned " + std::to_string(90 * set.turn);
    if (set.moved)
        text += "  moved";
    if (set.ratio != 0)
        text += "  shape " + std::to_string(set.ratio);
    if (set.repeat == "a")
        text += "  from A";
    else if (set.repeat == "ab")
        text += "  A-B";
    return text;
}

std::string soundText(const Status& status) {
    constexpr unsigned kUsualVolume = 50; // with which a player begins
    std::string text;
    if (status.volume && *status.volume != kUsualVolume)
        text += "  volume " + std::to_string(*status.volume);
    return status.muted ? text + "  muted" : text;
}

bool isOn(const Status& status) {
    return status.media != MediaKind::kNone && status.state != MM_STATE_IDLE &&
           status.state != MM_STATE_STOPPED;
}

/// A photo that the player has finished loading stays on the screen.
const char* stateWord(const Status& status) {
    const bool shown = status.media == MediaKind::kPhoto && status.state == MM_STATE_FINISHED;
    return shown ? "shown" : stateText(status.state);
}

} // namespace

std::string clockText(std::uint32_t seconds) {
    char text[24];
    const unsigned hours = seconds / 3600;
    const unsigned minutes = seconds / 60 % 60;
    if (hours != 0)
        std::snprintf(text, sizeof text, "%u:%02u:%02u", hours, minutes, seconds % 60);
    else
        std::snprintf(text, sizeof text, "%u:%02u", minutes, seconds % 60);
    return text;
}

std::size_t columns(const std::string& text) {
    std::size_t used = 0;
    for (std::size_t at = 0; at < text.size();) {
        const auto character = statebus::firstCharacter(std::string_view(text).substr(at));
        if (character.length == 0) {
            ++at;
            continue;
        }
        used += columnsOf(character.codePoint);
        at += character.length;
    }
    return used;
}

std::string fitted(const std::string& text, std::size_t width) {
    if (columns(text) <= width)
        return text;
    if (width <= kEllipsisColumns)
        return text.substr(0, prefixLength(text, width));
    return text.substr(0, prefixLength(text, width - kEllipsisColumns)) + kEllipsis;
}

std::string statusLine(const Status& status, std::size_t width) {
    if (!isOn(status)) {
        const std::string name = statebus::visibleText(status.name);
        return fitted(std::string(status.visible ? "visible" : "hidden") +
                          (name.empty() ? "" : " as " + name) + ", nothing is on" +
                          soundText(status),
                      width);
    }
    std::string tail = positionText(status);
    if (status.speed > MM_TRICK_NORMAL && status.speed < MM_TRICK_PAUSE)
        tail += std::string("  ") + speedText(status.speed);
    tail += adjustmentsText(status.adjustments) + soundText(status);
    const std::string head = std::string(stateWord(status)) + "  ";
    // The title gives way first: where the film stands matters more.
    const std::size_t taken = columns(head) + columns(tail);
    const std::string title =
        status.title.empty() ? nameOf(status.media) : statebus::visibleText(status.title);
    return fitted(head + fitted(title, width > taken ? width - taken : 0) + tail, width);
}

} // namespace tv
