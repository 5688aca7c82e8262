#include "renderer/play_queue.h"

#include <algorithm>
#include <utility>

namespace vantor {

const std::vector<std::string>& playModeTexts() {
    static const std::vector<std::string> texts = {"NORMAL", "REPEAT_ONE", "REPEAT_ALL"};
    return texts;
}

const char* playModeText(PlayMode mode) {
    return playModeTexts()[static_cast<std::size_t>(mode)].c_str();
}

std::optional<PlayMode> playModeOf(const std::string& text) {
    const auto& texts = playModeTexts();
    const auto found = std::find(texts.begin(), texts.end(), text);
    return found == texts.end() ? std::nullopt
                                : std::optional<PlayMode>(PlayMode(found - texts.begin()));
}

void PlayQueue::load(Media media) {
    index_ = std::min(media.start, media.tracks.size() - 1);
    media_ = std::move(media);
    next_.reset();
}

void PlayQueue::clear() {
    media_.reset();
    next_.reset();
    index_ = 0;
}

bool PlayQueue::hasNext() const {
    return media_ && (index_ + 1 < trackCount() || next_ ||
                      (mode_ == PlayMode::repeatAll && trackCount() > 1));
}

bool PlayQueue::hasPrevious() const {
    return media_ && (index_ > 0 || (mode_ == PlayMode::repeatAll && trackCount() > 1));
}

bool PlayQueue::toNext() {
    if (!hasNext()) {
        return false;
    }
    if (index_ + 1 < trackCount()) {
        ++index_;
    } else if (next_) {
        load(*std::exchange(next_, std::nullopt));
    } else {
        index_ = 0;
    }
    return true;
}

bool PlayQueue::toPrevious() {
    if (!hasPrevious()) {
        return false;
    }
    index_ = index_ > 0 ? index_ - 1 : trackCount() - 1;
    return true;
}

bool PlayQueue::toTrack(std::size_t number) {
    if (number < 1 || number > trackCount()) {
        return false;
    }
    index_ = number - 1;
    return true;
}

std::optional<PlayQueue::Place> PlayQueue::following() const {
    if (!media_) {
        return std::nullopt;
    }
    if (mode_ == PlayMode::repeatOne) {
        return Place{&*media_, index_};
    }
    if (index_ + 1 < trackCount()) {
        return Place{&*media_, index_ + 1};
    }
    if (next_) {
        return Place{&*next_, std::min(next_->start, next_->tracks.size() - 1)};
    }
    if (mode_ == PlayMode::repeatAll) {
        return Place{&*media_, 0};
    }
    return std::nullopt;
}

bool PlayQueue::toFollowing() {
    if (!media_ || mode_ == PlayMode::repeatOne) {
        return media_.has_value();
    }
    if (toNext()) {
        return true;
    }
    return mode_ == PlayMode::repeatAll; // the only track, once more
}

} // namespace vantor
