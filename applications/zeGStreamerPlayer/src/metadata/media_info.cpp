#include "metadata/media_info.h"

#include <array>
#include <cstdlib>
#include <vector>

namespace player {
namespace {

/// Every key that somebody looks for, in the order in which items are written. Texts from outside
/// come last, so that no item stands behind a text that imitates it.
constexpr std::array kKeys = {
    "video/image_width:",
    "video/image_height:",
    "image-type:",
    "frame-rate:",
    "video-codec:Video Codec ",
    "audio-codec:Audio Codec ",
    "index-existed:",
    "nb-audio-track:",
    "nb-program:",
    "AudioChannel:",
    "sample-rate:",
    "bitrate:",
    "year:",
    "VideoTrackID:",
    "AudioTrackID:",
    "ImageHasDateTime:",
    "ImageYear:",
    "ImageMonth:",
    "ImageDate:",
    "ImageHour:",
    "ImageMinute:",
    "ImageSecond:",
    "title:",
    "album:",
    "artist:",
};

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

/// Writes items in the order of kKeys; an item out of order would be a programming error.
class ItemWriter {
public:
    void text(const char* key, std::string value) {
        if (value.empty()) {
            return;
        }
        replaceAll(value, kItemSeparator, " ");
        // A key inside the value would be found before, or instead of, the item it names.
        for (const char* other : kKeys) {
            std::string harmless(other);
            harmless.insert(harmless.find(':'), " ");
            if (!written(other)) {
                replaceAll(value, other, harmless);
            }
        }
        if (!text_.empty()) {
            text_ += kItemSeparator;
        }
        text_ += key + value;
        keys_.emplace_back(key);
    }

    void number(const char* key, unsigned long value) {
        if (value != 0) {
            text(key, std::to_string(value));
        }
    }

    /// For numbers where zero is a value and less than zero is not known.
    void index(const char* key, int value) {
        if (value >= 0) {
            text(key, std::to_string(value));
        }
    }

    const std::string& result() const { return text_; }

private:
    bool written(const std::string& key) const {
        for (const std::string& known : keys_) {
            if (known == key) {
                return true;
            }
        }
        return false;
    }

    std::string text_;
    std::vector<std::string> keys_;
};

std::string channelsText(unsigned channels) {
    switch (channels) {
    case 0:
        return "";
    case 1:
        return "Mono";
    case 2:
        return "Stereo";
    case 6:
        return "5.1";
    case 8:
        return "7.1";
    default:
        return std::to_string(channels) + " channels";
    }
}

/// "2024-05-06T07:08:09" as six numbers without leading zeros.
void writeImageDate(ItemWriter& items, const std::string& date) {
    constexpr std::array kNumbers = {
        "ImageYear:", "ImageMonth:", "ImageDate:", "ImageHour:", "ImageMinute:", "ImageSecond:"};
    constexpr std::array<std::size_t, 7> kStarts = {0, 5, 8, 11, 14, 17, 20};
    const bool known = date.size() + 1 == kStarts.back();
    items.text("ImageHasDateTime:", known ? "1" : "0");
    for (std::size_t index = 0; known && index < kNumbers.size(); ++index) {
        const std::string digits =
            date.substr(kStarts[index], kStarts[index + 1] - kStarts[index] - 1);
        items.text(kNumbers[index], std::to_string(std::atoi(digits.c_str())));
    }
}

} // namespace

std::string mediaInfoText(const MediaFacts& facts) {
    const bool timed = facts.kind == MediaKind::kVideo || facts.kind == MediaKind::kAudio;
    ItemWriter items;
    items.number("video/image_width:", facts.width);
    items.number("video/image_height:", facts.height);
    items.index("image-type:", static_cast<int>(facts.imageType));
    items.number("frame-rate:", facts.frameRateThousandths);
    items.text("video-codec:Video Codec ", facts.videoCodec);
    items.text("audio-codec:Audio Codec ", facts.audioCodec);
    if (timed) {
        items.text("index-existed:", facts.seekable ? "1" : "0");
        items.text("nb-audio-track:", std::to_string(facts.audioTracks));
    }
    items.number("nb-program:", facts.programs);
    items.text("AudioChannel:", channelsText(facts.channels));
    items.number("sample-rate:", facts.sampleRate);
    items.number("bitrate:", facts.bitrate);
    items.text("year:", facts.dateIso.substr(0, 4));
    items.index("VideoTrackID:", facts.videoTrack);
    items.index("AudioTrackID:", facts.audioTrack);
    if (facts.kind == MediaKind::kImage) {
        writeImageDate(items, facts.imageDateTime);
    }
    items.text("title:", facts.title);
    items.text("album:", facts.album);
    items.text("artist:", facts.artist);
    return "MetadataStr=" + items.result();
}

} // namespace player
