#include "statebus/record.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "statebus/record_memory.h"

namespace statebus {

namespace {

/// A field found by its path. `count` is where the length of an array stands, else null.
struct Slot {
    const StateFieldDescriptor* field = nullptr;
    FieldKind kind = FieldKind::kUnknown;
    unsigned char* address = nullptr;
    unsigned char* count = nullptr;

    explicit operator bool() const { return field != nullptr; }
};

std::uint16_t countOf(const Slot& slot) {
    std::uint16_t count = 0;
    std::memcpy(&count, slot.count, sizeof count);
    return count;
}

template <class T> T pointerIn(const Slot& slot) {
    T pointer;
    std::memcpy(&pointer, slot.address, sizeof pointer);
    return pointer;
}

template <class T> void setPointer(const Slot& slot, T pointer) {
    std::memcpy(slot.address, &pointer, sizeof pointer);
}

Slot findRow(const zeSBusStateTemplate& layout, unsigned char* record, std::string_view name) {
    const StateFieldDescriptor* before = nullptr;
    for (const StateFieldDescriptor* field = layout.mFields; field->mName != nullptr; ++field) {
        if (name == field->mName) {
            Slot slot;
            slot.field = field;
            slot.kind = kindOf(*field);
            slot.address = record + field->mOffset;
            if (slot.kind == FieldKind::kRecordArray && before != nullptr)
                slot.count = record + before->mOffset;
            return slot;
        }
        before = field;
    }
    return {};
}

/// One step of a path: "name" or "name[index]", and what follows its dot.
struct Step {
    std::string_view name;
    std::string_view index; ///< digits between the brackets, empty without brackets
    std::string_view rest;
    bool last = true;
};

bool splitStep(std::string_view path, Step& step) {
    const std::size_t dot = path.find('.');
    std::string_view head = path.substr(0, dot);
    step.last = dot == std::string_view::npos;
    step.rest = step.last ? std::string_view() : path.substr(dot + 1);
    const std::size_t bracket = head.find('[');
    step.name = head.substr(0, bracket);
    step.index = {};
    if (bracket == std::string_view::npos)
        return true;
    if (head.back() != ']' || head.size() < bracket + 3)
        return false;
    step.index = head.substr(bracket + 1, head.size() - bracket - 2);
    return true;
}

Slot find(const zeSBusStateTemplate& layout, void* record, std::string_view path) {
    Step step;
    if (!splitStep(path, step))
        return {};
    const Slot slot = findRow(layout, static_cast<unsigned char*>(record), step.name);
    if (!slot)
        return {};
    if (step.index.empty()) {
        if (step.last)
            return slot;
        return slot.kind == FieldKind::kRecord ? find(*slot.field->mNested, slot.address, step.rest)
                                               : Slot();
    }
    std::size_t index = 0;
    const char* end = step.index.data() + step.index.size();
    const auto parsed = std::from_chars(step.index.data(), end, index);
    if (parsed.ec != std::errc() || parsed.ptr != end || step.last || slot.count == nullptr ||
        index >= countOf(slot))
        return {};
    auto* elements = pointerIn<unsigned char*>(slot);
    if (elements == nullptr)
        return {};
    return find(*slot.field->mNested, elements + index * slot.field->mNested->mSize, step.rest);
}

void* newMemory(const zeSBusStateTemplate& layout) {
    void* memory = newRecordMemory(layout);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

Record::Record(const zeSBusStateTemplate& layout) : layout_(&layout), data_(newMemory(layout)) {}

Record::Record(const zeSBusStateTemplate& layout, const void* source) : Record(layout) {
    copyRecord(layout, data_, source);
}

Record::Record(const Record& other) : Record(*other.layout_, other.data_) {}

// The source stays a usable, all-zero record, which takes memory.
// NOLINTNEXTLINE(performance-noexcept-move-constructor)
Record::Record(Record&& other) : Record(*other.layout_) {
    std::swap(data_, other.data_);
}

Record& Record::operator=(const Record& other) {
    Record copy(other);
    std::swap(layout_, copy.layout_);
    std::swap(data_, copy.data_);
    return *this;
}

Record& Record::operator=(Record&& other) noexcept {
    std::swap(layout_, other.layout_);
    std::swap(data_, other.data_);
    return *this;
}

Record::~Record() {
    clearRecord(*layout_, data_);
    std::free(data_);
}

bool Record::setText(std::string_view path, const std::string& text) {
    const Slot slot = find(*layout_, data_, path);
    if (!slot || text.find('\0') != std::string::npos)
        return false;
    if (slot.kind == FieldKind::kCharacters) {
        if (text.size() > slot.field->mCount)
            return false;
        std::memset(slot.address, 0, slot.field->mCount);
        std::memcpy(slot.address, text.data(), text.size());
        return true;
    }
    if (slot.kind != FieldKind::kText)
        return false;
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr)
        throw std::bad_alloc();
    std::memcpy(copy, text.c_str(), text.size() + 1);
    std::free(pointerIn<char*>(slot));
    setPointer(slot, copy);
    return true;
}

bool Record::setNull(std::string_view path) {
    const Slot slot = find(*layout_, data_, path);
    if (!slot || slot.kind != FieldKind::kText)
        return false;
    std::free(pointerIn<char*>(slot));
    setPointer(slot, static_cast<char*>(nullptr));
    return true;
}

bool Record::setNumber(std::string_view path, long long value) {
    const Slot slot = find(*layout_, data_, path);
    return slot && slot.field->mFlags != kFieldFlagCount &&
           storeNumber(slot.kind, slot.address, value);
}

bool Record::resize(std::string_view arrayPath, std::size_t count) {
    const Slot slot = find(*layout_, data_, arrayPath);
    if (!slot || slot.count == nullptr || count > UINT16_MAX)
        return false;
    const zeSBusStateTemplate& nested = *slot.field->mNested;
    const std::size_t oldCount = countOf(slot);
    auto* elements = pointerIn<unsigned char*>(slot);
    for (std::size_t i = count; i < oldCount; ++i)
        clearRecord(nested, elements + i * nested.mSize);
    if (count == 0) {
        std::free(elements);
        elements = nullptr;
    } else {
        void* moved = std::realloc(elements, count * nested.mSize);
        if (moved == nullptr)
            throw std::bad_alloc();
        elements = static_cast<unsigned char*>(moved);
        for (std::size_t i = oldCount; i < count; ++i)
            std::memset(elements + i * nested.mSize, 0, nested.mSize);
    }
    setPointer(slot, elements);
    const auto stored = static_cast<std::uint16_t>(count);
    std::memcpy(slot.count, &stored, sizeof stored);
    return true;
}

bool Record::setFromText(std::string_view path, const std::string& text) {
    const Slot slot = find(*layout_, data_, path);
    if (!slot)
        return false;
    if (!isNumber(slot.kind))
        return setText(path, text);
    long long value = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    return parsed.ec == std::errc() && parsed.ptr == end && setNumber(path, value);
}

std::optional<std::string> Record::text(std::string_view path) const {
    const Slot slot = find(*layout_, data_, path);
    if (slot && slot.kind == FieldKind::kCharacters) {
        const char* characters = reinterpret_cast<const char*>(slot.address);
        return std::string(characters, strnlen(characters, slot.field->mCount));
    }
    if (!slot || slot.kind != FieldKind::kText || pointerIn<const char*>(slot) == nullptr)
        return std::nullopt;
    return std::string(pointerIn<const char*>(slot));
}

std::optional<long long> Record::number(std::string_view path) const {
    const Slot slot = find(*layout_, data_, path);
    if (!slot || !isNumber(slot.kind))
        return std::nullopt;
    return loadNumber(slot.kind, slot.address);
}

zeSBusState* Record::release() {
    zeSBusState* state = zeSBusState::New(layout_, nullptr);
    if (state == nullptr)
        throw std::bad_alloc();
    // The platform's handle, first in its record, stays where it is; everything else changes hands.
    const std::size_t handle = layout_->mFields[0].mOffset + layout_->mFields[0].mSize;
    auto* mine = static_cast<unsigned char*>(data_);
    std::memcpy(reinterpret_cast<unsigned char*>(state) + handle, mine + handle,
                layout_->mSize - handle);
    std::memset(mine, 0, layout_->mSize);
    return state;
}

bool operator==(const Record& left, const Record& right) {
    return &left.layout() == &right.layout() &&
           equalRecords(left.layout(), left.data(), right.data());
}

} // namespace statebus
