#include "media_info.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "text.h"

namespace mediainfo {
namespace {

// U+E08A. Nothing may follow in the same literal: a letter would continue the last byte.
constexpr std::string_view kSeparator = "\xEE\x82\x8A";

constexpr char kAbsent[] = "---";
constexpr char kUnknown[] = "Unknown";

typedef void (*Format)(std::string_view aValue, std::string& aAnswer);

void asCut(std::string_view aValue, std::string& aAnswer) {
    aAnswer.assign(aValue);
}

void asYesOrNo(std::string_view aValue, std::string& aAnswer) {
    aAnswer.assign(aValue == "1" ? "Yes" : "No");
}

void asPictureType(std::string_view aValue, std::string& aAnswer) {
    static constexpr const char* kPictureTypes[] = {"JPEG,Baseline", "JPEG,Progressive", "BMP",
                                                    "PNG,non-interlaced", "PNG,interlaced"};
    static constexpr int kPictureTypeCount = sizeof kPictureTypes / sizeof kPictureTypes[0];
    // The number ends at the separator or at the end of the text, neither of which is a digit.
    const int code = text::toInteger(aValue.data());
    aAnswer.assign(code >= 0 && code < kPictureTypeCount ? kPictureTypes[code] : kUnknown);
}

/// Thousandths of a frame a second.
void asFrameRate(std::string_view aValue, std::string& aAnswer) {
    constexpr std::size_t kDecimals = 3;
    aAnswer.clear();
    aAnswer.reserve(aValue.size() + kDecimals + 2); // all of it at once
    if (aValue.size() <= kDecimals) {
        aAnswer.append(kDecimals + 1 - aValue.size(), '0');
    }
    aAnswer.append(aValue);
    aAnswer.insert(aAnswer.size() - kDecimals, 1, '.');
}

struct Item {
    EN_INFO_METADATA item;
    const char* key;
    Format format;
};

constexpr Item kItems[] = {
    {E_INFO_TITLE, "title:", asCut},
    {E_INFO_ALBUM, "album:", asCut},
    {E_INFO_ARTIST, "artist:", asCut},
    {E_INFO_SAMPLE_RATE, "sample-rate:", asCut},
    {E_INFO_BITRATE, "bitrate:", asCut},
    {E_INFO_YEAR, "year:", asCut},
    {E_INFO_WIDTH, "video/image_width:", asCut},
    {E_INFO_HEIGHT, "video/image_height:", asCut},
    {E_INFO_IMAGE_TYPE, "image-type:", asPictureType},
    {E_INFO_FRAME_RATE, "frame-rate:", asFrameRate},
    {E_INFO_VIDEO_CODEC, "video-codec:Video Codec ", asCut},
    {E_INFO_AUDIO_CODEC, "audio-codec:Audio Codec ", asCut},
    {E_INFO_INDEX_EXISTED, "index-existed:", asYesOrNo},
    {E_INFO_NB_AUDIO_TRACK, "nb-audio-track:", asCut},
    {E_INFO_NB_PROGRAM, "nb-program:", asCut},
    {E_INFO_AUDIO_CHANNEL, "AudioChannel:", asCut},
    {E_INFO_IMAGE_HAS_DATETIME, "ImageHasDateTime:", asYesOrNo},
    {E_INFO_IMAGE_YEAR, "ImageYear:", asCut},
    {E_INFO_IMAGE_MONTH, "ImageMonth:", asCut},
    {E_INFO_IMAGE_DATE, "ImageDate:", asCut},
    {E_INFO_IMAGE_HOUR, "ImageHour:", asCut},
    {E_INFO_IMAGE_MINUTE, "ImageMinute:", asCut},
    {E_INFO_IMAGE_SECOND, "ImageSecond:", asCut},
};
static_assert(sizeof kItems / sizeof kItems[0] == 23); // with E_INFO_ITEM_14, all there are

/// Finds the value behind the first `aKey`, wherever that stands. False when it does not occur.
bool cut(const std::string& aInfo, const char* aKey, std::string_view& aValue) {
    const std::string_view info(aInfo);
    const std::size_t key = info.find(aKey);
    if (key == std::string_view::npos) {
        return false;
    }
    const std::size_t begin = key + std::strlen(aKey);
    // Keys hold no separator, so that the first one behind the key ends the value.
    const std::size_t end = info.find(kSeparator, begin);
    aValue = info.substr(begin, end == std::string_view::npos ? end : end - begin);
    return true;
}

} // namespace

bool answer(const std::string& aInfo, EN_INFO_METADATA aItem, std::string& aAnswer) {
    if (aItem == E_INFO_ITEM_14) {
        aAnswer.assign(kAbsent);
        return true;
    }
    for (const Item& item : kItems) {
        if (item.item != aItem) {
            continue;
        }
        std::string_view value;
        if (!cut(aInfo, item.key, value)) {
            aAnswer.assign(kAbsent);
            return false;
        }
        item.format(value, aAnswer);
        return true;
    }
    aAnswer.assign(kUnknown);
    return false;
}

U32 number(const std::string& aInfo, const char* aKey) {
    std::string_view value;
    if (!cut(aInfo, aKey, value)) {
        return static_cast<U32>(-1);
    }
    return static_cast<U32>(text::toInteger(value.data()));
}

SeekFlags seekFlags(const char* aProtocolInfo) {
    static constexpr char kOperations[] = "DLNA.ORG_OP";
    static constexpr std::size_t kSkipped = sizeof kOperations; // the name and its equals sign
    const char* operations = std::strstr(aProtocolInfo, kOperations);
    if (operations == nullptr || std::strlen(operations) < kSkipped) {
        return {false, false};
    }
    // Two binary digits: by bytes, by time... written with the time's first.
    const long flags = std::strtol(operations + kSkipped, nullptr, 2);
    return {flags == 1 || flags == 3, flags == 2 || flags == 3};
}

} // namespace mediainfo
