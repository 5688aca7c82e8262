// Times as AVTransport writes them: H:MM:SS, here always without fractions, which several
// controllers cannot read. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantor {

std::string formatTime(std::uint32_t seconds);

/// Reads H+:MM:SS with an optional fraction (".5", ".1/2"), which is dropped. Nothing for anything
/// else, negative times included.
std::optional<std::uint32_t> parseTime(std::string_view text);

} // namespace vantor
