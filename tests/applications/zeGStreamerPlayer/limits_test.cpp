// Media that would take more than a player has to give.

#include <chrono>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerError;
using player::PlayerState;
using player::Speed;

class AMonster : public testing::Test {
protected:
    /// Serves `content` under a name and plays it; the error with which that ends.
    PlayerError errorOf(const std::string& name, const std::string& content) {
        std::ofstream(folder_.path() + "/" + name, std::ios::binary) << content;
        test::MediaServer server(folder_.path());
        EXPECT_TRUE(player_.setMedia(server.address("/good/" + name)));
        EXPECT_TRUE(player_->play(Speed()));
        EXPECT_TRUE(player_.waitUntil([this] { return player_.last().error != PlayerError::kNone; },
                                      test::seconds(10)))
            << player_.states();
        const PlayerError error = player_.last().error;
        EXPECT_EQ(player_.last().state, PlayerState::kStopped);
        // And the next media plays.
        EXPECT_TRUE(player_.setMedia(good_.address("/good/photo.png")));
        EXPECT_TRUE(player_->play(Speed()));
        EXPECT_TRUE(player_.waitForState(PlayerState::kFinished)) << player_.log();
        EXPECT_TRUE(test::isGreen(player_.screen().middle()));
        return error;
    }

    test::TemporaryFolder folder_;
    test::MediaServer good_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path()};
};

TEST_F(AMonster, OfFourGigapixelsNeverReachesADecoder) {
    // A JPEG with a thumbnail's worth of camera data in front of its size.
    std::string jpeg("\xFF\xD8\xFF\xE1\xF0\x02", 6);
    jpeg += std::string(0xF000, 'x');
    jpeg += std::string(
        "\xFF\xC0\x00\x11\x08\xFF\xFF\xFF\xFF\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01", 19);
    jpeg += std::string(100000, '\0');
    EXPECT_EQ(errorOf("huge.jpg", jpeg), PlayerError::kNoDecoder) << player_.log();
}

TEST_F(AMonster, ThatUnfoldsFromAFewBytesNeverReachesADecoder) {
    // 60000 by 60000 pixels; as many zeros compress to a few megabytes.
    std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\xEA\x60\0\0\xEA\x60\x08\2\0\0\0", 29);
    png += std::string(4, 'c') + std::string("\0\0\x40\0IDAT", 8) + std::string(0x4004, '\0');
    EXPECT_EQ(errorOf("bomb.png", png), PlayerError::kNoDecoder) << player_.log();
}

TEST_F(AMonster, ThatIsAListOfItselfIsNotFollowed) {
    test::MediaServer server(folder_.path());
    const PlayerError error =
        errorOf("list.m3u", "#EXTM3U\n" + server.address("/good/list.m3u") + "\n");
    EXPECT_TRUE(error == PlayerError::kUnknownFormat || error == PlayerError::kNoDecoder)
        << static_cast<int>(error);
}

TEST_F(AMonster, OfAnEmptyFileIsNoMedia) {
    EXPECT_EQ(errorOf("empty.bin", " "), PlayerError::kUnknownFormat) << player_.log();
}

} // namespace
