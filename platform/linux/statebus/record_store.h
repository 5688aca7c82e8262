// The delivered records of a manager: each immutable, each alive for a long while.
//
// A reader may hold the last delivered pointer of an instance without a lock, also while newer
// records arrive. So a record is freed only when at least four newer ones of its instance exist and
// ten seconds have passed since it was replaced; after the instance has gone, ten seconds after the
// notice was handled. Names live until the store does. Not thread-safe: its owner locks.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "statebus/names.h"
#include "statebus/state.h"
#include "statebus/wire_record.h"

namespace statebus {

class RecordStore {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t kNewerOnes = 4;
    static constexpr std::chrono::seconds kAge{10};

    RecordStore() = default;
    RecordStore(const RecordStore&) = delete;
    RecordStore& operator=(const RecordStore&) = delete;
    ~RecordStore();

    /// A new record in `layout`; null, with the reason, when `wire` is not well formed. It is the
    /// instance's newest from now on.
    const zeSBusStateSerializable* add(const StateName& name, const zeSBusStateTemplate& layout,
                                       const WireRecord& wire, Clock::time_point now,
                                       std::string& reason);
    /// The instance is gone and everybody has been told.
    void retire(const StateName& name, Clock::time_point now);
    /// Frees what has had its time.
    void sweep(Clock::time_point now);

    /// The newest record of an instance, null when there is none; `hold` keeps it from being freed.
    const zeSBusStateSerializable* newest(const StateName& name) const;
    void hold(const zeSBusStateSerializable* record);
    void release(const zeSBusStateSerializable* record);

    /// Records that are alive; for tests.
    std::size_t size() const;

private:
    struct Entry {
        zeSBusStateSerializable* record = nullptr;
        Clock::time_point replaced = Clock::time_point::max();
    };
    using Track = std::deque<Entry>;

    const StateHandle* intern(const StateName& name, const zeSBusStateTemplate& layout);
    bool isHeld(const zeSBusStateSerializable* record) const { return held_.count(record) != 0; }
    void sweep(Track& track, Clock::time_point now);
    static void free(const Entry& entry);

    std::map<StateName, std::map<const zeSBusStateTemplate*, Track>> tracks_;
    std::map<StateName, const zeSBusStateSerializable*> newest_;
    Track retired_;
    std::multiset<const zeSBusStateSerializable*> held_;
    std::map<std::pair<StateName, const zeSBusStateTemplate*>, std::unique_ptr<StateHandle>> names_;
    Clock::time_point nextSweep_ = Clock::time_point::min();
};

} // namespace statebus
