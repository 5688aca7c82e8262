// What sbus prints and answers, on the bus in memory.
#include "sbus/actions.h"

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "fake/platform.h"

namespace {

using sbus::ExitCode;
using statebus::Record;

class SbusAction : public testing::Test {
protected:
    /// Runs a command line; what it printed is in out_ and err_ afterwards.
    ExitCode run(const std::vector<std::string>& arguments) {
        const auto parsed = sbus::parseArguments(arguments);
        EXPECT_TRUE(std::holds_alternative<sbus::Request>(parsed));
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const ExitCode code = sbus::perform(std::get<sbus::Request>(parsed));
        out_ = testing::internal::GetCapturedStdout();
        err_ = testing::internal::GetCapturedStderr();
        return code;
    }

    void appearPlayer(const std::string& instance) {
        Record record(ContentPlayerServiceTemplate);
        record.setNumber("mState", kPlayerPaused);
        record.setText("mTrack.mTitle", "A film");
        bus_.appear(record, instance);
    }

    fake::Session session_;
    fake::Bus& bus_ = fake::Bus::instance();
    std::string out_;
    std::string err_;
};

TEST_F(SbusAction, ListsWhatIsOnTheBus) {
    appearPlayer("main");
    bus_.appear(Record(MediaRendererServiceTemplate));
    EXPECT_EQ(run({"list"}), ExitCode::kOk);
    EXPECT_EQ(out_, "ContentPlayerService$main\nMediaRendererService\n");
    EXPECT_EQ(err_, "");
}

TEST_F(SbusAction, ListsNothingOnAnEmptyBus) {
    EXPECT_EQ(run({"list"}), ExitCode::kOk);
    EXPECT_EQ(out_, "");
}

TEST_F(SbusAction, ShowsTheWholeRecordOfAnInstance) {
    appearPlayer("main");
    EXPECT_EQ(run({"show", "ContentPlayerService$main"}), ExitCode::kOk);
    EXPECT_EQ(out_.find("ContentPlayerService$main\n  mState = 3 (paused)\n  mStateStr = (null)\n"),
              0U)
        << out_;
    EXPECT_NE(out_.find("\n  mTrack.mTitle = \"A film\"\n"), std::string::npos);
    EXPECT_NE(out_.find("\n  mThumbnailCount = 0\n"), std::string::npos);
}

TEST_F(SbusAction, FindsTheOnlyInstanceByItsType) {
    appearPlayer("main");
    EXPECT_EQ(run({"show", "ContentPlayerService"}), ExitCode::kOk);
    EXPECT_EQ(out_.find("ContentPlayerService$main\n"), 0U);
}

TEST_F(SbusAction, AsksForTheInstanceWhenThereAreTwo) {
    appearPlayer("a");
    appearPlayer("b");
    EXPECT_EQ(run({"show", "ContentPlayerService"}), ExitCode::kUsage);
    EXPECT_EQ(err_, "sbus: ContentPlayerService has several instances, name one: "
                    "ContentPlayerService$a, ContentPlayerService$b\n");
    EXPECT_EQ(out_, "");
}

TEST_F(SbusAction, NamesWhatIsThereWhenAStateIsMissing) {
    appearPlayer("main");
    EXPECT_EQ(run({"show", "SoundService"}), ExitCode::kNoSuchState);
    EXPECT_EQ(err_, "sbus: SoundService is not on the bus; there are ContentPlayerService$main\n");
    EXPECT_EQ(run({"show", "Soundservice"}), ExitCode::kNoSuchState);
    EXPECT_EQ(err_, "sbus: no such state: Soundservice; there are ContentPlayerService, "
                    "SoundService, MediaRendererService\n");
}

TEST_F(SbusAction, SendsACommandWithItsArgument) {
    appearPlayer("main");
    EXPECT_EQ(run({"command", "ContentPlayerService", "play", "-2"}), ExitCode::kOk);
    EXPECT_EQ(run({"command", "ContentPlayerService", "stop"}), ExitCode::kOk);
    EXPECT_EQ(run({"command", "ContentPlayerService", "setidleloop", "-i", "-1"}), ExitCode::kOk);
    EXPECT_EQ(run({"command", "ContentPlayerService", "word", "-u", "7"}), ExitCode::kOk);
    const auto sent = bus_.commands();
    ASSERT_EQ(sent.size(), 4U);
    EXPECT_EQ(sent[0].word, "play");
    EXPECT_EQ(sent[0].instance, "main");
    EXPECT_EQ(std::get<std::string>(sent[0].argument), "-2");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(sent[1].argument));
    EXPECT_EQ(std::get<long long>(sent[2].argument), -1);
    EXPECT_EQ(std::get<unsigned long long>(sent[3].argument), 7U);
}

TEST_F(SbusAction, SendsRecordsForTheWordsThatCarryOne) {
    appearPlayer("main");
    EXPECT_EQ(run({"command", "ContentPlayerService", "customcommand", "Volume", "UP"}),
              ExitCode::kOk);
    EXPECT_EQ(run({"command", "ContentPlayerService", "seturiex", "http://a/b"}), ExitCode::kOk);
    const auto sent = bus_.commands();
    ASSERT_EQ(sent.size(), 2U);
    const auto& custom = std::get<Record>(sent[0].argument);
    EXPECT_EQ(custom.text("mCommand"), "Volume");
    EXPECT_EQ(custom.text("mArgument"), "UP");
    const auto& media = std::get<Record>(sent[1].argument);
    EXPECT_EQ(media.text("mMediaURI"), "http://a/b");
    EXPECT_EQ(media.text("mTrackURI"), "http://a/b");
    EXPECT_EQ(media.text("mTrackInfo"), std::nullopt) << "no description is null, not empty";
}

TEST_F(SbusAction, TellsThatACommandWasRefused) {
    appearPlayer("main");
    bus_.refuse("ContentPlayerService", "main");
    EXPECT_EQ(run({"command", "ContentPlayerService$main", "fly"}), ExitCode::kRefused);
    EXPECT_EQ(err_, "sbus: ContentPlayerService$main refused \"fly\" or did not answer\n");
}

TEST_F(SbusAction, WritesAField) {
    appearPlayer("main");
    EXPECT_EQ(run({"set", "ContentPlayerService", "mPlayback.mPositionSec", "60"}), ExitCode::kOk);
    const auto writes = bus_.writes();
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_EQ(writes[0].instance, "main");
    EXPECT_EQ(writes[0].path, "mPlayback.mPositionSec");
    EXPECT_EQ(writes[0].value, "60");
}

TEST_F(SbusAction, RefusesAFieldThatDoesNotExistBeforeSendingAnything) {
    appearPlayer("main");
    EXPECT_EQ(run({"set", "ContentPlayerService", "mPosition", "60"}), ExitCode::kUsage);
    EXPECT_EQ(err_.find("sbus: ContentPlayerService has no field \"mPosition\"; its fields are "
                        "mState, mStateStr,"),
              0U)
        << err_;
    EXPECT_TRUE(bus_.writes().empty());
}

TEST_F(SbusAction, TellsThatAWriteWasRefused) {
    appearPlayer("main");
    bus_.refuse("ContentPlayerService", "main");
    EXPECT_EQ(run({"set", "ContentPlayerService", "mState", "x"}), ExitCode::kRefused);
    EXPECT_EQ(err_, "sbus: ContentPlayerService$main refused mState = \"x\" or did not answer\n");
}

} // namespace
