// What GStreamer tells late, or is heard late: GStreamer tells of a pause in two messages. The
// second one may still be on its way when the media is moved, and is not the end of that move. And
// what it does not know for a moment it denies.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gst/base/gstbasesink.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include "engine/gst_handles.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"
#include "support/test_sink.h"
#include "support/watcher.h"

namespace {

using player::GstOwner;
using player::PlayerState;
using player::Speed;
using test::milliseconds;
using test::seconds;

std::mutex gMutex;
std::condition_variable gChanged;
GstOwner<GstElement> gPlaybin; // guarded by gMutex
bool gHolding = false;         // guarded by gMutex: what a move leads to does not get to the sinks
int gHeld = 0;                 // guarded by gMutex: at so many of them
bool gDenying = false;         // guarded by gMutex: whether the media can be moved
int gDenied = 0;               // guarded by gMutex: so often that was asked

GstFlowReturn preroll(GstBaseSink* sink, GstBuffer*) {
    GstOwner<GstElement> top(GST_ELEMENT(gst_object_ref(sink)));
    while (GstObject* const parent = gst_object_get_parent(GST_OBJECT(top.get()))) {
        top.reset(GST_ELEMENT(parent));
    }
    const std::lock_guard<std::mutex> lock(gMutex);
    gPlaybin = std::move(top);
    return GST_FLOW_OK;
}

GstFlowReturn render(GstBaseSink*, GstBuffer*) {
    return GST_FLOW_OK;
}

bool gBusy = false;      // guarded by gMutex: who asks for the position gets no answer
bool gBusyAsked = false; // guarded by gMutex: somebody waits for it

/// It is the media thread that asks.
void ask(GstQuery* query) {
    if (GST_QUERY_TYPE(query) == GST_QUERY_POSITION) {
        std::unique_lock<std::mutex> lock(gMutex);
        gBusyAsked = gBusy;
        gChanged.wait_for(lock, seconds(30), [] { return !gBusy; });
    }
}

constexpr test::TestSink kFinder{"ketrafinder", "Sink/Audio", "audio/x-raw", render, preroll,
                                 nullptr,       ask};

/// Without its segment a sink does not know where it is.
GstPadProbeReturn onEvent(GstPad*, GstPadProbeInfo* info, gpointer) {
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_SEGMENT) {
        std::unique_lock<std::mutex> lock(gMutex);
        ++gHeld;
        gChanged.wait_for(lock, seconds(30), [] { return !gHolding; });
        --gHeld;
    }
    return GST_PAD_PROBE_OK;
}

/// The demuxer of MPEG-TS says so until it has read a time where it was moved to.
GstPadProbeReturn onQuery(GstPad*, GstPadProbeInfo* info, gpointer) {
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    const std::lock_guard<std::mutex> lock(gMutex);
    if (!gDenying || GST_QUERY_TYPE(query) != GST_QUERY_SEEKING) {
        return GST_PAD_PROBE_OK;
    }
    ++gDenied;
    GstFormat format = GST_FORMAT_UNDEFINED;
    gst_query_parse_seeking(query, &format, nullptr, nullptr, nullptr);
    gst_query_set_seeking(query, format, FALSE, 0, -1);
    return GST_PAD_PROBE_HANDLED;
}

/// How many there are.
int watchSinksOf(GstElement* playbin) {
    int sinks = 0;
    GstIterator* const elements = gst_bin_iterate_recurse(GST_BIN(playbin));
    gst_iterator_foreach(
        elements,
        [](const GValue* value, gpointer count) {
            auto* const element = static_cast<GstElement*>(g_value_get_object(value));
            if (GST_IS_BASE_SINK(element)) {
                gst_pad_add_probe(GST_BASE_SINK_PAD(element), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
                                  onEvent, nullptr, nullptr);
                gst_pad_add_probe(GST_BASE_SINK_PAD(element), GST_PAD_PROBE_TYPE_QUERY_UPSTREAM,
                                  onQuery, nullptr, nullptr);
                ++*static_cast<int*>(count);
            }
        },
        &sinks);
    gst_iterator_free(elements);
    return sinks;
}

class AMove : public testing::Test {
protected:
    ~AMove() override {
        letGo();
        deny(false);
        const std::lock_guard<std::mutex> lock(gMutex);
        gPlaybin.reset();
    }

    static player::Settings settings(const std::string& folder) {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder);
        settings.audioSink = test::registerSink(kFinder);
        settings.videoSink = test::watchingSink();
        return settings;
    }

    void playAndPause(const char* path) {
        ASSERT_TRUE(player_.setMedia(server_.address(path)));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
        ASSERT_TRUE(player_->pause());
        ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
        const std::lock_guard<std::mutex> lock(gMutex);
        late_.reset(gst_message_new_async_done(GST_OBJECT(gPlaybin.get()), GST_CLOCK_TIME_NONE));
        sinks_ = watchSinksOf(gPlaybin.get());
    }

    /// From the next move on.
    static void hold() {
        const std::lock_guard<std::mutex> lock(gMutex);
        gHolding = true;
    }

    static void letGo() {
        const std::lock_guard<std::mutex> lock(gMutex);
        gHolding = false;
        gChanged.notify_all();
    }

    static void deny(bool on) {
        const std::lock_guard<std::mutex> lock(gMutex);
        gDenying = on;
        gDenied = 0;
    }

    /// The media is found to have a title, and with that everything else about it is looked at.
    void isFoundToBeCalled(const std::string& title) {
        {
            const std::lock_guard<std::mutex> lock(gMutex);
            GstTagList* const tags = gst_tag_list_new(GST_TAG_TITLE, title.c_str(), nullptr);
            gst_tag_list_set_scope(tags, GST_TAG_SCOPE_GLOBAL);
            const GstOwner<GstBus> bus(gst_element_get_bus(gPlaybin.get()));
            gst_bus_post(bus.get(), gst_message_new_tag(GST_OBJECT(gPlaybin.get()), tags));
        }
        ASSERT_TRUE(player_.waitUntil([this, &title] {
            return player_.last().infoText.find("title:" + title) != std::string::npos;
        })) << player_.last().infoText;
    }

    /// The pause's second message comes while the move is under way.
    void comesLate() {
        ASSERT_TRUE(player_.waitUntil([this] {
            const std::lock_guard<std::mutex> lock(gMutex);
            return gHeld == sinks_;
        }));
        {
            const std::lock_guard<std::mutex> lock(gMutex);
            const GstOwner<GstBus> bus(gst_element_get_bus(gPlaybin.get()));
            gst_bus_post(bus.get(), late_.release());
        }
        player_.letPass(milliseconds(200)); // there is no sign of its being left alone
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path(), settings(folder_.path())};
    GstOwner<GstMessage> late_;
    int sinks_ = 0;
};

TEST_F(AMove, IsNotOverWhenThePauseBeforeItIs) {
    ASSERT_NO_FATAL_FAILURE(playAndPause("/good/counted.mp4"));
    hold();
    ASSERT_TRUE(player_->seek(10500));
    ASSERT_NO_FATAL_FAILURE(comesLate());
    letGo();
    EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 10; }, seconds(20)))
        << player_.last().positionSec;
}

TEST_F(AMove, BackwardGoesOnWhenThePauseBeforeItIsOver) {
    ASSERT_NO_FATAL_FAILURE(playAndPause("/good/counted.ts"));
    ASSERT_TRUE(player_->seek(20000));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 20; }));
    test::watchAnew();
    hold();
    ASSERT_TRUE(player_->play(*Speed::fromText("-2")));
    ASSERT_NO_FATAL_FAILURE(comesLate());
    letGo();
    const auto goesBack = [] {
        const std::vector<int> numbers = test::seenNumbers();
        return !numbers.empty() && numbers.back() < 950;
    };
    ASSERT_TRUE(player_.waitUntil(goesBack, seconds(20)));
    EXPECT_GE(test::seenNumbers().back(), 600) << "nothing was shown on the way";
}

TEST_F(AMove, IsPossibleThoughItIsDeniedForAMoment) {
    ASSERT_NO_FATAL_FAILURE(playAndPause("/good/counted.ts"));
    const std::string speeds = player_.last().supportedSpeeds;
    EXPECT_NE(speeds, "1");
    deny(true);
    ASSERT_NO_FATAL_FAILURE(isFoundToBeCalled("Counted"));
    {
        const std::lock_guard<std::mutex> lock(gMutex);
        EXPECT_GT(gDenied, 0);
    }
    EXPECT_EQ(player_.last().supportedSpeeds, speeds);
    EXPECT_EQ(player_.last().supportedSeekModes, "REL_TIME,ABS_TIME");
    ASSERT_TRUE(player_->seek(10500));
    EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 10; }));
    EXPECT_TRUE(player_->play(*Speed::fromText("-2")));
    EXPECT_TRUE(player_.waitUntil([this] { return player_.last().speed.isBackward(); }));
}

class APause : public AMove {
protected:
    ~APause() override { keepBusy(false); }

    static void keepBusy(bool on) {
        const std::lock_guard<std::mutex> lock(gMutex);
        gBusy = on;
        gBusyAsked = false;
        gChanged.notify_all();
    }

    /// So often the film went back.
    static int timesBack() {
        const std::vector<int> numbers = test::seenNumbers();
        int times = 0;
        for (std::size_t index = 1; index < numbers.size(); ++index) {
            times += numbers[index] < numbers[index - 1] ? 1 : 0;
        }
        return times;
    }

    /// All that was on its way to the screen has been shown.
    bool waitForStandstill() {
        std::size_t shown = 0;
        auto since = std::chrono::steady_clock::now();
        return player_.waitUntil([&] {
            const auto now = std::chrono::steady_clock::now();
            if (std::exchange(shown, test::seenFrames().size()) != test::seenFrames().size()) {
                since = now;
            }
            return now - since > seconds(2);
        });
    }
};

/// Nothing more comes then, for which a pause in GStreamer would wait.
TEST_F(APause, IsThereWhenThePartThatIsRepeatedIsOverAndNotYetReadAgain) {
    ASSERT_TRUE(player_.setMedia(server_.address("/good/counted.mp4")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    ASSERT_TRUE(player_->seek(10000));
    ASSERT_TRUE(player_->repeat(player::Repeat::kA));
    ASSERT_TRUE(player_->seek(10600));
    test::watchAnew();
    ASSERT_TRUE(player_->repeat(player::Repeat::kAB));
    ASSERT_TRUE(player_.waitUntil([] { return timesBack() > 2; })); // not only the first time
    keepBusy(true);
    ASSERT_TRUE(player_.waitUntil([] {
        const std::lock_guard<std::mutex> lock(gMutex);
        return gBusyAsked;
    }));
    ASSERT_TRUE(waitForStandstill());
    ASSERT_TRUE(player_->pause());
    keepBusy(false);
    EXPECT_TRUE(player_.waitForState(PlayerState::kPaused)) << player_.log();
    test::watchAnew();
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitUntil([] { return test::seenFrames().size() > 60; }))
        << test::seenFrames().size() << player_.log();
    EXPECT_EQ(player_.last().positionSec, 10u) << "the part goes on";
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING");
}

} // namespace
