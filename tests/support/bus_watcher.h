// A subscriber that writes down what it is told and lets a test wait for it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "ServiceRecords.h"
#include "ze/zeSBus.h"

namespace testing_support {

/// One notice. The fields of a record are copied when it is delivered.
struct Notice {
    enum Kind { kAdded, kRemoved, kChanged };
    Kind kind = kChanged;
    std::string name;
    int state = 0;
    int error = 0;
    std::uint32_t position = 0;
    std::optional<std::string> title;   ///< mTrack.mTitle
    std::optional<std::string> profile; ///< mTrack.mDLNAProfile
    std::chrono::steady_clock::time_point at = std::chrono::steady_clock::now();

    std::string text() const {
        if (kind != kChanged)
            return name + (kind == kAdded ? " added" : " removed");
        return name + " " + std::to_string(state) + "/" + std::to_string(position);
    }
};

inline std::optional<std::string> optionalText(const char* text) {
    if (text == nullptr)
        return std::nullopt;
    return std::string(text);
}

/// Listens to ContentPlayerService and subscribes to every instance.
class BusWatcher {
public:
    explicit BusWatcher(bool shared = false) : engine_(shared) {
        manager_ = std::make_unique<zeSBusManager>();
        manager_->RegisterRemoteSBusStateCallback(onRemote, this);
        manager_->RegisterListeningSBusState("ContentPlayerService", "");
        manager_->AttachEngine(&engine_);
    }
    ~BusWatcher() { stop(); }

    bool start() { return engine_.Open() == 0 && engine_.Start(3) == 0; }
    void stop() {
        if (manager_ != nullptr)
            manager_->Stop();
        manager_.reset();
        engine_.Stop();
    }

    zeSBusManager& manager() { return *manager_; }
    zeMultiMBusEngine& engine() { return engine_; }
    /// Runs inside every change handler; set before start.
    std::function<void(const ContentPlayerService&)> inHandler;

    std::vector<Notice> notices() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return notices_;
    }
    std::size_t count(Notice::Kind kind, const std::string& name = "") const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return countLocked(kind, name);
    }
    /// The condition is asked when there is at least one notice.
    template <class Condition>
    bool waitFor(Condition condition, std::chrono::milliseconds limit = kLimit) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, limit,
                                 [&] { return !notices_.empty() && condition(notices_); });
    }
    bool waitForCount(Notice::Kind kind, std::size_t wanted, const std::string& name = "",
                      std::chrono::milliseconds limit = kLimit) {
        return waitFor([&](const auto&) { return countLocked(kind, name) >= wanted; }, limit);
    }

    bool command(const char* word, const char* instance, const char* text = nullptr) {
        return zeSBusCommand(word, text).Execute(manager_.get(), "ContentPlayerService", instance);
    }

private:
    // Generous: sanitizers and a busy machine.
    static constexpr std::chrono::milliseconds kLimit{20000};

    static void onRemote(zeSBusManager* manager, void* user, const char* name, bool added) {
        auto* const self = static_cast<BusWatcher*>(user);
        const char* instance = std::strchr(name, '$');
        Notice notice;
        notice.kind = added ? Notice::kAdded : Notice::kRemoved;
        notice.name = name;
        if (added)
            manager->RegisterToStateChange(&ContentPlayerServiceTemplate,
                                           instance == nullptr ? "" : instance + 1, onChange, user);
        self->note(notice);
    }

    static void onChange(zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
        auto* const self = static_cast<BusWatcher*>(user);
        const auto& record = *reinterpret_cast<const ContentPlayerService*>(state);
        if (self->inHandler)
            self->inHandler(record);
        Notice notice;
        notice.name = state->GetFullName();
        notice.state = record.mState;
        notice.error = record.mErrorCode;
        notice.position = record.mPlayback.mPositionSec;
        notice.title = optionalText(record.mTrack.mTitle);
        notice.profile = optionalText(record.mTrack.mDLNAProfile);
        self->note(notice);
    }

    std::size_t countLocked(Notice::Kind kind, const std::string& name) const {
        std::size_t count = 0;
        for (const Notice& notice : notices_)
            count += notice.kind == kind && (name.empty() || notice.name == name) ? 1 : 0;
        return count;
    }

    void note(const Notice& notice) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            notices_.push_back(notice);
        }
        changed_.notify_all();
    }

    zeMultiMBusEngine engine_;
    std::unique_ptr<zeSBusManager> manager_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Notice> notices_;
};

} // namespace testing_support
