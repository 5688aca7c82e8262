// Sends bus commands to one service, one after the other, from a thread of its own: a command may
// wait five seconds for its answer, and the main thread waits for nobody.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace vantor {

class CommandSender {
public:
    using Command = std::function<bool()>;
    using Done = std::function<void(bool accepted)>;

    CommandSender();
    /// See stop.
    ~CommandSender();
    CommandSender(const CommandSender&) = delete;
    CommandSender& operator=(const CommandSender&) = delete;

    /// Queues a command; `done` is called on the main thread, unless the sender stops before. Main
    /// thread.
    void send(Command command, Done done);
    /// Drops what waits and ends after the command that is on its way. Main thread.
    void stop();

private:
    struct Entry {
        Command command;
        Done done;
    };
    void run();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Entry> queue_;     // guarded by mutex_
    bool stopping_ = false;       // guarded by mutex_
    std::shared_ptr<bool> alive_; // main thread
    std::thread thread_;
};

} // namespace vantor
