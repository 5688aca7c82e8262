#include "tv/metadata_items.h"

namespace tv {

namespace {

constexpr unsigned kMovie = 1;
constexpr unsigned kMusic = 2;
constexpr unsigned kPhoto = 4;

struct Row {
    EN_MM_INTERFACE_META_DATA item;
    const char* name;
    unsigned kinds;
};
constexpr Row kItems[] = {
    {E_MM_INTERFACE_META_TITLE, "title", kMusic},
    {E_MM_INTERFACE_META_ALBUM, "album", kMusic},
    {E_MM_INTERFACE_META_ARTIST, "artist", kMusic},
    {E_MM_INTERFACE_META_SAMPLE_RATE, "sampleRate", kMusic},
    {E_MM_INTERFACE_META_BITRATE, "bitrate", kMusic},
    {E_MM_INTERFACE_META_YEAR, "year", kMusic},
    {E_MM_INTERFACE_META_WIDTH, "width", kMovie | kPhoto},
    {E_MM_INTERFACE_META_HEIGHT, "height", kMovie | kPhoto},
    {E_MM_INTERFACE_META_IMAGE_TYPE, "imageType", kPhoto},
    {E_MM_INTERFACE_META_FRAME_RATE, "frameRate", kMovie},
    {E_MM_INTERFACE_META_VIDEO_CODEC, "videoCodec", kMovie},
    {E_MM_INTERFACE_META_AUDIO_CODEC, "audioCodec", kMovie},
    {E_MM_INTERFACE_META_INDEX_EXISTED, "indexed", kMovie},
    {E_MM_INTERFACE_META_NB_AUDIO_TRACK, "audioTracks", kMovie},
    {E_MM_INTERFACE_META_NB_PROGRAM, "programs", kMovie},
    {E_MM_INTERFACE_META_AUDIO_CHANNEL, "audioChannels", kMovie | kMusic},
    {E_MM_INTERFACE_META_IMAGE_HAS_DATETIME, "dated", kPhoto},
    {E_MM_INTERFACE_META_IMAGE_YEAR, "dateYear", kPhoto},
    {E_MM_INTERFACE_META_IMAGE_MONTH, "dateMonth", kPhoto},
    {E_MM_INTERFACE_META_IMAGE_DATE, "dateDay", kPhoto},
    {E_MM_INTERFACE_META_IMAGE_HOUR, "dateHour", kPhoto},
    {E_MM_INTERFACE_META_IMAGE_MINUTE, "dateMinute", kPhoto},
    {E_MM_INTERFACE_META_IMAGE_SECOND, "dateSecond", kPhoto},
};

unsigned bitOf(MediaKind kind) {
    switch (kind) {
    case MediaKind::kMovie:
        return kMovie;
    case MediaKind::kMusic:
        return kMusic;
    case MediaKind::kPhoto:
        return kPhoto;
    case MediaKind::kNone:
        break;
    }
    return 0;
}

} // namespace

std::vector<MetadataItem> metadataItems(MediaKind kind) {
    std::vector<MetadataItem> items;
    for (const Row& row : kItems)
        if ((row.kinds & bitOf(kind)) != 0)
            items.push_back({row.item, row.name});
    return items;
}

} // namespace tv
