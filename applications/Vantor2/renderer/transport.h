// The state of the transport: which media, whose, and what it is doing, as controllers see it.
//
// Joins three sources: what controllers ask for, what the viewer allows (Permission), and what the
// player reports. Every action is answered from memory at once. Main thread; time is given from
// outside. transport.cpp holds the actions, transport_player.cpp what happens between the renderer
// and the player, transport_next.cpp the change of track that the player makes by itself,
// transport_view.cpp what controllers see of it.
//
// A controller that waits for the viewer, or was turned down, while somebody else's media is loaded
// or waited for sees its own small state (TRANSITIONING, then STOPPED with an error); everybody
// else's view stays with the media that is really there.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "renderer/controller.h"
#include "renderer/media.h"
#include "renderer/permission.h"
#include "renderer/play_queue.h"
#include "renderer/ports.h"

namespace vantor {

/// Error codes of AVTransport:1.
enum TransportError : int {
    kTransitionNotAvailable = 701,
    kSeekModeNotSupported = 710,
    kIllegalSeekTarget = 711,
    kPlayModeNotSupported = 712,
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
    std::string supportedSpeeds; ///< the player's list; empty when it does not say
    // The media as it was given, and the track of it that is played.
    std::string uri;
    std::string metadata;
    std::string trackUri;
    std::string trackMetadata;
    std::size_t trackNumber = 0;
    std::size_t trackCount = 0;
    std::string nextUri;
    std::string nextMetadata;
    std::string protocolInfo;
    std::uint32_t durationSec = 0;
    std::uint32_t positionSec = 0;
    std::uint64_t sizeBytes = 0; ///< 0: not known
    PlayMode playMode = PlayMode::normal;
    bool isImage = false;
    bool canPause = false;
    bool canSeek = false;
    bool canSeekTracks = false;
    bool canSeekBytes = false;
    bool hasNext = false;
    bool hasPrevious = false;
    // What this controller would be answered: whether its actions are taken, and its Stop at least.
    bool mayControl = true;
    bool mayStop = true;

    /// Where in the bytes the position lies, as far as an even rate tells.
    std::uint64_t positionBytes() const;

    /// What controllers may ask for now, as CurrentTransportActions has it.
    std::string possibleActions() const;
};

class Transport {
public:
    /// How long the player may take to react to a start before that counts as a failure.
    static constexpr std::chrono::seconds kStartPatience{30};
    static constexpr std::chrono::seconds kStopPatience{10};

    /// `changed` is called after every change of what view() reports, once for each action.
    Transport(const RendererClock& clock, Permission& permission, PlayerPort& player,
              PlaylistPort& playlists, std::function<void()> changed);
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    // Actions; 0 or an error code. Arguments have passed the service's table.
    int setUri(const Controller& controller, const std::string& uri, const std::string& metadata);
    int play(const Controller& controller, const std::string& speed);
    int pause(const Controller& controller);
    int stop(const Controller& controller);
    int seek(const Controller& controller, const std::string& unit, const std::string& target);
    int next(const Controller& controller);
    int previous(const Controller& controller);
    /// What is played when the media has ended; an empty address takes it back.
    int setNextUri(const Controller& controller, const std::string& uri,
                   const std::string& metadata);
    int setPlayMode(const Controller& controller, const std::string& mode);

    TransportView view(const Controller& controller) const;
    /// A subscription may name another program than the calls of the same controller do, so what is
    /// open to a program at its address is shown as open.
    TransportView viewOfSubscriber(const Controller& subscriber) const;

    void playerChanged(const PlayerReport& report);
    void playerGone();

    std::optional<TimePoint> deadline() const;
    void checkDeadlines();

    /// Of what is loaded, as its description says; "" when nothing is.
    std::string title() const { return queue_.empty() ? "" : queue_.track().info.title; }

    /// Sink protocol info of what the player can open; empty when it does not say.
    const std::string& formats() const { return formats_; }

private:
    struct Waiting {
        Media media; // without its tracks' documents, as is the next one
        std::optional<Media> next;
        std::optional<PlayMode> mode;
        bool play = false;
        std::string speed = "1";
    };
    enum class Expecting { nothing, start, stop };

    // Tells at its end, once, about everything that changes while it lives: what an action leaves
    // behind on its way is nobody's business.
    class OneChange {
    public:
        explicit OneChange(Transport& transport) : transport_(transport) {
            ++transport_.gathering_;
        }
        ~OneChange();
        OneChange(const OneChange&) = delete;
        OneChange& operator=(const OneChange&) = delete;

    private:
        Transport& transport_;
    };

    int mayControl(const Controller& controller) const;
    int takeBack(const Controller& controller);
    int describe(const Controller& controller, const std::string& uri, const std::string& metadata,
                 Detail detail, Media& media) const;
    Media described(const Media& asked) const;
    int ask(Media media);
    int seekTrack(const std::string& target);
    int seekTo(const TransportView& now, std::uint64_t seconds);
    int skip(const Controller& controller, bool (PlayQueue::*move)());
    void settled(const ControlRequest& request, Outcome outcome);
    void load(Media media);
    void openTrack();
    void sendTrack();
    void resolvePlaylist();
    void playlistArrived(const std::optional<FetchedPlaylist>& playlist);
    bool isAdmitted(const Controller& owner) const;
    bool ownerIsAdmitted() const;
    std::optional<PlayQueue::Place> following() const;
    bool allowsSpeed(const std::string& speed) const;
    bool playFollowing();
    void changeTrack();
    static MediaOrder orderFor(const Media& media, std::size_t index);
    void tell();
    std::optional<MediaOrder> orderForNext() const;
    void announceNext();
    void findPlaying(const PlayerReport& report);
    void loadFound(const PlayerReport& report);
    bool isFound() const;
    bool mayBegin() const;
    bool followPlayer(const PlayerReport& report);
    bool takeOver(const PlayerReport& report);
    void start(const std::string& speed);
    void halt();
    void clear();
    void changed_();
    void fail(const std::string& reason);
    static bool isActive(int playerState);
    bool isResting(const PlayerReport& report) const;
    void apply(const PlayerReport& report);

    bool isSomebodyElses(const Controller& controller) const;
    const ControlRequest* shownRequest() const;
    TransportView seenBy(const Controller& controller, bool isLetIn) const;
    void showRequest(TransportView& view, const ControlRequest& request) const;
    static void showMedia(TransportView& view, const Media& media, std::size_t index);
    bool isRefused(const Controller& controller) const;
    void forgetRefusal(const Controller& controller);
    bool isImage() const;
    bool canPause() const;
    TransportState mediaState() const;

    const RendererClock& clock_;
    Permission& permission_;
    PlayerPort& player_;
    PlaylistPort& playlists_;
    std::function<void()> tellChanged_;
    unsigned gathering_ = 0;
    bool changeDue_ = false;

    PlayQueue queue_;
    bool resolving_ = false;    // the playlist is being fetched
    std::string resolvedSpeed_; // with which it is played then, if playWanted_
    std::string formats_;
    std::string speeds_;        // no media allows others; "" when nobody says
    bool metPlayer_ = false;    // it has reported
    unsigned generation_ = 0;   // counts openings; answers to older ones are dropped
    bool opened_ = false;       // the player has taken the media; reports are about it
    bool fresh_ = false;        // opened and not played yet
    bool playWanted_ = false;   // somebody asked for play since the last stop
    bool sawOpening_ = false;   // the player reported that it opens, since the last start
    bool gaveUp_ = false;       // stopped, whatever the player does, until it begins anew
    bool failed_ = false;       // until other media is set, or this one plays after all
    bool refusedToAll_ = false; // no media, because the viewer said no
    Expecting expecting_ = Expecting::nothing;
    TimePoint expectingUntil_;
    int playerState_ = kStopped; // in its last report, whatever that was about
    PlayerReport report_;
    std::optional<MediaOrder> announced_; // what the player was told to go on with
    bool goingOn_ = false;                // the player is about to begin that by itself
    bool seamless_ = false;               // it was begun while the one before still sounded
    std::optional<PlayerReport> early_;   // arrived before the player's answer to the opening

    std::map<std::uint32_t, Waiting> waiting_; // by request id
    // Turned down while somebody else's media was loaded, or somebody else waited.
    std::list<Controller> refused_;
};

} // namespace vantor
