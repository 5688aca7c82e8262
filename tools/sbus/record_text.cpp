#include "sbus/record_text.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "ServiceRecords.h"
#include "statebus/record_memory.h"
#include "statebus/visible_text.h"

namespace sbus {

namespace {

using statebus::FieldKind;

/// What the numbers of a field mean. Found by layout and field name, so that a field of the same
/// name in another record keeps its plain number.
struct Meaning {
    const zeSBusStateTemplate* layout;
    const char* field;
    long long value;
    const char* word;
};
const Meaning kMeanings[] = {
    {&ContentPlayerServiceTemplate, "mState", kPlayerStopped, "stopped"},
    {&ContentPlayerServiceTemplate, "mState", kPlayerFinished, "finished"},
    {&ContentPlayerServiceTemplate, "mState", kPlayerPaused, "paused"},
    {&ContentPlayerServiceTemplate, "mState", kPlayerPlaying, "playing"},
    {&ContentPlayerServiceTemplate, "mState", kPlayerLoading, "loading"},
    {&MediaRendererServiceTemplate, "mfVisible", 0, "hidden"},
    {&MediaRendererServiceTemplate, "mfVisible", 1, "visible"},
    {&MediaRendererServiceTemplate, "mPlayerControlAuthorization", 0, "everybody"},
    {&MediaRendererServiceTemplate, "mPlayerControlAuthorization", 1, "nobody"},
    {&MediaRendererServiceTemplate, "mPlayerControlAuthorization", 3, "ask"},
    {&MediaRendererServiceTemplate, "mSoundControlAuthorization", 0, "everybody"},
    {&MediaRendererServiceTemplate, "mSoundControlAuthorization", 1, "nobody"},
    {&MediaRendererServiceTemplate, "mSoundControlAuthorization", 3, "ask"},
    {&MediaRendererAuthorizationRequestTemplate, "mCategory", 0, "player control"},
    {&MediaRendererAuthorizationRequestTemplate, "mCategory", 1, "sound control"},
    {&MediaRendererAuthorizationRequestTemplate, "mState", kRequestAuthorized, "authorized"},
    {&MediaRendererAuthorizationRequestTemplate, "mState", kRequestDenied, "denied"},
    {&MediaRendererAuthorizationRequestTemplate, "mState", kRequestRequested, "requested"},
    {&MediaRendererAuthorizationRequestTemplate, "mState", kRequestPostponed, "postponed"},
    {&SoundChannelTemplate, "mfMute", 0, "sounding"},
    {&SoundChannelTemplate, "mfMute", 1, "muted"},
};

std::string numberText(const zeSBusStateTemplate& layout, const StateFieldDescriptor& field,
                       long long value) {
    std::string text = std::to_string(value);
    for (const Meaning& meaning : kMeanings)
        if (meaning.layout == &layout && meaning.value == value &&
            std::strcmp(meaning.field, field.mName) == 0)
            text.append(" (").append(meaning.word).append(")");
    return text;
}

template <class T> T load(const unsigned char* address) {
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

std::string charactersText(const unsigned char* address, std::size_t size) {
    const auto* text = reinterpret_cast<const char*>(address);
    return statebus::quotedText(std::string_view(text, strnlen(text, size)));
}

class Walk {
public:
    explicit Walk(std::vector<Field>& out) : out_(out) {}

    void record(const zeSBusStateTemplate& layout, const unsigned char* memory,
                const std::string& prefix) {
        std::size_t count = 0; // of the array whose row follows
        for (const StateFieldDescriptor* row = layout.mFields; row->mName != nullptr; ++row) {
            field(layout, *row, memory + row->mOffset, prefix + row->mName, count);
            count = row->mFlags == statebus::kFieldFlagCount
                        ? load<std::uint16_t>(memory + row->mOffset)
                        : 0;
        }
    }

private:
    void field(const zeSBusStateTemplate& layout, const StateFieldDescriptor& row,
               const unsigned char* address, const std::string& path, std::size_t count) {
        const FieldKind kind = statebus::kindOf(row);
        switch (kind) {
        case FieldKind::kInternal:
            return;
        case FieldKind::kText: {
            const char* text = load<const char*>(address);
            out_.push_back({path, text != nullptr ? statebus::quotedText(text) : "(null)"});
            return;
        }
        case FieldKind::kCharacters:
            out_.push_back({path, charactersText(address, row.mCount)});
            return;
        case FieldKind::kRecord:
            record(*row.mNested, address, path + '.');
            return;
        case FieldKind::kRecordArray: {
            const auto* elements = load<const unsigned char*>(address);
            for (std::size_t i = 0; elements != nullptr && i < count; ++i)
                record(*row.mNested, elements + i * row.mNested->mSize,
                       path + '[' + std::to_string(i) + "].");
            return;
        }
        case FieldKind::kUnknown:
            out_.push_back({path, std::string("(unknown type code ") + row.mTypeCode + ')'});
            return;
        default:
            out_.push_back({path, numberText(layout, row, statebus::loadNumber(kind, address))});
        }
    }

    std::vector<Field>& out_;
};

void collectPaths(const zeSBusStateTemplate& layout, const std::string& prefix,
                  std::vector<std::string>& out) {
    for (const StateFieldDescriptor* row = layout.mFields; row->mName != nullptr; ++row) {
        const FieldKind kind = statebus::kindOf(*row);
        const std::string path = prefix + row->mName;
        if (kind == FieldKind::kRecord)
            collectPaths(*row->mNested, path + '.', out);
        else if (kind == FieldKind::kRecordArray)
            collectPaths(*row->mNested, path + "[0].", out);
        else if (kind != FieldKind::kInternal && kind != FieldKind::kUnknown &&
                 row->mFlags != statebus::kFieldFlagCount)
            out.push_back(path);
    }
}

/// The path with every index written as 0.
std::string withoutIndices(const std::string& path) {
    std::string out;
    for (std::size_t i = 0; i < path.size(); ++i) {
        out += path[i];
        if (path[i] != '[')
            continue;
        const std::size_t end = path.find_first_not_of("0123456789", i + 1);
        if (end == i + 1 || end == std::string::npos || path[end] != ']')
            return path;
        out += '0';
        i = end - 1;
    }
    return out;
}

} // namespace

std::vector<Field> fieldsOf(const zeSBusStateTemplate& layout, const void* record) {
    std::vector<Field> fields;
    Walk(fields).record(layout, static_cast<const unsigned char*>(record), "");
    return fields;
}

std::vector<Field> changedFields(const std::vector<Field>& before,
                                 const std::vector<Field>& after) {
    std::map<std::string, std::string> left;
    for (const Field& field : before)
        left.emplace(field.path, field.value);
    std::vector<Field> changed;
    for (const Field& field : after) {
        const auto old = left.find(field.path);
        if (old == left.end() || old->second != field.value)
            changed.push_back(field);
        if (old != left.end())
            left.erase(old);
    }
    for (const Field& field : before)
        if (left.count(field.path) != 0)
            changed.push_back({field.path, "(gone)"});
    return changed;
}

std::string toLines(const std::vector<Field>& fields, const std::string& indent) {
    std::string lines;
    for (const Field& field : fields)
        lines += indent + field.path + " = " + field.value + '\n';
    return lines;
}

std::vector<std::string> writablePaths(const zeSBusStateTemplate& layout) {
    std::vector<std::string> paths;
    collectPaths(layout, "", paths);
    return paths;
}

bool isWritable(const zeSBusStateTemplate& layout, const std::string& path) {
    const std::vector<std::string> paths = writablePaths(layout);
    return std::find(paths.begin(), paths.end(), withoutIndices(path)) != paths.end();
}

} // namespace sbus
