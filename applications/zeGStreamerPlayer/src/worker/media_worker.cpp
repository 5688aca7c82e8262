#include "worker/media_worker.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>

#include "engine/gstreamer_engine.h"
#include "process/log.h"
#include "process/task_queue.h"
#include "worker/channel.h"
#include "worker/sandbox.h"

namespace player {
namespace {

constexpr std::chrono::milliseconds kGoodbyeLimit{1200};
constexpr rlim_t kMostMemory = rlim_t{2} << 30;

/// Media that would take more ends with an error or with the worker, never with the TV.
void limitMemory() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they reserve far more
    const rlimit most{kMostMemory, kMostMemory};
    if (setrlimit(RLIMIT_DATA, &most) != 0) {
        logWarning("the media worker may use all memory");
    }
#endif
}

/// Every media brings threads of its own and buffers of many sizes. Left to itself the allocator
/// gives each thread a heap and, once it has seen large buffers come and go, takes them from there:
/// after some hundred films the heaps are a hundred megabytes of gaps.
void keepMemoryTogether() {
#if defined(__GLIBC__)
    constexpr int kHeaps = 2;
    constexpr int kLarge = 256 << 10; // is the system's again when it is freed
    mallopt(M_ARENA_MAX, kHeaps);
    mallopt(M_MMAP_THRESHOLD, kLarge);
#endif
}

class MediaWorker {
public:
    explicit MediaWorker(const Settings& settings)
        : loop_(g_main_loop_new(nullptr, FALSE)),
          queue_(nullptr),
          channel_(
              kWorkerSocket, [this](const Bytes& bytes) { onMessage(bytes); },
              [this] { g_main_loop_quit(loop_); }),
          engine_(settings, queue_, [this](const EngineEvent& event) { answer(event); }) {}
    ~MediaWorker() { g_main_loop_unref(loop_); }
    MediaWorker(const MediaWorker&) = delete;
    MediaWorker& operator=(const MediaWorker&) = delete;

    int run() {
        engine_.formats([this](const std::string& formats) { answer(Formats{formats}); });
        g_main_loop_run(loop_);
        if (!engine_.shutDown(kGoodbyeLimit)) {
            // GStreamer may crash when it is interrupted; the system takes back what it holds.
            logDebug("ending without waiting for the media");
            std::_Exit(EXIT_SUCCESS);
        }
        return EXIT_SUCCESS;
    }

private:
    void answer(const Answer& answer) {
        if (!channel_.send(encode(answer))) {
            // The bus process is gone, or has not listened for so long that it might as well be.
            g_main_loop_quit(loop_);
        }
    }

    void onMessage(const Bytes& bytes) {
        const std::optional<Order> order = decodeOrder(bytes);
        if (order) {
            std::visit([this](const auto& what) { on(what); }, *order);
        } else {
            logError("an order that makes no sense");
        }
    }

    void on(const OpenOrder& order) { engine_.open(order.session, order.address); }
    void on(const PlayOrder& order) { engine_.play(order.session); }
    void on(const PauseOrder& order) { engine_.pause(order.session); }
    void on(const SeekOrder& order) { engine_.seek(order.session, order.positionMs); }
    void on(const SpeedOrder& order) { engine_.setSpeed(order.session, order.speed); }
    void on(const AudioTrackOrder& order) { engine_.setAudioTrack(order.session, order.index); }
    void on(const RepeatOrder& order) { engine_.repeat(order.session, order.what); }
    void on(const NextOrder& order) {
        engine_.setNext(order.session, order.next.empty()
                                           ? std::nullopt
                                           : std::optional<NextMedia>(order.next.front()));
    }
    void on(const CloseOrder& order) { engine_.close(order.session); }
    void on(const VolumeOrder& order) { engine_.setVolume(order.percent, order.mute); }
    void on(const ViewOrder& order) { engine_.setView(order.view); }
    void on(const FullScreenOrder& order) { engine_.setFullScreen(order.on); }
    void on(const MoveOrder& order) { engine_.moveView(order.right, order.down); }
    void on(const SaveScreenOrder& order) {
        engine_.saveScreen(order.path, [this, id = order.id](const std::string& error) {
            answer(SavedScreen{id, error});
        });
    }
    void on(const Ping&) {
        engine_.ping([this] { answer(Pong{}); });
    }

    GMainLoop* loop_;
    TaskQueue queue_;
    Channel channel_;
    GStreamerEngine engine_;
};

} // namespace

int runMediaWorker(const Settings& settings) {
    fcntl(kWorkerSocket, F_SETFD, FD_CLOEXEC);
    // Also when it has been stopped and cannot notice that the connection is closed.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The bus process decides when to end; a terminal's Ctrl-C reaches both.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    // The desktop's settings are none of its business, and out of its reach.
    setenv("GSETTINGS_BACKEND", "memory", 1);
    limitMemory();
    keepMemoryTogether();
    enterSandbox(settings);
    return MediaWorker(settings).run();
}

} // namespace player
