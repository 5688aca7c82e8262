#include "progress.h"

#include <algorithm>
#include <array>
#include <utility>

#include "printable.h"

namespace push {
namespace {

constexpr std::array<std::pair<const char*, const char*>, 5> kStateWords = {{
    {"PLAYING", "playing"},
    {"PAUSED_PLAYBACK", "paused"},
    {"TRANSITIONING", "waiting"},
    {"STOPPED", "stopped"},
    {"NO_MEDIA_PRESENT", "stopped"},
}};

bool isTime(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789:.") == std::string::npos;
}

/// Renderers say zero for what they do not know yet, too.
bool isMoreThanZero(const std::string& time) {
    return isTime(time) && time.find_first_not_of("0:.") != std::string::npos;
}

} // namespace

std::string stateWord(const std::string& transportState) {
    const auto row = std::find_if(kStateWords.begin(), kStateWords.end(),
                                  [&](const auto& word) { return transportState == word.first; });
    return row != kStateWords.end() ? row->second : printable(transportState);
}

Progress::Progress(std::ostream& out, bool isTerminal) : out_(out), isTerminal_(isTerminal) {}

Progress::~Progress() {
    endLine();
}

void Progress::show(const std::string& state, const PositionInfo& position) {
    std::string line = stateWord(state);
    const bool hasDuration = isMoreThanZero(position.duration);
    if (isTime(position.position) && (hasDuration || isMoreThanZero(position.position))) {
        line += " " + position.position;
        if (hasDuration) {
            line += " of " + position.duration;
        }
    }
    const bool isNew = isTerminal_ ? line != lastLine_ : state != lastState_;
    lastState_ = state;
    if (!isNew) {
        return;
    }
    if (isTerminal_) {
        out_ << "\r\033[K" << line;
        lineIsOpen_ = true;
    } else {
        out_ << line << '\n';
    }
    out_.flush();
    lastLine_ = line;
}

void Progress::say(const std::string& sentence) {
    endLine();
    out_ << sentence << std::endl;
}

void Progress::endLine() {
    if (lineIsOpen_) {
        out_ << std::endl;
        lineIsOpen_ = false;
    }
}

} // namespace push
