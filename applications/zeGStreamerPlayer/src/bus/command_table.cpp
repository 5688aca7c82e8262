#include "bus/command_table.h"

#include <array>
#include <optional>
#include <utility>

#include "ServiceRecords.h"
#include "logic/numbers.h"
#include "logic/play_request.h"

namespace player {
namespace {

using Argument = statebus::Command::Argument;

std::string textOf(const char* text) {
    return text == nullptr ? "" : text;
}

std::optional<Speed> speedIn(const Argument& argument) {
    const auto* const text = std::get_if<std::string>(&argument);
    return text == nullptr ? std::nullopt : Speed::fromText(*text);
}

/// The record in an argument, if it has the layout that is expected.
template <class T> const T* recordIn(const Argument& argument, const zeSBusStateTemplate& layout) {
    const auto* const record = std::get_if<statebus::Record>(&argument);
    return record != nullptr && &record->layout() == &layout ? &record->as<T>() : nullptr;
}

PlayRequest requestOf(CommandTargets& targets, const std::string& mediaUri,
                      const std::string& mediaInfo, const std::string& trackUri,
                      const std::string& trackInfo) {
    std::string complaints;
    PlayRequest request = makePlayRequest(mediaUri, mediaInfo, trackUri, trackInfo, &complaints);
    if (!complaints.empty()) {
        targets.log("the description of " + mediaUri + " is ignored: " + complaints);
    }
    return request;
}

PlayRequest requestOf(CommandTargets& targets, const ContentPlayerServiceURIEx& uris) {
    return requestOf(targets, textOf(uris.mMediaURI), textOf(uris.mMediaInfo),
                     textOf(uris.mTrackURI), textOf(uris.mTrackInfo));
}

bool onSetUri(const Argument& argument, CommandTargets& targets) {
    const auto* const uri = std::get_if<std::string>(&argument);
    return uri != nullptr && targets.player.setMedia(requestOf(targets, *uri, "", "", ""));
}

bool onSetUriEx(const Argument& argument, CommandTargets& targets) {
    const auto* const uris =
        recordIn<ContentPlayerServiceURIEx>(argument, ContentPlayerServiceURIExTemplate);
    return uris != nullptr && targets.player.setMedia(requestOf(targets, *uris));
}

/// A record without an address takes back what was to follow.
bool onSetNextUriEx(const Argument& argument, CommandTargets& targets) {
    const auto* const uris =
        recordIn<ContentPlayerServiceURIEx>(argument, ContentPlayerServiceURIExTemplate);
    if (uris == nullptr) {
        return false;
    }
    PlayRequest request = requestOf(targets, *uris);
    return targets.player.setNext(
        request.track.uri.empty() ? std::nullopt : std::optional<PlayRequest>(std::move(request)));
}

bool onPlay(const Argument& argument, CommandTargets& targets) {
    if (std::holds_alternative<std::monostate>(argument)) {
        return targets.player.play(Speed());
    }
    const std::optional<Speed> speed = speedIn(argument);
    return speed && targets.player.play(*speed);
}

bool onSetSpeed(const Argument& argument, CommandTargets& targets) {
    const std::optional<Speed> speed = speedIn(argument);
    return speed && targets.player.setSpeed(*speed);
}

bool onPause(const Argument&, CommandTargets& targets) {
    return targets.player.pause();
}

bool onStop(const Argument&, CommandTargets& targets) {
    return targets.player.stop();
}

bool onTimeSeek(const Argument& argument, CommandTargets& targets) {
    const auto* const text = std::get_if<std::string>(&argument);
    const std::optional<std::int64_t> position = text == nullptr ? std::nullopt : timeInMs(*text);
    return position && targets.player.seek(*position);
}

bool onSetPlayMode(const Argument& argument, CommandTargets& targets) {
    const auto* const mode = std::get_if<std::string>(&argument);
    return mode != nullptr && targets.player.setPlayMode(*mode);
}

bool onSetIdleUri(const Argument& argument, CommandTargets& targets) {
    const auto* const uri = std::get_if<std::string>(&argument);
    targets.idle.setFree(targets.player.atRest());
    return uri != nullptr && targets.idle.setUri(*uri);
}

bool onPlayIdleUri(const Argument&, CommandTargets& targets) {
    targets.idle.setFree(targets.player.atRest());
    return targets.idle.play();
}

bool onStopIdleUri(const Argument&, CommandTargets& targets) {
    return targets.idle.stop();
}

bool onSetIdleLoop(const Argument& argument, CommandTargets& targets) {
    const auto* const number = std::get_if<long long>(&argument);
    return number != nullptr && targets.idle.setLoop(*number != 0);
}

bool onExit(const Argument&, CommandTargets& targets) {
    targets.exit();
    return true;
}

bool onVolume(const std::string& argument, CommandTargets& targets) {
    if (argument == "UP") {
        targets.sound.up();
    } else if (argument == "DOWN") {
        targets.sound.down();
    } else {
        return false;
    }
    return true;
}

bool onAudioTrack(const std::string& argument, CommandTargets& targets) {
    const std::optional<std::uint32_t> index = decimalNumber(argument);
    return index && targets.player.setAudioTrack(*index);
}

constexpr std::array kRepeatWords = {
    std::pair{"NONE", Repeat::kNone},
    std::pair{"A", Repeat::kA},
    std::pair{"AB", Repeat::kAB},
};

bool onRepeatAB(const std::string& argument, CommandTargets& targets) {
    for (const auto& [word, what] : kRepeatWords) {
        if (argument == word) {
            return targets.player.repeat(what);
        }
    }
    return false;
}

bool onSnapshot(const std::string& argument, CommandTargets& targets) {
    return targets.saveScreen(argument);
}

using CustomRow = std::pair<const char*, bool (*)(const std::string&, CommandTargets&)>;
constexpr std::array kCustomCommands = {
    CustomRow{"Volume", onVolume},
    CustomRow{"AudioTrackIndex", onAudioTrack},
    CustomRow{"RepeatAB", onRepeatAB},
    CustomRow{"Snapshot", onSnapshot},
};

bool onCustomCommand(const Argument& argument, CommandTargets& targets) {
    const auto* const custom = recordIn<ContentPlayerServiceCustomCommand>(
        argument, ContentPlayerServiceCustomCommandTemplate);
    if (custom == nullptr) {
        return false;
    }
    const std::string word = textOf(custom->mCommand);
    for (const auto& [known, action] : kCustomCommands) {
        if (word == known) {
            return action(textOf(custom->mArgument), targets);
        }
    }
    if (Picture::knows(word)) {
        return targets.picture.set(word, textOf(custom->mArgument));
    }
    targets.log("the custom command " + word + " is not known");
    return false;
}

using Row = std::pair<const char*, bool (*)(const Argument&, CommandTargets&)>;
constexpr std::array kCommands = {
    Row{"seturi", onSetUri},
    Row{"seturiex", onSetUriEx},
    Row{"setnexturiex", onSetNextUriEx},
    Row{"play", onPlay},
    Row{"pause", onPause},
    Row{"stop", onStop},
    Row{"timeseek", onTimeSeek},
    Row{"setspeed", onSetSpeed},
    Row{"setplaymode", onSetPlayMode},
    Row{"customcommand", onCustomCommand},
    Row{"setidleuri", onSetIdleUri},
    Row{"playidleuri", onPlayIdleUri},
    Row{"stopidleuri", onStopIdleUri},
    Row{"setidleloop", onSetIdleLoop},
    Row{"exit", onExit},
};

} // namespace

bool carryOut(const statebus::Command& command, CommandTargets& targets) {
    for (const auto& [word, action] : kCommands) {
        if (command.word == word) {
            const bool accepted = action(command.argument, targets);
            if (!targets.player.atRest()) {
                // At once: the idle media must not be opened over what was pushed. That the screen
                // is free again may wait: after a stop the next media often follows in a moment.
                targets.idle.setFree(false);
            }
            return accepted;
        }
    }
    targets.log("the command " + command.word + " is not known");
    return false;
}

bool carryOutWrite(const std::string& path, const std::string& text, Player& player) {
    const std::optional<std::uint32_t> seconds = decimalNumber(text);
    return path == "mPlayback.mPositionSec" && seconds &&
           player.seek(static_cast<std::int64_t>(*seconds) * 1000);
}

} // namespace player
