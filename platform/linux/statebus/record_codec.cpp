#include "statebus/record_codec.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "statebus/record_memory.h"

namespace statebus {

namespace {

using Kind = WireRecord::Kind;
using Node = WireRecord::Node;

template <class T> T load(const unsigned char* address) {
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

template <class T> void store(unsigned char* address, T value) {
    std::memcpy(address, &value, sizeof value);
}

struct NumberRow {
    FieldKind field;
    Kind wire;
};

constexpr NumberRow kNumbers[] = {
    {FieldKind::kInt32, Kind::kInt32},
    {FieldKind::kUint32, Kind::kUint32},
    {FieldKind::kInt16, Kind::kInt16},
    {FieldKind::kUint16, Kind::kUint16},
};

Kind wireKind(FieldKind kind) {
    for (const NumberRow& row : kNumbers)
        if (row.field == kind)
            return row.wire;
    if (kind == FieldKind::kRecord)
        return Kind::kRecord;
    return kind == FieldKind::kRecordArray ? Kind::kArray : Kind::kText;
}

void encodeFields(const zeSBusStateTemplate& layout, const unsigned char* record, WireRecord& wire);

void encodeArray(const StateFieldDescriptor& field, const unsigned char* elements,
                 std::uint16_t count, WireRecord& wire) {
    const std::size_t array = wire.open(Kind::kArray, field.mName);
    for (std::size_t i = 0; elements != nullptr && i < count; ++i) {
        const std::size_t element = wire.open(Kind::kRecord, {});
        encodeFields(*field.mNested, elements + i * field.mNested->mSize, wire);
        wire.close(element);
    }
    wire.close(array);
}

void encodeFields(const zeSBusStateTemplate& layout, const unsigned char* record,
                  WireRecord& wire) {
    std::uint16_t count = 0;
    for (const StateFieldDescriptor* field = layout.mFields; field->mName != nullptr; ++field) {
        const unsigned char* address = record + field->mOffset;
        if (field->mFlags == kFieldFlagCount) {
            count = load<std::uint16_t>(address);
            continue;
        }
        const FieldKind kind = kindOf(*field);
        if (isNumber(kind)) {
            wire.addNumber(wireKind(kind), field->mName, loadNumber(kind, address));
        } else if (kind == FieldKind::kText) {
            if (const char* text = load<const char*>(address))
                wire.addText(field->mName, text);
        } else if (kind == FieldKind::kCharacters) {
            const char* text = reinterpret_cast<const char*>(address);
            wire.addText(field->mName, {text, strnlen(text, field->mCount)});
        } else if (kind == FieldKind::kRecord) {
            const std::size_t nested = wire.open(Kind::kRecord, field->mName);
            encodeFields(*field->mNested, address, wire);
            wire.close(nested);
        } else if (kind == FieldKind::kRecordArray) {
            encodeArray(*field, load<const unsigned char*>(address), count, wire);
        }
    }
}

/// Decodes one record; recursion for nested ones.
class Decoder {
public:
    Decoder(const WireRecord& wire, std::string& reason) : wire_(wire), reason_(reason) {}

    bool fields(std::size_t begin, std::size_t end, const zeSBusStateTemplate& layout,
                unsigned char* record) {
        std::vector<bool> seen;
        std::size_t hint = 0; // publishers send the fields in the layout's order
        for (std::size_t i = begin; i < end; i = wire_.nodes()[i].end) {
            const Node& node = wire_.nodes()[i];
            const std::size_t row = find(layout, wire_.name(node), hint);
            if (row == kNone)
                continue;
            const StateFieldDescriptor& field = layout.mFields[row];
            const FieldKind kind = kindOf(field);
            hint = row + 1;
            if (!travels(field, kind) || wireKind(kind) != node.kind)
                continue;
            if (seen.size() <= row)
                seen.resize(row + 1);
            if (seen[row])
                return refuse(field, "stands twice");
            seen[row] = true;
            if (!value(i, layout, row, kind, record))
                return false;
        }
        return true;
    }

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    static bool travels(const StateFieldDescriptor& field, FieldKind kind) {
        return field.mFlags != kFieldFlagCount && kind != FieldKind::kInternal &&
               kind != FieldKind::kUnknown;
    }

    /// Row of a name: looks at `hint` first, then everywhere.
    static std::size_t find(const zeSBusStateTemplate& layout, std::string_view name,
                            std::size_t hint) {
        if (layout.mFields[hint].mName != nullptr && name == layout.mFields[hint].mName)
            return hint;
        for (std::size_t row = 0; layout.mFields[row].mName != nullptr; ++row)
            if (name == layout.mFields[row].mName)
                return row;
        return kNone;
    }

    bool value(std::size_t index, const zeSBusStateTemplate& layout, std::size_t row,
               FieldKind kind, unsigned char* record) {
        const Node& node = wire_.nodes()[index];
        const StateFieldDescriptor& field = layout.mFields[row];
        unsigned char* address = record + field.mOffset;
        if (node.kind == Kind::kText && wire_.text(node).find('\0') != std::string_view::npos)
            return refuse(field, "contains a NUL");
        switch (kind) {
        case FieldKind::kText:
            return text(node, field, address);
        case FieldKind::kCharacters:
            if (node.textSize > field.mCount)
                return refuse(field, "is longer than its field");
            std::memcpy(address, wire_.text(node).data(), node.textSize);
            return true;
        case FieldKind::kRecord:
            return fields(index + 1, node.end, *field.mNested, address);
        case FieldKind::kRecordArray:
            return array(index, field, address, record + layout.mFields[row - 1].mOffset);
        default:
            return storeNumber(kind, address, node.number) || refuse(field, "does not fit");
        }
    }

    bool text(const Node& node, const StateFieldDescriptor& field, unsigned char* address) {
        const std::string_view bytes = wire_.text(node);
        auto* copy = static_cast<char*>(std::malloc(bytes.size() + 1));
        if (copy == nullptr)
            return refuse(field, "does not fit into memory");
        std::memcpy(copy, bytes.data(), bytes.size());
        copy[bytes.size()] = '\0';
        store(address, copy);
        return true;
    }

    bool array(std::size_t index, const StateFieldDescriptor& field, unsigned char* address,
               unsigned char* countAddress) {
        const Node& node = wire_.nodes()[index];
        std::size_t count = 0;
        for (std::size_t i = index + 1; i < node.end; i = wire_.nodes()[i].end)
            ++count;
        if (count > kMaxArrayLength)
            return refuse(field, "has too many elements");
        if (count == 0)
            return true;
        const std::size_t size = field.mNested->mSize;
        auto* elements = static_cast<unsigned char*>(std::calloc(count, size));
        if (elements == nullptr)
            return refuse(field, "does not fit into memory");
        // First into the record, which is cleared as a whole when an element is refused.
        store(address, elements);
        store(countAddress, static_cast<std::uint16_t>(count));
        for (std::size_t i = index + 1; i < node.end; i = wire_.nodes()[i].end) {
            if (!fields(i + 1, wire_.nodes()[i].end, *field.mNested, elements))
                return false;
            elements += size;
        }
        return true;
    }

    bool refuse(const StateFieldDescriptor& field, const char* why) {
        reason_ = std::string(field.mName) + " " + why;
        return false;
    }

    const WireRecord& wire_;
    std::string& reason_;
};

} // namespace

WireRecord encodeRecord(const zeSBusStateTemplate& layout, const void* record) {
    WireRecord wire;
    encodeFields(layout, static_cast<const unsigned char*>(record), wire);
    return wire;
}

bool decodeRecord(const WireRecord& wire, const zeSBusStateTemplate& layout, void* record,
                  std::string& reason) {
    return Decoder(wire, reason)
        .fields(0, wire.nodes().size(), layout, static_cast<unsigned char*>(record));
}

std::optional<Record> makeRecord(const zeSBusStateTemplate& layout, const WireRecord& wire,
                                 std::string& reason) {
    void* memory = newRecordMemory(layout);
    if (memory == nullptr) {
        reason = "it does not fit into memory";
        return std::nullopt;
    }
    std::optional<Record> record;
    if (decodeRecord(wire, layout, memory, reason))
        record.emplace(layout, memory);
    clearRecord(layout, memory);
    std::free(memory);
    return record;
}

} // namespace statebus
