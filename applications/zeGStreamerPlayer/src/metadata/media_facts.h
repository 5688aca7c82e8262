// What the engine found out about a media: plain values, filled while it opens and plays.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "logic/speed.h"
#include "metadata/protocol_info.h"

namespace player {

/// Which kind of picture file a photo is; the numbers travel in the media-info string.
enum class ImageType : int {
    kUnknown = -1,
    kJpegBaseline = 0,
    kJpegProgressive = 1,
    kBmp = 2,
    kPng = 3,
    kPngInterlaced = 4,
};

/// Zero, -1 where zero is a value, or "" mean: not known.
struct MediaFacts {
    MediaKind kind = MediaKind::kUnknown;
    std::string mimeType; ///< of the whole, e.g. "video/mp4"

    std::int64_t durationMs = -1;
    bool durationExact = false; ///< the container states it, so a much earlier end is damage
    bool seekable = false;
    std::vector<Speed> speeds; ///< at which it can be played, besides the normal one

    unsigned width = 0; ///< of the picture, in pixels
    unsigned height = 0;
    unsigned frameRateThousandths = 0;
    ImageType imageType = ImageType::kUnknown;
    unsigned programs = 0; ///< television programmes that a film's stream carries
    std::string videoCodec;
    int videoTrack = -1; ///< the one that is shown, counted from 0

    std::string audioCodec;
    unsigned audioTracks = 0;
    int audioTrack = -1; ///< the one that sounds, counted from 0
    unsigned sampleRate = 0;
    unsigned channels = 0;
    unsigned bitrate = 0; ///< bits per second

    std::string title;
    std::string album;
    std::string artist;
    std::string genre;
    std::string coverUri; ///< of a file with the picture that the media brings along
    std::string coverMimeType;
    std::string imageDateTime; ///< of a photo, "2024-05-06T07:08:09"
    std::string dateIso;       ///< "2024", "2024-05" or "2024-05-06"

    bool operator==(const MediaFacts& other) const;
    bool operator!=(const MediaFacts& other) const { return !(*this == other); }
};

} // namespace player
