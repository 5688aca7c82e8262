// An engine: a connection (its own or the shared one), a delivery thread and a service thread, and
// who uses them.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "statebus/call.h"
#include "statebus/connection.h"
#include "statebus/work_queue.h"
#include "ze/zeMultiMBusEngine.h"

namespace statebus {

class PublishedState;
class Subscriptions;

class Engine : public std::enable_shared_from_this<Engine> {
public:
    explicit Engine(bool shared) : shared_(shared) {}
    ~Engine() { stop(); }

    bool open();
    bool start();
    void stop();

    void attach(const std::shared_ptr<Subscriptions>& subscriptions);
    void detach(const Subscriptions& subscriptions);
    void add(const std::shared_ptr<PublishedState>& state);
    void setListener(std::function<void(bool)> listener);

    /// Null while the engine is not open.
    std::shared_ptr<Connection> connection();
    /// Null while the engine is not started.
    std::shared_ptr<WorkQueue> service();
    CallGroup& calls() { return calls_; }

private:
    class Observer;

    const bool shared_;
    CallGroup calls_;

    std::mutex mutex_; ///< guards the rest
    bool started_ = false;
    std::shared_ptr<Connection> connection_;
    std::shared_ptr<WorkQueue> delivery_;
    std::shared_ptr<WorkQueue> service_;
    std::shared_ptr<Observer> observer_;
    std::vector<std::weak_ptr<Subscriptions>> subscriptions_;
    std::vector<std::weak_ptr<PublishedState>> states_;
    std::function<void(bool)> listener_;
};

/// The inside of the contract's engine.
Engine& engineOf(const zeMultiMBusEngine& engine);

} // namespace statebus
