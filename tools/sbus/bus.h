// sbus's connection to the state bus: which instances there are, their records, and what is sent to
// them. Notices arrive on the bus's delivery thread; everything else is called on the main thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "statebus/record.h"
#include "ze/zeSBus.h"

namespace sbus {

/// What `watch` wants to hear. Called on the delivery thread, one at a time.
struct Listener {
    std::function<void(const std::string& fullName)> appeared;
    std::function<void(const std::string& fullName, const statebus::Record&)> changed;
    std::function<void(const std::string& fullName)> gone;
    std::function<void(bool connected)> connection;
};

class Bus {
public:
    explicit Bus(Listener listener = {});
    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// False: there is no bus.
    bool open();

    /// Full names of what is on the bus, of every type, sorted; nothing when it does not answer.
    std::optional<std::vector<std::string>> everything();
    /// Waits until the instance, which is on the bus, is known here too. False when it is not
    /// within `limit`: it has left.
    bool await(const std::string& fullName, std::chrono::milliseconds limit);
    /// The instance's record; nothing when its publisher does not deliver one within `limit`.
    std::optional<statebus::Record> record(const std::string& fullName,
                                           std::chrono::milliseconds limit);

    /// False: refused, gone, or no answer in time.
    bool execute(const std::string& fullName, zeSBusCommand& command);
    bool write(const std::string& fullName, const std::string& path, const std::string& value);

private:
    static void remoteState(zeSBusManager* manager, void* user, const char* fullName, bool added);
    static void stateChanged(zeSBusManager* manager, void* user,
                             const zeSBusStateSerializable* record);
    void onRemoteState(const std::string& fullName, bool added);

    Listener listener_;
    std::unique_ptr<zeMultiMBusEngine> engine_;
    std::unique_ptr<zeSBusManager> manager_;

    std::mutex mutex_; // guards the rest
    std::condition_variable news_;
    std::map<std::string, std::optional<statebus::Record>> known_;
};

} // namespace sbus
