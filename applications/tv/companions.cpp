#include "tv/companions.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <unistd.h>

#include "ServiceRecords.h"
#include "middleware/event_loop.h"
#include "statebus/publisher.h"
#include "ze/zeTools.h"

namespace tv {

const char kDaemonPath[] = "/applications/DLNA/release/bin/Vantor2";
const char kPlayerPath[] = "/applications/DLNA/release/bin/zeGStreamerPlayer";

namespace {

/// 0: there is no such process any more.
pid_t parentOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    // The name in parentheses may contain anything; behind it are the state and the parent.
    const std::size_t name = line.rfind(')');
    return name == std::string::npos || name + 4 >= line.size()
               ? 0
               : std::atoi(line.c_str() + name + 4);
}

/// With the program that the child runs; empty when it has ended and nobody has asked how.
void forEachChild(const std::function<void(pid_t, const std::filesystem::path&)>& use) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::directory_iterator process("/proc", error), end; !error && process != end;
         process.increment(error)) {
        const pid_t pid = std::atoi(process->path().filename().c_str());
        std::error_code gone; // or not ours to look at
        if (pid > 0 && parentOf(pid) == getpid())
            use(pid, fs::read_symlink(process->path() / "exe", gone));
    }
}

} // namespace

CompanionWatch::CompanionWatch(std::function<void()> changed) : changed_(std::move(changed)) {}

CompanionWatch::~CompanionWatch() {
    if (manager_)
        manager_->Stop();
    if (engine_)
        engine_->Stop();
}

bool CompanionWatch::open() {
    engine_ = std::make_unique<zeMultiMBusEngine>(false);
    manager_ = std::make_unique<zeSBusManager>();
    statebus::setConnectionListener(*engine_, [this](bool connected) {
        change([&](Companions& companions) { companions.connected = connected; });
    });
    manager_->RegisterRemoteSBusStateCallback(remoteState, this);
    manager_->RegisterListeningSBusState(ContentPlayerServiceTemplate.mTypeName, "");
    manager_->RegisterListeningSBusState(SoundServiceTemplate.mTypeName, "");
    manager_->RegisterListeningSBusState(MediaRendererServiceTemplate.mTypeName, "");
    manager_->AttachEngine(engine_.get());
    return engine_->Open() == 0 && engine_->Start(1) == 0;
}

Companions CompanionWatch::now() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return companions_;
}

void CompanionWatch::change(const std::function<void(Companions&)>& edit) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        edit(companions_);
    }
    middleware::EventLoop::instance().postTask(changed_);
}

void CompanionWatch::remoteState(zeSBusManager* manager, void* user, const char* fullName,
                                 bool added) {
    auto* self = static_cast<CompanionWatch*>(user);
    const std::string name = fullName;
    const std::size_t dollar = name.find('$');
    const std::string type = name.substr(0, dollar);
    const std::string instance = dollar == std::string::npos ? "" : name.substr(dollar + 1);
    if (type == ContentPlayerServiceTemplate.mTypeName) {
        self->change([&](Companions& companions) {
            if (added && companions.players.empty())
                companions.ownPlayer = instance;
            if (added)
                companions.players.insert(instance);
            else
                companions.players.erase(instance);
        });
        if (added)
            manager->RegisterToStateChange(&ContentPlayerServiceTemplate, instance.c_str(),
                                           playerChanged, self);
    } else if (type == SoundServiceTemplate.mTypeName) {
        bool own = false;
        self->change([&](Companions& companions) {
            if (added && companions.ownSound.empty())
                companions.ownSound = instance;
            own = companions.ownSound == instance;
            if (own && !added) {
                companions.volume.reset();
                companions.muted = false;
            }
        });
        if (added && own)
            manager->RegisterToStateChange(&SoundServiceTemplate, instance.c_str(), soundChanged,
                                           self);
    } else if (type == MediaRendererServiceTemplate.mTypeName) {
        self->change([](Companions& companions) {
            companions.daemon = false; // until it reports
            companions.visible = false;
            companions.requests.clear();
            companions.newestRequest = 0;
        });
        if (added)
            manager->RegisterToStateChange(&MediaRendererServiceTemplate, instance.c_str(),
                                           daemonChanged, self);
    }
}

void CompanionWatch::playerChanged(zeSBusManager*, void* user,
                                   const zeSBusStateSerializable* record) {
    if (record == nullptr)
        return;
    const auto& player = *static_cast<const ContentPlayerService*>(record);
    static_cast<CompanionWatch*>(user)->change(
        [&](Companions& companions) { companions.playerState = player.mState; });
}

void CompanionWatch::soundChanged(zeSBusManager*, void* user,
                                  const zeSBusStateSerializable* record) {
    if (record == nullptr)
        return;
    const SoundChannel& master = static_cast<const SoundService*>(record)->mMaster;
    static_cast<CompanionWatch*>(user)->change([&](Companions& companions) {
        companions.volume = master.mVolume;
        companions.muted = master.mfMute != 0;
    });
}

void CompanionWatch::daemonChanged(zeSBusManager*, void* user,
                                   const zeSBusStateSerializable* record) {
    if (record == nullptr)
        return;
    const auto& daemon = *static_cast<const MediaRendererService*>(record);
    static_cast<CompanionWatch*>(user)->change([&](Companions& companions) {
        companions.daemonStarts += companions.daemon ? 0 : 1;
        companions.daemon = true;
        companions.visible = daemon.mfVisible == 1;
        companions.policy = daemon.mPlayerControlAuthorization;
        companions.name = daemon.mFriendlyName != nullptr ? daemon.mFriendlyName : "";
        companions.requests.clear();
        for (unsigned i = 0;
             daemon.mAuthorizationRequests != nullptr && i < daemon.mAuthorizationRequestsCount;
             ++i) {
            const MediaRendererAuthorizationRequest& request = daemon.mAuthorizationRequests[i];
            companions.newestRequest = std::max(companions.newestRequest, request.mRequestId);
            if (request.mState == kRequestRequested || request.mState == kRequestPostponed)
                companions.requests.insert(request.mRequestId);
        }
    });
}

bool CompanionWatch::playerIsThere() const {
    const Companions companions = now();
    return companions.players.count(companions.ownPlayer) != 0;
}

bool CompanionWatch::tellPlayer(zeSBusCommand&& command) {
    return playerIsThere() &&
           command.Execute(manager_.get(), ContentPlayerServiceTemplate.mTypeName,
                           now().ownPlayer.c_str());
}

bool CompanionWatch::takePicture(const std::string& file) {
    return adjustPlayer("Snapshot", file);
}

bool CompanionWatch::adjustPlayer(const char* what, const std::string& value) {
    auto* command = static_cast<ContentPlayerServiceCustomCommand*>(
        zeSBusState::New(&ContentPlayerServiceCustomCommandTemplate, nullptr));
    if (command == nullptr)
        return false;
    command->mCommand = zeStrdup(what);
    command->mArgument = zeStrdup(value.c_str());
    return tellPlayer(zeSBusCommand("customcommand", command));
}

bool CompanionWatch::setIdleMedia(const std::string& address) {
    return tellPlayer(zeSBusCommand("setidleuri", address.c_str()));
}

bool CompanionWatch::runIdleMedia(bool on) {
    return tellPlayer(zeSBusCommand(on ? "playidleuri" : "stopidleuri"));
}

bool CompanionWatch::loopIdleMedia(bool on) {
    return tellPlayer(zeSBusCommand("setidleloop", on ? 1L : 0L));
}

bool CompanionWatch::daemonAnswers() {
    const std::string policy = std::to_string(now().policy);
    return manager_->SetValue(MediaRendererServiceTemplate.mTypeName, nullptr,
                              "mPlayerControlAuthorization", policy.c_str());
}

const char* programToWaitFor(const Companions& companions) {
    const bool playing = companions.playerState == kPlayerPaused ||
                         companions.playerState == kPlayerPlaying ||
                         companions.playerState == kPlayerLoading;
    if (playing && !companions.players.empty())
        return kPlayerPath;
    return companions.visible ? kDaemonPath : nullptr;
}

bool runsCompanion(const char* program) {
    std::error_code error;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", error);
    bool found = false;
    forEachChild([&](pid_t, const std::filesystem::path& running) {
        found = found || running == program || running == own;
    });
    return found;
}

bool killCompanion(const char* program) {
    bool killed = false;
    forEachChild([&](pid_t pid, const std::filesystem::path& running) {
        if (running == program)
            killed = kill(pid, SIGKILL) == 0 || killed;
    });
    return killed;
}

std::string reasonToWait(const Companions& companions) {
    if (!companions.connected)
        return "the state bus is gone";
    const char* program = programToWaitFor(companions);
    if (program == kPlayerPath)
        return "the player has not reported that it stopped";
    if (program == kDaemonPath)
        return reasonToWaitForDaemon(companions);
    return "";
}

std::string reasonToWaitForDaemon(const Companions& companions) {
    return companions.connected ? "the renderer daemon has not reported that it left the network"
                                : "the state bus is gone";
}

} // namespace tv
