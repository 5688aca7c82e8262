// A program that a test talks to through its standard input and output; killed with the object.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

namespace testing_support {

class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> command) {
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        std::vector<char*> arguments;
        for (std::string& word : command)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(input[0], STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        close(input[0]);
        close(output[1]);
        input_ = input[1];
        output_ = output[0];
    }
    ~ChildProcess() {
        end(SIGKILL);
        close(input_);
        close(output_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    /// Returns when it stands still.
    void freeze() const {
        kill(pid_, SIGSTOP);
        waitpid(pid_, nullptr, WUNTRACED);
    }
    void goOn() const { kill(pid_, SIGCONT); }
    /// Signals and waits for the end; the wait status, -1 when it had ended before.
    int end(int number) {
        if (pid_ <= 0)
            return -1;
        kill(pid_, number);
        return wait();
    }
    int wait() {
        int status = -1;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return status;
    }

    void write(const std::string& line) const {
        const std::string text = line + "\n";
        if (::write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("the child does not read");
    }
    /// The next line that it prints; "" when none comes in time.
    std::string readLine(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        const auto end = std::chrono::steady_clock::now() + limit;
        for (;;) {
            const std::size_t cut = pending_.find('\n');
            if (cut != std::string::npos) {
                const std::string line = pending_.substr(0, cut);
                pending_.erase(0, cut + 1);
                return line;
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                end - std::chrono::steady_clock::now());
            pollfd readable = {output_, POLLIN, 0};
            char text[4096];
            if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0)
                return "";
            const ssize_t size = read(output_, text, sizeof text);
            if (size <= 0)
                return "";
            pending_.append(text, static_cast<std::size_t>(size));
        }
    }

private:
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string pending_;
};

} // namespace testing_support
