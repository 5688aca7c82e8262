#include "worker/worker_engine.h"

#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include <glib.h>

#include "process/log.h"
#include "worker/media_worker.h"

namespace player {
namespace {

/// A worker that ends as soon as it begins is not tried more often than this.
constexpr std::chrono::milliseconds kNextAttempt{900};

/// This process's environment, but with `folder` as the one for copies; without one, with no room
/// for any: a media of which a copy cannot be begun would not play.
std::vector<std::string> environmentWith(const std::string& folder) {
    const std::string name = folder.empty() ? "KETRA_DOWNLOAD_LIMIT_MB=" : "KETRA_DOWNLOAD_DIR=";
    std::vector<std::string> entries;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, name.c_str(), name.size()) != 0) {
            entries.emplace_back(*entry);
        }
    }
    entries.push_back(name + (folder.empty() ? "0" : folder));
    return entries;
}

/// Starts this program once more, as a worker with `socket`. -1 when that fails.
pid_t spawnWorker(int socket, const std::string& folder) {
    char program[] = "/proc/self/exe";
    char name[] = "zeGStreamerPlayer";
    char role[] = "--media-worker";
    static_assert(sizeof kWorkerArgument == sizeof role);
    char* arguments[] = {name, role, nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, socket, kWorkerSocket);
    std::vector<std::string> entries = environmentWith(folder);
    std::vector<char*> environment;
    for (std::string& entry : entries) {
        environment.push_back(entry.data());
    }
    environment.push_back(nullptr);
    pid_t worker = -1;
    const int error =
        posix_spawn(&worker, program, &actions, nullptr, arguments, environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        logError(std::string("the media worker cannot be started: ") + std::strerror(error));
        return -1;
    }
    return worker;
}

/// Whether GStreamer has looked at its plug-ins before.
bool hasRegistry() {
    const char* const named = g_getenv("GST_REGISTRY");
    if (named != nullptr) {
        return g_file_test(named, G_FILE_TEST_EXISTS) != FALSE;
    }
    const std::string folder = std::string(g_get_user_cache_dir()) + "/gstreamer-1.0";
    std::error_code none;
    const std::filesystem::directory_iterator files(folder, none);
    return std::any_of(begin(files), end(files), [](const auto& file) {
        return file.path().filename().string().rfind("registry.", 0) == 0;
    });
}

} // namespace

WorkerEngine::WorkerEngine(TaskQueue& queue, std::string folder,
                           std::function<void(const EngineEvent&)> onEvent,
                           std::function<void(const std::string& formats)> onFormats,
                           std::function<void()> onGone)
    : queue_(queue),
      folder_(std::move(folder)),
      onEvent_(std::move(onEvent)),
      onFormats_(std::move(onFormats)),
      onGone_(std::move(onGone)),
      firstStart_(!hasRegistry()) {
    start();
}

WorkerEngine::~WorkerEngine() {
    if (timer_ != 0) {
        g_source_remove(timer_);
    }
    end();
}

void WorkerEngine::start() {
    if (timer_ != 0) {
        g_source_remove(std::exchange(timer_, 0));
    }
    started_ = Clock::now();
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) {
        logError(std::string("no connection to a media worker: ") + std::strerror(errno));
        startLater();
        return;
    }
    worker_ = spawnWorker(pair[1], folder_);
    ::close(pair[1]);
    if (worker_ < 0) {
        ::close(pair[0]);
        startLater();
        return;
    }
    ready_ = false;
    waiting_ = false;
    channel_ = std::make_unique<Channel>(
        pair[0], [this](const Bytes& bytes) { onMessage(bytes); }, [this] { onLost(); });
    send(volume_);
    send(view_);
    if (fullScreen_) {
        send(*fullScreen_);
    }
    if (waitingToOpen_) {
        send(*waitingToOpen_);
    }
    send(Ping{});
    waiting_ = true;
    asked_ = Clock::now();
}

/// One that ended as soon as it had begun is not replaced at once, yet within a second.
void WorkerEngine::startLater() {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        started_ + kNextAttempt - Clock::now());
    timer_ = g_timeout_add(static_cast<guint>(std::max<std::int64_t>(left.count(), 0)),
                           &WorkerEngine::startNow, this);
}

gboolean WorkerEngine::startNow(gpointer data) {
    auto* const self = static_cast<WorkerEngine*>(data);
    self->timer_ = 0;
    self->start();
    return G_SOURCE_REMOVE;
}

void WorkerEngine::send(const Order& order) {
    if (channel_ && !channel_->send(encode(order)) && worker_ > 0) {
        // It has not listened for so long that it is as good as gone; that it is comes in order.
        logError("the media worker does not listen");
        kill(worker_, SIGKILL);
    }
}

/// Ends the worker if it still runs; how it ended.
std::string WorkerEngine::reap() {
    if (worker_ <= 0) {
        return "not there";
    }
    kill(worker_, SIGKILL);
    int status = 0;
    while (waitpid(worker_, &status, 0) < 0 && errno == EINTR) {
    }
    worker_ = -1;
    onGone_();
    return WIFSIGNALED(status) ? std::string("signal ") + strsignal(WTERMSIG(status))
                               : "status " + std::to_string(WEXITSTATUS(status));
}

void WorkerEngine::end() {
    channel_.reset();
    (void)reap();
}

void WorkerEngine::onLost() {
    // The socket closes a moment before the process is gone: let it end in its own way.
    siginfo_t ignored;
    const auto end = Clock::now() + std::chrono::milliseconds(100);
    ignored.si_pid = 0;
    while (waitid(P_PID, static_cast<id_t>(worker_), &ignored, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ignored.si_pid == 0 && Clock::now() < end) {
        poll(nullptr, 0, 1);
    }
    channel_.reset();
    logError("the media worker is lost: " + reap());
    const bool early = Clock::now() - started_ < kNextAttempt;
    // A media that the worker had not begun to open is not what it was lost with.
    const bool again = waitingToOpen_ && !std::exchange(openedAnew_, true);
    if (!again) {
        waitingToOpen_.reset();
    }
    const Session session = again ? 0 : std::exchange(session_, 0);
    auto pictures = std::exchange(pictures_, {});
    if (early) {
        startLater();
    } else {
        start();
    }
    for (const auto& [id, done] : pictures) {
        done("the media worker was lost");
    }
    if (session != 0) {
        onEvent_(EngineEvent{session,
                             EngineFailed{PlayerError::kPlayerLost, "the media worker was lost"}});
    }
}

void WorkerEngine::onMessage(const Bytes& bytes) {
    const std::optional<Answer> answer = decodeAnswer(bytes);
    if (!answer) {
        logError("the media worker does not make sense");
        kill(worker_, SIGKILL);
        return;
    }
    if (const auto* const event = std::get_if<EngineEvent>(&*answer)) {
        if (waitingToOpen_ && event->session == waitingToOpen_->session) {
            waitingToOpen_.reset();
        }
        onEngineEvent(*event);
    } else if (const auto* const saved = std::get_if<SavedScreen>(&*answer)) {
        auto found = pictures_.extract(saved->id);
        if (!found.empty()) {
            found.mapped()(saved->error);
        }
    } else if (const auto* const formats = std::get_if<Formats>(&*answer)) {
        onFormats_(formats->list);
    } else {
        ready_ = true;
        firstStart_ = false;
        waiting_ = false;
    }
}

void WorkerEngine::onEngineEvent(const EngineEvent& event) {
    const auto* const followed = std::get_if<EngineFollowed>(&event.what);
    if (followed != nullptr && event.session == session_ && followed->next == following_) {
        session_ = std::exchange(following_, 0);
    }
    onEvent_(event);
}

void WorkerEngine::tick() {
    const auto now = Clock::now();
    if (!channel_) {
        return; // the next is on its way
    }
    if (!waiting_) {
        waiting_ = true;
        asked_ = now;
        send(Ping{});
    } else if (now - asked_ >= patience()) {
        logError("the media worker stands still");
        firstStart_ = firstStart_ || !ready_; // perhaps it only has a slow disk
        kill(worker_, SIGKILL);
    }
}

std::chrono::seconds WorkerEngine::patience() const {
    if (!ready_) {
        return firstStart_ ? kFirstStart : kStandstill;
    }
    return waitingToOpen_ ? kStuck : kStandstill;
}

void WorkerEngine::shutDown(std::chrono::milliseconds limit) {
    if (!channel_) {
        return;
    }
    // No more orders; it carries out what it has and closes its end.
    const int socket = channel_->socket();
    shutdown(socket, SHUT_WR);
    const auto end = Clock::now() + limit;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd ready{socket, POLLIN, 0};
        char message;
        if (left <= 0 || (poll(&ready, 1, static_cast<int>(left)) < 0 && errno != EINTR) ||
            (ready.revents != 0 && recv(socket, &message, 1, MSG_DONTWAIT | MSG_TRUNC) == 0)) {
            break;
        }
    }
    this->end();
}

void WorkerEngine::open(Session session, const MediaAddress& address) {
    session_ = session;
    waitingToOpen_.reset();
    openedAnew_ = false;
    if (!channel_) {
        start();
    }
    following_ = 0;
    if (!channel_) {
        queue_.post([this, session] {
            onEvent_(EngineEvent{
                session, EngineFailed{PlayerError::kPlayerLost, "there is no media worker"}});
        });
        return;
    }
    waitingToOpen_ = OpenOrder{session, address};
    send(*waitingToOpen_);
}

void WorkerEngine::play(Session session) {
    send(PlayOrder{session});
}

void WorkerEngine::pause(Session session) {
    send(PauseOrder{session});
}

void WorkerEngine::seek(Session session, std::int64_t positionMs) {
    send(SeekOrder{session, positionMs});
}

void WorkerEngine::setSpeed(Session session, Speed speed) {
    send(SpeedOrder{session, speed});
}

void WorkerEngine::setAudioTrack(Session session, unsigned index) {
    send(AudioTrackOrder{session, index});
}

void WorkerEngine::repeat(Session session, Repeat what) {
    send(RepeatOrder{session, what});
}

void WorkerEngine::setNext(Session session, const std::optional<NextMedia>& next) {
    NextOrder order{session, {}};
    if (next) {
        order.next.push_back(*next);
        following_ = next->session;
    }
    send(order);
}

void WorkerEngine::close(Session session) {
    if (session_ == session) {
        session_ = 0;
        waitingToOpen_.reset();
    }
    send(CloseOrder{session});
}

void WorkerEngine::setVolume(unsigned percent, bool mute) {
    volume_ = VolumeOrder{percent, mute};
    send(volume_);
}

void WorkerEngine::setFullScreen(bool on) {
    fullScreen_ = FullScreenOrder{on};
    send(*fullScreen_);
}

void WorkerEngine::setView(const View& view) {
    view_ = ViewOrder{view};
    send(view_);
}

void WorkerEngine::moveView(int right, int down) {
    send(MoveOrder{right, down});
}

void WorkerEngine::saveScreen(const std::string& path,
                              std::function<void(const std::string& error)> done) {
    if (!channel_) {
        queue_.post([done = std::move(done)] { done("there is no media worker"); });
        return;
    }
    const std::uint64_t id = ++lastPicture_;
    pictures_[id] = std::move(done);
    send(SaveScreenOrder{id, path});
}

} // namespace player
