// Every kind of media that can be made here, and what the player says that it plays.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/gst_handles.h"
#include "engine/sink_formats.h"
#include "support/case_name.h"
#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/run_pipeline.h"
#include "support/shown_media.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerState;
using player::Speed;

struct Sort {
    const char* file;
    const char* protocolInfo;
    const char* info; ///< an item of the media-info text
    char colour;      ///< of the screen's middle; black for music
};

std::ostream& operator<<(std::ostream& out, const Sort& sort) {
    return out << sort.file;
}

class AMedia : public test::ShownMedia {};

class OfASort : public AMedia, public testing::WithParamInterface<Sort> {};

TEST_P(OfASort, IsPlayed) {
    show(std::string("/good/") + GetParam().file);
    EXPECT_EQ(player_.last().track.protocolInfo, GetParam().protocolInfo);
    EXPECT_NE(player_.last().infoText.find(GetParam().info), std::string::npos)
        << player_.last().infoText;
    EXPECT_EQ(test::colourOf(player_.screen().middle()), GetParam().colour);
    // Not even Range, a length or a type is needed: whatever comes next has to do.
    for (const char* const manner : {"/whole/", "/chunked/", "/stream/", "/plain/"}) {
        if (GetParam().file == std::string("song.L16") && manner == std::string("/plain/")) {
            continue; // bare samples could be anything
        }
        show(std::string(manner) + GetParam().file);
        EXPECT_EQ(test::colourOf(player_.screen().middle()), GetParam().colour) << manner;
    }
    std::string formats;
    player_.engine().formats([&formats](const std::string& list) { formats = list; });
    ASSERT_TRUE(player_.waitUntil([&formats] { return !formats.empty(); }));
    std::transform(formats.begin(), formats.end(), formats.begin(),
                   [](unsigned char letter) { return std::tolower(letter); });
    const std::string type = player::mimeTypeOf(GetParam().protocolInfo);
    EXPECT_NE(formats.find(":" + type), std::string::npos) << formats;
}

INSTANTIATE_TEST_SUITE_P(
    AMedia, OfASort,
    testing::Values(
        Sort{"film.mp4", "http-get:*:video/mp4:*", "video-codec:Video Codec H.264", 'r'},
        Sort{"film.webm", "http-get:*:video/webm:*", "audio-codec:Audio Codec Opus", 'r'},
        Sort{"film.h265.mp4", "http-get:*:video/mp4:*", "video-codec:Video Codec H.265", 'g'},
        Sort{"film.ts", "http-get:*:video/mp2t:*", "video-codec:Video Codec H.264", 'g'},
        Sort{"film.avi", "http-get:*:video/x-msvideo:*", "audio-codec:Audio Codec MPEG-1 Layer 3",
             'g'},
        Sort{"languages.mkv", "http-get:*:video/x-matroska:*", "nb-audio-track:2", 'g'},
        Sort{"song.mp3", "http-get:*:audio/mpeg:*", "title:Blue Hour", 'k'},
        Sort{"song.ogg", "http-get:*:audio/ogg:*", "sample-rate:44100", 'k'},
        Sort{"song.aac", "http-get:*:audio/aac:*", "sample-rate:44100", 'k'},
        Sort{"song.flac", "http-get:*:audio/flac:*", "AudioChannel:Stereo", 'k'},
        Sort{"song.opus", "http-get:*:audio/ogg:*", "sample-rate:48000", 'k'},
        Sort{"song.wav", "http-get:*:audio/wav:*", "sample-rate:44100", 'k'},
        Sort{"song.L16", "http-get:*:audio/l16:*", "sample-rate:44100", 'k'},
        Sort{"photo.jpg", "http-get:*:image/jpeg:*", "video/image_width:400", 'b'},
        Sort{"photo.png", "http-get:*:image/png:*", "video/image_height:100", 'g'},
        Sort{"photo.bmp", "http-get:*:image/bmp:*", "image-type:2", 'g'},
        Sort{"photo.webp", "http-get:*:image/webp:*", "video/image_width:200", 'g'},
        Sort{"photo.gif", "http-get:*:image/gif:*", "video/image_width:200", 'g'}),
    [](const auto& one) { return test::caseName(one.param.file); });

/// Leaves every element that takes some media in out of the registry's choice, for a moment.
class Without {
public:
    explicit Without(const char* caps) {
        const player::GstOwner<GstCaps> wanted(gst_caps_from_string(caps));
        GList* const all = gst_element_factory_list_get_elements(GST_ELEMENT_FACTORY_TYPE_DECODER,
                                                                 GST_RANK_MARGINAL);
        able_ = gst_element_factory_list_filter(all, wanted.get(), GST_PAD_SINK, FALSE);
        gst_plugin_feature_list_free(all);
        for (GList* each = able_; each != nullptr; each = each->next) {
            auto* const feature = GST_PLUGIN_FEATURE(each->data);
            ranks_.push_back(gst_plugin_feature_get_rank(feature));
            gst_plugin_feature_set_rank(feature, GST_RANK_NONE);
        }
    }
    ~Without() {
        auto rank = ranks_.begin();
        for (GList* each = able_; each != nullptr; each = each->next) {
            gst_plugin_feature_set_rank(GST_PLUGIN_FEATURE(each->data), *rank++);
        }
        gst_plugin_feature_list_free(able_);
    }
    Without(const Without&) = delete;
    Without& operator=(const Without&) = delete;

private:
    GList* able_;
    std::vector<unsigned> ranks_;
};

TEST(WhatThePlayerOffers, NamesAProfileOnlyWhereItsCodecsAreInstalled) {
    gst_init(nullptr, nullptr);
    constexpr char kFilm[] = "http-get:*:video/mp4:DLNA.ORG_PN=AVC_MP4_BL_CIF15_AAC_520,";
    constexpr char kSong[] = "http-get:*:audio/mpeg:DLNA.ORG_PN=MP3,";
    EXPECT_NE(player::sinkFormats().find(kFilm), std::string::npos);
    EXPECT_NE(player::sinkFormats().find(kSong), std::string::npos);
    const Without decoder("video/x-h264");
    EXPECT_EQ(player::sinkFormats().find(kFilm), std::string::npos);
    EXPECT_NE(player::sinkFormats().find("http-get:*:video/mp4:*,"), std::string::npos);
    EXPECT_NE(player::sinkFormats().find(kSong), std::string::npos);
}

TEST(WhatThePlayerOffers, LeavesOutWhatCanBeLookedAtAndNotDecoded) {
    gst_init(nullptr, nullptr);
    EXPECT_NE(player::sinkFormats().find("audio/flac"), std::string::npos);
    const Without decoder("audio/x-flac");
    EXPECT_EQ(player::sinkFormats().find("audio/flac"), std::string::npos);
}

TEST_F(AMedia, FromACameraStandsUpright) {
    show("/good/camera.jpg");
    const test::Picture screen = player_.screen();
    // 50 to 100 now, so 180 of 640 pixels are the picture: what was on top is on the right.
    EXPECT_EQ(test::colourOf(screen.at(250, 180)), 'b');
    EXPECT_EQ(test::colourOf(screen.at(390, 180)), 'r');
    EXPECT_EQ(test::colourOf(screen.at(200, 180)), 'k');
    for (const char* item : {"ImageHasDateTime:1", "ImageYear:2021", "ImageMonth:3", "ImageDate:4",
                             "ImageHour:5", "ImageMinute:6", "ImageSecond:7", "image-type:0"}) {
        EXPECT_NE(player_.last().infoText.find(item), std::string::npos)
            << item << " in " << player_.last().infoText;
    }
}

TEST_F(AMedia, MovesWhenItIsAnAnimation) {
    show("/good/moving.gif");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED"); // a photo like others
    for (const char colour : {'b', 'g', 'b'}) {
        EXPECT_TRUE(player_.waitUntil(
            [this, colour] { return test::colourOf(player_.screen().middle()) == colour; },
            test::seconds(5)))
            << colour;
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED");
    ASSERT_TRUE(player_->stop());
    EXPECT_TRUE(player_.waitUntil(
        [this] { return test::colourOf(player_.screen().middle()) == 'k'; }, test::seconds(5)));
}

/// Writes a song with a cover; the cover's bytes.
std::string writeSongWithCover(const std::string& path) {
    std::ifstream photo(std::string(KETRA_TEST_MEDIA) + "/photo.jpg", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(photo)), {});
    EXPECT_TRUE(test::runPipeline(
        "audiotestsrc num-buffers=200 ! audioconvert ! lamemp3enc ! id3v2mux name=tags ! "
        "filesink location=" +
            path,
        [&bytes](GstTagSetter* tags) {
            const player::GstOwner<GstBuffer> buffer(
                gst_buffer_new_memdup(bytes.data(), bytes.size()));
            const player::GstOwner<GstCaps> caps(gst_caps_new_empty_simple("image/jpeg"));
            const player::GstOwner<GstSample> sample(
                gst_sample_new(buffer.get(), caps.get(), nullptr, nullptr));
            gst_tag_setter_add_tags(tags, GST_TAG_MERGE_REPLACE, GST_TAG_IMAGE, sample.get(),
                                    nullptr);
        }));
    return bytes;
}

TEST_F(AMedia, PublishesItsCoverAsAFileWhileItPlays) {
    const std::string bytes = writeSongWithCover(folder_.path() + "/song.mp3");
    ASSERT_NE(bytes, "");
    const test::TemporaryFolder pictures;
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.snapshotDir = pictures.path();
    test::RecordedPlayer player(folder_.path(), settings);
    test::MediaServer server(folder_.path());
    ASSERT_TRUE(player.setMedia(server.address("/good/song.mp3")));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitUntil([&player] { return !player.last().albumArtUri.empty(); }))
        << player.log();
    const std::string uri = player.last().albumArtUri;
    EXPECT_EQ(uri.rfind("file://" + pictures.path() + "/cover-", 0), 0u) << uri;
    EXPECT_EQ(player.last().albumArtMimeType, "image/jpeg");
    std::ifstream file(uri.substr(7), std::ios::binary);
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(file)), {}), bytes);
    ASSERT_TRUE(player->stop());
    EXPECT_TRUE(
        player.waitUntil([&pictures] { return std::filesystem::is_empty(pictures.path()); }));
}

} // namespace
