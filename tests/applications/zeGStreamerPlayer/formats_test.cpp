// Every kind of media that can be made here, and what the player says that it plays.

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/gst_handles.h"
#include "engine/picture_chain.h"
#include "engine/sink_formats.h"
#include "support/case_name.h"
#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
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

class AMedia : public testing::Test {
protected:
    void show(const std::string& path, const std::string& didl = "") {
        ASSERT_TRUE(player_.setMedia(server_.address(path), didl));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().state == PlayerState::kFinished ||
                   player_.last().state == PlayerState::kPlaying ||
                   player_.last().error != player::PlayerError::kNone;
        })) << player_.states();
        ASSERT_EQ(player_.last().error, player::PlayerError::kNone) << player_.log();
    }

    /// Whether there is writing in the lower third of a green picture.
    bool seesSubtitles() {
        const test::Picture picture = player_.screen();
        for (int y = picture.height * 2 / 3; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                // Small white letters take on some green; the picture has no red at all.
                if (picture.at(x, y).red > 120) {
                    return true;
                }
            }
        }
        return false;
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path()};
};

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

/// Notes in a film that its camera was held on its side.
void turn(const std::string& film, const std::string& turned) {
    std::ifstream in(film, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    const std::size_t header = bytes.find("tkhd");
    ASSERT_NE(header, std::string::npos);
    ASSERT_EQ(bytes[header + 4], 0) << "another version of the header";
    constexpr std::size_t kMatrix = 44;
    // Clockwise by a quarter: 0 1 0, -1 0 0, 0 0 1, in fixed point.
    constexpr char kQuarter[] = "\0\0\0\0\0\1\0\0\0\0\0\0\xff\xff\0\0";
    bytes.replace(header + kMatrix, 16, std::string(kQuarter, 16));
    bytes.replace(header + kMatrix + 16, 4, std::string(4, '\0'));
    std::ofstream(turned, std::ios::binary) << bytes;
}

TEST_F(AMedia, FromACameraStandsUprightAsAFilmToo) {
    ASSERT_NO_FATAL_FAILURE(
        turn(std::string(KETRA_TEST_MEDIA) + "/camera.mp4", folder_.path() + "/camera.mp4"));
    const test::MediaServer server(folder_.path());
    ASSERT_TRUE(player_.setMedia(server.address("/good/camera.mp4")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    const test::Picture screen = player_.screen();
    EXPECT_EQ(test::colourOf(screen.at(250, 180)), 'b');
    EXPECT_EQ(test::colourOf(screen.at(390, 180)), 'r');
    EXPECT_EQ(test::colourOf(screen.at(200, 180)), 'k');
}

/// Where a line differs from the next and is like the one after it.
int teethIn(const test::Picture& picture) {
    const auto differ = [](const test::Pixel& one, const test::Pixel& other) {
        return std::abs(one.red - other.red) + std::abs(one.green - other.green) +
                   std::abs(one.blue - other.blue) >
               60;
    };
    int teeth = 0;
    for (int y = 0; y < picture.height / 2; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const test::Pixel here = picture.at(x, y);
            teeth += differ(here, picture.at(x, y + 1)) && !differ(here, picture.at(x, y + 2));
        }
    }
    return teeth;
}

/// A picture out of the middle of a film, as it is in the film.
test::Picture takenFrom(const std::string& film, const std::string& folder) {
    gst_init(nullptr, nullptr);
    const std::string path = folder + "/taken.png";
    const player::GstOwner<GstElement> pipeline(gst_parse_launch(
        ("filesrc location=" + film + " ! tsdemux ! h264parse ! avdec_h264 ! videoconvert ! " +
         "videoscale method=nearest-neighbour ! video/x-raw,width=640,height=360 ! " +
         "identity eos-after=30 ! pngenc ! multifilesink location=" + path)
            .c_str(),
        nullptr));
    const player::GstOwner<GstBus> bus(gst_element_get_bus(pipeline.get()));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const player::GstOwner<GstMessage> end(gst_bus_timed_pop_filtered(
        bus.get(), 30 * GST_SECOND,
        static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    EXPECT_TRUE(end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return test::readPicture(path);
}

TEST_F(AMedia, OfHalvesTakenOneAfterTheOtherHasNoTeeth) {
    const int teeth =
        teethIn(takenFrom(std::string(KETRA_TEST_MEDIA) + "/halves.ts", folder_.path()));
    ASSERT_GT(teeth, 1000) << "in the film itself";
    show("/good/halves.ts");
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec >= 1; }));
    const test::Picture screen = player_.screen();
    ASSERT_EQ(screen.width, test::kScreenWidth);
    EXPECT_LT(teethIn(screen), teeth / 10);
}

TEST(AFormat, TellsWhetherItsPicturesMayConsistOfHalves) {
    gst_init(nullptr, nullptr);
    const auto may = [](const char* caps) {
        const player::GstOwner<GstCaps> format(gst_caps_from_string(caps));
        return player::mayBeInterlaced(format.get());
    };
    EXPECT_FALSE(may("video/x-h264, interlace-mode=(string)progressive"));
    EXPECT_TRUE(may("video/x-h264, interlace-mode=(string)mixed"));
    EXPECT_TRUE(may("video/x-h264, interlace-mode=(string)interleaved"));
    EXPECT_TRUE(may("video/x-h264"));
    EXPECT_TRUE(may("video/mpeg, mpegversion=2"));
    EXPECT_TRUE(may("video/mpeg, mpegversion=4"));
    EXPECT_FALSE(may("video/x-vp8"));
    EXPECT_FALSE(may("video/x-h265"));
    EXPECT_TRUE(may("video/x-h265, interlace-mode=(string)alternate"));
    EXPECT_FALSE(may("image/jpeg"));
    EXPECT_FALSE(may("image/jpeg, framerate=(fraction)1/1"));
    EXPECT_TRUE(may("image/jpeg, framerate=(fraction)25/1"));
    EXPECT_TRUE(may("EMPTY"));
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
    const player::GstOwner<GstBuffer> buffer(gst_buffer_new_memdup(bytes.data(), bytes.size()));
    const player::GstOwner<GstCaps> caps(gst_caps_new_empty_simple("image/jpeg"));
    const player::GstOwner<GstSample> sample(
        gst_sample_new(buffer.get(), caps.get(), nullptr, nullptr));
    const player::GstOwner<GstElement> pipeline(gst_parse_launch(
        ("audiotestsrc num-buffers=200 ! audioconvert ! lamemp3enc ! id3v2mux name=tags ! "
         "filesink location=" +
         path)
            .c_str(),
        nullptr));
    const player::GstOwner<GstElement> tags(gst_bin_get_by_name(GST_BIN(pipeline.get()), "tags"));
    gst_tag_setter_add_tags(GST_TAG_SETTER(tags.get()), GST_TAG_MERGE_REPLACE, GST_TAG_IMAGE,
                            sample.get(), nullptr);
    const player::GstOwner<GstBus> bus(gst_element_get_bus(pipeline.get()));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const player::GstOwner<GstMessage> end(gst_bus_timed_pop_filtered(
        bus.get(), 10 * GST_SECOND,
        static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS ? bytes : "";
}

TEST_F(AMedia, PublishesItsCoverAsAFileWhileItPlays) {
    gst_init(nullptr, nullptr);
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

TEST_F(AMedia, ShowsTheSubtitlesThatItContains) {
    show("/good/subtitled.mkv");
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
}

std::string withSubtitles(const std::string& film, const std::string& subtitles) {
    return "<DIDL-Lite xmlns='urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/'><item>"
           "<res protocolInfo='http-get:*:video/mp4:*'>" +
           film + "</res><res protocolInfo='http-get:*:text/srt:*'>" + subtitles +
           "</res></item></DIDL-Lite>";
}

TEST_F(AMedia, ShowsTheSubtitlesBesideIt) {
    show("/good/film.h265.mp4");
    EXPECT_FALSE(seesSubtitles());
    ASSERT_TRUE(player_->stop());
    show("/good/film.h265.mp4",
         withSubtitles(server_.address("/good/film.h265.mp4"), server_.address("/good/film.srt")));
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
}

TEST_F(AMedia, ShowsTheSubtitlesThatItsServerNames) {
    show("/captioned/film.h265.mp4");
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
}

TEST_F(AMedia, IsPlayedWithoutSubtitlesThatAreNotThere) {
    show("/good/film.h265.mp4", withSubtitles(server_.address("/good/film.h265.mp4"),
                                              server_.address("/good/missing.srt")));
    EXPECT_EQ(test::colourOf(player_.screen().middle()), 'g');
}

} // namespace
