// The middleware's events, decoded: what their three words say, as names and values.
//
// Decoding reads through the event's parameter into the service; the caller holds delivery back
// meanwhile (statebus::QuietReading). Middleware thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "tv/media.h"

namespace tv {

/// One thing that an event says beside its code.
struct Detail {
    std::string name;
    std::variant<std::string, long long, bool> value;
};
inline bool operator==(const Detail& left, const Detail& right) {
    return left.name == right.name && left.value == right.value;
}

struct Event {
    std::uint32_t code = 0;
    std::string name; ///< "MM_START_PLAY"; "MM_EVENT_77" when it is not one of the known ones
    MediaKind media = MediaKind::kNone;
    std::vector<Detail> details;

    /// Null when the event does not say it.
    const std::string* text(const std::string& detail) const;
    const long long* number(const std::string& detail) const;
};

/// The items of the current media's metadata; asked for MM_METADATA only.
using MetadataReader = std::function<std::vector<Detail>(MediaKind)>;

/// Whether what the parameter points to still exists: not once the service is destroyed.
enum class Parameter { kReadable, kStale };

Event decodeEvent(unsigned long type, unsigned long code, unsigned long parameter,
                  Parameter readable, const MetadataReader& metadata);

/// For the events of a shut-down: the player ends then because it is told to, and what the bus says
/// on its behalf is no failure that a viewer has to know of.
void markEndOfPlayer(Event& event);
/// Whether it was marked so.
bool isEndOfPlayer(const Event& event);

/// "MM_START_PLAY" for 5, null for an unknown code.
const char* eventName(std::uint32_t code);
/// Whether there is an event of this name.
bool isEventName(const std::string& name);
/// What the player's error code means, in a few words.
const char* errorMeaning(long long code);

} // namespace tv
