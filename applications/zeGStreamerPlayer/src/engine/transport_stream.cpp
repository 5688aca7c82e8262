#include "engine/transport_stream.h"

#include <array>
#include <vector>

namespace player {
namespace {

constexpr std::uint8_t kSync = 0x47;
constexpr std::size_t kPacket = 188;
constexpr std::size_t kHeader = 4;
/// Bare, with a time before, with a checksum behind.
constexpr std::array<std::size_t, 3> kLengths = {kPacket, 192, 204};
/// Three packets in a row begin with the sync byte by no accident.
constexpr std::size_t kLongest = 3 * kLengths.back();

/// Of the section's part that says how long it is, of the whole part before the programmes, of the
/// checksum behind them, and of each programme.
constexpr std::size_t kLengthEnd = 3;
constexpr std::size_t kTableHeader = 8;
constexpr std::size_t kChecksum = 4;
constexpr std::size_t kProgram = 4;

struct Packets {
    std::size_t first; ///< where the first one begins
    std::size_t step;  ///< from one to the next; 0: there are none
};

/// The packets that begin first. Where they begin no length is tried before all of them can be:
/// what a piece of a stream is taken for stays the same when more of the stream arrives.
Packets findPackets(const std::uint8_t* bytes, std::size_t size) {
    for (std::size_t first = 0; first < kLengths.back() && first + kLongest <= size; ++first) {
        for (const std::size_t step : kLengths) {
            if (first < step && bytes[first] == kSync && bytes[first + step] == kSync &&
                bytes[first + 2 * step] == kSync) {
                return {first, step};
            }
        }
    }
    return {0, 0};
}

std::size_t sectionLength(const std::vector<std::uint8_t>& section) {
    return section.size() < kLengthEnd
               ? 0
               : kLengthEnd + (std::size_t{section[1] & 0x0FU} << 8 | section[2]);
}

/// Takes from a packet of the table's what it has of it; true when the table is whole.
bool take(const std::uint8_t* packet, std::vector<std::uint8_t>& section) {
    const bool begins = (packet[1] & 0x40) != 0;
    std::size_t at = kHeader;
    if ((packet[3] & 0x20) != 0) {
        at += 1 + std::size_t{packet[kHeader]}; // the adaptation field
    }
    if (begins && at < kPacket) {
        at += 1 + std::size_t{packet[at]}; // what is left of the section before
        section.clear();
    }
    if ((packet[3] & 0x10) == 0 || at >= kPacket || (!begins && section.empty())) {
        return false;
    }
    section.insert(section.end(), packet + at, packet + kPacket);
    return section.size() >= kLengthEnd && section.size() >= sectionLength(section);
}

unsigned programsOf(const std::vector<std::uint8_t>& section) {
    unsigned programs = 0;
    const std::size_t end = sectionLength(section);
    for (std::size_t at = kTableHeader; at + kProgram + kChecksum <= end; at += kProgram) {
        // Number 0 is the network's own table.
        programs += section[at] != 0 || section[at + 1] != 0 ? 1U : 0U;
    }
    return programs;
}

} // namespace

std::optional<unsigned> programsIn(const std::uint8_t* bytes, std::size_t size) {
    const Packets packets = findPackets(bytes, size);
    std::vector<std::uint8_t> section;
    for (std::size_t at = packets.first; packets.step != 0 && at + kPacket <= size;
         at += packets.step) {
        const std::uint8_t* const packet = bytes + at;
        const bool associates =
            packet[0] == kSync && (packet[1] & 0x1F) == 0 && packet[2] == 0; // packet id 0
        if (associates && take(packet, section)) {
            return programsOf(section);
        }
    }
    return std::nullopt;
}

} // namespace player
