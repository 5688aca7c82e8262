#include "bus/player_service.h"

#include <chrono>
#include <optional>
#include <utility>

#include "ServiceRecords.h"
#include "bus/record_writer.h"

namespace player {
namespace {

constexpr char kInstance[] = "main";
constexpr int kEngineThreads = 3;
/// The main loop never waits, so this is only passed when the process is in trouble; it is less
/// than the five seconds after which whoever asked gives up.
constexpr std::chrono::seconds kAnswerLimit{4};

} // namespace

PlayerService::PlayerService(TaskQueue& mainQueue, Handlers handlers)
    : mainQueue_(mainQueue), handlers_(std::move(handlers)) {}

PlayerService::~PlayerService() {
    {
        // Whoever still waits for an answer gets a no, so that the goodbye need not wait for it.
        const std::lock_guard<std::mutex> lock(exchange_->mutex);
        exchange_->closed = true;
    }
    exchange_->answered.notify_all();
    playerState_.reset();
    soundState_.reset();
    if (engine_) {
        engine_->Stop();
    }
}

bool PlayerService::open(const PlayerStatus& status, const SoundStatus& sound, std::string* error) {
    engine_ = std::make_unique<zeMultiMBusEngine>(false);
    statebus::setConnectionListener(
        *engine_, [queue = &mainQueue_, onConnection = handlers_.onConnection](bool connected) {
            queue->post([onConnection, connected] { onConnection(connected); });
        });
    if (engine_->Open() != 0 || engine_->Start(kEngineThreads) != 0) {
        *error = "the bus cannot be reached";
    } else if (publish(status, sound, error)) {
        return true;
    }
    playerState_.reset();
    soundState_.reset();
    engine_->Stop();
    engine_.reset();
    return false;
}

bool PlayerService::publish(const PlayerStatus& status, const SoundStatus& sound,
                            std::string* error) {
    statebus::PublicationSpec soundSpec;
    soundSpec.layout = &SoundServiceTemplate;
    soundSpec.instance = kInstance;
    soundSpec.initial.emplace(SoundServiceTemplate);
    writeSound(*soundSpec.initial, sound);
    soundSpec.onWrite = [this](const std::string& path, const std::string& text) {
        return ask([this, path, text] { return handlers_.onSoundWrite(path, text); });
    };
    soundState_ = statebus::publish(*engine_, std::move(soundSpec), error);
    if (!soundState_) {
        return false;
    }

    statebus::PublicationSpec playerSpec;
    playerSpec.layout = &ContentPlayerServiceTemplate;
    playerSpec.instance = kInstance;
    playerSpec.initial.emplace(ContentPlayerServiceTemplate);
    writeStatus(*playerSpec.initial, status);
    playerSpec.will = playerWill();
    playerSpec.argumentLayouts = {&ContentPlayerServiceURIExTemplate,
                                  &ContentPlayerServiceCustomCommandTemplate};
    playerSpec.onCommand = [this](const statebus::Command& command) {
        return ask([this, command] { return handlers_.onPlayerCommand(command); });
    };
    playerSpec.onWrite = [this](const std::string& path, const std::string& text) {
        return ask([this, path, text] { return handlers_.onPlayerWrite(path, text); });
    };
    playerState_ = statebus::publish(*engine_, std::move(playerSpec), error);
    return playerState_ != nullptr;
}

void PlayerService::announce(const PlayerStatus& status) {
    if (playerState_) {
        playerState_->change([&status](statebus::Record& record) { writeStatus(record, status); });
    }
}

void PlayerService::announceSound(const SoundStatus& sound) {
    if (soundState_) {
        soundState_->change([&sound](statebus::Record& record) { writeSound(record, sound); });
    }
}

/// Runs `question` on the main loop and waits for what it says; called on the service thread.
bool PlayerService::ask(std::function<bool()> question) {
    const std::shared_ptr<Exchange> exchange = exchange_;
    const auto answer = std::make_shared<std::optional<bool>>(); // guarded by exchange->mutex
    const auto abandoned = std::make_shared<bool>(false);        // guarded by exchange->mutex
    mainQueue_.post([exchange, answer, abandoned, question = std::move(question)] {
        {
            const std::lock_guard<std::mutex> lock(exchange->mutex);
            if (exchange->closed || *abandoned) {
                return; // nobody waits; a command that was answered with no must not happen
            }
        }
        const bool said = question();
        const std::lock_guard<std::mutex> lock(exchange->mutex);
        *answer = said;
        exchange->answered.notify_all();
    });
    std::unique_lock<std::mutex> lock(exchange->mutex);
    exchange->answered.wait_for(lock, kAnswerLimit, [&exchange, &answer] {
        return answer->has_value() || exchange->closed;
    });
    *abandoned = true;
    return answer->value_or(false);
}

} // namespace player
