// One media in one GStreamer pipeline, from opening to the end.
//
// GStreamer crashes or stands still when a pipeline is told to do something before it has finished
// what it was told before, above all before it has prerolled. So orders only state what is wanted;
// one step towards it is taken at a time, the next when the pipeline reports the end of the last.
// Everything here runs on the media thread, except where a comment says otherwise.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/cover.h"
#include "engine/gst_handles.h"
#include "engine/media_engine.h"
#include "engine/screen.h"
#include "engine/succession.h"
#include "metadata/dlna_features.h"
#include "process/settings.h"
#include "process/task_queue.h"

namespace player {

class Pipeline {
public:
    using Report = std::function<void(decltype(EngineEvent::what))>;
    using Clock = std::chrono::steady_clock;

    /// A step that takes longer than this will never end, though data arrive all the time.
    static constexpr std::chrono::minutes kSlowStepLimit{5};

    /// Whether a media's server sends parts of it, as far as that has been seen.
    enum class Parts {
        kUnknown,
        kSends,
        kRefuses, ///< it is read from its beginning only
    };

    /// A buffer that is empty for less is none that runs dry.
    static constexpr std::chrono::milliseconds kBreath{200};

    /// Where and how a media goes on in another pipeline.
    struct Going {
        std::int64_t positionMs = 0;
        Speed speed;
        bool playing = false;     ///< wanted
        bool toldPlaying = false; ///< and told
        std::optional<unsigned> audioTrack;
        std::optional<std::int64_t> markA;
        std::optional<std::int64_t> markB;
    };

    /// Starts opening at once; what it goes on with is not told to have been opened. `queue`
    /// belongs to the media thread's context. `renew` asks for another pipeline in the place of
    /// this one, which cannot move its media any more; not within the call. `parts`: what is known
    /// of the server.
    Pipeline(const Settings& settings, const MediaAddress& address,
             const std::optional<Going>& going, Parts parts, Screen& screen, GMainContext* context,
             TaskQueue& queue, Report report, std::function<void()> renew);
    /// Takes the pipeline down; may block as long as GStreamer does.
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    void play();
    void pause();
    void seek(std::int64_t positionMs);
    void setSpeed(Speed speed);
    void setAudioTrack(unsigned index);
    void repeat(Repeat what);
    void setSound(unsigned percent, bool mute);
    void setNext(const std::optional<NextMedia>& next);

    /// The media that plays, and what is wanted of it.
    const MediaAddress& present() const { return present_; }
    /// Nothing before it is open.
    std::optional<Going> going() const;
    Parts parts() const { return parts_; }

    /// Nobody wants this media any more: silent at once, and no further step is begun.
    void retire();

    /// No step is under way, or it stands still, so it can be taken down safely.
    bool idle() const {
        return (step_ == Step::kNone && !(retired_ && succession_.opening())) ||
               (retired_ && waiting_);
    }
    /// Called several times a second: position reports, late facts, the limit of a step.
    void onTimer();

private:
    enum class Step { kNone, kOpen, kMove, kLeap, kChangeState };

    /// Backward play of what GStreamer does not play backward: the pipeline is paused and shows one
    /// key frame after the other, each sought for when its time has come.
    struct Leaps {
        std::int64_t fromMs;     ///< where the media was
        Clock::time_point since; ///< at this time
        bool running;            ///< has moved on since
        std::int64_t shownMs;    ///< the time of the key frame that is shown
        bool ended;
    };

    /// What the server sends: its part of the media, and where in it that begins.
    struct Asked {
        std::int64_t fromMs;
        std::int64_t firstMs; ///< GStreamer's position then
        bool givenUp;         ///< something else will be asked
        bool granted;         ///< the server says that it is what was asked for
    };

    static gboolean onMessage(GstBus* bus, GstMessage* message, gpointer self);
    static void onSourceSetup(GstElement* playbin, GstElement* source, gpointer self);
    static void onElementSetup(GstElement* playbin, GstElement* element, gpointer self);
    static void onHaveType(GstElement* typefind, guint probability, GstCaps* caps, gpointer self);
    static GstPadProbeReturn onQuery(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    bool isSubtitles(GstElement* element) const;
    static void onReadToEnd(GstElement* playbin, gpointer self);
    static GstBusSyncReply onPosted(GstBus* bus, GstMessage* message, gpointer self);
    static GstPadProbeReturn onSourceEvent(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onFirstData(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onData(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onReading(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onStreamData(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onFilmData(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onImageData(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    void handle(GstMessage* message);
    void handleHeaders(const GstStructure& structure);
    void onOpened();
    void onEnd(std::uint32_t number);
    void goOn(const Going& going);
    void onError(GstMessage* message);
    void onFollowed(const Succession::Taken& taken);
    void followSuccession();
    void permitNext();
    bool renewed(bool needed);
    void followData();
    void followBuffer();
    void begin(Step step);
    void end();
    void wish();
    void takeNextStep();
    bool move();
    bool seekTo(int flags, std::int64_t from);
    bool sendSeek(GstEvent* event);
    bool runsBackward() const;
    void startLeaps(std::int64_t from);
    void stopLeaps();
    void followLeaps();
    void leap();
    static gboolean leapTimerFired(gpointer self);
    bool isOfNow(std::uint32_t number) const;
    void onSegmentEnd(std::uint32_t number);
    bool plays() const;
    void repeatSegment();
    void followPause();
    std::int64_t partStart() const;
    std::int64_t inPart(std::int64_t place) const;
    void changeState(GstState target);
    void fail(PlayerError error, const std::string& detail);
    void failNext(const EngineFailed& failure);
    void refusePacked(const std::string& encoding);
    void applySound();
    MediaFacts facts();
    std::int64_t place() const;
    std::int64_t positionMs() const;
    std::int64_t playbinPositionMs() const;
    void samplePosition();
    void followPosition();
    std::int64_t endMs() const;
    bool keepHeader(GstPadProbeInfo* info, std::size_t known = 0);
    bool asksServer() const;
    bool inOrder() const { return parts_ == Parts::kRefuses; }
    void takeRangeAnswer(unsigned status, const std::string& acceptRanges);
    bool movesInside();
    void followCopy();
    void addServersFacts(MediaFacts& facts);
    void ask(std::int64_t fromMs);
    void takeAnswer(const std::string& timeSeekRange, const std::string& playSpeed);
    bool goOnUnasked();
    std::int64_t askedPositionMs() const;
    bool followsPart() const;
    void followPart();
    void setUpDownload(GstElement* element);
    void makeWait(GstElement* copy);
    bool lacksIndex(GstMessage* message) const;
    void letGo();
    bool keepsCopy() const;
    bool starves() const;

    const Settings& settings_;
    const MediaAddress address_; ///< of the first media
    GMainContext* const context_;
    TaskQueue& queue_;
    Report report_;
    std::function<void()> renew_;
    GstOwner<GstElement> playbin_;
    Succession succession_;
    GstOwner<GstBus> bus_;
    GSource* busWatch_ = nullptr;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); ///< for tasks on their way

    Step step_ = Step::kNone;
    Clock::time_point stepBegan_;
    Clock::time_point stepMoved_; ///< when data arrived for it, or it began
    std::uint64_t bytesSeen_ = 0; ///< of those that had arrived
    bool opened_ = false;
    bool failed_ = false;
    std::atomic<Parts> parts_;         ///< written on the media thread
    std::atomic<bool> retired_{false}; ///< written on the media thread
    bool wishQueued_ = false;
    GstState state_ = GST_STATE_PAUSED; ///< reached, or being gone to
    bool saidPlaying_ = false;
    bool moved_ = false;    ///< by GStreamer, since it was opened
    bool renewing_ = false; ///< another pipeline takes this one's place
    bool animated_ = false; ///< a picture that moves by itself, without being played
    bool answered_ = false;
    bool ledAstray_ = false; ///< redirected to an address that is not opened
    bool factsStale_ = false;
    int buffered_ = 100;
    Clock::time_point emptySince_; ///< when that is less
    MediaFacts known_;
    GstOwner<GstTagList> tags_; ///< of the whole
    std::unique_ptr<Cover> cover_;
    MediaAddress present_;
    std::optional<Going> going_;               ///< until the media is open
    std::optional<EngineAnswered> nextAnswer_; ///< what the next media's server said
    std::optional<EngineFailed> nextFailure_;
    bool saidOver_ = false; ///< that it was played to its end although another one was to follow
    Clock::time_point positionReported_;
    std::int64_t sampledMs_ = 0; ///< where the media was a moment ago, at sampledAt_
    Clock::time_point sampledAt_;

    // What is wanted.
    bool wantPlaying_ = false;
    std::optional<std::int64_t> wantPositionMs_;
    Speed wantSpeed_;
    Speed speed_; ///< the one that holds
    unsigned volume_ = 100;
    bool mute_ = false;
    std::optional<std::int64_t> markA_; ///< of the part to repeat
    std::optional<std::int64_t> markB_; ///< the part is repeated
    std::int64_t segmentEnd_ = 0;       ///< of the part, when its repetition was ended meanwhile
    std::uint32_t seekNumber_ = 0;      ///< by which what a seek leads to is known
    bool segmentEnded_ = false;         ///< the part has been read to its end
    bool readAgain_ = false;            ///< more than once, without having been moved
    bool bounded_ = false;              ///< the media ends where the part does
    std::int64_t movesToMs_ = 0;        ///< where the step that is under way leads
    bool ended_ = false;                ///< there is no more, which is not reported yet
    std::optional<Leaps> leaps_;
    DlnaFeatures features_;       ///< of the server, once the media is open
    std::string contentFeatures_; ///< as the server said it
    bool inside_ = false;         ///< GStreamer can move the media itself
    bool answersRanges_ = false;  ///< the server has said or shown that it does
    bool nextAnswersRanges_ = false;
    Parts nextParts_ = Parts::kUnknown;
    bool copyWhole_ = false;       ///< all of the media is there
    bool fragmented_ = false;      ///< its pictures' tables are all over the file
    std::optional<Asked> asked_;   ///< once the server was asked to move it
    bool refused_ = false;         ///< it did not do so
    std::int64_t wholeMs_ = -1;    ///< length of the whole media, which it sends a part of
    GSource* leapTimer_ = nullptr; ///< while there are leaps

    // Written on streaming threads.
    std::atomic<std::uint64_t> bytesArrived_{0};
    std::atomic<bool> unhurried_{true};  ///< until the media is open, see onData
    std::atomic<bool> indexLast_{false}; ///< an MP4's is not at its beginning
    std::atomic<bool> waits_{false};     ///< the copy is read when what is read has arrived
    std::atomic<bool> waiting_{false};   ///< for that, now
    std::atomic<bool> allArrived_{false};
    std::atomic<std::int64_t> sourceBytes_{-1};          ///< of the whole, as the server says
    std::atomic<std::uint64_t> sampleBytesPerSecond_{0}; ///< of bare samples
    mutable std::mutex mutex_;
    std::string capsName_;                      // guarded by mutex_
    std::string timeSeekHeader_;                ///< what is asked; guarded by mutex_
    std::string playSpeedHeader_;               // guarded by mutex_
    GstOwner<GstElement> copy_;                 ///< of what arrived; guarded by mutex_
    std::vector<std::uint8_t> header_;          // the media's first bytes; guarded by mutex_
    bool imageTooLarge_ = false;                // guarded by mutex_
    std::vector<GstOwner<GstElement>> volumes_; // guarded by mutex_
};

} // namespace player
