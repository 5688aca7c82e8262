// The publisher's side of the state bus. Each platform that can host publishers implements it next
// to the subscriber's contract; programs link whichever platform they run on.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "statebus/quiet_reading.h"
#include "statebus/record.h"
#include "ze/zeMultiMBusEngine.h"

namespace statebus {

/// A command as it arrived: a word and no argument, a text, a number or a record.
struct Command {
    using Argument =
        std::variant<std::monostate, std::string, long long, unsigned long long, Record>;
    std::string word;
    Argument argument;
};

/// What to publish and who answers for it.
struct PublicationSpec {
    /// Layout of the state, and by its mTypeName the state's type.
    const zeSBusStateTemplate* layout = nullptr;
    /// Instance name; nothing: the instance without a name.
    std::optional<std::string> instance;
    /// What subscribers get first.
    std::optional<Record> initial;
    /// Last will: delivered on the publisher's behalf when its process vanishes without a goodbye.
    std::optional<Record> will;
    /// Layouts of the records that commands may carry; a command with any other is refused.
    std::vector<const zeSBusStateTemplate*> argumentLayouts;
    /// Answers a command: true accepted, false refused. On the service thread, one call at a time;
    /// may change publications and send commands. Absent: every command is refused.
    std::function<bool(const Command&)> onCommand;
    /// Answers a write of one field, path and text as they came. The publisher itself changes the
    /// record. On the service thread. Absent: every write is refused.
    std::function<bool(const std::string& path, const std::string& text)> onWrite;
};

/// A published state. Destroying it says goodbye: subscribers get `removed`, not the will.
class Publication {
public:
    Publication() = default;
    Publication(const Publication&) = delete;
    Publication& operator=(const Publication&) = delete;
    virtual ~Publication() = default;

    /// Applies `edit` and announces the result as one change, also when nothing differs. Any
    /// thread; `edit` must not call this publication. Changes are announced in the order of calls.
    /// Never waits for a subscriber. While the bus is away changes are kept and the last one is
    /// announced when it is back.
    virtual void change(const std::function<void(Record&)>& edit) = 0;
    /// A copy of the record as it was last announced.
    virtual Record snapshot() const = 0;
    virtual void setWill(const Record& will) = 0;
};

/// Publishes a state through an opened and started engine. Null, with the reason in `*error` (may
/// be null), when the instance exists already or the engine is not running. The engine must outlive
/// the publication; when it is stopped before, the publication goes without a goodbye.
/// Questions may be answered on the service thread before publish has returned.
std::unique_ptr<Publication> publish(zeMultiMBusEngine& engine, PublicationSpec spec,
                                     std::string* error);

/// Tells when the bus goes away (false) and comes back (true), on the delivery thread. One listener
/// per engine; before Open.
void setConnectionListener(zeMultiMBusEngine& engine, std::function<void(bool connected)> listener);

} // namespace statebus
