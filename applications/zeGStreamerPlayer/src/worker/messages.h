// What the bus process and the media worker say to each other: the media engine's orders one way,
// its events the other way, each a message of its own on a socket that keeps messages apart.
//
// The worker takes in media from strangers, so what it says is read as strictly as what comes from
// the network. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "engine/media_engine.h"

namespace player {

struct OpenOrder {
    Session session;
    MediaAddress address;
};
struct PlayOrder {
    Session session;
};
struct PauseOrder {
    Session session;
};
struct SeekOrder {
    Session session;
    std::int64_t positionMs;
};
struct SpeedOrder {
    Session session;
    Speed speed;
};
struct AudioTrackOrder {
    Session session;
    unsigned index;
};
struct RepeatOrder {
    Session session;
    Repeat what;
};
struct NextOrder {
    Session session;
    std::vector<NextMedia> next; ///< one or none
};
struct CloseOrder {
    Session session;
};
struct VolumeOrder {
    unsigned percent;
    bool mute;
};
struct ViewOrder {
    View view;
};
struct FullScreenOrder {
    bool on;
};
struct MoveOrder {
    int right;
    int down;
};
struct SaveScreenOrder {
    std::uint64_t id; ///< comes back in SavedScreen
    std::string path;
};
/// Asks for a Pong through the media thread.
struct Ping {};

using Order = std::variant<OpenOrder, PlayOrder, PauseOrder, SeekOrder, SpeedOrder, AudioTrackOrder,
                           RepeatOrder, CloseOrder, VolumeOrder, ViewOrder, FullScreenOrder,
                           MoveOrder, SaveScreenOrder, Ping, NextOrder>;

struct SavedScreen {
    std::uint64_t id;
    std::string error;
};
/// The media thread is alive; the first one says that GStreamer is ready.
struct Pong {};

/// What can be played, once GStreamer is ready.
struct Formats {
    std::string list;
};

using Answer = std::variant<EngineEvent, SavedScreen, Pong, Formats>;

using Bytes = std::vector<std::uint8_t>;

Bytes encode(const Order& order);
Bytes encode(const Answer& answer);

/// Nothing when the bytes are no such message.
std::optional<Order> decodeOrder(const Bytes& bytes);
std::optional<Answer> decodeAnswer(const Bytes& bytes);

} // namespace player
