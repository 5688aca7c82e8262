#include "tv/companion_errors.h"

#include <condition_variable>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using Lines = std::vector<std::string>;

class TheCompanionsErrors : public testing::Test {
protected:
    TheCompanionsErrors() {
        EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0);
        EXPECT_EQ(fcntl(ends_[0], F_SETFL, O_NONBLOCK), 0);
        errors_ = std::make_unique<tv::CompanionErrors>(ends_[0], [this] {
            const std::lock_guard<std::mutex> lock(mutex_);
            called_ = true;
            changed_.notify_one();
        });
    }
    ~TheCompanionsErrors() override {
        errors_.reset();
        close(ends_[0]);
        close(ends_[1]);
    }

    void write(const std::string& text) const {
        EXPECT_EQ(::write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    bool isCalled() {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [this] { return called_; });
    }

    int ends_[2] = {-1, -1};
    std::mutex mutex_;
    std::condition_variable changed_;
    bool called_ = false; ///< guarded by mutex_
    std::unique_ptr<tv::CompanionErrors> errors_;
};

const char kSink[] = "zeGStreamerPlayer: warning: KETRA_VIDEO_SINK=x cannot be used";
const char kNetwork[] = "Vantor2: warning: there is no network";

TEST_F(TheCompanionsErrors, AreToldWheneverTheyCome) {
    write(std::string(kNetwork) + '\n');
    EXPECT_TRUE(isCalled());
    EXPECT_EQ(errors_->complaints(), Lines{kNetwork});
    EXPECT_EQ(errors_->complaints(), Lines{}) << "nothing new";
    write(std::string(kNetwork) + '\n');
    EXPECT_EQ(errors_->complaints(), Lines{kNetwork}) << "once more";
}

TEST_F(TheCompanionsErrors, AreToldOnceWhenTheyAreOfASetting) {
    write(std::string(kSink) + '\n');
    EXPECT_EQ(errors_->complaints(), Lines{kSink});
    write(std::string(kSink) + '\n');
    EXPECT_EQ(errors_->complaints(), Lines{});
}

TEST_F(TheCompanionsErrors, AreNotWhatSomebodyElsePrints) {
    write("zeGStreamerPlayer: info: on the bus\n"
          "(zeGStreamerPlayer:1): GLib-CRITICAL **: warning: no\n"
          "Vantor2: error: no port\n");
    EXPECT_EQ(errors_->complaints(), Lines{"Vantor2: error: no port"});
    EXPECT_EQ(errors_->last().size(), 2U) << "which is kept for when a companion does not come up";
}

TEST_F(TheCompanionsErrors, DoNotFillTheMemoryWhileNobodyAsks) {
    for (int i = 0; i < 100; ++i)
        write("Vantor2: warning: " + std::to_string(i) + '\n');
    const Lines lines = errors_->complaints();
    EXPECT_EQ(lines.size(), 20U);
    EXPECT_EQ(lines.back(), "Vantor2: warning: 99");
}

} // namespace
