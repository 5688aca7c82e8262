// A media that a recorded player is to show.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace test {

class ShownMedia : public testing::Test {
protected:
    void show(const std::string& path, const std::string& didl = "") {
        showFrom(server_, path, didl);
    }

    /// Returns when it plays, or stands there if it is a photo.
    void showFrom(const MediaServer& server, const std::string& path,
                  const std::string& didl = "") {
        ASSERT_TRUE(player_.setMedia(server.address(path), didl));
        ASSERT_TRUE(player_->play(player::Speed()));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().state == player::PlayerState::kFinished ||
                   player_.last().state == player::PlayerState::kPlaying ||
                   player_.last().error != player::PlayerError::kNone;
        })) << player_.states();
        ASSERT_EQ(player_.last().error, player::PlayerError::kNone) << player_.log();
    }

    TemporaryFolder folder_;
    MediaServer server_{KETRA_TEST_MEDIA};
    RecordedPlayer player_{folder_.path()};
};

} // namespace test
