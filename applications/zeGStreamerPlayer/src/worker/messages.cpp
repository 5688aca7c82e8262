#include "worker/messages.h"

#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

// The library finds these by the types' namespace. A message is packed (MessagePack), so that text
// in any encoding arrives as it is.
namespace player {
namespace {

using Json = nlohmann::json;

/// A variant is written as the number of its alternative and that alternative.
template <class Variant> Json fromVariant(const Variant& variant) {
    return std::visit(
        [&variant](const auto& value) {
            Json json = Json::array();
            json.push_back(variant.index());
            json.push_back(value);
            return json;
        },
        variant);
}

template <class Variant, std::size_t Index = 0>
Variant toVariant(const Json& json, std::size_t index) {
    if constexpr (Index == std::variant_size_v<Variant>) {
        throw std::invalid_argument("no such message");
    } else if (index == Index) {
        return json.get<std::variant_alternative_t<Index, Variant>>();
    } else {
        return toVariant<Variant, Index + 1>(json, index);
    }
}

template <class Variant> Variant toVariant(const Json& json) {
    return toVariant<Variant>(json.at(1), json.at(0).get<std::size_t>());
}

/// Looks at a message before it is unpacked, which takes stack for every value within a value.
/// Numbers with a fraction and raw bytes are in no message of ours.
class Shape : public nlohmann::json_sax<Json> {
public:
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return false; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return ++depth_ <= kDeepest; }
    bool key(string_t&) override { return true; }
    bool end_object() override { return depth_-- > 0; }
    bool start_array(std::size_t) override { return ++depth_ <= kDeepest; }
    bool end_array() override { return depth_-- > 0; }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) override {
        return false;
    }

private:
    static constexpr int kDeepest = 8;
    int depth_ = 0;
};

bool isWellShaped(const Bytes& bytes) {
    Shape shape;
    return Json::sax_parse(bytes, &shape, Json::input_format_t::msgpack);
}

template <class Message> std::optional<Message> decode(const Bytes& bytes) {
    try {
        if (!isWellShaped(bytes)) {
            return std::nullopt;
        }
        return toVariant<Message>(Json::from_msgpack(bytes));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

// Enumerations are numbers of which only some have a meaning.
#define KETRA_ENUM_MESSAGE(Type, first, last)                                                      \
    void from_json(const Json& json, Type& value) {                                                \
        const auto number = json.get<std::int64_t>();                                              \
        if (number < static_cast<std::int64_t>(first) ||                                           \
            number > static_cast<std::int64_t>(last)) {                                            \
            throw std::invalid_argument("no such " #Type);                                         \
        }                                                                                          \
        value = static_cast<Type>(number);                                                         \
    }

KETRA_ENUM_MESSAGE(MediaKind, MediaKind::kUnknown, MediaKind::kImage)
KETRA_ENUM_MESSAGE(ImageType, ImageType::kUnknown, ImageType::kPngInterlaced)
KETRA_ENUM_MESSAGE(Repeat, Repeat::kNone, Repeat::kAB)

void from_json(const Json& json, PlayerError& error) {
    error = static_cast<PlayerError>(json.get<std::int32_t>());
    if (error != PlayerError::kNone && describe(error)[0] == '\0') {
        throw std::invalid_argument("no such error");
    }
}

void to_json(Json& json, const Speed& speed) {
    json = speed.text();
}
void from_json(const Json& json, Speed& speed) {
    speed = Speed::fromText(json.get<std::string>()).value();
}

// Structures without content.
#define KETRA_EMPTY_MESSAGE(Type)                                                                  \
    void to_json(Json& json, const Type&) {                                                        \
        json = nullptr;                                                                            \
    }                                                                                              \
    void from_json(const Json&, Type&) {}

KETRA_EMPTY_MESSAGE(EnginePlaying)
KETRA_EMPTY_MESSAGE(EnginePaused)
KETRA_EMPTY_MESSAGE(EngineArriving)
KETRA_EMPTY_MESSAGE(EngineBegun)
KETRA_EMPTY_MESSAGE(Ping)
KETRA_EMPTY_MESSAGE(Pong)

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MediaFacts, kind, mimeType, durationMs, durationExact, seekable,
                                   speeds, width, height, frameRateThousandths, imageType, programs,
                                   videoCodec, videoTrack, audioCodec, audioTracks, audioTrack,
                                   sampleRate, channels, bitrate, title, album, artist, genre,
                                   coverUri, coverMimeType, imageDateTime, dateIso)

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineAnswered, contentType, contentFeatures, subtitleUri)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineOpened, facts)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineFacts, facts)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineBuffering, percent)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EnginePosition, positionMs)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineMoved, done, positionMs, speed)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineEnded, positionMs)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineFailed, error, detail)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineFollowed, next, facts, answered, endedMs)

void to_json(Json& json, const EngineEvent& event) {
    json = Json{{"session", event.session}, {"what", fromVariant(event.what)}};
}
void from_json(const Json& json, EngineEvent& event) {
    json.at("session").get_to(event.session);
    event.what = toVariant<decltype(event.what)>(json.at("what"));
}

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Rectangle, x, y, width, height)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(View, zoomSteps, quarterTurns, crop, display, mute, keepRatio,
                                   ratio)

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MediaAddress, uri, subtitleUri, protocolInfo)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(NextMedia, session, address)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(NextOrder, session, next)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(OpenOrder, session, address)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(PlayOrder, session)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(PauseOrder, session)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SeekOrder, session, positionMs)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SpeedOrder, session, speed)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(AudioTrackOrder, session, index)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(RepeatOrder, session, what)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CloseOrder, session)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(VolumeOrder, percent, mute)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(ViewOrder, view)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FullScreenOrder, on)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MoveOrder, right, down)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SaveScreenOrder, id, path)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SavedScreen, id, error)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Formats, list)

namespace {

/// A thousand years: what is longer is no time, and would overflow where it is calculated with.
constexpr std::int64_t kMostMs = std::int64_t{1000} * 366 * 86400 * 1000;

bool isTime(std::int64_t milliseconds) {
    return milliseconds >= -kMostMs && milliseconds <= kMostMs;
}

template <class Other> bool isPossible(const Other&) {
    return true;
}
bool isPossible(const MediaFacts& facts) {
    // What is open is something that is seen or heard: readers of the record ask for no more, and
    // take one that names no kind of media for none.
    return isTime(facts.durationMs) && facts.kind != MediaKind::kUnknown;
}
bool isPossible(const EngineOpened& opened) {
    return isPossible(opened.facts);
}
bool isPossible(const EngineFacts& facts) {
    return isPossible(facts.facts);
}
bool isPossible(const EnginePosition& position) {
    return isTime(position.positionMs);
}
bool isPossible(const EngineMoved& moved) {
    return isTime(moved.positionMs);
}
bool isPossible(const EngineFollowed& followed) {
    return isTime(followed.facts.durationMs) && isTime(followed.endedMs);
}
bool isPossible(const EngineEnded& ended) {
    return isTime(ended.positionMs);
}

} // namespace

Bytes encode(const Order& order) {
    return Json::to_msgpack(fromVariant(order));
}

Bytes encode(const Answer& answer) {
    return Json::to_msgpack(fromVariant(answer));
}

std::optional<Order> decodeOrder(const Bytes& bytes) {
    return decode<Order>(bytes);
}

std::optional<Answer> decodeAnswer(const Bytes& bytes) {
    std::optional<Answer> answer = decode<Answer>(bytes);
    const auto* const event = answer ? std::get_if<EngineEvent>(&*answer) : nullptr;
    if (event != nullptr &&
        !std::visit([](const auto& what) { return isPossible(what); }, event->what)) {
        return std::nullopt;
    }
    return answer;
}

} // namespace player
