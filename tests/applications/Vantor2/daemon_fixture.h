// The real daemon on a private bus and on 127.0.0.1, with a television that watches its record, a
// player and a sound service that take notes, and a controller that speaks raw SOAP.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"
#include "support/private_bus.h"
#include "ze/zeSBus.h"

namespace vantor {

constexpr const char* kAvt = "urn:schemas-upnp-org:service:AVTransport:1";
constexpr const char* kRcs = "urn:schemas-upnp-org:service:RenderingControl:1";
constexpr const char* kCms = "urn:schemas-upnp-org:service:ConnectionManager:1";

/// Waits until `condition` holds; false when it does not within `limit`.
inline bool waitUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(5)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// Becomes a program with a null argument vector, as the television starts its companions. (The C
/// library's own function says that the vector must not be null; the system takes it.)
[[noreturn]] inline void becomeProgram(const std::string& program, const char* argument = nullptr) {
    const char* const arguments[] = {program.c_str(), argument, nullptr};
    syscall(SYS_execve, program.c_str(), argument == nullptr ? nullptr : arguments, environ);
    _exit(127);
}

/// A program as a child process. Killed with the object.
class Child {
public:
    using Environment = std::vector<std::pair<std::string, std::string>>;

    /// Starts it, without any arguments unless there is one; what it prints is kept. `prepare` is
    /// called in the new process.
    Child(const std::string& program, const Environment& environment,
          const char* argument = nullptr, void (*prepare)() = nullptr) {
        int output[2];
        EXPECT_EQ(pipe2(output, O_CLOEXEC), 0);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(output[1], STDERR_FILENO);
            for (const auto& variable : environment) {
                setenv(variable.first.c_str(), variable.second.c_str(), 1);
            }
            if (prepare != nullptr) {
                prepare();
            }
            becomeProgram(program, argument);
        }
        close(output[1]);
        output_ = output[0];
        fcntl(output_, F_SETFL, O_NONBLOCK);
    }
    ~Child() {
        signal(SIGKILL);
        EXPECT_TRUE(ended(std::chrono::seconds(5)));
        close(output_);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number) const {
        if (!reaped_) {
            kill(pid_, number);
        }
    }
    bool ended(std::chrono::milliseconds limit) {
        return waitUntil(
            [&] {
                reaped_ = reaped_ || waitpid(pid_, &status_, WNOHANG) == pid_;
                return reaped_;
            },
            limit);
    }
    /// Exit code, -1 when a signal ended it.
    int exitCode() const { return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1; }
    std::string printed() {
        char buffer[4096];
        ssize_t count;
        while ((count = read(output_, buffer, sizeof(buffer))) > 0) {
            printed_.append(buffer, static_cast<std::size_t>(count));
        }
        return printed_;
    }

private:
    pid_t pid_ = -1;
    int output_ = -1;
    int status_ = 0;
    bool reaped_ = false;
    std::string printed_;
};

/// One process's place on the bus: watches the daemon's record, publishes player and sound.
class BusSide {
public:
    BusSide() : engine_(false) {
        manager_.AttachEngine(&engine_);
        manager_.RegisterRemoteSBusStateCallback(
            [](zeSBusManager* manager, void* self, const char* name, bool added) {
                static_cast<BusSide*>(self)->instanceChanged(manager, name, added);
            },
            this);
        manager_.RegisterListeningSBusState("MediaRendererService", "");
        EXPECT_EQ(engine_.Open(), 0);
        EXPECT_EQ(engine_.Start(1), 0);
    }
    ~BusSide() {
        player.reset();
        sound.reset();
        manager_.Stop();
        engine_.Stop();
    }
    BusSide(const BusSide&) = delete;
    BusSide& operator=(const BusSide&) = delete;

    void publishPlayer() {
        statebus::PublicationSpec spec;
        spec.layout = &ContentPlayerServiceTemplate;
        spec.instance = "main";
        spec.initial = playerRecord(1);
        spec.initial->setText("mMedia.mDLNAProfile", "http-get:*:video/mp4:*");
        spec.argumentLayouts = {&ContentPlayerServiceURIExTemplate};
        spec.onCommand = [this](const statebus::Command& command) {
            const auto* text = std::get_if<std::string>(&command.argument);
            const auto* record = std::get_if<statebus::Record>(&command.argument);
            std::string note = command.word;
            note += text != nullptr ? " " + *text : "";
            note += record != nullptr ? " " + record->text("mTrackURI").value_or("(null)") : "";
            std::this_thread::sleep_for(playerDelay);
            take(note);
            return true;
        };
        spec.onWrite = [this](const std::string& path, const std::string& text) {
            take(path + "=" + text);
            return true;
        };
        std::string error;
        player = statebus::publish(engine_, std::move(spec), &error);
        EXPECT_NE(player, nullptr) << error;
    }
    void publishSound() {
        statebus::PublicationSpec spec;
        spec.layout = &SoundServiceTemplate;
        spec.instance = "main";
        statebus::Record initial(SoundServiceTemplate);
        initial.setNumber("mMaster.mVolume", 40);
        spec.initial = initial;
        spec.onWrite = [this](const std::string& path, const std::string& text) {
            take(path + "=" + text);
            sound->change([&](statebus::Record& record) { record.setFromText(path, text); });
            return true;
        };
        std::string error;
        sound = statebus::publish(engine_, std::move(spec), &error);
        EXPECT_NE(sound, nullptr) << error;
    }
    void playerReports(int state, int errorCode = 0, const char* speed = "1") {
        statebus::Record record = playerRecord(state, errorCode);
        record.setText("mPlayback.mSpeed", speed);
        player->change([&](statebus::Record& shown) { shown = record; });
    }

    bool command(const char* word, unsigned long number) {
        return zeSBusCommand(word, number).Execute(&manager_, "MediaRendererService", nullptr);
    }
    bool command(const char* word, const char* text) {
        return zeSBusCommand(word, text).Execute(&manager_, "MediaRendererService", nullptr);
    }
    bool write(const char* path, const char* value) {
        return manager_.SetValue("MediaRendererService", nullptr, path, value);
    }

    /// Every record of the daemon so far.
    std::vector<statebus::Record> records() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return records_;
    }
    bool waitForRecord(const std::function<bool(const MediaRendererService&)>& condition) {
        return waitUntil([&] {
            const auto all = records();
            return !all.empty() && condition(all.back().as<MediaRendererService>());
        });
    }
    bool present() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return present_;
    }
    bool waitForNote(const std::string& note) {
        return waitUntil([&] {
            const std::lock_guard<std::mutex> lock(mutex_);
            return std::find(notes_.begin(), notes_.end(), note) != notes_.end();
        });
    }
    std::vector<std::string> notes() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return notes_;
    }

    std::unique_ptr<statebus::Publication> player;
    std::unique_ptr<statebus::Publication> sound;
    std::chrono::milliseconds playerDelay{0};

private:
    static statebus::Record playerRecord(int state, int errorCode = 0) {
        statebus::Record record(ContentPlayerServiceTemplate);
        record.setNumber("mState", state);
        record.setNumber("mErrorCode", errorCode);
        record.setText("mTrack.mDLNAProfile", "http-get:*:video/mp4:*");
        record.setNumber("mTrack.mDurationSec", 120);
        record.setNumber("mPlayback.mPositionSec", state == 4 ? 7 : 0);
        record.setText("mPlayback.mSpeed", "1");
        return record;
    }
    void instanceChanged(zeSBusManager* manager, const std::string& name, bool added) {
        if (name != "MediaRendererService") {
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            present_ = added;
        }
        if (added) {
            manager->RegisterToStateChange(
                &MediaRendererServiceTemplate, nullptr,
                [](zeSBusManager*, void* self, const zeSBusStateSerializable* state) {
                    auto* side = static_cast<BusSide*>(self);
                    const std::lock_guard<std::mutex> lock(side->mutex_);
                    side->records_.emplace_back(MediaRendererServiceTemplate, state);
                },
                this);
        }
    }
    void take(const std::string& note) {
        const std::lock_guard<std::mutex> lock(mutex_);
        notes_.push_back(note);
    }

    std::mutex mutex_;
    std::vector<statebus::Record> records_; // guarded by mutex_
    std::vector<std::string> notes_;        // guarded by mutex_
    bool present_ = false;                  // guarded by mutex_
    zeMultiMBusEngine engine_;
    zeSBusManager manager_;
};

/// Hears what is announced on loopback's multicast, and searches there.
class SsdpSide {
public:
    SsdpSide() {
        in_addr loopback{};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        const int yes = 1;
        hearing_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        setsockopt(hearing_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
        group_.sin_family = AF_INET;
        group_.sin_port = htons(1900);
        group_.sin_addr.s_addr = inet_addr("239.255.255.250");
        EXPECT_EQ(bind(hearing_, reinterpret_cast<sockaddr*>(&group_), sizeof(group_)), 0);
        ip_mreq membership{};
        membership.imr_multiaddr = group_.sin_addr;
        membership.imr_interface = loopback;
        EXPECT_EQ(
            setsockopt(hearing_, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership)),
            0);
        searching_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        setsockopt(searching_, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr = loopback;
        EXPECT_EQ(bind(searching_, reinterpret_cast<sockaddr*>(&own), sizeof(own)), 0);
    }
    ~SsdpSide() {
        close(hearing_);
        close(searching_);
    }
    SsdpSide(const SsdpSide&) = delete;
    SsdpSide& operator=(const SsdpSide&) = delete;

    /// Messages with `kind` (ssdp:alive, ssdp:byebye) that name `usn`, of those heard so far.
    std::size_t heard(const std::string& kind, const std::string& usn) {
        receive(hearing_, heard_);
        return static_cast<std::size_t>(
            std::count_if(heard_.begin(), heard_.end(), [&](const std::string& message) {
                return message.find(kind) != std::string::npos &&
                       message.find(usn) != std::string::npos;
            }));
    }
    void forget() {
        receive(hearing_, heard_);
        heard_.clear();
        receive(searching_, answers_);
        answers_.clear();
    }
    /// Sends a search; `mx` is the whole header line or empty.
    void search(const std::string& target, const std::string& mx) {
        const std::string text = "M-SEARCH * HTTP/1.1\r\nHOST: 239.255.255.250:1900\r\n"
                                 "MAN: \"ssdp:discover\"\r\n" +
                                 mx + "ST: " + target + "\r\n\r\n";
        EXPECT_EQ(sendto(searching_, text.data(), text.size(), 0,
                         reinterpret_cast<sockaddr*>(&group_), sizeof(group_)),
                  static_cast<ssize_t>(text.size()));
    }
    /// Answers that name `part`, of those received so far.
    std::size_t answers(const std::string& part) {
        receive(searching_, answers_);
        return static_cast<std::size_t>(
            std::count_if(answers_.begin(), answers_.end(), [&](const std::string& message) {
                return message.find(part) != std::string::npos;
            }));
    }

private:
    static void receive(int socket, std::vector<std::string>& messages) {
        char buffer[2048];
        ssize_t count;
        while ((count = recv(socket, buffer, sizeof(buffer), 0)) > 0) {
            messages.emplace_back(buffer, static_cast<std::size_t>(count));
        }
    }
    int hearing_ = -1;
    int searching_ = -1;
    sockaddr_in group_{};
    std::vector<std::string> heard_;
    std::vector<std::string> answers_;
};

/// Sends a request to 127.0.0.1 and returns everything until the connection ends; "" when there is
/// no answer.
inline std::string httpExchange(std::uint16_t port, const std::string& request) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval limit{5, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string answer;
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
        send(fd, request.data(), request.size(), MSG_NOSIGNAL) ==
            static_cast<ssize_t>(request.size())) {
        char buffer[4096];
        ssize_t count;
        while ((count = recv(fd, buffer, sizeof(buffer), 0)) > 0) {
            answer.append(buffer, static_cast<std::size_t>(count));
        }
    }
    close(fd);
    return answer;
}

/// Content of the first element with this name; "(absent)" when there is none.
inline std::string element(const std::string& xml, const std::string& name) {
    const std::size_t start = xml.find("<" + name + ">");
    const std::size_t end = xml.find("</" + name + ">");
    if (start == std::string::npos || end == std::string::npos) {
        return "(absent)";
    }
    return xml.substr(start + name.size() + 2, end - start - name.size() - 2);
}

} // namespace vantor
