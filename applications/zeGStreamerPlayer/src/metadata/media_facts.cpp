#include "metadata/media_facts.h"

#include <tuple>

namespace player {
namespace {

auto values(const MediaFacts& facts) {
    return std::tie(facts.kind, facts.mimeType, facts.durationMs, facts.durationExact,
                    facts.seekable, facts.speeds, facts.width, facts.height,
                    facts.frameRateThousandths, facts.imageType, facts.programs, facts.videoCodec,
                    facts.videoTrack, facts.audioCodec, facts.audioTracks, facts.audioTrack,
                    facts.sampleRate, facts.channels, facts.bitrate, facts.title, facts.album,
                    facts.artist, facts.genre, facts.coverUri, facts.coverMimeType,
                    facts.imageDateTime, facts.dateIso);
}

} // namespace

bool MediaFacts::operator==(const MediaFacts& other) const {
    return values(*this) == values(other);
}

} // namespace player
