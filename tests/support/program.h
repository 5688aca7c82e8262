// A program under test as a process of its own: started with arguments, spoken to in lines, its
// output read as it comes. Ended with its whole process group when the object goes.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace testing_support {

class Program {
public:
    using Milliseconds = std::chrono::milliseconds;
    // Generous: sanitizers and a busy machine.
    static constexpr Milliseconds kLimit{30000};

    /// The first argument is the program.
    explicit Program(const std::vector<std::string>& arguments) {
        int in[2];
        int out[2];
        int error[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(error, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        std::vector<char*> words;
        for (const std::string& argument : arguments)
            words.push_back(const_cast<char*>(argument.c_str()));
        words.push_back(nullptr);
        pid_ = fork();
        if (pid_ < 0)
            throw std::runtime_error("no process");
        if (pid_ == 0) {
            setpgid(0, 0);
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            dup2(error[1], STDERR_FILENO);
            execvp(words[0], words.data());
            _exit(127);
        }
        setpgid(pid_, pid_);
        close(in[0]);
        close(out[1]);
        close(error[1]);
        in_ = in[1];
        out_ = {out[0], "", false};
        error_ = {error[0], "", false};
    }
    ~Program() {
        if (!exit_) {
            kill(-pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        endInput();
        close(out_.descriptor);
        close(error_.descriptor);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const { return pid_; }
    void say(const std::string& line) {
        const std::string bytes = line + '\n';
        if (write(in_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("the program does not listen");
    }
    void endInput() {
        if (in_ >= 0)
            close(in_);
        in_ = -1;
    }
    /// To the process group, as a terminal sends Ctrl-C.
    void signal(int number) { kill(-pid_, number); }

    /// Everything that came on standard output and on standard error so far.
    const std::string& output() const { return out_.text; }
    const std::string& error() const { return error_.text; }

    /// The next line of standard output that fits, those before it are passed over; nothing when
    /// it does not come in time or the output ends.
    std::optional<std::string> waitForLine(const std::function<bool(const std::string&)>& fits,
                                           Milliseconds limit = kLimit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        for (;;) {
            for (std::size_t lineEnd;
                 (lineEnd = out_.text.find('\n', taken_)) != std::string::npos;) {
                const std::string line = out_.text.substr(taken_, lineEnd - taken_);
                taken_ = lineEnd + 1;
                if (fits(line))
                    return line;
            }
            if (!readSome(end))
                return std::nullopt;
        }
    }
    std::optional<std::string> waitForLine(const std::string& part, Milliseconds limit = kLimit) {
        return waitForLine(
            [&](const std::string& line) { return line.find(part) != std::string::npos; }, limit);
    }

    /// Whether standard error says `part` in time.
    bool waitForError(const std::string& part, Milliseconds limit = kLimit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (error_.text.find(part) == std::string::npos)
            if (!readSome(end))
                return false;
        return true;
    }

    /// Exit status; 128 and the signal's number when one ended it; nothing when it did not end.
    std::optional<int> waitForExit(Milliseconds limit = kLimit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        // The output may outlive the program in its children, so the process is what counts.
        while (!exit_) {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_)
                exit_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            else if (std::chrono::steady_clock::now() >= end)
                return std::nullopt;
            readSome(std::min(end, std::chrono::steady_clock::now() + Milliseconds(20)));
        }
        return exit_;
    }

private:
    struct Stream {
        int descriptor = -1;
        std::string text;
        bool ended = false;
    };

    /// False when the time is over or both streams have ended.
    bool readSome(std::chrono::steady_clock::time_point end) {
        const auto left =
            std::chrono::duration_cast<Milliseconds>(end - std::chrono::steady_clock::now());
        pollfd ready[] = {{out_.ended ? -1 : out_.descriptor, POLLIN, 0},
                          {error_.ended ? -1 : error_.descriptor, POLLIN, 0}};
        if (out_.ended && error_.ended && exit_)
            return false;
        if (poll(ready, 2, std::max(0, static_cast<int>(left.count()))) <= 0)
            return false;
        for (int i = 0; i < 2; ++i) {
            Stream& stream = i == 0 ? out_ : error_;
            if (ready[i].revents == 0)
                continue;
            char buffer[4096];
            const ssize_t count = read(stream.descriptor, buffer, sizeof buffer);
            if (count > 0)
                stream.text.append(buffer, static_cast<std::size_t>(count));
            else
                stream.ended = true;
        }
        return !(out_.ended && error_.ended);
    }

    pid_t pid_ = -1;
    int in_ = -1;
    Stream out_;
    Stream error_;
    std::size_t taken_ = 0;
    std::optional<int> exit_;
};

} // namespace testing_support
