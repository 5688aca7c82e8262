#include "contestants.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <vector>

#include "ServiceRecords.h"
#include "statebus/record.h"

namespace bench {
namespace {

constexpr char kInstance[] = "main";
constexpr std::chrono::seconds kLimit{30};

/// What the processes find around them; nothing of whoever runs the benchmark gets in.
const std::string& prepared(const std::string& folder) {
    for (const char* const name :
         {"DISPLAY", "WAYLAND_DISPLAY", "PULSE_SERVER", "KETRA_SCREEN_SIZE",
          "KETRA_DOWNLOAD_LIMIT_MB", "KETRA_FULLSCREEN", "KETRA_TV_PID", "GST_DEBUG"}) {
        unsetenv(name);
    }
    setenv("KETRA_VIDEO_SINK", "benchsink", 1);
    setenv("KETRA_AUDIO_SINK", "fakesink", 1);
    setenv("KETRA_LOG", "warning", 1);
    for (const char* const name :
         {"KETRA_STATE_DIR", "KETRA_DOWNLOAD_DIR", "KETRA_SNAPSHOT_DIR", "XDG_RUNTIME_DIR"}) {
        setenv(name, folder.c_str(), 1);
    }
    setenv("GST_PLUGIN_PATH", PLAYER_BENCH_PLUGINS, 1);
    setenv("GST_REGISTRY", PLAYER_BENCH_REGISTRY, 1);
    return folder;
}

std::string picturesFile(const std::string& folder) {
    static int number = 0;
    const std::string path = prepared(folder) + "/pictures-" + std::to_string(++number);
    setenv(kPicturesVariable, path.c_str(), 1);
    return path;
}

} // namespace

Contestant::Contestant(const std::string& folder) : pictures_(picturesFile(folder)) {}

BarePlaybin::BarePlaybin(const std::string& folder)
    : Contestant(folder), program_({PLAYER_BENCH_BARE, "benchsink"}) {
    expect("ready");
}

BarePlaybin::~BarePlaybin() {
    program_.endInput();
    (void)program_.waitForExit();
}

void BarePlaybin::expect(const std::string& word) {
    if (!program_.waitForLine([&word](const std::string& line) { return line == word; }, kLimit)) {
        throw std::runtime_error("the bare pipeline does not say \"" + word +
                                 "\": " + program_.error());
    }
}

void BarePlaybin::push(const std::string& uri) {
    program_.say("open " + uri);
}

void BarePlaybin::seek(unsigned seconds) {
    program_.say("seek " + std::to_string(seconds));
}

void BarePlaybin::stop() {
    program_.say("close");
    expect("closed");
}

ThePlayer::ThePlayer(const std::string& folder)
    : Contestant(folder), program_({PLAYER_BENCH_PLAYER}) {
    if (!watcher_.start()) {
        throw std::runtime_error("no bus");
    }
    waitForState(kPlayerStopped);
}

ThePlayer::~ThePlayer() {
    program_.signal(SIGTERM);
    (void)program_.waitForExit();
}

Processes ThePlayer::processes() const {
    return {program_.pid(), childOf(program_.pid())};
}

void ThePlayer::waitForState(int state) {
    using testing_support::Notice;
    if (!watcher_.waitFor(
            [state](const std::vector<Notice>& notices) {
                return notices.back().kind == Notice::kChanged && notices.back().state == state;
            },
            kLimit)) {
        throw std::runtime_error("the player does not reach state " + std::to_string(state) + ": " +
                                 program_.error());
    }
}

void ThePlayer::command(const char* word, zeSBusState* argument) {
    if (!zeSBusCommand(word, argument)
             .Execute(&watcher_.manager(), ContentPlayerServiceTemplate.mTypeName, kInstance)) {
        throw std::runtime_error(std::string("the player refuses ") + word);
    }
}

void ThePlayer::push(const std::string& uri) {
    statebus::Record argument(ContentPlayerServiceURIExTemplate);
    argument.setText("mMediaURI", uri);
    argument.setText("mTrackURI", uri);
    command("seturiex", argument.release());
    if (!watcher_.command("play", kInstance, "1")) {
        throw std::runtime_error("the player refuses to play");
    }
}

void ThePlayer::seek(unsigned seconds) {
    if (!watcher_.manager().SetValue(ContentPlayerServiceTemplate.mTypeName, kInstance,
                                     "mPlayback.mPositionSec", std::to_string(seconds).c_str())) {
        throw std::runtime_error("the player refuses to seek");
    }
}

void ThePlayer::stop() {
    if (!watcher_.command("stop", kInstance)) {
        throw std::runtime_error("the player refuses to stop");
    }
    waitForState(kPlayerStopped);
}

void ThePlayer::zoom(const char* step) {
    statebus::Record argument(ContentPlayerServiceCustomCommandTemplate);
    argument.setText("mCommand", "Zoom");
    argument.setText("mArgument", step);
    command("customcommand", argument.release());
}

} // namespace bench
