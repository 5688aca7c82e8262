// The process's connection to the bus daemon and its I/O thread, the only thread that calls sd-bus.
//
// Other threads hand it jobs. It never runs user code, so it always drains the socket: a subscriber
// that is slow costs itself memory, and nobody changes. After a loss it connects again by itself.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <systemd/sd-bus.h>

#include "statebus/message.h"

namespace statebus {

using Clock = std::chrono::steady_clock;

/// Address of the bus: KETRA_BUS_ADDRESS, else DBUS_SESSION_BUS_ADDRESS, else "".
std::string busAddress();

class Connection : public std::enable_shared_from_this<Connection> {
public:
    /// Whoever wants to know how the connection fares. Every member runs on the I/O thread.
    class Participant {
    public:
        virtual ~Participant() = default;
        /// The bus is there (again): match, export, ask.
        virtual void connected() = 0;
        /// It is gone; slots are to be dropped.
        virtual void lost() = 0;
    };
    /// Gets the answer, an error, or null when the connection was lost. On the I/O thread.
    using Reply = std::function<void(sd_bus_message* answer)>;

    Connection() = default;
    ~Connection();

    /// Starts the I/O thread and waits for the first connection. False, with the reason on the
    /// console, when there is none; then nothing runs.
    bool open(const std::string& address);
    /// Sends what is still waiting (for a second at most), disconnects and joins. Not on the I/O
    /// thread.
    void close();

    /// Runs `job` on the I/O thread, in order. Every accepted job runs, at the latest while
    /// closing, then without a bus. False when the connection is closed. Any thread.
    bool post(std::function<void()> job);

    // On the I/O thread:

    /// Null while the bus is away.
    sd_bus* bus() const { return bus_; }
    /// Tells it at once how things stand.
    void add(const std::shared_ptr<Participant>& participant);
    void remove(const Participant& participant);
    /// A method call to send, without starting anybody; null while the bus is away.
    MessagePtr newCall(const char* destination, const std::string& path, const char* interface,
                       const char* member);
    /// `limit` zero: no limit but the peer's life. A message that is null fails at once.
    void send(MessagePtr message, std::chrono::microseconds limit, Reply reply);
    /// Keeps an incoming call until `answer`; the number survives a loss, the call does not.
    std::uint64_t keep(sd_bus_message* call);
    void answer(std::uint64_t kept, bool accepted);
    void runAfter(std::chrono::milliseconds delay, std::function<void()> job);
    /// Messages that the daemon has not taken yet.
    std::uint64_t queuedMessages() const;

private:
    struct Pending {
        Connection* connection = nullptr;
        Reply reply;
        SlotPtr slot;
        std::list<std::unique_ptr<Pending>>::iterator position;
    };

    static int onReply(sd_bus_message* message, void* user, sd_bus_error* error);

    void run();
    void tryToConnect();
    void checkConnecting();
    void established();
    void attemptFailed(const std::string& why);
    void lose();
    void process();
    bool runJobs();
    bool isCongested();
    void runTimers();
    void waitForSomething();
    void drain();
    void finishOpening(bool result, const std::string& why);
    void wake() const;

    std::string address_;
    std::thread thread_;
    int wakeUp_ = -1;

    std::mutex mutex_; ///< guards the jobs and the flags below
    std::condition_variable opened_;
    std::condition_variable room_;
    std::deque<std::function<void()>> jobs_;
    bool accepting_ = false;
    bool closing_ = false;
    bool openingDone_ = false;
    bool openingResult_ = false;
    std::string openingError_;

    // The I/O thread's own.
    sd_bus* bus_ = nullptr;
    sd_bus* connecting_ = nullptr;
    bool everConnected_ = false;
    Clock::time_point attemptEnds_;
    Clock::time_point nextAttempt_;
    std::chrono::milliseconds retryDelay_{0};
    std::vector<std::shared_ptr<Participant>> participants_;
    std::list<std::unique_ptr<Pending>> pending_;
    std::map<std::uint64_t, MessagePtr> kept_;
    std::uint64_t nextKept_ = 1;
    std::uint64_t lastQueued_ = 0; ///< messages that waited for the daemon when last looked,
    Clock::time_point lastTaken_;  ///< and when it last took some
    std::multimap<Clock::time_point, std::function<void()>> timers_;
};

/// The connection that shared engines have in common; opened by the first, closed after the last.
std::shared_ptr<Connection> acquireSharedConnection();
void releaseSharedConnection();

} // namespace statebus
