#include "statebus/record_store.h"

#include <cstdlib>
#include <utility>

#include "statebus/record_codec.h"
#include "statebus/record_memory.h"

namespace statebus {

RecordStore::~RecordStore() {
    for (const auto& [name, byLayout] : tracks_)
        for (const auto& [layout, track] : byLayout)
            for (const Entry& entry : track)
                free(entry);
    for (const Entry& entry : retired_)
        free(entry);
}

const zeSBusStateSerializable* RecordStore::add(const StateName& name,
                                                const zeSBusStateTemplate& layout,
                                                const WireRecord& wire, Clock::time_point now,
                                                std::string& reason) {
    void* memory = newRecordMemory(layout);
    if (memory == nullptr) {
        reason = "does not fit into memory";
        return nullptr;
    }
    if (!decodeRecord(wire, layout, memory, reason)) {
        clearRecord(layout, memory);
        std::free(memory);
        return nullptr;
    }
    setHandle(memory, intern(name, layout));
    auto* const record = static_cast<zeSBusStateSerializable*>(memory);
    Track& track = tracks_[name][&layout];
    if (!track.empty())
        track.back().replaced = now;
    track.push_back({record, Clock::time_point::max()});
    newest_[name] = record;
    sweep(track, now);
    return record;
}

void RecordStore::retire(const StateName& name, Clock::time_point now) {
    const auto found = tracks_.find(name);
    if (found == tracks_.end())
        return;
    for (const auto& [layout, track] : found->second)
        for (const Entry& entry : track)
            retired_.push_back({entry.record, now});
    tracks_.erase(found);
    newest_.erase(name);
}

void RecordStore::sweep(Clock::time_point now) {
    // Everything is looked at once a second; the instance at hand with every record.
    if (now < nextSweep_)
        return;
    nextSweep_ = now + std::chrono::seconds(1);
    for (auto& [name, byLayout] : tracks_)
        for (auto& [layout, track] : byLayout)
            sweep(track, now);
    Track kept;
    for (const Entry& entry : retired_) {
        if (now - entry.replaced < kAge || isHeld(entry.record))
            kept.push_back(entry);
        else
            free(entry);
    }
    retired_.swap(kept);
}

void RecordStore::sweep(Track& track, Clock::time_point now) {
    // Oldest first: the first one that is too young ends it, one that is held is left out.
    for (auto entry = track.begin(); static_cast<std::size_t>(track.end() - entry) > kNewerOnes &&
                                     now - entry->replaced >= kAge;) {
        if (isHeld(entry->record)) {
            ++entry;
        } else {
            free(*entry);
            entry = track.erase(entry);
        }
    }
}

const zeSBusStateSerializable* RecordStore::newest(const StateName& name) const {
    const auto found = newest_.find(name);
    return found == newest_.end() ? nullptr : found->second;
}

void RecordStore::hold(const zeSBusStateSerializable* record) {
    held_.insert(record);
}

void RecordStore::release(const zeSBusStateSerializable* record) {
    const auto found = held_.find(record);
    if (found != held_.end())
        held_.erase(found);
}

std::size_t RecordStore::size() const {
    std::size_t count = retired_.size();
    for (const auto& [name, byLayout] : tracks_)
        for (const auto& [layout, track] : byLayout)
            count += track.size();
    return count;
}

const StateHandle* RecordStore::intern(const StateName& name, const zeSBusStateTemplate& layout) {
    auto& handle = names_[{name, &layout}];
    if (handle == nullptr)
        handle = std::make_unique<StateHandle>(StateHandle{&layout, fullName(name)});
    return handle.get();
}

void RecordStore::free(const Entry& entry) {
    clearRecord(*handleOf(entry.record)->layout, entry.record);
    std::free(entry.record);
}

} // namespace statebus
