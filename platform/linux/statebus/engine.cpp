#include "statebus/engine.h"

#include <algorithm>
#include <utility>

#include "statebus/delivering.h"
#include "statebus/published_state.h"
#include "statebus/publisher.h"
#include "statebus/subscriptions.h"
#include "ze/zeConsole.h"

namespace statebus {

/// Tells the engine's listener how the connection fares, on the delivery thread.
class Engine::Observer : public Connection::Participant {
public:
    Observer(std::function<void(bool)> listener, std::shared_ptr<WorkQueue> delivery)
        : listener_(std::move(listener)), delivery_(std::move(delivery)) {}

    void connected() override {
        if (std::exchange(wasLost_, false))
            tell(true);
    }
    void lost() override {
        wasLost_ = true;
        tell(false);
    }

private:
    void tell(bool connected) {
        delivery_->push([listener = listener_, connected] {
            const Delivering quiet;
            listener(connected);
        });
    }

    std::function<void(bool)> listener_;
    std::shared_ptr<WorkQueue> delivery_;
    bool wasLost_ = false;
};

bool Engine::open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (connection_ != nullptr) {
        zeConsole_Printf("statebus: the engine is open already\n");
        return false;
    }
    const std::string address = busAddress();
    if (address.empty()) {
        zeConsole_Printf("statebus: no bus: neither KETRA_BUS_ADDRESS nor "
                         "DBUS_SESSION_BUS_ADDRESS is set\n");
        return false;
    }
    std::shared_ptr<Connection> connection;
    if (shared_) {
        connection = acquireSharedConnection();
    } else {
        connection = std::make_shared<Connection>();
        if (!connection->open(address))
            connection = nullptr;
    }
    if (connection == nullptr)
        return false;
    calls_.reopen();
    connection_ = connection;
    delivery_ = std::make_shared<WorkQueue>("statebus-deliv");
    service_ = std::make_shared<WorkQueue>("statebus-serve");
    if (listener_) {
        observer_ = std::make_shared<Observer>(listener_, delivery_);
        connection_->post(
            [connection = connection_.get(), observer = observer_] { connection->add(observer); });
    }
    for (const auto& weak : subscriptions_)
        if (const auto subscriptions = weak.lock())
            subscriptions->connect(connection_, delivery_);
    return true;
}

bool Engine::start() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (connection_ == nullptr) {
        zeConsole_Printf("statebus: the engine is not open\n");
        return false;
    }
    started_ = true;
    delivery_->start();
    service_->start();
    return true;
}

void Engine::stop() {
    std::shared_ptr<Connection> connection;
    std::vector<std::shared_ptr<Subscriptions>> subscriptions;
    std::vector<std::shared_ptr<PublishedState>> states;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (connection_ == nullptr)
            return;
        if (delivery_->isThisThread() || service_->isThisThread()) {
            zeConsole_Printf("statebus: an engine cannot be stopped on its own threads\n");
            return;
        }
        connection = std::exchange(connection_, nullptr);
        started_ = false;
        for (const auto& weak : subscriptions_)
            if (const auto one = weak.lock())
                subscriptions.push_back(one);
        for (const auto& weak : states_)
            if (const auto one = weak.lock())
                states.push_back(one);
        states_.clear();
    }
    // Whoever waits for an answer goes on, so that the threads can be joined.
    calls_.abort();
    for (const auto& one : subscriptions) {
        one->disconnect();
        one->abortCalls();
    }
    delivery_->stop();
    service_->stop();
    // A publication that is still there has not been taken back: its will is due, as if the process
    // had ended.
    for (const auto& state : states)
        state->close(false);
    if (observer_ != nullptr)
        connection->post([connection = connection.get(), observer = observer_] {
            connection->remove(*observer);
        });
    observer_ = nullptr;
    if (shared_)
        releaseSharedConnection();
    else
        connection->close();
}

void Engine::attach(const std::shared_ptr<Subscriptions>& subscriptions) {
    const std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_.push_back(subscriptions);
    if (connection_ != nullptr)
        subscriptions->connect(connection_, delivery_);
}

void Engine::detach(const Subscriptions& subscriptions) {
    const std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_.erase(std::remove_if(subscriptions_.begin(), subscriptions_.end(),
                                        [&](const std::weak_ptr<Subscriptions>& weak) {
                                            const auto one = weak.lock();
                                            return one == nullptr || one.get() == &subscriptions;
                                        }),
                         subscriptions_.end());
}

void Engine::add(const std::shared_ptr<PublishedState>& state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    states_.erase(std::remove_if(states_.begin(), states_.end(),
                                 [](const auto& one) { return one.expired(); }),
                  states_.end());
    states_.push_back(state);
}

void Engine::setListener(std::function<void(bool)> listener) {
    const std::lock_guard<std::mutex> lock(mutex_);
    listener_ = std::move(listener);
}

std::shared_ptr<Connection> Engine::connection() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return connection_;
}

std::shared_ptr<WorkQueue> Engine::service() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return started_ ? service_ : nullptr;
}

void setConnectionListener(zeMultiMBusEngine& engine,
                           std::function<void(bool connected)> listener) {
    engineOf(engine).setListener(std::move(listener));
}

} // namespace statebus

struct zeMultiMBusEngine::Data {
    std::shared_ptr<statebus::Engine> engine;
};

namespace statebus {

Engine& engineOf(const zeMultiMBusEngine& engine) {
    return *engine.data()->engine;
}

} // namespace statebus

zeMultiMBusEngine::zeMultiMBusEngine(bool aShared)
    : mData(new Data{std::make_shared<statebus::Engine>(aShared)}) {}

zeMultiMBusEngine::~zeMultiMBusEngine() {
    mData->engine->stop();
    delete mData;
}

int zeMultiMBusEngine::Open() {
    return mData->engine->open() ? 0 : -1;
}

int zeMultiMBusEngine::Start(int) {
    // One delivery thread and one service thread, however many are allowed.
    return mData->engine->start() ? 0 : -1;
}

void zeMultiMBusEngine::Stop() {
    mData->engine->stop();
}
