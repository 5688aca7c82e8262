// The one ordered record of everything that code under test asked of the platform, across kinds, so
// that a test can check what came before what. Written by the platform and the faked system calls,
// read by tests. Any thread.
//
// An entry reads like the call: zeMutex_New() = mutex1, engine1.Open() = 0,
// Execute("play", "1/2") to ContentPlayerService "main" = true. Texts are quoted with everything
// unprintable escaped, a null text is the bare word null. bus.h, console.h, middleware.h and
// system_calls.h list the entries of their calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

namespace fake {

enum class Kind {
    kMutex,        ///< zeMutex_*
    kEngine,       ///< construction, Open, Start, Stop, deletion of an engine
    kManager,      ///< construction, AttachEngine, Stop, deletion of a manager; Lock/UnlockState
    kRegistration, ///< Register..., Unregister...
    kCommand,      ///< zeSBusCommand::Execute
    kWrite,        ///< zeSBusManager::SetValue
    kAllocation,   ///< zeSBusState::New and Delete, zeStrdup
    kConversion,   ///< zeConvert_doubletofraction
    kConsole,      ///< zeConsole_Printf, zeConsole_GetInput
    kPost,         ///< KetraSrv::PostEvent
    kDelivery,     ///< what the bus handed to callbacks and handlers
    kSystem,       ///< faked system calls
    kNote,         ///< what the test itself wrote
};

struct Entry {
    Kind kind;
    std::string text;
};

class Journal {
public:
    static Journal& instance();

    /// Appends an entry. The ticket lets `complete` add what is known only after the call.
    std::uint64_t add(Kind kind, std::string text);
    /// Appends `suffix` to the entry unless it was cleared meanwhile.
    void complete(std::uint64_t ticket, const std::string& suffix);
    /// A line of the test's own.
    void note(std::string text) { add(Kind::kNote, std::move(text)); }

    std::vector<Entry> entries() const;
    /// The entries' texts in order: all of them, or only those of some kinds.
    std::vector<std::string> lines() const;
    std::vector<std::string> lines(std::initializer_list<Kind> kinds) const;
    /// How many entries have exactly this text.
    std::size_t count(const std::string& text) const;
    void clear();
    /// Writes all entries to standard error, one a line. Done before a faked exit ends the process,
    /// so that a death test can match them.
    void print() const;

    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

private:
    Journal() = default;
    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
    std::uint64_t first_ = 0; ///< ticket of entries_[0]
};

/// The text in double quotes with unprintable bytes, quotes and backslashes escaped; null: null.
std::string quoted(const char* text);
std::string quoted(const std::string& text);

} // namespace fake
