// Sends bus commands to one service, one after the other, from a thread of its own: a command may
// wait five seconds for its answer, and the main thread waits for nobody.
//
// Of each kind at most one command waits, the newest, and a command takes those away that it makes
// pointless. So a service that stands still while a controller moves the volume slider costs a
// handful of entries, and what it does first when it is back is what was asked for last.
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

    /// One bit for the kind of a command, and the bits of the kinds that need not be sent any more
    /// once it is asked for (its own always belongs to them).
    struct Kind {
        unsigned bit;
        unsigned replaces;
        /// Bits of the kinds without which it has no sense: it is answered no, and not sent, while
        /// the last one sent of such a kind was refused.
        unsigned needs = 0;
    };

    CommandSender();
    /// See stop.
    ~CommandSender();
    CommandSender(const CommandSender&) = delete;
    CommandSender& operator=(const CommandSender&) = delete;

    /// Queues a command; `done` is called on the main thread, unless the sender stops before: true
    /// when the service accepted it or a newer command took its place. Main thread.
    void send(Kind kind, Command command, Done done);
    /// Drops what waits and ends after the command that is on its way. Main thread.
    void stop();

private:
    struct Entry {
        Kind kind;
        Command command;
        Done done;
    };
    void run();

    unsigned refused_ = 0; // bits of kinds; the sender's thread
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Entry> queue_;     // guarded by mutex_
    bool stopping_ = false;       // guarded by mutex_
    std::shared_ptr<bool> alive_; // main thread
    std::thread thread_;
};

} // namespace vantor
