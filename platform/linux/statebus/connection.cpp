#include "statebus/connection.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "ze/zeConsole.h"

namespace statebus {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kAttemptLimit(5000); ///< a daemon that accepts and says nothing
constexpr milliseconds kFirstRetry(100);
constexpr milliseconds kLastRetry(1000);
constexpr milliseconds kDrainLimit(1000);
/// Messages in a row before the jobs get their turn.
constexpr int kMessagesInARow = 64;
/// Jobs that may wait. More would only cost memory, and keep those who ask from being answered.
constexpr std::size_t kMaxJobs = 256;
/// With more messages than this under way jobs wait, as long as the daemon takes some.
constexpr std::uint64_t kCongestion = 256;
constexpr milliseconds kStandstill(100);

} // namespace

std::string busAddress() {
    for (const char* variable : {"KETRA_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
        const char* address = std::getenv(variable);
        if (address != nullptr && *address != '\0')
            return address;
    }
    return {};
}

Connection::~Connection() {
    close();
}

bool Connection::open(const std::string& address) {
    address_ = address;
    wakeUp_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wakeUp_ < 0) {
        zeConsole_Printf("statebus: no file descriptor is left: %s\n", std::strerror(errno));
        return false;
    }
    accepting_ = true;
    thread_ = std::thread([this] { run(); });
    pthread_setname_np(thread_.native_handle(), "statebus-io");
    std::string error;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        opened_.wait(lock, [this] { return openingDone_; });
        if (openingResult_)
            return true;
        error = openingError_;
    }
    close();
    zeConsole_Printf("statebus: cannot connect to the bus at '%s': %s\n", address.c_str(),
                     error.c_str());
    return false;
}

void Connection::close() {
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closing_ = true;
    }
    wake();
    thread_.join();
    ::close(wakeUp_);
    wakeUp_ = -1;
}

bool Connection::post(std::function<void()> job) {
    std::unique_lock<std::mutex> lock(mutex_);
    room_.wait(lock, [this] { return !accepting_ || jobs_.size() < kMaxJobs; });
    if (!accepting_)
        return false;
    const bool first = jobs_.empty();
    jobs_.push_back(std::move(job));
    if (first)
        wake();
    return true;
}

void Connection::wake() const {
    const std::uint64_t one = 1;
    (void)!write(wakeUp_, &one, sizeof one); // a full counter wakes as well
}

// ---- The I/O thread ----

void Connection::run() {
    for (;;) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (closing_)
                break;
        }
        if (bus_ == nullptr && connecting_ == nullptr && Clock::now() >= nextAttempt_)
            tryToConnect();
        process();
        checkConnecting();
        runTimers();
        if (isCongested() || !runJobs())
            waitForSomething();
    }
    runJobs(); // goodbyes
    drain();
    lose();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        accepting_ = false;
    }
    room_.notify_all();
    runJobs(); // without a bus: they fail, and those who wait for them go on
    participants_.clear();
    timers_.clear();
}

void Connection::tryToConnect() {
    int result = sd_bus_new(&connecting_);
    if (result >= 0)
        result = sd_bus_set_address(connecting_, address_.c_str());
    if (result >= 0)
        result = sd_bus_set_bus_client(connecting_, 1);
    if (result >= 0)
        result = sd_bus_negotiate_fds(connecting_, 0);
    if (result >= 0)
        result = sd_bus_start(connecting_);
    attemptEnds_ = Clock::now() + kAttemptLimit;
    if (result < 0)
        attemptFailed(std::strerror(-result));
}

void Connection::checkConnecting() {
    if (connecting_ == nullptr)
        return;
    int result = 1;
    while (result > 0 && sd_bus_is_ready(connecting_) == 0)
        result = sd_bus_process(connecting_, nullptr);
    if (result < 0)
        attemptFailed(std::strerror(-result));
    else if (sd_bus_is_ready(connecting_) > 0)
        established();
    else if (Clock::now() >= attemptEnds_)
        attemptFailed("no answer");
}

void Connection::attemptFailed(const std::string& why) {
    connecting_ = sd_bus_close_unref(connecting_);
    retryDelay_ = std::clamp(retryDelay_ * 2, kFirstRetry, kLastRetry);
    nextAttempt_ = Clock::now() + retryDelay_;
    if (!everConnected_)
        finishOpening(false, why);
}

void Connection::established() {
    bus_ = connecting_;
    connecting_ = nullptr;
    retryDelay_ = milliseconds(0);
    if (everConnected_)
        zeConsole_Printf("statebus: the bus is back\n");
    everConnected_ = true;
    finishOpening(true, "");
    const auto participants = participants_;
    for (const auto& participant : participants)
        participant->connected();
}

void Connection::finishOpening(bool result, const std::string& why) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (openingDone_)
        return;
    openingDone_ = true;
    openingResult_ = result;
    openingError_ = why;
    opened_.notify_all();
}

void Connection::lose() {
    connecting_ = sd_bus_close_unref(connecting_);
    sd_bus* const lost = bus_;
    if (lost == nullptr)
        return;
    bus_ = nullptr;
    kept_.clear();
    // Whoever waits hears it first; replies may send, which fails at once.
    std::list<std::unique_ptr<Pending>> pending;
    pending.swap(pending_);
    for (const auto& call : pending) {
        call->slot.reset();
        call->reply(nullptr);
    }
    const auto participants = participants_;
    for (const auto& participant : participants)
        participant->lost();
    sd_bus_close_unref(lost);
    retryDelay_ = kFirstRetry;
    nextAttempt_ = Clock::now() + kFirstRetry;
}

void Connection::process() {
    for (int i = 0; bus_ != nullptr && i < kMessagesInARow; ++i) {
        const int result = sd_bus_process(bus_, nullptr);
        if (result == 0)
            return;
        if (result < 0) {
            zeConsole_Printf("statebus: the bus is gone: %s\n", std::strerror(-result));
            lose();
        }
    }
}

bool Connection::runJobs() {
    std::deque<std::function<void()>> jobs;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        jobs.swap(jobs_);
    }
    if (!jobs.empty())
        room_.notify_all();
    for (const auto& job : jobs)
        job();
    return !jobs.empty();
}

/// The daemon is slower than those who post. Making more messages would only let them queue up, and
/// every answer behind them. A daemon that stands still is no reason to wait, though.
bool Connection::isCongested() {
    const std::uint64_t queued = queuedMessages();
    const Clock::time_point now = Clock::now();
    if (queued < lastQueued_ || queued <= kCongestion)
        lastTaken_ = now;
    lastQueued_ = queued;
    return queued > kCongestion && now - lastTaken_ < kStandstill;
}

void Connection::runTimers() {
    while (!timers_.empty() && timers_.begin()->first <= Clock::now()) {
        const std::function<void()> job = std::move(timers_.begin()->second);
        timers_.erase(timers_.begin());
        job();
    }
}

void Connection::waitForSomething() {
    pollfd files[2] = {{wakeUp_, POLLIN, 0}, {-1, 0, 0}};
    auto until = Clock::time_point::max();
    if (!timers_.empty())
        until = timers_.begin()->first;
    if (lastQueued_ > kCongestion)
        until = std::min(until, Clock::now() + kStandstill);
    sd_bus* const active = bus_ != nullptr ? bus_ : connecting_;
    if (active == nullptr) {
        until = std::min(until, nextAttempt_);
    } else {
        if (active == connecting_)
            until = std::min(until, attemptEnds_);
        const int events = sd_bus_get_events(active);
        files[1].fd = sd_bus_get_fd(active);
        files[1].events = static_cast<short>(std::max(events, 0));
        // sd-bus counts in microseconds of the same monotonic clock.
        std::uint64_t timeout = 0;
        if (sd_bus_get_timeout(active, &timeout) > 0 && timeout != UINT64_MAX)
            until = std::min(until, Clock::time_point(std::chrono::microseconds(
                                        std::min<std::uint64_t>(timeout, INT64_MAX / 1000 - 1))));
    }
    int wait = -1;
    if (until != Clock::time_point::max()) {
        const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
        wait = static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, 1 << 30));
    }
    (void)poll(files, 2, wait); // a signal only means one more round
    if ((files[0].revents & POLLIN) != 0) {
        std::uint64_t count = 0;
        (void)!read(wakeUp_, &count, sizeof count);
    }
}

void Connection::drain() {
    const auto end = Clock::now() + kDrainLimit;
    while (bus_ != nullptr && queuedMessages() > 0 && Clock::now() < end) {
        pollfd file = {sd_bus_get_fd(bus_), POLLIN | POLLOUT, 0};
        (void)poll(&file, 1, 10);
        process();
    }
}

// ---- For jobs and participants ----

void Connection::add(const std::shared_ptr<Participant>& participant) {
    participants_.push_back(participant);
    if (bus_ != nullptr)
        participant->connected();
    else
        participant->lost();
}

void Connection::remove(const Participant& participant) {
    participants_.erase(std::remove_if(participants_.begin(), participants_.end(),
                                       [&](const std::shared_ptr<Participant>& one) {
                                           return one.get() == &participant;
                                       }),
                        participants_.end());
}

MessagePtr Connection::newCall(const char* destination, const std::string& path,
                               const char* interface, const char* member) {
    sd_bus_message* message = nullptr;
    if (bus_ == nullptr || sd_bus_message_new_method_call(bus_, &message, destination, path.c_str(),
                                                          interface, member) < 0)
        return nullptr;
    (void)sd_bus_message_set_auto_start(message, 0);
    return MessagePtr(message);
}

void Connection::send(MessagePtr message, std::chrono::microseconds limit, Reply reply) {
    if (message == nullptr || bus_ == nullptr) {
        reply(nullptr);
        return;
    }
    auto pending = std::make_unique<Pending>();
    pending->connection = this;
    pending->reply = std::move(reply);
    sd_bus_slot* slot = nullptr;
    const std::uint64_t wait =
        limit.count() == 0 ? UINT64_MAX : static_cast<std::uint64_t>(limit.count());
    if (sd_bus_call_async(bus_, &slot, message.get(), onReply, pending.get(), wait) < 0) {
        pending->reply(nullptr);
        return;
    }
    pending->slot.reset(slot);
    Pending& stored = *pending;
    stored.position = pending_.insert(pending_.end(), std::move(pending));
}

int Connection::onReply(sd_bus_message* message, void* user, sd_bus_error*) {
    auto* const raw = static_cast<Pending*>(user);
    auto& list = raw->connection->pending_;
    const std::unique_ptr<Pending> pending = std::move(*raw->position);
    list.erase(pending->position);
    pending->reply(message);
    return 1;
}

std::uint64_t Connection::keep(sd_bus_message* call) {
    kept_.emplace(nextKept_, MessagePtr(sd_bus_message_ref(call)));
    return nextKept_++;
}

void Connection::answer(std::uint64_t kept, bool accepted) {
    const auto found = kept_.find(kept);
    if (found == kept_.end())
        return;
    // Failure means that the bus is going; its loss is noticed elsewhere.
    (void)sd_bus_reply_method_return(found->second.get(), "b", accepted ? 1 : 0);
    kept_.erase(found);
}

void Connection::runAfter(milliseconds delay, std::function<void()> job) {
    timers_.emplace(Clock::now() + delay, std::move(job));
}

std::uint64_t Connection::queuedMessages() const {
    std::uint64_t count = 0;
    if (bus_ == nullptr || sd_bus_get_n_queued_write(bus_, &count) < 0)
        return 0;
    return count;
}

// ---- The shared one ----

namespace {

struct Shared {
    std::mutex mutex;
    std::shared_ptr<Connection> connection;
    int users = 0;
};

// Never destroyed: a forked child that ends by exit() must leave the parent's connection alone.
Shared& shared() {
    static Shared& one = *new Shared;
    return one;
}

} // namespace

std::shared_ptr<Connection> acquireSharedConnection() {
    Shared& one = shared();
    const std::lock_guard<std::mutex> lock(one.mutex);
    if (one.users == 0) {
        auto connection = std::make_shared<Connection>();
        if (!connection->open(busAddress()))
            return nullptr;
        one.connection = connection;
    }
    ++one.users;
    return one.connection;
}

void releaseSharedConnection() {
    Shared& one = shared();
    const std::lock_guard<std::mutex> lock(one.mutex);
    if (--one.users == 0) {
        one.connection->close();
        one.connection.reset();
    }
}

} // namespace statebus
