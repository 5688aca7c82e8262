#include "support/recorded_player.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <gst/app/gstappsink.h>
#include <gtest/gtest.h>

#include "engine/gst_handles.h"
#include "support/frame_number.h"

namespace test {
Pixel Picture::at(int x, int y) const {
    const std::size_t offset = (static_cast<std::size_t>(y) * width + x) * 3;
    return {rgb.at(offset), rgb.at(offset + 1), rgb.at(offset + 2)};
}

namespace {

/// The first picture of a source; width 0 when none comes.
Picture firstPicture(const std::string& source) {
    Picture picture;
    const player::GstOwner<GstElement> pipeline(gst_parse_launch(
        (source + " ! videoconvert ! video/x-raw,format=RGB ! appsink name=out").c_str(), nullptr));
    const player::GstOwner<GstElement> out(gst_bin_get_by_name(GST_BIN(pipeline.get()), "out"));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const player::GstOwner<GstSample> sample(
        gst_app_sink_try_pull_sample(GST_APP_SINK(out.get()), 20 * GST_SECOND));
    if (sample) {
        const GstStructure* const format =
            gst_caps_get_structure(gst_sample_get_caps(sample.get()), 0);
        gst_structure_get_int(format, "width", &picture.width);
        gst_structure_get_int(format, "height", &picture.height);
        GstMapInfo map;
        if (gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ)) {
            // Rows are padded to four bytes.
            const std::size_t row = static_cast<std::size_t>(picture.width) * 3;
            const std::size_t stride = (row + 3) / 4 * 4;
            for (int y = 0; y < picture.height; ++y) {
                const unsigned char* const begin = map.data + stride * static_cast<std::size_t>(y);
                picture.rgb.insert(picture.rgb.end(), begin, begin + row);
            }
            gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
        }
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return picture;
}

} // namespace

Picture readPicture(const std::string& path) {
    return firstPicture("filesrc location=\"" + path + "\" ! decodebin");
}

int numberOn(const Picture& picture) {
    return numberIn(picture.width, picture.height,
                    [&picture](int x, int y) { return picture.at(x, y).green; })
        .value_or(-1);
}

Picture grabDisplay(const std::string& display) {
    return firstPicture("ximagesrc num-buffers=1 use-damage=false display-name=" + display);
}

player::Settings RecordedPlayer::plainSettings(const std::string& folder) {
    player::Settings settings;
    settings.videoSink = "fakesink";
    settings.audioSink = "fakesink";
    settings.screenWidth = kScreenWidth;
    settings.screenHeight = kScreenHeight;
    settings.downloadDir = folder;
    settings.downloadLimitBytes = 1 << 30;
    return settings;
}

RecordedPlayer::RecordedPlayer(const std::string& folder, std::uint64_t copyLimit)
    : RecordedPlayer(folder, [&folder, copyLimit] {
          player::Settings settings = plainSettings(folder);
          settings.downloadLimitBytes = copyLimit;
          return settings;
      }()) {}

RecordedPlayer::RecordedPlayer(const std::string& folder, player::Settings settings)
    : folder_(folder),
      patience_(settings.patience),
      engine_(std::move(settings), queue_,
              [this](const player::EngineEvent& event) { player_.onEvent(event); }),
      player_(player::Player::Surroundings{
          engine_, [] { return std::chrono::steady_clock::now(); },
          [this](const player::PlayerStatus& status) { announced_.push_back(status); },
          [this](const std::string& line) { log_ += line + "\n"; }, patience_}) {}

bool RecordedPlayer::setMedia(const std::string& uri, const std::string& didl) {
    std::string complaints;
    return player_.setMedia(player::makePlayRequest(uri, didl, "", "", &complaints));
}

bool RecordedPlayer::waitUntil(const std::function<bool()>& holds, milliseconds limit) {
    constexpr milliseconds kStandstill{200};
    auto looked = std::chrono::steady_clock::now();
    const auto end = looked + limit;
    const unsigned wakeUp = g_timeout_add(
        20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool held = holds();
    while (!held && std::chrono::steady_clock::now() < end) {
        g_main_context_iteration(nullptr, TRUE);
        player_.tick();
        held = holds();
        const auto now = std::chrono::steady_clock::now();
        stoodStill_ = stoodStill_ || now - looked > kStandstill;
        looked = now;
    }
    g_source_remove(wakeUp);
    return held;
}

bool RecordedPlayer::waitForState(player::PlayerState state, milliseconds limit) {
    return waitUntil([this, state] { return !announced_.empty() && last().state == state; }, limit);
}

bool RecordedPlayer::waitUntilTold(unsigned second, std::size_t since) {
    return waitUntil([this, second, since] {
        return std::any_of(announced_.begin() + static_cast<std::ptrdiff_t>(since),
                           announced_.end(),
                           [second](const auto& one) { return one.positionSec == second; });
    });
}

void RecordedPlayer::measure(const std::function<void()>& watch) {
    constexpr int kMostAttempts = 10;
    int attempt = 0;
    do {
        stoodStill_ = false;
        watch();
    } while (stoodStill_ && ++attempt < kMostAttempts && !testing::Test::HasFatalFailure());
}

void RecordedPlayer::letPass(milliseconds time) {
    waitUntil([] { return false; }, time);
}

std::string RecordedPlayer::states() const {
    std::string words;
    const char* before = "";
    for (const player::PlayerStatus& status : announced_) {
        const char* const word = player::wordOf(status.state);
        if (std::strcmp(word, before) != 0) {
            words += (words.empty() ? "" : " ") + std::string(word);
        }
        before = word;
    }
    return words;
}

Picture RecordedPlayer::screen() {
    const std::string path = folder_ + "/screen.png";
    bool done = false;
    std::string error;
    engine_.saveScreen(path, [&done, &error](const std::string& reason) {
        error = reason;
        done = true;
    });
    if (!waitUntil([&done] { return done; }) || !error.empty()) {
        return {};
    }
    return readPicture(path);
}

} // namespace test
