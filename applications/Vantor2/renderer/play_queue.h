// The order in which tracks are played: the media with its tracks, the media that was announced as
// next, and the play mode. Pure; main thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "renderer/media.h"

namespace vantor {

enum class PlayMode { normal, repeatOne, repeatAll };
const char* playModeText(PlayMode mode);
std::optional<PlayMode> playModeOf(const std::string& text);
const std::vector<std::string>& playModeTexts();

class PlayQueue {
public:
    /// Replaces everything but the play mode.
    void load(Media media);
    void clear();
    /// What follows the media; nothing: the media is the last.
    void setNext(std::optional<Media> next) { next_ = std::move(next); }

    /// Of the media.
    void setOwner(const Controller& owner) { media_->owner = owner; }

    bool empty() const { return !media_; }
    const Media& media() const { return *media_; }
    const Track& track() const { return media_->tracks[index_]; }
    std::size_t trackNumber() const { return media_ ? index_ + 1 : 0; }
    std::size_t trackCount() const { return media_ ? media_->tracks.size() : 0; }
    const std::optional<Media>& next() const { return next_; }

    void setMode(PlayMode mode) { mode_ = mode; }
    PlayMode mode() const { return mode_; }

    bool hasNext() const;
    bool hasPrevious() const;
    // Each moves to another track; false, and nothing moved, when there is none.
    bool toNext();
    bool toPrevious();
    bool toTrack(std::size_t number);
    /// What follows when the track has ended.
    bool toFollowing();

    /// A track of a media, as it lies in the queue: until the queue changes.
    struct Place {
        const Media* media;
        std::size_t index;
    };
    /// Where toFollowing leads to.
    std::optional<Place> following() const;

private:
    std::optional<Media> media_;
    std::optional<Media> next_;
    std::size_t index_ = 0;
    PlayMode mode_ = PlayMode::normal;
};

} // namespace vantor
