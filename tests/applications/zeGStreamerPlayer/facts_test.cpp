// What the player tells about media, item by item, of real files that have it.

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "metadata/media_info.h"
#include "support/case_name.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/run_pipeline.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerState;
using player::Speed;

/// The items of a media-info text, a line each.
std::string itemsOf(std::string text) {
    const std::string begin = "MetadataStr=";
    EXPECT_EQ(text.rfind(begin, 0), 0u) << text;
    text.erase(0, begin.size());
    const std::string separator = player::kItemSeparator;
    for (std::size_t at = text.find(separator); at != std::string::npos;
         at = text.find(separator, at)) {
        text.replace(at, separator.size(), "\n");
    }
    return text;
}

class WhatIsTold : public testing::Test {
protected:
    explicit WhatIsTold(std::uint64_t copyLimit = 1 << 30) : player_(folder_.path(), copyLimit) {}

    void open(const std::string& address) {
        ASSERT_TRUE(player_.setMedia(address));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().state == PlayerState::kFinished ||
                   player_.last().state == PlayerState::kPlaying;
        })) << player_.states();
    }

    std::string items() const { return itemsOf(player_.last().infoText); }

    bool waitForItem(const std::string& item) {
        return player_.waitUntil(
            [this, &item] {
                return ("\n" + items() + "\n").find("\n" + item + "\n") != std::string::npos;
            },
            test::seconds(15));
    }

    /// How often the text became another.
    int changes() const {
        int changes = 0;
        for (std::size_t index = 1; index < player_.announced().size(); ++index) {
            const std::string& before = player_.announced()[index - 1].infoText;
            changes += player_.announced()[index].infoText != before ? 1 : 0;
        }
        return changes;
    }

    test::TemporaryFolder folder_;
    test::RecordedPlayer player_;
};

struct Known {
    const char* file;
    /// Every item of the text, a line each, of which the beginning is given: codecs are called
    /// differently by different versions, and when the file was made is nobody's to say.
    const char* items;
};

std::ostream& operator<<(std::ostream& out, const Known& known) {
    return out << known.file;
}

class OfAFile : public WhatIsTold, public testing::WithParamInterface<Known> {};

TEST_P(OfAFile, IsAllThatItSays) {
    const test::MediaServer server(KETRA_TEST_MEDIA);
    open(server.address(std::string("/good/") + GetParam().file));
    std::istringstream expected(GetParam().items);
    std::istringstream actual(items());
    std::string item;
    std::string told;
    while (std::getline(expected, item)) {
        std::getline(actual, told);
        EXPECT_EQ(told.substr(0, item.size()), item) << items();
    }
    EXPECT_FALSE(std::getline(actual, told)) << told;
}

INSTANTIATE_TEST_SUITE_P(
    WhatIsTold, OfAFile,
    testing::Values(
        Known{"film.mp4", "video/image_width:320\nvideo/image_height:180\nframe-rate:25000\n"
                          "video-codec:Video Codec H.264\naudio-codec:Audio Codec MPEG-4 AAC\n"
                          "index-existed:1\nnb-audio-track:1\nnb-program:1\nAudioChannel:Stereo\n"
                          "sample-rate:44100\nbitrate:1\nyear:2\nVideoTrackID:0\nAudioTrackID:0\n"
                          "title:film.mp4"},
        Known{"languages.mkv",
              "video/image_width:320\nvideo/image_height:180\nframe-rate:25000\n"
              "video-codec:Video Codec H.264\naudio-codec:Audio Codec MPEG-4 AAC\n"
              "index-existed:1\nnb-audio-track:2\nnb-program:1\nAudioChannel:Stereo\n"
              "sample-rate:44100\nbitrate:1\nyear:2\nVideoTrackID:0\nAudioTrackID:0\n"
              "title:languages.mkv"},
        Known{"programs.ts", "video/image_width:320\nvideo/image_height:180\nframe-rate:25000\n"
                             "video-codec:Video Codec H.264\nindex-existed:1\nnb-audio-track:0\n"
                             "nb-program:2\nVideoTrackID:0\ntitle:programs.ts"},
        Known{"song.mp3", "audio-codec:Audio Codec MPEG-1 Layer 3\nindex-existed:1\n"
                          "nb-audio-track:1\nAudioChannel:Stereo\nsample-rate:44100\nbitrate:\n"
                          "year:2021\nAudioTrackID:0\ntitle:Blue Hour\nalbum:First Light\n"
                          "artist:The Testers"},
        Known{"song.wav", "audio-codec:Audio Codec Uncompressed 16-bit PCM\nindex-existed:1\n"
                          "nb-audio-track:1\nAudioChannel:Stereo\nsample-rate:44100\n"
                          "bitrate:1411200\nAudioTrackID:0\ntitle:song.wav"},
        Known{"camera.jpg", "video/image_width:200\nvideo/image_height:100\nimage-type:0\n"
                            "year:2021\nImageHasDateTime:1\nImageYear:2021\nImageMonth:3\n"
                            "ImageDate:4\nImageHour:5\nImageMinute:6\nImageSecond:7\n"
                            "title:camera.jpg"},
        Known{"photo.png", "video/image_width:200\nvideo/image_height:100\nimage-type:3\n"
                           "ImageHasDateTime:0\ntitle:photo.png"},
        Known{"photo.bmp", "video/image_width:200\nvideo/image_height:100\nimage-type:2\n"
                           "ImageHasDateTime:0\ntitle:photo.bmp"}),
    [](const auto& one) { return test::caseName(one.param.file); });

/// Pictures of a kind that nothing here can make, as whole files.
TEST_F(WhatIsTold, KnowsPicturesThatCleanUpAsTheyCome) {
    constexpr char kInterlacedPng[] =
        "89504e470d0a1a0a0000000d4948445200000001000000010802000001e77063480000000c4944415478"
        "9c6360f8cf0000020201007b0981780000000049454e44ae426082";
    constexpr char kProgressiveJpeg[] =
        "ffd8ffe000104a46494600010100000100010000ffdb0043001b12141714111b1716171e1c1b2028422b"
        "28252528513a3d3042605565645f555d5b6a7899816a7190735b5d85b586909ea3abadab6780bcc9baa6"
        "c799a8aba4ffc2000b080008000801011100ffc400140001000000000000000000000000000000"
        "05ffda00080101000000014fffc40014100100000000000000000000000000000000ffda000801010001"
        "05027fffc40014100100000000000000000000000000000000ffda0008010100063f027fffc400141001"
        "00000000000000000000000000000000ffda0008010100013f217fffda00080101000000107fffc40014"
        "100100000000000000000000000000000000ffda0008010100013f107fffd9";
    const auto write = [this](const std::string& name, const std::string& digits) {
        std::ofstream file(folder_.path() + "/" + name, std::ios::binary);
        for (std::size_t at = 0; at < digits.size(); at += 2) {
            file << static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
        }
    };
    write("interlaced.png", kInterlacedPng);
    write("progressive.jpg", kProgressiveJpeg);
    const test::MediaServer server(folder_.path());
    open(server.address("/good/interlaced.png"));
    EXPECT_NE(items().find("image-type:4"), std::string::npos) << items();
    open(server.address("/good/progressive.jpg"));
    EXPECT_NE(items().find("image-type:1"), std::string::npos) << items();
}

TEST_F(WhatIsTold, FollowsTheTitlesOfARadioStation) {
    const test::MediaServer server(KETRA_TEST_MEDIA);
    open(server.address("/radio/song.aac"));
    EXPECT_EQ(player_.last().track.protocolInfo, "http-get:*:audio/aac:*");
    EXPECT_TRUE(waitForItem("title:First Song")) << items();
    EXPECT_TRUE(waitForItem("title:Second Song")) << items();
    EXPECT_EQ(player_.last().track.title, "Second Song");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

/// Bit rate and length of such a song are estimated anew all the time.
TEST_F(WhatIsTold, IsNotToldAgainForEveryEstimate) {
    const test::MediaServer server(KETRA_TEST_MEDIA);
    open(server.address("/good/song.mp3"));
    ASSERT_TRUE(player_.waitForState(player::PlayerState::kFinished)) << items();
    EXPECT_NE(items().find("bitrate:"), std::string::npos) << items();
    // Beside the six of the position.
    EXPECT_LE(player_.announced().size(), 16u);
    EXPECT_LE(changes(), 4);
}

/// A click each second, which is most of what such a song is.
TEST_F(WhatIsTold, IsNotToldAgainForABitRateThatVaries) {
    ASSERT_TRUE(
        test::runPipeline("audiotestsrc wave=ticks num-buffers=260 ! audioconvert ! flacenc "
                          "! filesink location=" +
                          folder_.path() + "/clicks.flac"));
    const test::MediaServer server(folder_.path());
    open(server.address("/good/clicks.flac"));
    ASSERT_TRUE(player_.waitForState(player::PlayerState::kFinished)) << items();
    EXPECT_NE(items().find("bitrate:"), std::string::npos) << items();
    EXPECT_LE(changes(), 4);
}

TEST_F(WhatIsTold, ReckonsTheLengthOfBareSamplesFromTheirSize) {
    const test::MediaServer server(KETRA_TEST_MEDIA);
    open(server.address("/good/song.L16"));
    EXPECT_EQ(player_.last().track.durationSec, 4u);
    // A machine that stands still leaves out a second, but no more than the whole song.
    ASSERT_TRUE(player_.waitUntil([this] {
        return player_.last().positionSec >= 1 && player_.last().state == PlayerState::kPlaying;
    }));
    const unsigned second = player_.last().positionSec;
    EXPECT_GE(player_.last().positionPercent, second * 25);
    EXPECT_LT(player_.last().positionPercent, (second + 1) * 25);
    open(server.address("/stream/song.L16"));
    EXPECT_EQ(player_.last().track.durationSec, 0u);
}

/// As many as would be heard for millions of years.
TEST_F(WhatIsTold, IsNoLengthThatBareSamplesCannotHave) {
    const test::MediaServer server(KETRA_TEST_MEDIA);
    open(server.address("/boasting/song.L16"));
    EXPECT_EQ(player_.last().state, PlayerState::kPlaying) << player_.log();
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec >= 1; }))
        << player_.states() << player_.log();
    for (const player::PlayerStatus& status : player_.announced()) {
        EXPECT_EQ(status.track.durationSec, 0u);
        EXPECT_EQ(status.positionPercent, 0u);
    }
    EXPECT_EQ(player_.last().supportedSeekModes, "");
    EXPECT_FALSE(player_->seek(1000));
}

/// A film is not called what one of its sound tracks is.
TEST_F(WhatIsTold, CallsAFilmWhatItsFileCallsIt) {
    ASSERT_TRUE(test::runPipeline(
        "videotestsrc num-buffers=50 ! video/x-raw,width=64,height=64 ! vp8enc deadline=1 "
        "! queue ! tags. audiotestsrc num-buffers=100 ! opusenc "
        "! taginject tags=\"title=\\\"Commentary\\\"\" ! queue ! tags. "
        "matroskamux name=tags ! filesink location=" +
            folder_.path() + "/film.mkv",
        [](GstTagSetter* tags) {
            gst_tag_setter_add_tags(tags, GST_TAG_MERGE_REPLACE, GST_TAG_TITLE, "The Film",
                                    nullptr);
        }));
    const test::MediaServer server(folder_.path());
    open(server.address("/good/film.mkv"));
    EXPECT_TRUE(waitForItem("title:The Film")) << items();
}

/// Recorders and browsers write so: how long it becomes is not known when it begins.
class AFilmWithoutALength : public WhatIsTold,
                            public testing::WithParamInterface<std::pair<const char*, unsigned>> {
protected:
    AFilmWithoutALength() : WhatIsTold(std::uint64_t{GetParam().second} << 20) {}

    /// Or a later one: a machine that stands still leaves out some.
    bool waitForSecond(unsigned second) {
        return player_.waitUntil([this, second] { return player_.last().positionSec >= second; });
    }

    test::MediaServer server_{KETRA_TEST_MEDIA};
    const std::string address_ = server_.address(std::string(GetParam().first) + "endless.webm");
};

TEST_P(AFilmWithoutALength, IsWhereItIs) {
    open(address_);
    ASSERT_TRUE(waitForSecond(2));
    EXPECT_EQ(player_.last().track.durationSec, 0u);
    EXPECT_EQ(player_.last().positionPercent, 0u);
    const bool movable = GetParam().first == std::string("/good/") && GetParam().second > 0;
    EXPECT_EQ(player_.last().supportedSeekModes.empty(), !movable);
    if (!movable) {
        EXPECT_FALSE(player_->seek(45000));
        EXPECT_EQ(player_.last().supportedSpeeds, "1");
        return;
    }
    ASSERT_TRUE(player_->seek(45000));
    EXPECT_TRUE(waitForSecond(45));
    EXPECT_EQ(player_.last().track.durationSec, 0u);
    ASSERT_TRUE(player_->setSpeed(*Speed::fromText("-8")));
    EXPECT_TRUE(player_.waitUntil([this] {
        return player_.last().speed.isBackward() && player_.last().positionSec < 43;
    })) << player_.log();
}

TEST_P(AFilmWithoutALength, IsAsLongAsItsDescriptionSays) {
    ASSERT_TRUE(player_.setMedia(
        address_, "<DIDL-Lite xmlns='urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/'><item>"
                  "<res duration='0:01:00' protocolInfo='http-get:*:video/webm:*'>" +
                      address_ + "</res></item></DIDL-Lite>"));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    ASSERT_TRUE(waitForSecond(1));
    EXPECT_EQ(player_.last().track.durationSec, 60u);
    EXPECT_EQ(player_.last().error, player::PlayerError::kNone) << player_.log();
}

INSTANTIATE_TEST_SUITE_P(FromAServer, AFilmWithoutALength,
                         testing::Values(std::pair("/good/", 1024U), std::pair("/good/", 0U),
                                         std::pair("/stream/", 1024U)),
                         [](const auto& one) {
                             return test::caseName(one.param.first) +
                                    (one.param.second > 0 ? "WithACopy" : "WithoutACopy");
                         });

} // namespace
