#include "media_types.h"

#include <gtest/gtest.h>

namespace {

using push::MediaKind;
using push::mediaTypeFor;

struct Case {
    const char* caps;
    MediaKind kind;
    const char* fileName;
    const char* mime;
    const char* extension;
};

constexpr auto kVideo = MediaKind::kVideo;
constexpr auto kMusic = MediaKind::kMusic;
constexpr auto kPhoto = MediaKind::kPhoto;

const Case kCases[] = {{"video/quicktime", kVideo, "a.mp4", "video/mp4", "mp4"},
                       {"video/quicktime", kMusic, "a.m4a", "audio/mp4", "m4a"},
                       {"video/x-matroska", kVideo, "a", "video/x-matroska", "mkv"},
                       {"video/webm", kVideo, "a.webm", "video/webm", "webm"},
                       {"video/mpegts", kVideo, "a.m2ts", "video/mp2t", "ts"},
                       {"application/ogg", kVideo, "a.ogg", "video/ogg", "ogv"},
                       {"application/ogg", kMusic, "a.ogg", "audio/ogg", "ogg"},
                       {"audio/mpeg", kMusic, "a.mp3", "audio/mpeg", "mp3"},
                       {"application/x-id3", kMusic, "a.mp3", "audio/mpeg", "mp3"},
                       {"audio/x-flac", kMusic, "a.flac", "audio/flac", "flac"},
                       {"audio/x-wav", kMusic, "a.wav", "audio/wav", "wav"},
                       {"image/jpeg", kPhoto, "a.jpeg", "image/jpeg", "jpg"},
                       {"image/png", kPhoto, "a.png", "image/png", "png"},
                       // a wrong ending does not mislead
                       {"image/png", kPhoto, "a.jpg", "image/png", "png"},
                       {"video/quicktime", kVideo, "a.txt", "video/mp4", "mp4"},
                       // without content that is known, the ending decides
                       {"", kPhoto, "A.JPEG", "image/jpeg", "jpeg"},
                       {"video/x-unheard-of", kVideo, "dir.d/clip.MKV", "video/x-matroska", "mkv"},
                       // and without either the content keeps its own name
                       {"video/x-unheard-of", kVideo, "clip", "video/x-unheard-of", ""},
                       {"video/x-unheard-of", kVideo, "dir.mkv/clip", "video/x-unheard-of", ""},
                       {"", kMusic, "", "application/octet-stream", ""}};

TEST(AMediaType, FollowsTheContentAndThenTheName) {
    for (const Case& row : kCases) {
        const push::MediaType type = mediaTypeFor(row.caps, row.kind, row.fileName);
        EXPECT_EQ(type.mime, row.mime) << row.caps << " " << row.fileName;
        EXPECT_EQ(type.extension, row.extension) << row.caps << " " << row.fileName;
    }
}

TEST(AnItemClass, ExistsForEveryKind) {
    EXPECT_STREQ(push::upnpClassOf(kVideo), "object.item.videoItem");
    EXPECT_STREQ(push::upnpClassOf(kMusic), "object.item.audioItem.musicTrack");
    EXPECT_STREQ(push::upnpClassOf(kPhoto), "object.item.imageItem.photo");
}

} // namespace
