// A peer that speaks D-Bus by itself and keeps to no rule of ours: what a faulty or foreign program
// would send.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <systemd/sd-bus.h>

namespace testing_support {

class RawPeer {
public:
    explicit RawPeer(const std::string& address) {
        if (sd_bus_new(&bus_) < 0 || sd_bus_set_address(bus_, address.c_str()) < 0 ||
            sd_bus_set_bus_client(bus_, 1) < 0 || sd_bus_start(bus_) < 0)
            throw std::runtime_error("the raw peer does not reach the bus");
    }
    ~RawPeer() { sd_bus_flush_close_unref(bus_); }
    RawPeer(const RawPeer&) = delete;
    RawPeer& operator=(const RawPeer&) = delete;

    using Fill = std::function<void(sd_bus_message*)>;

    void own(const std::string& name) {
        if (sd_bus_request_name(bus_, name.c_str(), 0) < 0)
            throw std::runtime_error("the raw peer does not get its name");
    }
    /// Calls that come are refused as unknown: there is no object.
    void processFor(std::uint64_t microseconds) {
        while (sd_bus_process(bus_, nullptr) > 0) {
        }
        sd_bus_wait(bus_, microseconds);
        while (sd_bus_process(bus_, nullptr) > 0) {
        }
    }
    void signal(const std::string& path, const char* member, const Fill& fill) {
        sd_bus_message* message = nullptr;
        sd_bus_message_new_signal(bus_, &message, path.c_str(), "tv.sbus.State1", member);
        fill(message);
        sd_bus_send(bus_, message, nullptr);
        sd_bus_flush(bus_);
        sd_bus_message_unref(message);
    }
    /// The error's name, "" when the call was answered.
    std::string call(const std::string& name, const std::string& path, const char* member,
                     const Fill& fill) {
        sd_bus_message* message = nullptr;
        sd_bus_message* answer = nullptr;
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message_new_method_call(bus_, &message, name.c_str(), path.c_str(), "tv.sbus.State1",
                                       member);
        fill(message);
        const int result = sd_bus_call(bus_, message, 20 * 1000 * 1000, &error, &answer);
        const std::string text = result >= 0 ? "" : error.name == nullptr ? "failed" : error.name;
        sd_bus_error_free(&error);
        sd_bus_message_unref(answer);
        sd_bus_message_unref(message);
        return text;
    }
    sd_bus* bus() { return bus_; }

private:
    sd_bus* bus_ = nullptr;
};

} // namespace testing_support
