// A bus record that owns itself: what a publisher keeps, changes and announces.
//
// Works on any template; knows neither D-Bus nor a particular record type. Not thread-safe.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ze/zeSBus.h"

namespace statebus {

/// Memory in a template's layout with every text and array that its fields point to.
///
/// Fields are addressed by path: "mState", "mTrack.mTitle", "mAuthorizationRequests[0].mState".
/// A setter that is handed an unknown path, a value that does not fit or a field of another kind
/// changes nothing and returns false.
class Record {
public:
    /// All zero: numbers 0, texts null, arrays empty.
    explicit Record(const zeSBusStateTemplate& layout);
    /// Deep copy of a record that somebody else owns. `source` has this layout.
    Record(const zeSBusStateTemplate& layout, const void* source);
    Record(const Record& other);
    /// Leaves `other` all zero, for which it needs memory.
    Record(Record&& other); // NOLINT(performance-noexcept-move-constructor)
    Record& operator=(const Record& other);
    Record& operator=(Record&& other) noexcept;
    ~Record();

    const zeSBusStateTemplate& layout() const { return *layout_; }
    const void* data() const { return data_; }
    /// The record as its structure, to read. Texts may be null.
    template <class T> const T& as() const { return *static_cast<const T*>(data_); }

    /// Text fields and inline characters; inline text that is longer than its field is refused.
    bool setText(std::string_view path, const std::string& text);
    /// Makes a text field null.
    bool setNull(std::string_view path);
    /// Integer fields. Not for the count of an array: see resize.
    bool setNumber(std::string_view path, long long value);
    /// Length of an array, named by the array; kept elements keep their values, new ones are zero.
    bool resize(std::string_view arrayPath, std::size_t count);
    /// Sets a field from its written form, as a property write carries it: decimal for numbers.
    bool setFromText(std::string_view path, const std::string& text);

    /// The text of a text field; nothing when it is null or not a text.
    std::optional<std::string> text(std::string_view path) const;
    std::optional<long long> number(std::string_view path) const;

    /// Gives the contents away as a command's argument (zeSBusState::Delete frees it) and leaves
    /// this record all zero. Top-level layouts only.
    zeSBusState* release();

private:
    const zeSBusStateTemplate* layout_;
    void* data_;
};

/// Same values in every field, null texts only equal to null texts. The bus handle is not compared.
bool operator==(const Record& left, const Record& right);
inline bool operator!=(const Record& left, const Record& right) {
    return !(left == right);
}

} // namespace statebus
