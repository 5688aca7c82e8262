// What the contract suite asks of the platform it runs on, because no contract names it: another
// process, the operator at the console, the middleware's loop. One source file a platform.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ketra/KetraSrv.h"

namespace contract {

/// A bus for this test alone. Made before anything else of a test.
class World {
public:
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// The bus dies at once, without a word to anybody.
    void killBus();
    /// A new bus takes its place.
    void replaceBus();

private:
    struct Data;
    std::unique_ptr<Data> data_;
};

/// A publisher in another process, or what a platform without processes has for it. It publishes
/// an instance of ContractState with mInt32 1, accepts every command and write, and leaves a will
/// with mInt32 99 and mText "lost"; a write of "will" puts another number there. Destroying it ends
/// it without a goodbye.
class RemotePublisher {
public:
    virtual ~RemotePublisher() = default;
    /// Its process dies at once.
    virtual void kill() = 0;
    /// It lives but does nothing any more.
    virtual void freeze() = 0;
};
std::unique_ptr<RemotePublisher> startRemotePublisher(const std::string& instance);

/// A publisher that keeps to no rule. Its instance of ContractState is there when it was started;
/// the first record comes with the first send.
class FaultyPublisher {
public:
    virtual ~FaultyPublisher() = default;
    /// A record as it should be, with this mInt32.
    virtual void send(int number) = 0;
    /// One that is not well formed.
    virtual void sendMalformed() = 0;
};
std::unique_ptr<FaultyPublisher> startFaultyPublisher(const std::string& instance);

/// The bytes that the operator types until the input ends. Replaces what was not read.
void setConsoleInput(const std::string& bytes);
/// What is printed on the console while `action` runs.
std::string consoleOutputOf(const std::function<void()>& action);

/// The middleware's queue: handlers of events without a target, and one pass over what is queued.
void addHandler(KetraEvtHandle& handler);
void removeHandler(KetraEvtHandle& handler);
int dispatchEvents();

} // namespace contract
