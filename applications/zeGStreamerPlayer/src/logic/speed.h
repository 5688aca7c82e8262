// The speeds at which media can be played, and the texts that name them on the bus.
//
// Used by the state machine for what commands ask for and by the engine's answers. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace player {

/// From this speed on, either way, only key frames are shown: decoding all would be slower than
/// showing them.
constexpr double kKeyFramesFrom = 8.0;

/// A playing speed: 2 is twice as fast, -2 twice as fast backwards, 0.5 half as fast.
class Speed {
public:
    /// Normal speed.
    constexpr Speed() = default;

    /// The speed that a text such as "1", "-8" or "1/4" names; nothing when no speed is named so.
    static std::optional<Speed> fromText(std::string_view text);
    /// The nearest thing that the player knows to a rate that the engine reports.
    static std::optional<Speed> fromRate(double rate);

    double rate() const;
    /// The text by which everybody on the bus knows this speed.
    const char* text() const;

    bool isNormal() const { return index_ == 0; }
    bool isBackward() const { return rate() < 0; }

    friend bool operator==(Speed left, Speed right) { return left.index_ == right.index_; }
    friend bool operator!=(Speed left, Speed right) { return !(left == right); }

private:
    explicit constexpr Speed(std::size_t index) : index_(index) {}

    std::size_t index_ = 0;
};

/// Every speed: normal, the fast ones, the backward ones, the slow ones, each from slow to fast.
std::vector<Speed> allSpeeds();

} // namespace player
