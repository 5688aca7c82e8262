// Linux: a message bus of the test's own, a publisher program beside it, pipes as the console.
#include "platform/contract/adapter.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "middleware/event_loop.h"
#include "support/private_bus.h"
#include "support/raw_peer.h"

namespace contract {

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what);
}

/// A program that ends with the test at the latest, with what it wrote until the end of its first
/// line.
class Program {
public:
    explicit Program(const std::vector<std::string>& arguments) {
        int output[2];
        if (pipe2(output, O_CLOEXEC) != 0)
            fail("no pipe");
        std::vector<char*> pointers;
        for (const std::string& argument : arguments)
            pointers.push_back(const_cast<char*>(argument.c_str()));
        pointers.push_back(nullptr);
        const pid_t parent = getpid();
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() == parent && dup2(output[1], STDOUT_FILENO) >= 0)
                execvp(pointers[0], pointers.data());
            _exit(127);
        }
        close(output[1]);
        output_ = output[0];
        if (process_ < 0)
            fail("no process");
    }
    ~Program() {
        end();
        close(output_);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Waits for the program's first line; "" when it ends without one or takes too long.
    std::string firstLine() const {
        std::string line;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            pollfd ready{output_, POLLIN, 0};
            if (poll(&ready, 1, 100) <= 0)
                continue;
            char character = 0;
            if (read(output_, &character, 1) != 1)
                return "";
            if (character == '\n')
                return line;
            line += character;
        }
        return "";
    }

    void signal(int number) const {
        if (process_ > 0)
            ::kill(process_, number);
    }
    void end() {
        if (process_ <= 0)
            return;
        signal(SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = 0;
    }
    /// Returns when it stands still.
    void freeze() {
        signal(SIGSTOP);
        waitpid(process_, nullptr, WUNTRACED);
    }

private:
    pid_t process_ = 0;
    int output_ = -1;
};

class LinuxRemotePublisher : public RemotePublisher {
public:
    explicit LinuxRemotePublisher(const std::string& instance)
        : program_({CONTRACT_PUBLISHER, instance}) {
        if (program_.firstLine() != "ready")
            fail("the publisher did not start");
    }
    void kill() override { program_.end(); }
    void freeze() override { program_.freeze(); }

private:
    Program program_;
};

/// Speaks D-Bus itself, below everything that this platform would check.
class LinuxFaultyPublisher : public FaultyPublisher {
public:
    explicit LinuxFaultyPublisher(const std::string& instance)
        : path_("/tv/sbus/ContractState/" + instance), peer_(std::getenv("KETRA_BUS_ADDRESS")) {
        peer_.own("tv.sbus.ContractState." + instance);
    }

    void send(int number) override {
        signal([number](sd_bus_message* message) {
            sd_bus_message_append(message, "a{sv}", 1, "mInt32", "i", number);
        });
    }
    void sendMalformed() override {
        signal([](sd_bus_message* message) {
            sd_bus_message_append(message, "a{sv}", 2, "mInt32", "i", 7, "mText", "ay", 3, 'a', 0,
                                  'b');
        });
    }

private:
    void signal(const testing_support::RawPeer::Fill& fill) {
        // Whoever has just heard of it asks for its will and its record: it knows neither.
        constexpr std::uint64_t kMicroseconds = 200 * 1000;
        peer_.processFor(kMicroseconds);
        ++serial_;
        peer_.signal(path_, "Changed", [&](sd_bus_message* message) {
            sd_bus_message_append(message, "t", serial_);
            fill(message);
        });
    }

    std::string path_;
    testing_support::RawPeer peer_;
    std::uint64_t serial_ = 0;
};

} // namespace

struct World::Data {
    testing_support::PrivateBus bus;
};

World::World() : data_(std::make_unique<Data>()) {}

World::~World() = default;

void World::killBus() {
    data_->bus.stop();
}

void World::replaceBus() {
    data_->bus.start();
}

std::unique_ptr<RemotePublisher> startRemotePublisher(const std::string& instance) {
    return std::make_unique<LinuxRemotePublisher>(instance);
}

std::unique_ptr<FaultyPublisher> startFaultyPublisher(const std::string& instance) {
    return std::make_unique<LinuxFaultyPublisher>(instance);
}

void setConsoleInput(const std::string& bytes) {
    int input[2];
    if (pipe2(input, O_CLOEXEC) != 0 || dup2(input[0], STDIN_FILENO) < 0)
        fail("no pipe");
    close(input[0]);
    if (write(input[1], bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        fail("the pipe is full");
    close(input[1]);
    std::clearerr(stdin);
}

std::string consoleOutputOf(const std::function<void()>& action) {
    std::fflush(stdout);
    std::FILE* file = std::tmpfile();
    const int before = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (file == nullptr || before < 0 || dup2(fileno(file), STDOUT_FILENO) < 0)
        fail("no file for the console's output");
    action();
    std::fflush(stdout);
    dup2(before, STDOUT_FILENO);
    close(before);
    std::rewind(file);
    std::string text;
    for (int character = std::fgetc(file); character != EOF; character = std::fgetc(file))
        text += static_cast<char>(character);
    std::fclose(file);
    return text;
}

void addHandler(KetraEvtHandle& handler) {
    middleware::EventLoop::instance().addHandler(handler);
}

void removeHandler(KetraEvtHandle& handler) {
    middleware::EventLoop::instance().removeHandler(handler);
}

int dispatchEvents() {
    return middleware::EventLoop::instance().dispatchPending();
}

} // namespace contract
