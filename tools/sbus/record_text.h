// A record of any layout as lines of text: one field a line, named by the path that a write takes.
// Pure functions, any thread.
#pragma once

#include <string>
#include <vector>

#include "ze/zeSBus.h"

namespace sbus {

/// One field and its value as shown: numbers in decimal, texts quoted with everything unprintable
/// escaped, null texts as (null). Values with a known meaning carry it in brackets.
struct Field {
    std::string path;
    std::string value;
};
inline bool operator==(const Field& left, const Field& right) {
    return left.path == right.path && left.value == right.value;
}

/// Every field in the layout's order, nested records and array elements included
/// ("mThumbnail[0].mURI"). The bus handle is left out.
std::vector<Field> fieldsOf(const zeSBusStateTemplate& layout, const void* record);

/// The fields of `after` that differ from `before` or are new, in order; then those that are gone,
/// with the value "(gone)".
std::vector<Field> changedFields(const std::vector<Field>& before, const std::vector<Field>& after);

/// "path = value" lines, each begun with `indent`.
std::string toLines(const std::vector<Field>& fields, const std::string& indent);

/// Paths of a layout that a write can name; array elements with index 0.
std::vector<std::string> writablePaths(const zeSBusStateTemplate& layout);
/// Whether `path` names a field of the layout that a write can carry, whatever the index.
bool isWritable(const zeSBusStateTemplate& layout, const std::string& path);

} // namespace sbus
