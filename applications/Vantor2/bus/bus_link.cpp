#include "bus/bus_link.h"

#include <cstring>
#include <string_view>
#include <utility>

#include "ServiceRecords.h"
#include "base/log.h"
#include "base/main_thread.h"

namespace vantor {

namespace {

constexpr const char* kInstance = "main";
constexpr std::string_view kPlayerName = "ContentPlayerService$main";
constexpr std::string_view kSoundName = "SoundService$main";

// What a player that stood still for a moment need not be told any more: everything about a media
// that is replaced, and whatever was to happen to a playback that shall stop.
enum PlayerBit : unsigned {
    kOpenBit = 1,
    kStopBit = 2,
    kPlayBit = 4,
    kPauseBit = 8,
    kSeekBit = 16,
    kNextBit = 32
};
constexpr CommandSender::Kind kOpen{kOpenBit,
                                    kStopBit | kPlayBit | kPauseBit | kSeekBit | kNextBit};
constexpr CommandSender::Kind kStop{kStopBit, kPlayBit | kPauseBit | kSeekBit | kNextBit};
constexpr CommandSender::Kind kNext{kNextBit, 0, kOpenBit};
// A player that stood still when it was to open would play what it has from before.
constexpr CommandSender::Kind kPlay{kPlayBit, 0, kOpenBit};
constexpr CommandSender::Kind kPause{kPauseBit, 0};
constexpr CommandSender::Kind kSeek{kSeekBit, 0};

enum SoundBit : unsigned { kVolumeBit = 1, kMuteBit = 2 };
constexpr CommandSender::Kind kVolume{kVolumeBit, 0};
constexpr CommandSender::Kind kMute{kMuteBit, 0};

// The player and the sound on the bus. Each runs on the sender's thread.
bool sendToPlayer(zeSBusManager* manager, zeSBusCommand& command) {
    return command.Execute(manager, ContentPlayerServiceTemplate.mTypeName, kInstance);
}

bool sendMedia(zeSBusManager* manager, const char* word, const MediaOrder& order) {
    statebus::Record argument(ContentPlayerServiceURIExTemplate);
    const std::pair<const char*, const std::string&> fields[] = {
        {"mMediaURI", order.mediaUri},
        {"mMediaInfo", order.mediaInfo},
        {"mTrackURI", order.trackUri},
        {"mTrackInfo", order.trackInfo},
    };
    for (const auto& [field, text] : fields) {
        if (!text.empty()) {
            argument.setText(field, text);
        }
    }
    zeSBusCommand command(word, argument.release());
    return sendToPlayer(manager, command);
}

} // namespace

BusLink::BusLink(BusEvents events) : events_(std::move(events)) {}

BusLink::~BusLink() {
    close();
}

bool BusLink::open(std::string& error) {
    engine_ = std::make_unique<zeMultiMBusEngine>(false);
    manager_ = std::make_unique<zeSBusManager>();
    statebus::setConnectionListener(*engine_, [this](bool connected) {
        postToMain([this, connected] { events_.connection(connected); });
    });
    manager_->AttachEngine(engine_.get());
    const bool registered =
        manager_->RegisterRemoteSBusStateCallback(&BusLink::instanceChanged, this) &&
        manager_->RegisterListeningSBusState(ContentPlayerServiceTemplate.mTypeName, "") &&
        manager_->RegisterListeningSBusState(SoundServiceTemplate.mTypeName, "");
    if (!registered || engine_->Open() != 0 || engine_->Start(1) != 0) {
        error = "cannot reach the state bus";
        return false;
    }
    return true;
}

bool BusLink::publish(const RendererRecord& record, std::string& error) {
    statebus::Record present(MediaRendererServiceTemplate);
    fillRecord(present, record);
    RendererRecord gone = record;
    gone.visible = false;
    gone.requests.clear();
    statebus::Record will(MediaRendererServiceTemplate);
    fillRecord(will, gone);
    if (publication_) {
        if (publication_->snapshot().number("mPlayerControlAuthorization") != record.playerPolicy ||
            publication_->snapshot().number("mSoundControlAuthorization") != record.soundPolicy) {
            publication_->setWill(will);
        }
        publication_->change([&](statebus::Record& shown) { shown = present; });
        return true;
    }
    statebus::PublicationSpec spec;
    spec.layout = &MediaRendererServiceTemplate;
    spec.initial = std::move(present);
    spec.will = std::move(will);
    spec.onCommand = [this](const statebus::Command& command) {
        return askMain([this, command] { return events_.command(command); });
    };
    spec.onWrite = [this](const std::string& path, const std::string& text) {
        return askMain([this, path, text] { return events_.write(path, text); });
    };
    publication_ = statebus::publish(*engine_, std::move(spec), &error);
    return publication_ != nullptr;
}

void BusLink::close() {
    if (!engine_) {
        return;
    }
    publication_.reset();
    manager_->Stop();
    engine_->Stop(); // a command on its way ends with a no
    player_.stop();
    sound_.stop();
    manager_.reset();
    engine_.reset();
}

// ---- What the bus brings, on its delivery thread ----

void BusLink::instanceChanged(zeSBusManager* manager, void* data, const char* fullName,
                              bool added) {
    auto* self = static_cast<BusLink*>(data);
    const std::string_view name = fullName;
    if (name == kPlayerName && added) {
        manager->RegisterToStateChange(&ContentPlayerServiceTemplate, kInstance,
                                       &BusLink::playerRecord, self);
    } else if (name == kPlayerName) {
        postToMain([self] { self->events_.playerGone(); });
    } else if (name == kSoundName && added) {
        manager->RegisterToStateChange(&SoundServiceTemplate, kInstance, &BusLink::soundRecord,
                                       self);
    } else if (name == kSoundName) {
        postToMain([self] { self->events_.soundGone(); });
    }
}

void BusLink::playerRecord(zeSBusManager*, void* data, const zeSBusStateSerializable* state) {
    auto* self = static_cast<BusLink*>(data);
    if (state == nullptr) {
        return;
    }
    const auto& record = *static_cast<const ContentPlayerService*>(state);
    postToMain([self, report = reportOf(record)] { self->events_.playerChanged(report); });
}

void BusLink::soundRecord(zeSBusManager*, void* data, const zeSBusStateSerializable* state) {
    auto* self = static_cast<BusLink*>(data);
    if (state == nullptr) {
        return;
    }
    const SoundChannel& master = static_cast<const SoundService*>(state)->mMaster;
    postToMain([self, volume = unsigned(master.mVolume), mute = master.mfMute != 0] {
        self->events_.soundChanged(volume, mute);
    });
}

// ---- Commands ----

void BusLink::open(const MediaOrder& order, CommandDone done) {
    player_.send(
        kOpen, [manager = manager_.get(), order] { return sendMedia(manager, "seturiex", order); },
        std::move(done));
}

void BusLink::announceNext(const MediaOrder& order, CommandDone done) {
    player_.send(
        kNext,
        [manager = manager_.get(), order] { return sendMedia(manager, "setnexturiex", order); },
        std::move(done));
}

void BusLink::play(const std::string& speed, CommandDone done) {
    player_.send(
        kPlay,
        [manager = manager_.get(), speed] {
            zeSBusCommand command("play", speed.c_str());
            return sendToPlayer(manager, command);
        },
        std::move(done));
}

void BusLink::sendPlayerWord(CommandSender::Kind kind, const char* word, CommandDone done) {
    player_.send(
        kind,
        [manager = manager_.get(), word] {
            zeSBusCommand command(word);
            return sendToPlayer(manager, command);
        },
        std::move(done));
}

void BusLink::pause(CommandDone done) {
    sendPlayerWord(kPause, "pause", std::move(done));
}

void BusLink::stop(CommandDone done) {
    sendPlayerWord(kStop, "stop", std::move(done));
}

void BusLink::seek(std::uint32_t seconds, CommandDone done) {
    player_.send(
        kSeek,
        [manager = manager_.get(), text = std::to_string(seconds)] {
            return manager->SetValue(ContentPlayerServiceTemplate.mTypeName, kInstance,
                                     "mPlayback.mPositionSec", text.c_str());
        },
        std::move(done));
}

void BusLink::setVolume(unsigned volume, CommandDone done) {
    sound_.send(
        kVolume,
        [manager = manager_.get(), text = std::to_string(volume)] {
            return manager->SetValue(SoundServiceTemplate.mTypeName, kInstance, "mMaster.mVolume",
                                     text.c_str());
        },
        std::move(done));
}

void BusLink::setMute(bool mute, CommandDone done) {
    sound_.send(
        kMute,
        [manager = manager_.get(), text = mute ? "1" : "0"] {
            return manager->SetValue(SoundServiceTemplate.mTypeName, kInstance, "mMaster.mfMute",
                                     text);
        },
        std::move(done));
}

} // namespace vantor
