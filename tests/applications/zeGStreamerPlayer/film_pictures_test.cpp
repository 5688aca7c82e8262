// What a film needs between its decoder and the screen: its halves put together, its picture
// turned, subtitles, several of these, or not even a decoder.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "engine/gst_handles.h"
#include "engine/picture_chain.h"
#include "support/case_name.h"
#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/run_pipeline.h"
#include "support/shown_media.h"

namespace {

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

std::string withSubtitles(const std::string& film, const std::string& subtitles) {
    return "<DIDL-Lite xmlns='urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/'><item>"
           "<res protocolInfo='http-get:*:video/mp4:*'>" +
           film + "</res><res protocolInfo='http-get:*:text/srt:*'>" + subtitles +
           "</res></item></DIDL-Lite>";
}

/// Where a line of the upper half, or a column of the right one, differs from the next and is like
/// the one after it.
int teethIn(const test::Picture& picture, bool columns = false) {
    const auto differ = [](const test::Pixel& one, const test::Pixel& other) {
        return std::abs(one.red - other.red) + std::abs(one.green - other.green) +
                   std::abs(one.blue - other.blue) >
               60;
    };
    const int right = columns ? 1 : 0;
    const int down = columns ? 0 : 1;
    int teeth = 0;
    for (int y = 0; y < (columns ? picture.height : picture.height / 2); ++y) {
        for (int x = columns ? picture.width / 2 : 0; x < picture.width - 2 * right; ++x) {
            const test::Pixel here = picture.at(x, y);
            teeth += differ(here, picture.at(x + right, y + down)) &&
                     !differ(here, picture.at(x + 2 * right, y + 2 * down));
        }
    }
    return teeth;
}

/// A picture out of the middle of a film of the tests, as it is in the film but for what `change`
/// does to it.
test::Picture takenFrom(const std::string& file, const std::string& demuxer,
                        const std::string& change, const std::string& folder) {
    const std::string path = folder + "/taken.png";
    EXPECT_TRUE(
        test::runPipeline("filesrc location=" KETRA_TEST_MEDIA "/" + file + " ! " + demuxer +
                          " ! h264parse ! avdec_h264 ! videoconvert ! " + change +
                          " ! identity eos-after=30 ! pngenc ! multifilesink location=" + path));
    return test::readPicture(path);
}

constexpr char kAsLargeAsTheScreen[] =
    "videoscale method=nearest-neighbour ! video/x-raw,width=640,height=360";

class AFilm : public test::ShownMedia {
protected:
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

    /// Shows a film of the tests after its camera was held on its side.
    void showTurned(const std::string& file) {
        ASSERT_NO_FATAL_FAILURE(
            turn(std::string(KETRA_TEST_MEDIA) + "/" + file, folder_.path() + "/" + file));
        const test::MediaServer server(folder_.path());
        showFrom(server, "/good/" + file);
    }

    /// The screen once the film has run for a second.
    test::Picture screenLater() {
        EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec >= 1; }));
        return player_.screen();
    }

    /// The colours at the crossings of two columns and two lines of the screen.
    std::string at(int left, int right, int top, int bottom) {
        const test::Picture picture = player_.screen();
        std::string colours;
        for (const int y : {top, bottom}) {
            for (const int x : {left, right}) {
                colours += picture.width > 0 ? test::colourOf(picture.at(x, y)) : '-';
            }
        }
        return colours;
    }
};

TEST_F(AFilm, FromACameraStandsUpright) {
    ASSERT_NO_FATAL_FAILURE(showTurned("camera.mp4"));
    const test::Picture screen = player_.screen();
    EXPECT_EQ(test::colourOf(screen.at(250, 180)), 'b');
    EXPECT_EQ(test::colourOf(screen.at(390, 180)), 'r');
    EXPECT_EQ(test::colourOf(screen.at(200, 180)), 'k');
}

TEST_F(AFilm, OfHalvesTakenOneAfterTheOtherHasNoTeeth) {
    const int teeth =
        teethIn(takenFrom("halves.ts", "tsdemux", kAsLargeAsTheScreen, folder_.path()));
    ASSERT_GT(teeth, 1000) << "in the film itself";
    show("/good/halves.ts");
    const test::Picture screen = screenLater();
    ASSERT_EQ(screen.width, test::kScreenWidth);
    EXPECT_LT(teethIn(screen), teeth / 10);
}

TEST_F(AFilm, OfHalvesFromACameraStandsUprightWithoutTeeth) {
    const int teeth = teethIn(
        takenFrom("halves.mp4", "qtdemux", "videoflip video-direction=90r", folder_.path()), true);
    ASSERT_GT(teeth, 1000) << "in the film itself, once it is turned";
    ASSERT_NO_FATAL_FAILURE(showTurned("halves.mp4"));
    const test::Picture screen = screenLater();
    ASSERT_EQ(screen.width, test::kScreenWidth);
    // 180 pixels wide now, each as it is in the film: what was below is on the left.
    EXPECT_EQ(test::colourOf(screen.at(220, 180)), 'k');
    const auto greenIn = [&screen](int column) {
        int green = 0;
        for (int y = 0; y < screen.height; ++y) {
            green += test::isGreen(screen.at(column, y)) ? 1 : 0;
        }
        return green;
    };
    EXPECT_EQ(greenIn(270), screen.height);
    EXPECT_LT(greenIn(365), screen.height / 2);
    EXPECT_LT(teethIn(screen, true), teeth / 10);
}

TEST_F(AFilm, ShowsTheSubtitlesThatItContains) {
    show("/good/subtitled.mkv");
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
}

TEST_F(AFilm, ShowsTheSubtitlesBesideIt) {
    show("/good/film.h265.mp4");
    EXPECT_FALSE(seesSubtitles());
    ASSERT_TRUE(player_->stop());
    show("/good/film.h265.mp4",
         withSubtitles(server_.address("/good/film.h265.mp4"), server_.address("/good/film.srt")));
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
}

TEST_F(AFilm, OfHalvesShowsItsSubtitlesWithoutTeeth) {
    const int teeth = teethIn(
        takenFrom("halves.subtitled.mkv", "matroskademux", kAsLargeAsTheScreen, folder_.path()));
    ASSERT_GT(teeth, 1000) << "in the film itself";
    show("/good/halves.subtitled.mkv");
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
    EXPECT_LT(teethIn(screenLater()), teeth / 10);
    ASSERT_TRUE(player_->stop());
    show("/good/halves.mp4",
         withSubtitles(server_.address("/good/halves.mp4"), server_.address("/good/film.srt")));
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
    EXPECT_LT(teethIn(screenLater()), teeth / 10);
}

TEST_F(AFilm, ShowsTheSubtitlesThatItsServerNames) {
    show("/captioned/film.h265.mp4");
    EXPECT_TRUE(player_.waitUntil([this] { return seesSubtitles(); }, test::seconds(5)));
}

TEST_F(AFilm, IsPlayedWithoutSubtitlesThatAreNotThere) {
    show("/good/film.h265.mp4", withSubtitles(server_.address("/good/film.h265.mp4"),
                                              server_.address("/good/missing.srt")));
    EXPECT_EQ(test::colourOf(player_.screen().middle()), 'g');
}

class ARawFilm : public AFilm, public testing::WithParamInterface<const char*> {};

TEST_P(ARawFilm, IsShownAsItIs) {
    show(std::string("/good/") + GetParam());
    EXPECT_EQ(at(20, 620, 20, 340), "rgbw");
    EXPECT_TRUE(player_.waitForState(player::PlayerState::kFinished)) << player_.log();
    EXPECT_EQ(player_.last().error, player::PlayerError::kNone) << player_.log();
}

INSTANTIATE_TEST_SUITE_P(ThatNoDecoderSees, ARawFilm,
                         testing::Values("raw.avi", "bottomup.avi", "raw.mkv", "raw.mov"),
                         [](const auto& one) { return test::caseName(one.param); });

TEST_F(AFilm, ThatNoDecoderSeesStandsUprightToo) {
    ASSERT_NO_FATAL_FAILURE(showTurned("raw.mov"));
    EXPECT_EQ(at(225, 415, 20, 340), "brwg");
    EXPECT_EQ(at(210, 430, 20, 340), "kkkk");
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

} // namespace
