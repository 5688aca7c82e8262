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

template <class Message> std::optional<Message> decode(const Bytes& bytes) {
    try {
        return toVariant<Message>(Json::from_msgpack(bytes));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

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
KETRA_EMPTY_MESSAGE(Ping)
KETRA_EMPTY_MESSAGE(Pong)

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MediaFacts, kind, mimeType, durationMs, durationExact, seekable,
                                   backward, width, height, frameRateThousandths, imageType,
                                   videoCodec, videoTrack, audioCodec, audioTracks, audioTrack,
                                   sampleRate, channels, bitrate, title, album, artist, genre,
                                   coverUri, coverMimeType, imageDateTime, dateIso)

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineAnswered, contentType, contentFeatures)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineOpened, facts)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineFacts, facts)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineBuffering, percent)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EnginePosition, positionMs)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineMoved, done, positionMs, speed)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineEnded, positionMs)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineFailed, error, detail)

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

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MediaAddress, uri, subtitleUri)
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
    return decode<Answer>(bytes);
}

} // namespace player
