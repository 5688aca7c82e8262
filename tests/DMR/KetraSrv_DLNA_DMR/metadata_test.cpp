// Metadata and tracks: everything is cut out of the media-info string at the moment of the
// question.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/death.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"
#include "DMR/support/reports.h"

namespace {

using dmrtest::Calls;

const char kFolder[] = "DMR/src/KetraSrv_DLNA_DMR";
/// The separator between two items: U+E08A.
const std::string kSep = "\xEE\x82\x8A";

const auto kPhoto = E_MM_INTERFACE_MEDIA_PHOTO;
const auto kMusic = E_MM_INTERFACE_MEDIA_MUSIC;
const auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;

struct Answer {
    BOOL found;
    std::string text;
};
bool operator==(const Answer& left, const Answer& right) {
    return left.found == right.found && left.text == right.text;
}
void PrintTo(const Answer& answer, std::ostream* out) {
    *out << (answer.found ? "TRUE " : "FALSE ") << testing::PrintToString(answer.text);
}

class Metadata : public dmrtest::Renderer {
protected:
    Answer ask(int item) {
        std::string text = "untouched";
        const BOOL found = dmr().MediaPlayer_GetMetaData(static_cast<EN_INFO_METADATA>(item), text);
        return {found, text};
    }
    Answer ask(EN_MM_INTERFACE_MEDIA_TYPE type, int item) {
        std::string text = "untouched";
        const BOOL found = dmr().MM_Interface_GetMetaData(
            type, static_cast<EN_MM_INTERFACE_META_DATA>(item), text);
        return {found, text};
    }
    Answer askIn(const std::string& info, int item) {
        Access::mediaInfo(dmr()) = info;
        return ask(item);
    }
    void TearDown() override {
        EXPECT_EQ(printed(), "") << "queries are silent";
        EXPECT_EQ(calls(), Calls()) << "queries are answered without the bus";
        Renderer::TearDown();
    }
};

using AnItem = Metadata;
using AQueryByMediaType = Metadata;
using ATrackIndex = Metadata;
using AQueryByMediaTypeDeathTest = Metadata;
using ATrackIndexDeathTest = Metadata;

const struct {
    int item;
    const char* key;
} kCutItems[] = {{4, "title:"},
                 {5, "album:"},
                 {6, "artist:"},
                 {7, "sample-rate:"},
                 {8, "bitrate:"},
                 {9, "year:"},
                 {11, "video/image_width:"},
                 {12, "video/image_height:"},
                 {18, "video-codec:Video Codec "},
                 {19, "audio-codec:Audio Codec "},
                 {22, "nb-audio-track:"},
                 {23, "nb-program:"},
                 {41, "AudioChannel:"},
                 {44, "ImageYear:"},
                 {45, "ImageMonth:"},
                 {46, "ImageDate:"},
                 {47, "ImageHour:"},
                 {48, "ImageMinute:"},
                 {49, "ImageSecond:"}};

const Answer kAbsent = {FALSE, "---"};
const Answer kUnknown = {FALSE, "Unknown"};

TEST_F(AnItem, IsCutBetweenItsKeyAndTheNextSeparator) {
    for (const auto& row : kCutItems) {
        SCOPED_TRACE(row.key);
        const std::string key = row.key;
        EXPECT_EQ(askIn(key + "value", row.item), (Answer{TRUE, "value"}));
        EXPECT_EQ(askIn("a:b" + kSep + key + "value" + kSep + "c:d", row.item),
                  (Answer{TRUE, "value"}));
        EXPECT_EQ(askIn(key + kSep + "c:d", row.item), (Answer{TRUE, ""}));
        EXPECT_EQ(askIn(key, row.item), (Answer{TRUE, ""}));
        EXPECT_EQ(askIn(key + " a, b: c ", row.item), (Answer{TRUE, " a, b: c "}));
        EXPECT_EQ(askIn("", row.item), kAbsent);
        EXPECT_EQ(askIn(key.substr(0, key.size() - 1), row.item), kAbsent);
    }
}

TEST_F(AnItem, OfASongIsFoundBesideItsNeighbours) {
    Access::mediaInfo(dmr()) = "title:Song" + kSep + "album:Disc";
    EXPECT_EQ(ask(4), (Answer{TRUE, "Song"}));
    EXPECT_EQ(ask(5), (Answer{TRUE, "Disc"}));
    EXPECT_EQ(ask(6), kAbsent);
}

TEST_F(AnItem, IsTheFirstOccurrenceOfItsKeyWhereverThatStands) {
    EXPECT_EQ(askIn("artist:The year:1" + kSep + "year:1999", 9), (Answer{TRUE, "1"}));
    EXPECT_EQ(askIn("subtitle:x" + kSep + "title:y", 4), (Answer{TRUE, "x"}));
    EXPECT_EQ(askIn("title:a" + kSep + "title:b", 4), (Answer{TRUE, "a"}));
}

TEST_F(AnItem, IsFoundByItsKeyInTheRightCaseOnly) {
    EXPECT_EQ(askIn("ImageYear:2020", 9), kAbsent);
    EXPECT_EQ(askIn("year:1999", 44), kAbsent);
    EXPECT_EQ(askIn("Title:a", 4), kAbsent);
    EXPECT_EQ(askIn("video-codec:H264", 18), kAbsent) << "the key holds the words before the name";
}

TEST_F(AnItem, EndsAtTheWholeSeparatorOnly) {
    EXPECT_EQ(askIn("title:a\xEE\x82"
                    "b" +
                        kSep + "c",
                    4),
              (Answer{TRUE, "a\xEE\x82"
                            "b"}));
    EXPECT_EQ(askIn("title:a\xEE" + kSep, 4), (Answer{TRUE, "a\xEE"}));
    EXPECT_EQ(askIn("title:\x01\xFF\xC0", 4), (Answer{TRUE, "\x01\xFF\xC0"}));
}

TEST_F(AnItem, OfNumberFourteenIsAlwaysThreeDashesAndTrue) {
    EXPECT_EQ(askIn("", 14), (Answer{TRUE, "---"}));
    EXPECT_EQ(askIn("title:a", 14), (Answer{TRUE, "---"}));
    EXPECT_EQ(ask(kPhoto, 14), (Answer{TRUE, "---"}));
}

TEST_F(AnItem, WithoutARowIsUnknown) {
    Access::mediaInfo(dmr()) = "title:a" + kSep + "year:1";
    const int without[] = {3,  0,  -1, 50, 51, 1000, 10, 16, 17, 21, 24, 25, 26, 27,
                           28, 29, 30, 31, 32, 33,   34, 35, 36, 37, 38, 39, 40, 42};
    for (const int item : without) {
        EXPECT_EQ(ask(item), kUnknown) << item;
    }
}

TEST_F(AnItem, ThatIsAYesOrNoIsYesForExactlyOne) {
    for (const auto& [item, key] : {std::pair{20, "index-existed:"}, {43, "ImageHasDateTime:"}}) {
        const std::string begin = key;
        EXPECT_EQ(askIn(begin + "1", item), (Answer{TRUE, "Yes"}));
        EXPECT_EQ(askIn(begin + "1" + kSep + "x:0", item), (Answer{TRUE, "Yes"}));
        for (const char* other : {"0", "", "1 ", " 1", "11", "yes", "2"}) {
            EXPECT_EQ(askIn(begin + other, item), (Answer{TRUE, "No"})) << other;
        }
        EXPECT_EQ(askIn("", item), kAbsent);
    }
}

TEST_F(AnItem, ThatIsAPictureTypeIsNamed) {
    const struct {
        const char* value;
        const char* name;
    } rows[] = {{"0", "JPEG,Baseline"},
                {"1", "JPEG,Progressive"},
                {"2", "BMP"},
                {"3", "PNG,non-interlaced"},
                {"4", "PNG,interlaced"},
                {"5", "Unknown"},
                {"7", "Unknown"},
                {"-1", "Unknown"},
                {"abc", "JPEG,Baseline"},
                {"", "JPEG,Baseline"},
                {" 3", "PNG,non-interlaced"},
                {"+2", "BMP"},
                {"2nd", "BMP"},
                {"03", "PNG,non-interlaced"}};
    for (const auto& row : rows) {
        EXPECT_EQ(askIn("image-type:" + std::string(row.value), 13), (Answer{TRUE, row.name}))
            << row.value;
    }
    EXPECT_EQ(askIn("", 13), kAbsent);
}

TEST_F(AnItem, ThatIsAFrameRateGetsADecimalPointBeforeItsLastThreeCharacters) {
    const struct {
        const char* value;
        const char* answer;
    } rows[] = {{"25000", "25.000"}, {"29970", "29.970"},   {"23976", "23.976"}, {"500", "0.500"},
                {"7", "0.007"},      {"0", "0.000"},        {"", "0.000"},       {"1234", "1.234"},
                {"60000", "60.000"}, {"120000", "120.000"}, {"abcd", "a.bcd"},   {"-1", "0.0-1"}};
    for (const auto& row : rows) {
        EXPECT_EQ(askIn("frame-rate:" + std::string(row.value), 15), (Answer{TRUE, row.answer}))
            << row.value;
    }
    EXPECT_EQ(askIn("frame-rate:25000" + kSep + "x:1", 15), (Answer{TRUE, "25.000"}));
    EXPECT_EQ(askIn("", 15), kAbsent);
}

TEST_F(AnItem, IsAnsweredFromTheTextAsItStandsAtThatMoment) {
    EXPECT_EQ(ask(4), kAbsent);
    Access::playerState(dmr()) = 4;
    Access::trickMode(dmr()) = 0;
    report(dmrtest::PlayerReport(4).info("MetadataStr=title:one"));
    EXPECT_EQ(ask(4), (Answer{TRUE, "one"}));
    report(dmrtest::PlayerReport(4).info("MetadataStr=title:two"));
    EXPECT_EQ(ask(4), (Answer{TRUE, "two"}));
    report(dmrtest::PlayerReport(1));
    EXPECT_EQ(ask(4), (Answer{TRUE, "two"})) << "until the next media's first text";
    printed();
    calls();
}

// By media type

TEST_F(AQueryByMediaType, AnswersTheItemsOfItsTypeAndLeavesTheTextAloneForOthers) {
    const struct {
        EN_MM_INTERFACE_MEDIA_TYPE type;
        std::string allowed;
    } rows[] = {{kPhoto, " 11 12 13 14 43 44 45 46 47 48 49 "},
                {kMusic, " 4 5 6 7 8 9 41 "},
                {kMovie, " 11 12 15 18 19 20 22 23 41 "}};
    Access::mediaInfo(dmr()) =
        "title:t" + kSep + "album:al" + kSep + "artist:ar" + kSep + "sample-rate:44100" + kSep +
        "bitrate:128" + kSep + "year:1999" + kSep + "video/image_width:640" + kSep +
        "video/image_height:480" + kSep + "image-type:2" + kSep + "frame-rate:25000" + kSep +
        "video-codec:Video Codec V" + kSep + "audio-codec:Audio Codec A" + kSep +
        "index-existed:1" + kSep + "nb-audio-track:2" + kSep + "nb-program:3" + kSep +
        "AudioChannel:stereo" + kSep + "ImageHasDateTime:0" + kSep + "ImageYear:2020" + kSep +
        "ImageMonth:12" + kSep + "ImageDate:31" + kSep + "ImageHour:23" + kSep + "ImageMinute:59" +
        kSep + "ImageSecond:58";
    for (const auto& row : rows) {
        for (int item = -1; item <= 51; ++item) {
            SCOPED_TRACE(testing::Message() << "type " << row.type << " item " << item);
            const bool allowed =
                row.allowed.find(" " + std::to_string(item) + " ") != std::string::npos;
            const Answer answer = ask(row.type, item);
            if (allowed) {
                EXPECT_EQ(answer, ask(item));
                EXPECT_EQ(answer.found, TRUE);
            } else {
                EXPECT_EQ(answer, (Answer{FALSE, "untouched"}));
            }
        }
    }
}

TEST_F(AQueryByMediaType, OverwritesTheTextForAnAllowedItemThatIsAbsent) {
    EXPECT_EQ(ask(kMusic, 4), kAbsent);
    EXPECT_EQ(ask(kMovie, 11), kAbsent);
    EXPECT_EQ(ask(kPhoto, 44), kAbsent);
}

TEST_F(AQueryByMediaType, OfMusicHasNoPictureWidth) {
    Access::mediaInfo(dmr()) = "video/image_width:640";
    EXPECT_EQ(ask(kMusic, 11), (Answer{FALSE, "untouched"}));
    EXPECT_EQ(ask(kMovie, 11), (Answer{TRUE, "640"}));
}

TEST_F(AQueryByMediaTypeDeathTest, OfAnotherTypeIsAProgrammingError) {
    for (const int bad : {3, -1, 1000}) {
        EXPECT_ABORTS(ask(static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(bad), 4),
                      "[func:MM_Interface_GetMetaData] Error: e_MM_Interface_MediaType=" +
                          std::to_string(bad) + "\n" +
                          dmrtest::assertion(
                              kFolder, "virtual BOOL KetraSrv_DLNADMR::MM_Interface_GetMetaData("
                                       "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_META_DATA, "
                                       "std::string&)"));
    }
}

// Track indices

TEST_F(ATrackIndex, IsTheNumberBehindItsKey) {
    const struct {
        const char* value;
        U32 index;
    } rows[] = {{"2", 2},
                {"0", 0},
                {"-1", 0xFFFFFFFFu},
                {"", 0},
                {"abc", 0},
                {" 7x", 7},
                {"+3", 3},
                {"2147483647", 2147483647u},
                {"99999999999", 2147483647u},
                {"-99999999999", 2147483648u}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        Access::mediaInfo(dmr()) = "VideoTrackID:" + std::string(row.value);
        EXPECT_EQ(dmr().MediaPlayer_GetChannelIndex(), row.index);
        EXPECT_EQ(dmr().MM_Interface_GetVideoChannelIndex(kMovie), row.index);
        EXPECT_EQ(dmr().MediaPlayer_GetAudioTrackIndex(), 0xFFFFFFFFu);
        Access::mediaInfo(dmr()) = "x:1" + kSep + "AudioTrackID:" + row.value + kSep + "y:9";
        EXPECT_EQ(dmr().MediaPlayer_GetAudioTrackIndex(), row.index);
        EXPECT_EQ(dmr().MM_Interface_GetAudioTrackIndex(kMovie), row.index);
        EXPECT_EQ(dmr().MediaPlayer_GetChannelIndex(), 0xFFFFFFFFu);
    }
}

TEST_F(ATrackIndex, IsAllBitsSetWithoutItsKey) {
    EXPECT_EQ(dmr().MediaPlayer_GetChannelIndex(), 0xFFFFFFFFu);
    EXPECT_EQ(dmr().MediaPlayer_GetAudioTrackIndex(), 0xFFFFFFFFu);
    EXPECT_EQ(dmr().MM_Interface_GetVideoChannelIndex(kMovie), 0xFFFFFFFFu);
    EXPECT_EQ(dmr().MM_Interface_GetAudioTrackIndex(kMovie), 0xFFFFFFFFu);
}

TEST_F(ATrackIndex, OfSubtitlesIsAllBitsSetAlways) {
    Access::mediaInfo(dmr()) = "SubtitleTrackID:1";
    EXPECT_EQ(dmr().MM_Interface_GetSubtitleTrackIndex(kMovie), 0xFFFFFFFFu);
}

TEST_F(ATrackIndexDeathTest, OfAnythingButAMovieIsAProgrammingErrorWithoutAReport) {
    const std::string begin = "virtual U32 KetraSrv_DLNADMR::";
    const std::string end = "(EN_MM_INTERFACE_MEDIA_TYPE)";
    for (const int bad : {0, 1, 3, -1}) {
        const auto type = static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(bad);
        EXPECT_ABORTS(
            dmr().MM_Interface_GetVideoChannelIndex(type),
            dmrtest::assertion(kFolder, begin + "MM_Interface_GetVideoChannelIndex" + end));
        EXPECT_ABORTS(dmr().MM_Interface_GetAudioTrackIndex(type),
                      dmrtest::assertion(kFolder, begin + "MM_Interface_GetAudioTrackIndex" + end));
        EXPECT_ABORTS(
            dmr().MM_Interface_GetSubtitleTrackIndex(type),
            dmrtest::assertion(kFolder, begin + "MM_Interface_GetSubtitleTrackIndex" + end));
    }
}

} // namespace
