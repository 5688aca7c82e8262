#include "statebus/record_memory.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace statebus {

namespace {

struct KindRow {
    const char* code;
    FieldKind kind;
};

constexpr KindRow kKinds[] = {
    {kFieldInternal, FieldKind::kInternal},       {kFieldText, FieldKind::kText},
    {kFieldCharacters, FieldKind::kCharacters},   {kFieldInt32, FieldKind::kInt32},
    {kFieldUint32, FieldKind::kUint32},           {kFieldInt16, FieldKind::kInt16},
    {kFieldUint16, FieldKind::kUint16},           {kFieldRecord, FieldKind::kRecord},
    {kFieldRecordArray, FieldKind::kRecordArray},
};

template <class T> T load(const void* address) {
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

template <class T> bool storeAs(void* address, long long value) {
    if (value < static_cast<long long>(std::numeric_limits<T>::min()) ||
        value > static_cast<long long>(std::numeric_limits<T>::max()))
        return false;
    const T narrow = static_cast<T>(value);
    std::memcpy(address, &narrow, sizeof narrow);
    return true;
}

void* at(void* record, const StateFieldDescriptor& field) {
    return static_cast<unsigned char*>(record) + field.mOffset;
}

const void* at(const void* record, const StateFieldDescriptor& field) {
    return static_cast<const unsigned char*>(record) + field.mOffset;
}

/// Calls `visit(field, kind, count)` for every row; `count` is the value of the count row before an
/// array, as it stands in `record`.
template <class Visit>
void forEachField(const zeSBusStateTemplate& layout, const void* record, Visit visit) {
    std::uint16_t count = 0;
    for (const StateFieldDescriptor* field = layout.mFields; field->mName != nullptr; ++field) {
        if (field->mFlags == kFieldFlagCount)
            count = load<std::uint16_t>(at(record, *field));
        visit(*field, kindOf(*field), count);
    }
}

char* duplicate(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    void* copy = std::malloc(size);
    if (copy == nullptr)
        throw std::bad_alloc();
    return static_cast<char*>(std::memcpy(copy, text, size));
}

} // namespace

FieldKind kindOf(const StateFieldDescriptor& field) {
    for (const KindRow& row : kKinds)
        if (std::strcmp(row.code, field.mTypeCode) == 0)
            return row.kind;
    return FieldKind::kUnknown;
}

long long loadNumber(FieldKind kind, const void* address) {
    switch (kind) {
    case FieldKind::kInt32:
        return load<std::int32_t>(address);
    case FieldKind::kUint32:
        return load<std::uint32_t>(address);
    case FieldKind::kInt16:
        return load<std::int16_t>(address);
    case FieldKind::kUint16:
        return load<std::uint16_t>(address);
    default:
        return 0;
    }
}

bool storeNumber(FieldKind kind, void* address, long long value) {
    switch (kind) {
    case FieldKind::kInt32:
        return storeAs<std::int32_t>(address, value);
    case FieldKind::kUint32:
        return storeAs<std::uint32_t>(address, value);
    case FieldKind::kInt16:
        return storeAs<std::int16_t>(address, value);
    case FieldKind::kUint16:
        return storeAs<std::uint16_t>(address, value);
    default:
        return false;
    }
}

void* newRecordMemory(const zeSBusStateTemplate& layout) {
    return std::calloc(1, layout.mSize);
}

void clearRecord(const zeSBusStateTemplate& layout, void* record) {
    forEachField(
        layout, record, [&](const StateFieldDescriptor& field, FieldKind kind, auto count) {
            if (kind == FieldKind::kText) {
                std::free(load<char*>(at(record, field)));
            } else if (kind == FieldKind::kRecord) {
                clearRecord(*field.mNested, at(record, field));
            } else if (kind == FieldKind::kRecordArray) {
                auto* elements = load<unsigned char*>(at(record, field));
                for (std::uint16_t i = 0; elements != nullptr && i < count; ++i)
                    clearRecord(*field.mNested, elements + std::size_t{i} * field.mNested->mSize);
                std::free(elements);
            }
        });
    forEachField(layout, record, [&](const StateFieldDescriptor& field, FieldKind kind, auto) {
        if (kind != FieldKind::kInternal)
            std::memset(at(record, field), 0, std::size_t{field.mSize} * field.mCount);
    });
}

void copyRecord(const zeSBusStateTemplate& layout, void* target, const void* source) {
    forEachField(layout, source,
                 [&](const StateFieldDescriptor& field, FieldKind kind, auto count) {
                     void* to = at(target, field);
                     const void* from = at(source, field);
                     if (kind == FieldKind::kText) {
                         const char* text = load<const char*>(from);
                         char* copy = text == nullptr ? nullptr : duplicate(text);
                         std::memcpy(to, &copy, sizeof copy);
                     } else if (kind == FieldKind::kRecord) {
                         copyRecord(*field.mNested, to, from);
                     } else if (kind == FieldKind::kRecordArray) {
                         const auto* elements = load<const unsigned char*>(from);
                         unsigned char* copies = nullptr;
                         const std::size_t size = field.mNested->mSize;
                         if (count != 0) {
                             copies = static_cast<unsigned char*>(std::calloc(count, size));
                             if (copies == nullptr)
                                 throw std::bad_alloc();
                         }
                         std::memcpy(to, &copies, sizeof copies);
                         for (std::size_t i = 0; elements != nullptr && i < count; ++i)
                             copyRecord(*field.mNested, copies + i * size, elements + i * size);
                     } else if (kind != FieldKind::kInternal) {
                         std::memcpy(to, from, std::size_t{field.mSize} * field.mCount);
                     }
                 });
}

bool equalRecords(const zeSBusStateTemplate& layout, const void* left, const void* right) {
    bool equal = true;
    forEachField(layout, left, [&](const StateFieldDescriptor& field, FieldKind kind, auto count) {
        if (!equal)
            return;
        const void* a = at(left, field);
        const void* b = at(right, field);
        if (kind == FieldKind::kText) {
            const char* x = load<const char*>(a);
            const char* y = load<const char*>(b);
            equal = x == nullptr || y == nullptr ? x == y : std::strcmp(x, y) == 0;
        } else if (kind == FieldKind::kRecord) {
            equal = equalRecords(*field.mNested, a, b);
        } else if (kind == FieldKind::kRecordArray) {
            // The counts were compared with the row before this one.
            const auto* x = load<const unsigned char*>(a);
            const auto* y = load<const unsigned char*>(b);
            if (count != 0 && (x == nullptr || y == nullptr))
                equal = x == y;
            const std::size_t size = field.mNested->mSize;
            for (std::size_t i = 0; equal && x != nullptr && i < count; ++i)
                equal = equalRecords(*field.mNested, x + i * size, y + i * size);
        } else if (kind != FieldKind::kInternal) {
            equal = std::memcmp(a, b, std::size_t{field.mSize} * field.mCount) == 0;
        }
    });
    return equal;
}

} // namespace statebus
