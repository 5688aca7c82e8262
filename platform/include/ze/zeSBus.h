// The state bus as a subscriber sees it: typed records that other processes publish, their changes,
// commands to them and writes of single fields.
//
// What the platform owes a subscriber:
// - An instance appears (`added`) and disappears (`removed`); after a change handler was registered
//   the whole record is delivered at once and again after every change, in order, none left out.
// - The remote-state callback and the change handlers run on the engine's delivery thread, one at
//   a time, and may send commands and writes and register handlers.
// - A delivered record is immutable and stays readable for a long while: until at least four newer
//   records of its instance were delivered and ten seconds have passed; after `removed` likewise.
//   Its full name stays readable until the manager is deleted.
// - A publisher that vanishes without a goodbye is followed by its last will (an ordinary change),
//   then by `removed`. When the bus itself dies that goes for every publisher; those that live
//   appear again, with the records that they have by then, when the bus is back.
// - Execute and SetValue block until the other side answered, work from any thread, and answer
//   false, never hang, when the other side is gone, refuses, or does not answer within five
//   seconds.
// - A null string and an empty string are different values; strings are bytes. A record that is not
//   well formed is refused with one console line and changes nothing.
#pragma once

#include <cstdint>

#include "ze/zeMultiMBusEngine.h"

struct zeSBusStateTemplate;
class zeSBusManager;

/// How a field lies in its record and how it is serialised. The layout of the descriptor is shared
/// with the bus library and fixed; a list of them ends with a row of zeros.
struct StateFieldDescriptor {
    std::uint32_t mOffset;              ///< bytes from the record's start
    std::uint32_t mSize;                ///< bytes of one element
    std::uint32_t mCount;               ///< elements: 1 except for an inline character array
    const char* mName;                  ///< serialised name
    const char* mTypeCode;              ///< one of the kField... codes
    const zeSBusStateTemplate* mNested; ///< layout of a nested record, else null
    std::uint32_t mFlags;               ///< one of the kFieldFlag... values
};

/// Type codes; lower case is signed, upper case unsigned.
namespace statebus {
constexpr char kFieldInternal[] = "Z";    ///< the bus's handle, first field of a top-level record
constexpr char kFieldText[] = "cP";       ///< pointer to a NUL-terminated byte string, or null
constexpr char kFieldCharacters[] = "cA"; ///< inline characters
constexpr char kFieldInt32[] = "i";
constexpr char kFieldUint32[] = "I";
constexpr char kFieldInt16[] = "u";
constexpr char kFieldUint16[] = "U";
constexpr char kFieldRecord[] = "s";       ///< nested record, inline
constexpr char kFieldRecordArray[] = "sD"; ///< pointer to an array of nested records

constexpr std::uint32_t kFieldFlagPlain = 0;
constexpr std::uint32_t kFieldFlagCount = 1; ///< element count of the array that follows
constexpr std::uint32_t kFieldFlagArray = 2; ///< array whose count is the field before it
} // namespace statebus

/// Describes a record type to the bus. Constant data, handed over by address.
struct zeSBusStateTemplate {
    std::uint32_t mSize;                 ///< bytes of one record
    const StateFieldDescriptor* mFields; ///< first row
    const char* mName;                   ///< record type name
    const char* mTypeName;    ///< name under which a state is registered; "" for a nested record
    std::uint32_t mOptions;   ///< opaque to everybody but the bus
    std::uint32_t mfTopLevel; ///< 1 for states and command arguments
};

/// What every delivered record is: an empty base, so that the record's first field, the bus's
/// handle, lies at offset 0.
struct zeSBusStateSerializable {
    /// Type name, or type name, '$' and instance name. Valid until the manager is deleted.
    const char* GetFullName() const;
};

/// A record that a process makes itself, as the argument of a command.
struct zeSBusState : zeSBusStateSerializable {
    /// A zero-initialised record of the template's size, null when there is no memory. `aName` may
    /// be null. Release with Delete unless a command took it.
    static zeSBusState* New(const zeSBusStateTemplate* aTemplate, const char* aName);
    /// Frees a record made by New with the strings and arrays that its fields point to (all made
    /// with malloc). Null is ignored.
    static void Delete(zeSBusState* aState);
};

/// Full name of an instance that appeared (`aAdded` true) or disappeared.
typedef void (*zeSBusRemoteStateCallback)(zeSBusManager* aManager, void* aUser,
                                          const char* aFullName, bool aAdded);
/// A subscribed record changed. `aState` has the template's layout.
typedef void (*zeSBusStateChangeHandler)(zeSBusManager* aManager, void* aUser,
                                         const zeSBusStateSerializable* aState);

class zeSBusManager {
public:
    zeSBusManager();
    zeSBusManager(const zeSBusManager&) = delete;
    zeSBusManager& operator=(const zeSBusManager&) = delete;
    /// Stops the manager if that was not done and frees every delivered record.
    virtual ~zeSBusManager();

    /// Connects the manager to an engine, which must outlive it or be stopped after it. Before the
    /// engine is opened.
    virtual void AttachEngine(zeMBusEngine* aEngine);
    /// Ends all subscriptions. When it has returned no handler runs any more, also when the engine
    /// still does. Must not be called on the delivery thread.
    virtual void Stop();

    // Registrations return true when they were stored.

    /// One callback per manager; a second registration replaces it.
    bool RegisterRemoteSBusStateCallback(zeSBusRemoteStateCallback aCallback, void* aUser);
    /// Asks for `added` and `removed` notices of a state type. `aFilter` is "".
    bool RegisterListeningSBusState(const char* aTypeName, const char* aFilter);
    /// Asks for the changes of one instance ("" or null: the instance without a name). The same
    /// handler registered twice is called once; the second user pointer holds. The registration
    /// ends with the instance.
    bool RegisterToStateChange(const zeSBusStateTemplate* aTemplate, const char* aInstance,
                               zeSBusStateChangeHandler aHandler, void* aUser);
    bool UnregisterToStateChange(const zeSBusStateTemplate* aTemplate, const char* aInstance,
                                 zeSBusStateChangeHandler aHandler);

    /// The last delivered record of an instance, kept alive until UnlockState; null when none is
    /// known.
    const zeSBusStateSerializable* LockState(const char* aTypeName, const char* aInstance);
    /// `aChanged` is of no consequence for a remote record, which is read-only.
    void UnlockState(const zeSBusStateSerializable* aState, bool aChanged);

    /// Writes one field of a state: `aPath` names a field, with dots into nested records, `aValue`
    /// is its text. A null `aInstance` addresses the instance without a name, else the only one.
    bool SetValue(const char* aTypeName, const char* aInstance, const char* aPath,
                  const char* aValue);

    struct Data;
    /// The platform's own side of the manager; meaningless to anybody else.
    Data* data() const { return mData; }

private:
    Data* mData;
};

/// One command with at most one argument. Owns copies of its texts and owns the record it was
/// given, with the record's strings.
class zeSBusCommand {
public:
    explicit zeSBusCommand(const char* aWord);
    /// A null text is sent as no argument.
    zeSBusCommand(const char* aWord, const char* aText);
    zeSBusCommand(const char* aWord, long aNumber);
    zeSBusCommand(const char* aWord, unsigned long aNumber);
    /// Takes the record (made by zeSBusState::New).
    zeSBusCommand(const char* aWord, zeSBusState* aRecord);
    zeSBusCommand(const zeSBusCommand&) = delete;
    zeSBusCommand& operator=(const zeSBusCommand&) = delete;
    ~zeSBusCommand();

    /// Sends the command to a state and waits for its answer. A null `aInstance` addresses the
    /// instance without a name, else the only one.
    bool Execute(zeSBusManager* aManager, const char* aTypeName, const char* aInstance);

private:
    struct Data;
    Data* mData;
};
