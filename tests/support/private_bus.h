// A bus daemon of a test's own, on a socket in a temporary folder; gone with the object. It is a
// session bus, or what a configuration file makes of it.
//
// Starting one sets KETRA_BUS_ADDRESS for this process and its children.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

namespace testing_support {

class PrivateBus {
public:
    explicit PrivateBus(std::string configuration = "") : configuration_(std::move(configuration)) {
        folder_ = std::filesystem::temp_directory_path() / "ketra-bus-XXXXXX";
        if (mkdtemp(folder_.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        if (!configuration_.empty())
            chmod(folder_.c_str(), 0755); // it may let other users in
        setenv("KETRA_BUS_ADDRESS", address().c_str(), 1);
        start();
    }
    ~PrivateBus() {
        stop();
        unlink((folder_ + "/bus").c_str());
        rmdir(folder_.c_str());
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    std::string address() const { return "unix:path=" + folder_ + "/bus"; }
    pid_t pid() const { return pid_; }

    /// Returns when the daemon accepts clients.
    void start() {
        int ready[2];
        if (pipe(ready) != 0)
            throw std::runtime_error("no pipe");
        // Left over by a daemon that was killed; a new one would refuse to start.
        unlink((folder_ + "/bus").c_str());
        const std::string addressArgument = "--address=" + address();
        const std::string printArgument = "--print-address=" + std::to_string(ready[1]);
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(ready[0]);
            const int nowhere = open("/dev/null", O_WRONLY);
            dup2(nowhere, STDERR_FILENO);
            const std::string kind =
                configuration_.empty() ? "--session" : "--config-file=" + configuration_;
            execlp("dbus-daemon", "dbus-daemon", kind.c_str(), "--nofork", "--nopidfile",
                   "--nosyslog", addressArgument.c_str(), printArgument.c_str(),
                   static_cast<char*>(nullptr));
            _exit(127);
        }
        close(ready[1]);
        char line[256];
        const ssize_t size = read(ready[0], line, sizeof line);
        close(ready[0]);
        if (size <= 0)
            throw std::runtime_error("dbus-daemon does not start");
    }

    /// SIGKILL, as a crash would end it.
    void stop() {
        if (pid_ <= 0)
            return;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

private:
    const std::string configuration_;
    std::string folder_;
    pid_t pid_ = -1;
};

} // namespace testing_support
