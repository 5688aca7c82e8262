#include "tv/events.h"

#include <algorithm>

namespace tv {

namespace {

struct Name {
    std::uint32_t code;
    const char* name;
};
constexpr Name kEvents[] = {
    {MM_EXIT_OK, "MM_EXIT_OK"},
    {MM_EXIT_FORCE, "MM_EXIT_FORCE"},
    {MM_EXIT_ERROR_FILE, "MM_EXIT_ERROR_FILE"},
    {MM_START_PLAY, "MM_START_PLAY"},
    {MM_PHOTO_DECODE_DONE, "MM_PHOTO_DECODE_DONE"},
    {MM_MEDIA_RESUME_OK, "MM_MEDIA_RESUME_OK"},
    {MM_SPEED_CHANGE, "MM_SPEED_CHANGE"},
    {MM_REQ_TO_AUTH, "MM_REQ_TO_AUTH"},
    {MM_METADATA, "MM_METADATA"},
    {MM_MEDIA_PAUSE, "MM_MEDIA_PAUSE"},
    {MM_FILE_INIT_BEGIN, "MM_FILE_INIT_BEGIN"},
    {MM_NOTIFY_TIME, "MM_NOTIFY_TIME"},
};

struct Meaning {
    long long code;
    const char* text;
};
constexpr long long kPlayerLost = 120;
constexpr char kShutDown[] = "shutdown";
constexpr Meaning kErrors[] = {
    {0, "failed while opening"},
    {100, "address cannot be reached"},
    {101, "not found"},
    {102, "refused by the server"},
    {103, "server failed"},
    {104, "not a supported address"},
    {110, "format not recognised"},
    {111, "no decoder"},
    {112, "damaged media"},
    {113, "no picture or sound device"},
    {kPlayerLost, "player process lost"},
};

/// Total times with this value mean a stream without an end.
constexpr U32 kUnlimited = 0xFFFFFFFFU;

template <class T> const T& pointee(unsigned long parameter) {
    return *reinterpret_cast<const T*>(parameter);
}

void addRequest(Event& event, unsigned long parameter) {
    const auto& request = pointee<DMRAuthRequest>(parameter);
    event.details = {{"request", static_cast<long long>(request.m_u32RequestId)},
                     {"title", request.m_strTitle},
                     {"mime", request.m_strMIME},
                     {"controller", request.m_strDMC}};
}

void addFileInit(Event& event, unsigned long parameter) {
    const auto& info = pointee<FileInitInfo>(parameter);
    event.details = {{"title", info.m_strTitle},
                     {"byteSeek", info.m_u32ByteSeek != 0},
                     {"timeSeek", info.m_u32TimeSeek != 0}};
}

void addMetadata(Event& event, unsigned long parameter, const MetadataReader& metadata) {
    // A photo's parameter is its text, which has no duration.
    if (parameter != 0 && (event.media == MediaKind::kMovie || event.media == MediaKind::kMusic)) {
        const U32 total = pointee<DMRMediaInfo>(parameter).TotalTime;
        if (total == kUnlimited)
            event.details.push_back({"duration", std::string("unlimited")});
        else if (total != 0)
            event.details.push_back({"duration", static_cast<long long>(total)});
    }
    if (metadata)
        for (Detail& item : metadata(event.media))
            event.details.push_back(std::move(item));
}

void addSpeed(Event& event, unsigned long parameter) {
    const auto mode = static_cast<MM_TRICK_MODE>(static_cast<std::int32_t>(parameter));
    event.details = {{"mode", static_cast<long long>(mode)},
                     {"speed", std::string(speedText(mode))}};
}

void addError(Event& event, unsigned long parameter) {
    // The error code is signed and has 32 bits, whatever the width of the word that carries it.
    const auto code = static_cast<std::int32_t>(parameter);
    event.details = {{"error", static_cast<long long>(code)},
                     {"meaning", std::string(errorMeaning(code))}};
}

} // namespace

const std::string* Event::text(const std::string& detail) const {
    for (const Detail& candidate : details)
        if (candidate.name == detail)
            return std::get_if<std::string>(&candidate.value);
    return nullptr;
}

const long long* Event::number(const std::string& detail) const {
    for (const Detail& candidate : details)
        if (candidate.name == detail)
            return std::get_if<long long>(&candidate.value);
    return nullptr;
}

Event decodeEvent(unsigned long type, unsigned long code, unsigned long parameter,
                  Parameter readable, const MetadataReader& metadata) {
    Event event;
    event.code = static_cast<std::uint32_t>(code);
    const char* name = eventName(event.code);
    event.name = name != nullptr ? name : "MM_EVENT_" + std::to_string(code);
    event.media = kindOfWord(type);
    const bool pointer = readable == Parameter::kReadable && parameter != 0;
    switch (code) {
    case MM_EXIT_ERROR_FILE:
        addError(event, parameter);
        break;
    case MM_SPEED_CHANGE:
        addSpeed(event, parameter);
        break;
    case MM_REQ_TO_AUTH:
        if (pointer)
            addRequest(event, parameter);
        break;
    case MM_FILE_INIT_BEGIN:
        if (pointer)
            addFileInit(event, parameter);
        break;
    case MM_METADATA:
        if (readable == Parameter::kReadable)
            addMetadata(event, parameter, metadata);
        break;
    default:
        break;
    }
    return event;
}

void markEndOfPlayer(Event& event) {
    const long long* error = event.number("error");
    if (event.code == MM_EXIT_ERROR_FILE && error != nullptr && *error == kPlayerLost)
        event.details = {{"error", kPlayerLost},
                         {"meaning", std::string("the player ended with the television")},
                         {kShutDown, true}};
}

bool isEndOfPlayer(const Event& event) {
    const Detail mark{kShutDown, true};
    return std::find(event.details.begin(), event.details.end(), mark) != event.details.end();
}

const char* eventName(std::uint32_t code) {
    for (const Name& event : kEvents)
        if (event.code == code)
            return event.name;
    return nullptr;
}

bool isEventName(const std::string& name) {
    for (const Name& event : kEvents)
        if (name == event.name)
            return true;
    return false;
}

const char* errorMeaning(long long code) {
    for (const Meaning& error : kErrors)
        if (error.code == code)
            return error.text;
    return "unknown error";
}

} // namespace tv
