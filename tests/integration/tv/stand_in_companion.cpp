// Stands in for both companions where a test needs one that behaves badly, which the real ones
// never do: it refuses to stop or to leave the network, ends at once, keeps silent, never shows
// itself, or writes no pictures. Which of the two it is, it knows from the name under which it was
// started.
//
// KETRA_TEST_PLAYER and KETRA_TEST_DAEMON hold its bad habits ("stubborn", "absent", "silent",
// "shy"), KETRA_TEST_FOLDER is where the daemon keeps its name.
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>

#include <limits.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"

namespace {

using statebus::Command;
using statebus::Record;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string ownName() {
    char path[PATH_MAX];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
    const std::string whole(path, size > 0 ? static_cast<std::size_t>(size) : 0);
    return whole.substr(whole.rfind('/') + 1);
}

std::string textOf(const Command& command) {
    const auto* text = std::get_if<std::string>(&command.argument);
    return text != nullptr ? *text : "";
}

/// Takes what stands before the first '|'.
std::string takePart(std::string& rest) {
    const std::size_t bar = rest.find('|');
    const std::string part = rest.substr(0, bar);
    rest = bar == std::string::npos ? "" : rest.substr(bar + 1);
    return part;
}

/// "open" with "PROFILE|TITLE" makes it load and play; the rest is as a player does it.
class Player {
public:
    Player(zeMultiMBusEngine& engine, const std::string& habit)
        : stubborn_(habit == "stubborn"), lazy_(habit == "lazy") {
        statebus::PublicationSpec spec;
        spec.layout = &ContentPlayerServiceTemplate;
        spec.instance = "main";
        Record first(ContentPlayerServiceTemplate);
        first.setNumber("mState", kPlayerStopped);
        spec.initial = first;
        first.setNumber("mErrorCode", 120);
        spec.will = first;
        spec.argumentLayouts = {&ContentPlayerServiceCustomCommandTemplate};
        spec.onCommand = [this](const Command& command) {
            return onCommand(command);
        };
        spec.onWrite = [this](const std::string& path, const std::string& text) {
            change([&](Record& record) { record.setFromText(path, text); });
            return true;
        };
        // The first command may come before the publication is handed over.
        const std::lock_guard<std::mutex> lock(mutex_);
        publication_ = statebus::publish(engine, std::move(spec), nullptr);
    }

    bool isThere() const { return publication_ != nullptr; }

private:
    void change(const std::function<void(Record&)>& edit) {
        const std::lock_guard<std::mutex> lock(mutex_);
        publication_->change(edit);
    }

    void state(ContentPlayerState state) {
        change([&](Record& record) { record.setNumber("mState", state); });
    }

    bool onCommand(const Command& command) {
        if (command.word == "open")
            return open(textOf(command));
        if (command.word == "play") {
            change([&](Record& record) {
                record.setText("mPlayback.mSpeed", textOf(command));
                record.setNumber("mState", kPlayerPlaying);
            });
        } else if (command.word == "pause") {
            state(kPlayerPaused);
        } else if (command.word == "stop" && !stubborn_) {
            state(kPlayerStopped);
        } else if (command.word == "setidleuri") {
            return textOf(command).rfind("http://", 0) == 0;
        } else if (command.word == "customcommand") {
            return custom(std::get<Record>(command.argument));
        }
        return true;
    }

    bool open(std::string what) {
        const std::string profile = takePart(what);
        change([&](Record& record) {
            record.setText("mTrack.mDLNAProfile", profile);
            record.setText("mTrack.mTitle", what);
            record.setNumber("mTrack.mDurationSec", 90);
            record.setText("mPlayback.mSpeed", "1");
            record.setNumber("mState", kPlayerLoading);
        });
        change([&](Record& record) {
            record.setText("mInfoStr", "MetadataStr=video/image_width:640");
            record.setNumber("mPlayback.mPositionSec", 5);
            record.setNumber("mState", kPlayerPlaying);
        });
        change([](Record&) {}); // the position is taken from a repeated report
        return true;
    }

    bool custom(const Record& record) const {
        if (record.text("mCommand") != "Snapshot" || lazy_)
            return true;
        std::ofstream picture(record.text("mArgument").value_or(""));
        picture << "picture";
        return picture.good();
    }

    const bool stubborn_;
    const bool lazy_;
    std::mutex mutex_; // guards publication_
    std::unique_ptr<statebus::Publication> publication_;
};

/// "ask" with "ID|MIME|TITLE" makes it hold a request of a controller, "forget" lets it go.
class Daemon {
public:
    Daemon(zeMultiMBusEngine& engine, const std::string& habit)
        : stubborn_(habit == "stubborn"), shy_(habit == "shy") {
        statebus::PublicationSpec spec;
        spec.layout = &MediaRendererServiceTemplate;
        Record first(MediaRendererServiceTemplate);
        first.setText("mFriendlyName", name());
        first.setNumber("mPlayerControlAuthorization", 3);
        spec.will = first;
        first.setNumber("mfVisible", shy_ ? 0 : 1);
        spec.initial = first;
        spec.onCommand = [this](const Command& command) {
            return onCommand(command);
        };
        spec.onWrite = [this](const std::string& path, const std::string& text) {
            change([&](Record& record) {
                if (!((stubborn_ || shy_) && path == "mfVisible"))
                    record.setFromText(path, text);
            });
            return true;
        };
        // The first command may come before the publication is handed over.
        const std::lock_guard<std::mutex> lock(mutex_);
        publication_ = statebus::publish(engine, std::move(spec), nullptr);
    }

    bool isThere() const { return publication_ != nullptr; }

private:
    void change(const std::function<void(Record&)>& edit) {
        const std::lock_guard<std::mutex> lock(mutex_);
        publication_->change(edit);
    }

    static std::string nameFile() { return environment("KETRA_TEST_FOLDER") + "/name"; }

    static std::string name() {
        std::string name = "Stand-in";
        std::ifstream file(nameFile());
        std::getline(file, name);
        return name.empty() ? "Stand-in" : name;
    }

    bool onCommand(const Command& command) {
        if (command.word == "setfriendlyname") {
            std::ofstream file(nameFile());
            file << textOf(command);
            return file.good();
        }
        change([&](Record& record) {
            const char kState[] = "mAuthorizationRequests[0].mState";
            if (command.word == "ask")
                hold(record, textOf(command));
            else if (command.word == "postpone_authorization")
                record.setNumber(kState, kRequestPostponed);
            else
                record.resize("mAuthorizationRequests", 0);
        });
        return true;
    }

    static void hold(Record& record, std::string request) {
        record.resize("mAuthorizationRequests", 1);
        const std::string at = "mAuthorizationRequests[0].";
        record.setFromText(at + "mRequestId", takePart(request));
        record.setText(at + "mMediaMimeType", takePart(request));
        record.setText(at + "mMediaTitle", request);
        record.setText(at + "mControllerId", "phone");
        record.setNumber(at + "mState", kRequestRequested);
    }

    const bool stubborn_;
    const bool shy_;
    std::mutex mutex_; // guards publication_
    std::unique_ptr<statebus::Publication> publication_;
};

} // namespace

int main() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const bool isPlayer = ownName() == "zeGStreamerPlayer";
    const std::string habit = environment(isPlayer ? "KETRA_TEST_PLAYER" : "KETRA_TEST_DAEMON");
    if (habit == "absent")
        return 1;
    zeMultiMBusEngine engine(false);
    if (engine.Open() != 0 || engine.Start(1) != 0)
        return 1;
    std::unique_ptr<Player> player;
    std::unique_ptr<Daemon> daemon;
    if (habit != "silent" && isPlayer)
        player = std::make_unique<Player>(engine, habit);
    if (habit != "silent" && !isPlayer)
        daemon = std::make_unique<Daemon>(engine, habit);
    if ((player && !player->isThere()) || (daemon && !daemon->isThere()))
        return 1;
    for (;;)
        pause();
}
