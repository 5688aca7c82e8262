// Memory in a template's layout, to and from the form in which records travel.
//
// Called by publishers and commands on their own threads and by the delivery and service threads.
#pragma once

#include <optional>
#include <string>

#include "statebus/record.h"
#include "statebus/wire_record.h"
#include "ze/zeSBus.h"

namespace statebus {

/// Nothing is left out but nulls, the bus's handle and the counts of arrays, which are the arrays'
/// lengths.
WireRecord encodeRecord(const zeSBusStateTemplate& layout, const void* record);

/// Fills a zeroed record. Names that the layout does not have and values of another kind are
/// skipped, missing ones stay zero. False, with the reason, when the record is not well formed;
/// what was filled in by then is the caller's to clear.
bool decodeRecord(const WireRecord& wire, const zeSBusStateTemplate& layout, void* record,
                  std::string& reason);
/// The same as a record that owns itself; nothing, with the reason, when it is not well formed.
std::optional<Record> makeRecord(const zeSBusStateTemplate& layout, const WireRecord& wire,
                                 std::string& reason);

} // namespace statebus
