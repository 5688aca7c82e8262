// Media that would take more than a player has to give.

#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerError;
using player::PlayerState;
using player::Speed;

/// A sanitizer takes memory of its own, and keeps what was given back.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kPlainMemory = false;
#else
constexpr bool kPlainMemory = true;
#endif

/// What the system says of this process's memory, in bytes.
std::size_t memory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t kilobytes = 0;
    while (status >> word && word != name) {
    }
    status >> kilobytes;
    return kilobytes << 10;
}

/// How much memory this process takes at most while something happens.
class Peak {
public:
    Peak() : before_(memory("VmRSS:")) {
        std::ofstream("/proc/self/clear_refs") << "5"; // the highest is the present one from now on
    }

    std::size_t bytes() const { return memory("VmHWM:") - before_; }

private:
    std::size_t before_;
};

class AMonster : public testing::Test {
protected:
    /// Serves `content` under a name, in a manner of the server's, and plays it; the error with
    /// which that ends.
    PlayerError errorOf(const std::string& name, const std::string& content,
                        const std::string& manner = "good") {
        std::ofstream(folder_.path() + "/" + name, std::ios::binary) << content;
        test::MediaServer server(folder_.path());
        EXPECT_TRUE(player_.setMedia(server.address("/" + manner + "/" + name)));
        EXPECT_TRUE(player_->play(Speed()));
        EXPECT_TRUE(player_.waitUntil([this] { return player_.last().error != PlayerError::kNone; },
                                      test::seconds(60)))
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

TEST_F(AMonster, ThatIsAnAnimationNeverReachesADecoder) {
    const std::string gif = "GIF89a\xEA\x60\xEA\x60" + std::string(100000, '\0');
    EXPECT_EQ(errorOf("huge.gif", gif), PlayerError::kNoDecoder) << player_.log();
}

TEST_F(AMonster, ThatIsHalfAnAnimationIsDamaged) {
    std::ifstream file(KETRA_TEST_MEDIA "/photo.gif", std::ios::binary);
    const std::string gif{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(errorOf("half.gif", gif.substr(0, gif.size() / 4)), PlayerError::kDamagedMedia)
        << player_.log();
}

TEST_F(AMonster, ThatIsPackedIsNotUnpacked) {
    const std::string packed =
        std::string("\x1f\x8b\x08\0\0\0\0\0\2\xff", 10) + std::string(100000, '\x5a');
    EXPECT_EQ(errorOf("film.gz", packed), PlayerError::kNoDecoder) << player_.log();
}

TEST_F(AMonster, ThatIsAListOfItselfIsNotFollowed) {
    test::MediaServer server(folder_.path());
    const std::string list = "#EXTM3U\n" + server.address("/good/list.m3u") + "\n";
    EXPECT_EQ(errorOf("list.m3u", list), PlayerError::kNoDecoder) << player_.log();
}

/// The test's song with this frame of a tag in front of it.
std::string songWith(const char* name, const std::string& content) {
    std::ifstream file(KETRA_TEST_MEDIA "/song.mp3", std::ios::binary);
    std::string song{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const auto sizeAt = [](const std::string& tag, std::size_t at) {
        std::size_t size = 0;
        for (std::size_t index = 0; index < 4; ++index) {
            size = size << 7 | static_cast<unsigned char>(tag.at(at + index));
        }
        return size;
    };
    song.erase(0, 10 + sizeAt(song, 6)); // the tag that it has
    const auto bigEndian = [](std::size_t number, unsigned bits) {
        std::string bytes;
        for (unsigned index = 4; index-- > 0;) {
            bytes += static_cast<char>(number >> (index * bits) & ((1U << bits) - 1));
        }
        return bytes;
    };
    const std::string frame = name + bigEndian(content.size(), 7) + std::string(2, '\0') + content;
    return std::string("ID3\4\0\0", 6) + bigEndian(frame.size(), 7) + frame + song;
}

TEST_F(AMonster, IsNotMadeByAnEndlessTitle) {
    std::string title = "x";
    while (title.size() < 300000) {
        title += "\xE2\x99\xAB";
    }
    std::ofstream(folder_.path() + "/song.mp3", std::ios::binary)
        << songWith("TIT2", "\3" + title); // 3: UTF-8
    test::MediaServer server(folder_.path());
    ASSERT_TRUE(player_.setMedia(server.address("/good/song.mp3")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    const std::string& shown = player_.last().track.title;
    EXPECT_EQ(shown, title.substr(0, 1 + (4096 - 1) / 3 * 3)) << shown.size();
}

/// Its tag alone is larger than most songs, its cover no cover any more.
TEST_F(AMonster, IsNotMadeByAnEndlessCover) {
    constexpr std::size_t kSize = 32 << 20;
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.snapshotDir = folder_.path();
    test::RecordedPlayer player(folder_.path(), settings);
    const std::string cover =
        std::string("\0image/jpeg\0\3\0\xFF\xD8\xFF", 17) + std::string(kSize, 'x');
    std::ofstream(folder_.path() + "/song.mp3", std::ios::binary) << songWith("APIC", cover);
    test::MediaServer server(folder_.path());
    const Peak peak;
    ASSERT_TRUE(player.setMedia(server.address("/good/song.mp3")));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitForState(PlayerState::kPlaying)) << player.log();
    EXPECT_EQ(player.last().albumArtUri, "");
    if (kPlainMemory) {
        EXPECT_LT(peak.bytes(), 4 * kSize);
    }
}

/// Pictures of one pixel on a large screen: each of them shown whole would be 36 megabytes.
TEST_F(AMonster, OfManyPicturesIsShownOneByOne) {
    constexpr std::size_t kPictures = 20000;
    std::string gif("GIF89a\xB8\x0B\xB8\x0B\x80\0\0\0\xFF\0\0\xFF\0", 19);
    for (std::size_t index = 0; index < kPictures; ++index) {
        gif += std::string("\x21\xF9\4\4\2\0\0\0\x2C\0\0\0\0\1\0\1\0\0\2\2\x44\1\0", 23);
    }
    gif += ";";
    std::ofstream(folder_.path() + "/many.gif", std::ios::binary) << gif;
    test::MediaServer server(folder_.path());
    const Peak peak;
    ASSERT_TRUE(player_.setMedia(server.address("/good/many.gif")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kFinished)) << player_.log();
    if (kPlainMemory) {
        EXPECT_LT(peak.bytes(), std::size_t{256} << 20);
    }
}

std::string packed(const std::string& content) {
    std::string result(content.size() + 1000, '\0');
    GZlibCompressor* const packer = g_zlib_compressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP, -1);
    gsize read = 0;
    gsize written = 0;
    EXPECT_EQ(g_converter_convert(G_CONVERTER(packer), content.data(), content.size(),
                                  result.data(), result.size(), G_CONVERTER_INPUT_AT_END, &read,
                                  &written, nullptr),
              G_CONVERTER_FINISHED);
    g_object_unref(packer);
    result.resize(written);
    return result;
}

/// Nobody asked for that; what would unfold without end never does.
TEST_F(AMonster, ThatItsServerPackedIsNotUnpacked) {
    std::ifstream file(KETRA_TEST_MEDIA "/photo.png", std::ios::binary);
    const std::string photo{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(errorOf("photo.png", packed(photo), "packed"), PlayerError::kUnknownFormat)
        << player_.log();
}

TEST_F(AMonster, ThatItsServerPackedDoesNotFollowASong) {
    std::ifstream file(KETRA_TEST_MEDIA "/song.wav", std::ios::binary);
    const std::string song{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::ofstream(folder_.path() + "/song.wav", std::ios::binary) << song;
    std::ofstream(folder_.path() + "/packed.wav", std::ios::binary) << packed(song);
    test::MediaServer server(folder_.path());
    ASSERT_TRUE(player_.setMedia(server.address("/good/song.wav")));
    ASSERT_TRUE(player_->play(Speed()));
    std::string complaints;
    ASSERT_TRUE(player_->setNext(
        player::makePlayRequest(server.address("/packed/packed.wav"), "", "", "", &complaints)));
    ASSERT_TRUE(player_.waitUntil([this] {
        return player_.last().state == PlayerState::kFinished && player_.last().trackCount == 1;
    })) << player_.log();
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED");
    EXPECT_EQ(player_.last().track.uri, server.address("/good/song.wav"));
}

TEST_F(AMonster, OfAnEmptyFileIsNoMedia) {
    EXPECT_EQ(errorOf("empty.bin", " "), PlayerError::kUnknownFormat) << player_.log();
}

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

/// A heap in which little is left, here and there.
class Gaps {
public:
    static constexpr std::size_t kBytes = 64 << 20;

    Gaps() {
        for (std::size_t index = 0; index < kBytes / kBlock; ++index) {
            auto block = std::make_unique<Block>();
            block->fill('x');
            (index % 64 == 0 ? left_ : gone_).push_back(std::move(block));
        }
        gone_.clear();
    }

private:
    static constexpr std::size_t kBlock = 4096;
    using Block = std::array<char, kBlock>;
    std::vector<std::unique_ptr<Block>> left_;
    std::vector<std::unique_ptr<Block>> gone_;
};

TEST(ThePlayerAtRest, HoldsNoGaps) {
    const test::TemporaryFolder folder;
    const test::MediaServer server(KETRA_TEST_MEDIA);
    test::RecordedPlayer player(folder.path());
    ASSERT_TRUE(player.setMedia(server.address("/good/photo.png")));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitForState(PlayerState::kFinished)) << player.log();
    const Gaps gaps;
    const std::size_t before = memory("VmRSS:");
    player->stop();
    EXPECT_TRUE(player.waitUntil([before] { return memory("VmRSS:") < before - Gaps::kBytes / 2; }))
        << before << ", now " << memory("VmRSS:");
}

#endif

} // namespace
