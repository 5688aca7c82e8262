// The state of the transport: which media, whose, and what it is doing, as controllers see it.
//
// Joins three sources: what controllers ask for, what the viewer allows (Permission), and what the
// player reports. Every action is answered from memory at once. Main thread; time is given from
// outside.
//
// A controller that waits for the viewer, or was turned down, while somebody else's media is loaded
// sees its own small state (TRANSITIONING, then STOPPED with an error); everybody else's view stays
// with the media that is really there.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "renderer/controller.h"
#include "renderer/media_info.h"
#include "renderer/permission.h"
#include "renderer/ports.h"

namespace vantor {

/// Error codes of AVTransport:1.
enum TransportError : int {
    kTransitionNotAvailable = 701,
    kSeekModeNotSupported = 710,
    kIllegalSeekTarget = 711,
    kIllegalMimeType = 714,
    kResourceNotFound = 716,
    kPlaySpeedNotSupported = 717,
    kTransportNotAuthorized = 606,
};

enum class TransportState { noMedia, stopped, transitioning, playing, paused };
const char* transportStateText(TransportState state);

struct TransportView {
    TransportState state = TransportState::noMedia;
    bool failed = false;
    std::string speed = "1";
    std::string uri;
    std::string metadata;
    std::string protocolInfo;
    std::uint32_t durationSec = 0;
    std::uint32_t positionSec = 0;
    bool isImage = false;
    bool canSeek = false;

    /// What controllers may ask for now, as CurrentTransportActions has it.
    std::string possibleActions() const;
};

class Transport {
public:
    /// How long the player may take to react to a start before that counts as a failure.
    static constexpr std::chrono::seconds kStartPatience{30};
    static constexpr std::chrono::seconds kStopPatience{10};

    /// `changed` is called after every change of what view() reports.
    Transport(const RendererClock& clock, Permission& permission, PlayerPort& player,
              std::function<void()> changed);
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    // Actions; 0 or an error code. Arguments have passed the service's table.
    int setUri(const Controller& controller, const std::string& uri, const std::string& metadata);
    int play(const Controller& controller, const std::string& speed);
    int pause(const Controller& controller);
    int stop(const Controller& controller);
    int seek(const Controller& controller, const std::string& unit, const std::string& target);
    int skip(const Controller& controller);

    TransportView view(const Controller& controller) const;

    void playerChanged(const PlayerReport& report);
    void playerGone();

    std::optional<TimePoint> deadline() const;
    void checkDeadlines();

private:
    struct Media {
        std::string uri;
        std::string metadata;
        Controller owner;
        MediaInfo info;
    };
    struct Waiting {
        std::string metadata;
        bool play = false;
        std::string speed;
    };
    enum class Expecting { nothing, start, stop };

    int mayControl(const Controller& controller) const;
    int ask(const Controller& controller, const std::string& uri, const std::string& metadata,
            const MediaInfo& info);
    void settled(const ControlRequest& request, Outcome outcome);
    void load(const Controller& owner, const std::string& uri, const std::string& metadata);
    void openMedia();
    void start(const std::string& speed);
    void halt();
    void clear();
    void fail(const std::string& reason);
    bool isResting(const PlayerReport& report) const;
    void apply(const PlayerReport& report);

    bool isSomebodyElses(const Controller& controller) const;
    const ControlRequest* shownRequest() const;
    bool isRefused(const Controller& controller) const;
    void forgetRefusal(const Controller& controller);
    bool isImage() const;
    TransportState mediaState() const;

    const RendererClock& clock_;
    Permission& permission_;
    PlayerPort& player_;
    std::function<void()> changed_;

    std::optional<Media> media_;
    unsigned generation_ = 0;   // counts openings; answers to older ones are dropped
    bool opened_ = false;       // the player has taken the media; reports are about it
    bool fresh_ = false;        // opened and not played yet
    bool playWanted_ = false;   // somebody asked for play since the last stop
    bool sawOpening_ = false;   // the player reported that it opens, since the last start
    bool failed_ = false;       // until the next media or play
    bool refusedToAll_ = false; // no media, because the viewer said no
    Expecting expecting_ = Expecting::nothing;
    TimePoint expectingUntil_;
    PlayerReport report_;
    std::optional<PlayerReport> early_; // arrived before the player's answer to the opening

    std::map<std::uint32_t, Waiting> waiting_; // by request id
    std::list<Controller> refused_;            // turned down while somebody else's media was loaded
};

} // namespace vantor
