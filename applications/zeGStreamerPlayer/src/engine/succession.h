// The change from one song to the next without a missing or an added sample: within one playbin,
// which is given the next address when it has read the present media to its end.
//
// What the playbin has read ahead waits in the queue before its sound device; that queue is made
// longer, so that the next media has the time to be opened before it is needed. Until the device
// has played what is in the queue, the present media is the one that plays. A next media that is
// not there by then, or is not wanted any more, or turns out to be no song, is held back for good:
// none of it is heard, and the present media ends like any other.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include <gst/gst.h>

#include "engine/gst_handles.h"
#include "engine/media_engine.h"

namespace player {

class Succession {
public:
    /// How far the playbin reads ahead when another media follows.
    static constexpr std::uint64_t kReadAheadNs = 5'000'000'000;

    /// `playbin` outlives this object, and has stopped before it ends.
    explicit Succession(GstElement* playbin) : playbin_(playbin) {}
    Succession(const Succession&) = delete;
    Succession& operator=(const Succession&) = delete;

    // Media thread.

    /// What follows; nothing, or anything else while the one before is under way: that is held
    /// back.
    void offer(const std::optional<NextMedia>& next);
    /// Whether a media may follow when the present one has been read to its end. Not while the
    /// playbin changes its state, which would wait for the next media.
    void permit(bool permitted);
    /// The next media is being opened, or waits: what is said about media is said about it, and the
    /// present one cannot be moved any more.
    bool underWay() const;
    /// The next media is being opened, or stays half open: the playbin would wait for it before it
    /// changed its state.
    bool unsettled() const;
    /// The next media is being opened, which is no time to stop it.
    bool opening() const;
    struct Taken {
        NextMedia next;
        std::int64_t endedMs; ///< where the media before it ended
    };
    /// The next media sounds: it, once, after which it is the present one.
    std::optional<Taken> taken();
    /// The present media has been played to its end, and none will follow: holds the next one back.
    bool over();
    /// The next media cannot be played.
    void fail();
    /// The playbin is about to be taken down.
    void giveUp();

    // Streaming threads.

    /// An element of the playbin's.
    void onElement(GstElement* element);
    /// Looks at what reaches the sound device.
    void watchDevice(GstElement* sink);
    /// The present media has been read to its end. True when the next one is being opened now.
    bool onReadToEnd();
    /// What the media that is being opened is.
    void onType(GstElement* typefind, const std::string& capsName);
    /// An error was posted.
    void onError();
    /// Whether the error was the next media's.
    bool failedNext() const;

private:
    enum class State {
        kNone,    ///< nothing is under way
        kOpening, ///< the playbin has the next address
        kWaiting, ///< its sound is in the queue
        kTaken,   ///< its sound has reached the device
        kHeld,    ///< none of it shall be heard
    };

    /// Where a media ends, of what of it went into the queue.
    struct End {
        std::int64_t ms = 0;  ///< of the media
        std::uint64_t ns = 0; ///< running time at which the queue will have been played
    };

    static GstPadProbeReturn onQueued(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onDevice(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static void onStream(GstElement* demuxer, GstPad* pad, gpointer self);
    bool deviceIsDone() const;
    bool mayGoOn(bool song);
    void readAhead();

    GstElement* const playbin_;
    mutable std::mutex mutex_;
    // All below guarded by mutex_.
    State state_ = State::kNone;
    bool permitted_ = false;
    bool readsAhead_ = false;
    bool presentFailed_ = false;
    bool nextFailed_ = false;
    std::optional<NextMedia> next_;  ///< offered
    std::optional<NextMedia> begun_; ///< under way
    GstElement* queue_ = nullptr;    ///< the playbin's, before its sound device
    GstOwner<GstPad> device_;        ///< where the sound device takes its sound
    bool deviceStopped_ = false;     ///< it is not given the next media
    GstSegment segment_{};           ///< of what goes into the queue
    End end_;                        ///< of the present media
    End nextEnd_;                    ///< of the next one, from when it waits
    GstSegment deviceSegment_{};     ///< of what goes into the device
    std::uint64_t deviceNs_ = 0;     ///< running time at which that will have been played
};

} // namespace player
