#include "logic/speed.h"

#include <array>
#include <cmath>

namespace player {
namespace {

struct Row {
    const char* text;
    double rate;
};

constexpr std::array kSpeeds = {
    Row{"1", 1.0},       Row{"2", 2.0},       Row{"4", 4.0},         Row{"8", 8.0},
    Row{"16", 16.0},     Row{"32", 32.0},     Row{"-2", -2.0},       Row{"-4", -4.0},
    Row{"-8", -8.0},     Row{"-16", -16.0},   Row{"-32", -32.0},     Row{"1/2", 1.0 / 2},
    Row{"1/4", 1.0 / 4}, Row{"1/8", 1.0 / 8}, Row{"1/16", 1.0 / 16}, Row{"1/32", 1.0 / 32},
};
static_assert(kSpeeds.size() == 16);

} // namespace

std::optional<Speed> Speed::fromText(std::string_view text) {
    for (std::size_t index = 0; index < kSpeeds.size(); ++index) {
        if (text == kSpeeds[index].text) {
            return Speed(index);
        }
    }
    return std::nullopt;
}

std::optional<Speed> Speed::fromRate(double rate) {
    for (std::size_t index = 0; index < kSpeeds.size(); ++index) {
        if (std::abs(rate - kSpeeds[index].rate) < 0.001) {
            return Speed(index);
        }
    }
    return std::nullopt;
}

double Speed::rate() const {
    return kSpeeds[index_].rate;
}

const char* Speed::text() const {
    return kSpeeds[index_].text;
}

std::vector<Speed> allSpeeds() {
    std::vector<Speed> speeds;
    for (const Row& row : kSpeeds) {
        speeds.push_back(*Speed::fromText(row.text));
    }
    return speeds;
}

} // namespace player
