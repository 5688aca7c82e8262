// How servers behave, well and badly, and what the player makes of it.

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/colours.h"
#include "support/media_server.h"
#include "support/patience.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerError;
using player::PlayerState;
using player::Speed;
using test::isGreen;
using test::isRed;
using test::seconds;

class AServer : public testing::Test {
protected:
    void play(const std::string& uri, const std::string& didl = "") {
        ASSERT_TRUE(player_.setMedia(uri, didl));
        ASSERT_TRUE(player_->play(Speed()));
    }

    void expectPlaying(const std::string& uri) {
        play(uri);
        EXPECT_TRUE(player_.waitForState(PlayerState::kPlaying)) << uri << "\n" << player_.log();
        EXPECT_EQ(player_.last().track.protocolInfo, "http-get:*:video/mp4:*") << uri;
        EXPECT_TRUE(isRed(player_.screen().middle())) << uri;
    }

    /// A media plays, from its beginning to its end and no other way.
    void expectToPlayInOrder(const std::string& path) {
        play(server_.address(path));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().state == PlayerState::kPlaying ||
                   player_.last().error != PlayerError::kNone;
        }));
        EXPECT_EQ(player_.last().error, PlayerError::kNone) << player_.log();
        EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
        EXPECT_EQ(player_.last().supportedSpeeds, "1") << "it cannot be moved";
    }

    /// The error with which a media ends; the next one plays.
    PlayerError errorOf(const std::string& uri) {
        const std::size_t before = player_.announced().size();
        play(uri);
        EXPECT_TRUE(player_.waitUntil([this] {
            return player_.last().error != PlayerError::kNone;
        })) << uri
            << " " << player_.states();
        const PlayerError error = player_.last().error;
        EXPECT_EQ(player_.last().state, PlayerState::kStopped);
        EXPECT_FALSE(player_.last().buffering);
        EXPECT_NE(player::kindNamedIn(player_.last().track.protocolInfo),
                  player::MediaKind::kUnknown);
        bool loading = false;
        for (std::size_t index = before; index < player_.announced().size(); ++index) {
            loading = loading || player_.announced().at(index).state == PlayerState::kLoading;
        }
        EXPECT_TRUE(loading) << uri;
        expectPlaying(server_.address("/good/film.mp4"));
        return error;
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path(), [this] {
                                     player::Settings settings =
                                         test::RecordedPlayer::plainSettings(folder_.path());
                                     settings.patience = test::kPatience;
                                     return settings;
                                 }()};
};

TEST_F(AServer, ThatFailsHasItsErrorAndTheNextMediaPlays) {
    struct Fault {
        const char* path;
        PlayerError error;
    };
    for (const Fault& fault : {
             Fault{"/good/nothing.mp4", PlayerError::kNotFound},
             Fault{"/status/410", PlayerError::kNotFound},
             Fault{"/status/403", PlayerError::kRefused},
             Fault{"/status/401", PlayerError::kRefused},
             Fault{"/status/500", PlayerError::kServerFailed},
             Fault{"/status/503", PlayerError::kServerFailed},
             Fault{"/to?file:///etc/hostname", PlayerError::kUnsupportedAddress},
             Fault{"/to?ftp://127.0.0.1/film.mp4", PlayerError::kUnsupportedAddress},
             Fault{"/to?/status/404", PlayerError::kNotFound},
             Fault{"/round", PlayerError::kServerFailed},
             Fault{"/text/film.mp4", PlayerError::kUnknownFormat},
             Fault{"/short/film.mp4", PlayerError::kDamagedMedia},
             Fault{"/cut/film.mp4", PlayerError::kDamagedMedia},
             Fault{"/less/film.mp4", PlayerError::kDamagedMedia},
             Fault{"/more/film.mp4", PlayerError::kDamagedMedia},
         }) {
        EXPECT_EQ(errorOf(server_.address(fault.path)), fault.error) << fault.path << "\n"
                                                                     << player_.log();
    }
}

TEST_F(AServer, ThatIsNotThereIsReported) {
    for (const char* const uri :
         {"http://127.0.0.1:1/film.mp4", "http://no-such-host.invalid/film.mp4"}) {
        EXPECT_EQ(errorOf(uri), PlayerError::kUnreachable) << player_.log();
    }
}

TEST_F(AServer, MaySendThePlayerOnAndMistakeTheType) {
    for (const char* const path : {"/to?/good/film.mp4", "/mistaken/film.mp4"}) {
        expectPlaying(server_.address(path));
    }
}

TEST_F(AServer, ThatNeverAnswersIsGivenUp) {
    EXPECT_EQ(errorOf(server_.address("/silent")), PlayerError::kUnreachable) << player_.log();
}

TEST_F(AServer, ThatStallsIsWaitedForWhileTheMediaBuffersAndGivenUp) {
    EXPECT_EQ(errorOf(server_.address("/stall/film.mp4")), PlayerError::kUnreachable)
        << player_.log();
    bool buffered = false;
    for (const player::PlayerStatus& status : player_.announced()) {
        buffered = buffered || status.buffering;
    }
    EXPECT_TRUE(buffered);
}

TEST_F(AServer, ThatIsSlowIsWaitedFor) {
    const auto began = std::chrono::steady_clock::now();
    play(server_.address("/slow/photo.jpg"));
    ASSERT_TRUE(player_.waitUntil([this] {
        return player_.last().state == PlayerState::kFinished ||
               player_.last().error != PlayerError::kNone;
    }));
    EXPECT_EQ(player_.last().error, PlayerError::kNone) << player_.log();
    EXPECT_GT(std::chrono::steady_clock::now() - began, test::kPatience);
}

// The reader of this file asks for its last bytes before they have arrived.
TEST_F(AServer, ThatSendsNoPartsIsAskedForTheWholeOnceMore) {
    expectToPlayInOrder("/slow/song.wav");
}

TEST_F(AServer, ThatRefusesEveryPartIsAskedForTheWholeOnceMore) {
    expectToPlayInOrder("/refusing/song.wav");
}

/// It can send parts, so its media is not played from the beginning once more.
TEST_F(AServer, WhoseFileShrinksIsNoneThatRefusesEveryPart) {
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.downloadLimitBytes = 100000; // the film does not fit: each move asks for a part
    test::RecordedPlayer player(folder_.path(), settings);
    ASSERT_TRUE(player.setMedia(server_.address("/shrinking/counted.mp4")));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitForState(PlayerState::kPlaying)) << player.log();
    ASSERT_TRUE(player->seek(15000));
    ASSERT_TRUE(player.waitUntil([&player] { return player.last().positionSec >= 15; }));
    server_.shrink();
    ASSERT_TRUE(player->seek(30000));
    ASSERT_TRUE(player.waitUntil([&player] {
        return player.last().error != PlayerError::kNone || player.last().positionSec < 15;
    })) << player.states();
    EXPECT_EQ(player.last().error, PlayerError::kDamagedMedia) << player.log();
    EXPECT_EQ(player.states(), "STOPPED LOADING PLAYING STOPPED");
}

TEST_F(AServer, ThatDoesNotSayHowLargeATransportStreamIsLeavesItsLengthOpen) {
    for (const char* const manner : {"/stream/", "/chunked/"}) {
        play(server_.address(manner + std::string("counted.ts")));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().positionSec > 0 || player_.last().error != PlayerError::kNone;
        }));
        EXPECT_EQ(player_.last().error, PlayerError::kNone) << player_.log();
        EXPECT_EQ(player_.last().track.durationSec, 0u) << manner;
        EXPECT_EQ(player_.last().positionPercent, 0u) << manner;
    }
}

TEST_F(AServer, ThatHangsUpOnceIsAskedForTheRest) {
    play(server_.address("/interrupted/clip.mp4"));
    ASSERT_TRUE(player_.waitUntil([this] {
        return player_.last().state == PlayerState::kFinished ||
               player_.last().error != PlayerError::kNone;
    }));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED") << player_.log();
    EXPECT_TRUE(server_.interrupted());
}

/// A slow server that states a length and answers no Range.
TEST_F(AServer, WithoutRangeIsPlayedThoughTheDemuxerWouldLookElsewhere) {
    for (const char* const file : {"counted.ts", "counted.avi"}) {
        play(server_.address(std::string("/slow/") + file));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().positionSec > 0 || player_.last().error != PlayerError::kNone;
        }));
        EXPECT_EQ(player_.last().error, PlayerError::kNone) << player_.log();
        EXPECT_EQ(player_.last().supportedSpeeds, "1") << file;
        EXPECT_EQ(player_.last().supportedSeekModes, "") << file;
        EXPECT_FALSE(player_->seek(1000));
        EXPECT_FALSE(player_->play(*Speed::fromText("2")));
    }
}

TEST_F(AServer, WithoutRangeHasItsMediaMovedOnceAllOfItIsThere) {
    play(server_.address("/slow/counted.mp4"));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    EXPECT_EQ(player_.last().supportedSpeeds, "1");
    EXPECT_EQ(player_.last().supportedSeekModes, "");
    EXPECT_FALSE(player_->seek(30000));
    ASSERT_TRUE(
        player_.waitUntil([this] { return player_.last().supportedSeekModes != ""; }, seconds(20)));
    EXPECT_NE(player_.last().supportedSpeeds, "1");
    EXPECT_TRUE(player_->seek(30000));
    EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec >= 30; }));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

/// The film's index stands at its end: there is nothing to show before all of it has come.
TEST_F(AServer, WithoutRangeIsWaitedForUntilTheIndexAtTheEndHasCome) {
    for (const char* const manner : {"/whole/", "/slow/"}) {
        play(server_.address(manner + std::string("large.mp4")));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().positionSec > 0 || player_.last().error != PlayerError::kNone;
        }));
        EXPECT_EQ(player_.last().error, PlayerError::kNone) << manner << player_.log();
        EXPECT_EQ(player_.last().track.durationSec, 10u) << manner;
        ASSERT_TRUE(player_.waitUntil([this] { return player_.last().supportedSeekModes != ""; }))
            << manner;
        EXPECT_TRUE(player_->seek(8000)) << manner;
        EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec >= 8; }));
        ASSERT_TRUE(player_->stop());
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING STOPPED LOADING PLAYING STOPPED");
}

TEST_F(AServer, WithoutRangeThatFallsSilentBeforeTheIndexIsGivenUp) {
    EXPECT_EQ(errorOf(server_.address("/hushed/large.mp4")), PlayerError::kUnreachable)
        << player_.log();
}

TEST_F(AServer, WithoutRangeIsLeftWhileTheIndexIsWaitedFor) {
    play(server_.address("/hushed/large.mp4"));
    ASSERT_TRUE(player_.waitUntil([this] {
        return player_.last().state == PlayerState::kLoading &&
               server_.timesAsked("/hushed/large.mp4") == 3;
    }));
    ASSERT_TRUE(player_->stop());
    expectPlaying(server_.address("/good/film.mp4"));
    EXPECT_EQ(player_.last().error, PlayerError::kNone);
    EXPECT_EQ(player_.states(), "STOPPED LOADING STOPPED LOADING PLAYING") << player_.log();
    EXPECT_EQ(server_.timesAsked("/hushed/large.mp4"), 3);
}

/// Nothing is wrong with the film.
TEST_F(AServer, WithoutRangeCannotHaveTheIndexAtTheEndReadWithoutACopy) {
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.downloadLimitBytes = 100000;
    test::RecordedPlayer player(folder_.path(), settings);
    for (const char* const manner : {"/whole/", "/chunked/", "/stream/"}) {
        ASSERT_TRUE(player.setMedia(server_.address(manner + std::string("large.mp4"))));
        ASSERT_TRUE(player->play(Speed()));
        ASSERT_TRUE(player.waitUntil([&player] {
            return player.last().error != PlayerError::kNone ||
                   player.last().state == PlayerState::kPlaying;
        }));
        EXPECT_EQ(player.last().error, PlayerError::kNoDecoder) << manner << player.log();
    }
}

TEST_F(AServer, OfSubtitlesThatNeverAnswersDoesNotHoldUpTheFilm) {
    const std::string film = server_.address("/good/film.h265.mp4");
    play(film, "<DIDL-Lite xmlns='urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/'><item>"
               "<res protocolInfo='http-get:*:video/mp4:*'>" +
                   film + "</res><res protocolInfo='http-get:*:text/srt:*'>" +
                   server_.address("/silent") + "</res></item></DIDL-Lite>");
    ASSERT_TRUE(player_.waitUntil([this] {
        return player_.last().state == PlayerState::kPlaying ||
               player_.last().error != PlayerError::kNone;
    }));
    EXPECT_EQ(player_.last().error, PlayerError::kNone) << player_.log();
    EXPECT_TRUE(isGreen(player_.screen().middle()));
}

/// A server with a certificate that only this test knows.
class ASecretServer : public testing::Test {
protected:
    ASecretServer() {
        setenv("KETRA_TEST_SPEAKS_TLS", "1", 1); // support/sanitizer_defaults.cpp
        const std::string command = "openssl req -x509 -newkey rsa:2048 -nodes -keyout " + key_ +
                                    " -out " + certificate_ +
                                    " -days 2 -subj /CN=localhost -addext "
                                    "subjectAltName=IP:127.0.0.1 2>/dev/null && cat " +
                                    key_ + " " + certificate_ + " > " + both_;
        EXPECT_EQ(std::system(command.c_str()), 0);
    }

    test::TemporaryFolder folder_;
    const std::string key_ = folder_.path() + "/key.pem";
    const std::string certificate_ = folder_.path() + "/certificate.pem";
    const std::string both_ = folder_.path() + "/both.pem";
};

TEST_F(ASecretServer, IsPlayedFromWhenItsCertificateIsTrusted) {
    test::MediaServer secret(KETRA_TEST_MEDIA, both_);
    test::MediaServer open(KETRA_TEST_MEDIA);
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.caFile = certificate_;
    test::RecordedPlayer player(folder_.path(), settings);
    ASSERT_EQ(secret.address("").substr(0, 8), "https://");
    for (const std::string& uri :
         {secret.address("/good/film.mp4"), open.address("/to?" + secret.address("/good/film.mp4")),
          secret.address("/to?" + open.address("/good/film.mp4"))}) {
        ASSERT_TRUE(player.setMedia(uri));
        ASSERT_TRUE(player->play(Speed()));
        ASSERT_TRUE(player.waitForState(PlayerState::kPlaying)) << uri << player.log();
        EXPECT_TRUE(isRed(player.screen().middle())) << uri;
    }
    // Who does not know the certificate does not believe it.
    test::RecordedPlayer stranger(folder_.path());
    ASSERT_TRUE(stranger.setMedia(secret.address("/good/film.mp4")));
    ASSERT_TRUE(stranger->play(Speed()));
    ASSERT_TRUE(
        stranger.waitUntil([&stranger] { return stranger.last().error != PlayerError::kNone; }));
    EXPECT_EQ(stranger.last().error, PlayerError::kUnreachable) << stranger.log();
}

TEST_F(AServer, LeadsToNoFileOfThisMachineByAPlaylist) {
    // Whoever opens the named pipe to read it lets the writer below open it.
    const std::string secret = folder_.path() + "/secret.ts";
    ASSERT_EQ(mkfifo(secret.c_str(), 0600), 0);
    std::ofstream(folder_.path() + "/list.m3u8")
        << "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\nfile://" << secret
        << "\n#EXT-X-ENDLIST\n";
    test::MediaServer lists(folder_.path());
    play(lists.address("/good/list.m3u8"));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().error != PlayerError::kNone; }));
    EXPECT_EQ(open(secret.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), -1);
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(AServer, IsNeededForAnyMedia) {
    play(std::string("file://") + KETRA_TEST_MEDIA + "/film.mp4"); // no file of this machine
    EXPECT_EQ(player_.states(), "STOPPED LOADING STOPPED");
    EXPECT_EQ(player_.last().error, PlayerError::kUnsupportedAddress);
}

} // namespace
