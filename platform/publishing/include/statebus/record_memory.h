// Memory of a record in a template's layout: what a Record and every platform do with the texts and
// arrays that its fields point to. All of them are made with malloc and owned by the record.
//
// Works on raw memory; any thread, as long as nobody else uses the same record.
#pragma once

#include <cstdint>

#include "ze/zeSBus.h"

namespace statebus {

enum class FieldKind {
    kInternal,
    kText,
    kCharacters,
    kInt32,
    kUint32,
    kInt16,
    kUint16,
    kRecord,
    kRecordArray,
    kUnknown, ///< a type code that this library does not know; such a field is left alone
};

FieldKind kindOf(const StateFieldDescriptor& field);
inline bool isNumber(FieldKind kind) {
    return kind >= FieldKind::kInt32 && kind <= FieldKind::kUint16;
}

/// The integer in a numeric field at `address`; 0 for other kinds.
long long loadNumber(FieldKind kind, const void* address);
/// False, and nothing stored, when `value` does not fit or the kind is not a number.
bool storeNumber(FieldKind kind, void* address, long long value);

/// A zeroed record, null when there is no memory.
void* newRecordMemory(const zeSBusStateTemplate& layout);
/// Frees what the fields point to and zeroes the record, the bus handle excepted.
void clearRecord(const zeSBusStateTemplate& layout, void* record);
/// Deep copy into a record whose fields point to nothing. The bus handle is not copied.
void copyRecord(const zeSBusStateTemplate& layout, void* target, const void* source);
/// Same values in every field; null texts equal only null texts; the bus handle is not compared.
bool equalRecords(const zeSBusStateTemplate& layout, const void* left, const void* right);

} // namespace statebus
