// What a media server says that it can do, well and badly.

#include <string>

#include <gtest/gtest.h>

#include "metadata/dlna_features.h"

namespace {

using namespace player;

/// Which kinds of moves a server offers: "time", "bytes", both or "".
std::string moves(const std::string& additional) {
    const DlnaFeatures features = dlnaFeaturesIn(additional);
    return std::string(features.timeSeek ? "time" : "") + (features.byteSeek ? "bytes" : "");
}

std::string speeds(const std::string& additional) {
    std::string texts;
    for (const Speed speed : dlnaFeaturesIn(additional).speeds) {
        texts += (texts.empty() ? "" : " ") + std::string(speed.text());
    }
    return texts;
}

/// "FROM/WHOLE" in milliseconds; "" when the answer says no time.
std::string range(const std::string& answer) {
    const auto range = timeSeekRangeIn(answer);
    return range ? std::to_string(range->fromMs) + "/" + std::to_string(range->wholeMs) : "";
}

std::string flags(const std::string& primary) {
    return "DLNA.ORG_FLAGS=" + primary + "000000000000000000000000";
}

TEST(AServersOperations, AreTimeAndBytes) {
    EXPECT_EQ(moves("DLNA.ORG_OP=00"), "");
    EXPECT_EQ(moves("DLNA.ORG_OP=01"), "bytes");
    EXPECT_EQ(moves("DLNA.ORG_OP=10"), "time");
    EXPECT_EQ(moves("DLNA.ORG_OP=11"), "timebytes");
}

TEST(AServersOperations, AreFoundWhereverTheyStand) {
    EXPECT_EQ(moves("http-get:*:video/mp4:DLNA.ORG_OP=10"), "time");
    EXPECT_EQ(moves("DLNA.ORG_PN=MPEG_TS_SD_EU_ISO;DLNA.ORG_OP=10;DLNA.ORG_CI=1"), "time");
    EXPECT_EQ(moves("DLNA.ORG_PN=MPEG_TS_SD_EU_ISO; DLNA.ORG_OP=10"), "time");
    EXPECT_EQ(moves("DLNA.ORG_OPS=11;DLNA.ORG_OP=10"), "time");
    EXPECT_EQ(moves("X-DLNA.ORG_OP=11"), "");
}

TEST(AServersOperations, ThatMakeNoSenseAreNone) {
    for (const char* text :
         {"", "*", "DLNA.ORG_OP", "DLNA.ORG_OP=", "DLNA.ORG_OP=1", "DLNA.ORG_OP=111",
          "DLNA.ORG_OP=1x", "DLNA.ORG_OP=21", "DLNA.ORG_OP;=11", "DLNA.ORG_OP=;11", ";;=="}) {
        EXPECT_EQ(moves(text), "") << text;
    }
}

TEST(AServersFlags, OfferLimitedMovesAndTellOfGrowth) {
    EXPECT_EQ(moves(flags("40000000")), "time");
    EXPECT_EQ(moves(flags("20000000")), "bytes");
    EXPECT_EQ(moves(flags("01700000")), "");
    EXPECT_TRUE(dlnaFeaturesIn(flags("08000000")).growing);
    EXPECT_TRUE(dlnaFeaturesIn(flags("04000000")).growing);
    EXPECT_FALSE(dlnaFeaturesIn(flags("F3FFFFFF")).growing);
    EXPECT_EQ(moves(flags("f3ffffff")), "timebytes");
}

TEST(AServersFlags, AreReadAtEveryLength) {
    const std::string digits(40, 'F');
    for (std::size_t length = 0; length <= digits.size(); ++length) {
        const std::string text = "DLNA.ORG_FLAGS=" + digits.substr(0, length);
        EXPECT_EQ(moves(text), length < 8 ? "" : "timebytes") << length;
        EXPECT_EQ(dlnaFeaturesIn(text).growing, length >= 8) << length;
    }
    for (const char* primary : {"4000000x", "x4000000", " 4000000", "-4000000", "0x400000"}) {
        EXPECT_EQ(moves(flags(primary)), "") << primary;
        EXPECT_FALSE(dlnaFeaturesIn(flags(primary)).growing) << primary;
    }
}

TEST(AServersSpeeds, AreThoseThatThePlayerKnows) {
    EXPECT_EQ(speeds("DLNA.ORG_PS=2,-2,1/2"), "2 -2 1/2");
    EXPECT_EQ(speeds("DLNA.ORG_OP=10;DLNA.ORG_PS=8;DLNA.ORG_CI=1"), "8");
    EXPECT_EQ(speeds("DLNA.ORG_PS=1,2,2,3,64,fast,,4"), "2 4"); // without the normal one, each once
    EXPECT_EQ(speeds("DLNA.ORG_PS=2\\,4"), "2 4");              // as in a list of protocol infos
    for (const char* text : {"", "DLNA.ORG_PS", "DLNA.ORG_PS=", "DLNA.ORG_PS=,", "DLNA.ORG_PS=1",
                             "DLNA.ORG_PS=\\", "DLNA.ORG_PS=1/0"}) {
        EXPECT_EQ(speeds(text), "") << text;
    }
}

TEST(ATimeSeekRange, SaysWhereThePartBeginsAndHowLongTheWholeIs) {
    EXPECT_EQ(range("npt=335.11-336.08/40445.4"), "335110/40445400");
    EXPECT_EQ(range("npt=0:05:35.11-0:05:37/1:00:00.5 bytes=1539686400-1540210688/304857907200"),
              "335110/3600500");
    EXPECT_EQ(range("npt=20-"), "20000/-1");
    EXPECT_EQ(range("npt=20-40/*"), "20000/-1");
    EXPECT_EQ(range("npt=1.23456789-/40"), "1234/40000");
    EXPECT_EQ(range("npt=20-40/10"), "20000/-1"); // of no such whole
}

TEST(ATimeSeekRange, ThatSaysNoTimeIsNone) {
    for (const char* text : {"", "bytes=0-1/2", "npt=", "npt=-", "npt=20", "npt=now-", "npt=-5-",
                             "npt=0:60:00-", "npt=99999999999999999999-", "npt=99999999999-",
                             "npt=9999999999:00:00-", "npt=1:2:3:4-"}) {
        EXPECT_EQ(range(text), "") << text;
    }
}

TEST(ARequest, IsForATimeAndASpeed) {
    EXPECT_EQ(timeSeekRequest(0), "npt=0.000-");
    EXPECT_EQ(timeSeekRequest(335011), "npt=335.011-");
    EXPECT_EQ(playSpeedText(*Speed::fromText("-8")), "speed=-8");
    EXPECT_EQ(playSpeedText(*Speed::fromText("1/2")), "speed=1/2");
}

} // namespace
