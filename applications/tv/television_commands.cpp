#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <tuple>

#include <poll.h>
#include <sys/stat.h>

#include "statebus/visible_text.h"
#include "tv/television.h"

namespace tv {

namespace {

const char kNoPlayer[] = "the player is not there";

// Many times what a picture of the largest screen takes to be written.
constexpr std::chrono::seconds kPicturePatience{5};

// A daemon on a busy machine takes leave of the network within a fraction of that.
constexpr std::chrono::seconds kVisiblePatience{1};
constexpr int kLookPeriodMs = 5;

/// Another one for every file that takes the place of one, or that is written into; the same as
/// long as there is none.
using FileMark = std::tuple<ino_t, off_t, time_t, long>;
FileMark markOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

/// As the player sees it, which has the same environment.
bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* display = std::getenv(name);
        if (display != nullptr && *display != '\0')
            return true;
    }
    return false;
}

std::string pictureName() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[40];
    std::strftime(text, sizeof text, "ketra-tv-%Y%m%d-%H%M%S.png", &local);
    return text;
}

} // namespace

void Television::carryOut(const Command& command) {
    if (command.verb == Verb::kNothing)
        return;
    console_.refill();
    Outcome outcome = perform(command);
    // What is said without --script is somebody's remote control, who reads the answers.
    if (!outcome.ok && command.lineNumber > 0 && !options_.script.empty()) {
        outcome.text = "line " + std::to_string(command.lineNumber) + ": " + outcome.text;
        if (blame_ == ExitCode::kOk)
            blame_ = ExitCode::kRefused;
    }
    // A key's effect is seen on the screen; only that it had none needs words.
    if (!command.line.empty())
        report_.reply(command.line, outcome.ok, outcome.text);
    else if (!outcome.ok)
        report_.notice(outcome.text);
    else if (command.verb == Verb::kSnapshot)
        report_.notice("picture in " + outcome.text);
    else if (command.verb == Verb::kFullScreen && !outcome.text.empty())
        report_.notice(outcome.text);
}

Outcome Television::perform(const Command& command) {
    switch (command.verb) {
    case Verb::kPause:
        return renderer_.pause();
    case Verb::kResume:
        return renderer_.resume();
    case Verb::kPauseOrResume:
        return renderer_.pauseOrResume();
    case Verb::kSeekTo:
        return renderer_.seekTo(command.number);
    case Verb::kSeekBy:
        return renderer_.seekBy(command.number);
    case Verb::kForward:
        return renderer_.forward(command.number);
    case Verb::kBackward:
        return renderer_.backward(command.number);
    case Verb::kSlow:
        return renderer_.slow(command.number);
    case Verb::kStop:
        return renderer_.stop();
    case Verb::kZoomTo:
        return renderer_.zoomTo(command.number);
    case Verb::kZoomBy:
        return renderer_.zoomBy(command.number);
    case Verb::kRotateTo:
        return renderer_.rotateTo(command.number);
    case Verb::kRotateBy:
        return renderer_.rotateBy(command.number);
    case Verb::kPlainPicture:
        return renderer_.plainPicture();
    case Verb::kMove:
        return renderer_.move(command.text, command.number);
    case Verb::kRepeat:
        return renderer_.repeat(command.text);
    case Verb::kAudioTrack:
        return renderer_.audioTrack(command.number);
    case Verb::kNextAudioTrack:
        return renderer_.nextAudioTrack();
    case Verb::kRatio:
        return renderer_.ratio(command.number);
    case Verb::kNextRatio:
        return renderer_.nextRatio();
    case Verb::kCrop:
        return renderer_.crop(command.numbers);
    case Verb::kPlace:
        return renderer_.place(command.numbers);
    case Verb::kBlank:
        return renderer_.blank(command.number != 0);
    case Verb::kStretch:
        return renderer_.stretch(command.number != 0);
    case Verb::kFullScreen:
    case Verb::kIdle:
    case Verb::kIdleLoop:
        return ofThePlayer(command);
    case Verb::kVolumeUp:
        return renderer_.volumeUp();
    case Verb::kVolumeDown:
        return renderer_.volumeDown();
    case Verb::kMute:
        return renderer_.mute(true);
    case Verb::kUnmute:
        return renderer_.mute(false);
    case Verb::kAllow:
        return answer(true);
    case Verb::kDeny:
        return answer(false);
    case Verb::kAnswer:
        permission_.setMode(answerModeOf(command.text));
        return {};
    case Verb::kPolicy:
        return renderer_.setPolicy(answerModeOf(command.text));
    case Verb::kShow:
    case Verb::kHide:
        wantVisible_ = command.verb == Verb::kShow;
        if (!wantVisible_ && screen_.onHidden())
            renderer_.leave();
        return setVisible(wantVisible_);
    case Verb::kRename:
        return rename(command.text);
    case Verb::kSnapshot:
        return snapshot(command.text);
    case Verb::kStatus:
        report_.status(status());
        return {};
    case Verb::kHelp:
        report_.text(command.line.empty() ? kKeyHelp : kCommandHelp);
        return {};
    case Verb::kQuit:
        end(ExitCode::kOk);
        return {};
    case Verb::kNothing:
    case Verb::kWait:
    case Verb::kSleep:
        break; // never come here: the script carries the waits out
    }
    return {};
}

/// What the player does for its TV, and the library has no word for.
Outcome Television::ofThePlayer(const Command& command) {
    if (!watch_->playerIsThere())
        return {false, kNoPlayer};
    const bool startsOrEnds = command.text == "play" || command.text == "stop";
    const bool setsIdle = command.verb == Verb::kIdle && !startsOrEnds;
    bool done = false;
    if (command.verb == Verb::kFullScreen)
        done = watch_->adjustPlayer("FullScreen", std::to_string(command.number));
    else if (command.verb == Verb::kIdleLoop)
        done = watch_->loopIdleMedia(command.number != 0);
    else if (startsOrEnds)
        done = watch_->runIdleMedia(command.text == "play");
    else
        done = watch_->setIdleMedia(command.text) && watch_->runIdleMedia(true);
    if (!done)
        return {false, setsIdle ? "the player refuses this address or does not answer"
                                : "the player refuses or does not answer"};
    if (command.verb == Verb::kFullScreen && !hasDisplay())
        return {true, "without a display there is no window"};
    return {};
}

Outcome Television::answer(bool allow) {
    if (!permission_.open())
        return {false, "no question is open"};
    const Outcome outcome = renderer_.answer(*permission_.open(), allow);
    if (!outcome.ok)
        return outcome;
    permission_.answered();
    if (allow)
        screen_.onAllowed(std::chrono::steady_clock::now());
    return outcome;
}

Outcome Television::rename(const std::string& name) {
    if (!known_.daemon)
        return {false, "the renderer daemon is not there"};
    daemonStartsBefore_ = known_.daemonStarts;
    Outcome outcome;
    bool interrupted = false;
    std::atomic<bool> killed{false};
    {
        const Patience patience(
            signals_, report_, "renaming", [this] { return reasonToWaitForDaemon(watch_->now()); },
            [&] { killed = endDaemonByForce() || killed; });
        outcome = renderer_.rename(name);
        interrupted = patience.interrupted();
    }
    if (outcome.ok)
        expectCompanions();
    if (outcome.ok && killed)
        outcome = {false, "the renderer daemon did not react; it starts anew under the name that "
                          "it has stored"};
    if (interrupted)
        end(ExitCode::kOk);
    return outcome;
}

/// False when it takes longer than `patience`, or a signal wants the television to end.
bool Television::waitsUntil(const std::function<bool()>& isDone,
                            std::chrono::milliseconds patience) const {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!isDone()) {
        pollfd ending = {signals_.descriptor(), POLLIN, 0};
        if (std::chrono::steady_clock::now() >= deadline || poll(&ending, 1, kLookPeriodMs) > 0)
            return false;
    }
    return true;
}

Outcome Television::setVisible(bool visible) {
    const Outcome outcome = renderer_.setVisible(visible);
    const auto isDone = [this, visible] {
        return renderer_.status().visible == visible;
    };
    if (outcome.ok && !waitsUntil(isDone, kVisiblePatience))
        return {true, "the renderer daemon has not done it yet"};
    return outcome;
}

Outcome Television::snapshot(const std::string& file) {
    const std::filesystem::path picture = file.empty() ? pictureName() : file;
    if (picture.extension() != ".png")
        return {false, "a picture's name ends in .png"};
    if (!watch_->playerIsThere())
        return {false, kNoPlayer};
    const std::string path = (std::filesystem::path(pictureFolder_) / picture).string();
    const FileMark before = markOf(path);
    if (!watch_->takePicture(path))
        return {false, "the player writes no picture to " + statebus::visibleText(path)};
    // It is written a moment later; who switches the TV off before would lose it.
    if (!waitsUntil([&] { return markOf(path) != before; }, kPicturePatience))
        return {false, "the player has written no picture to " + statebus::visibleText(path)};
    return {true, statebus::visibleText(path)};
}

} // namespace tv
