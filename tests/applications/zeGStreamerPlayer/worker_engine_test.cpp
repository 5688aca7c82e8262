// The media engine as the bus process sees it, with workers that write down what they are told:
// this program itself, since a worker is the program that starts it.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "worker/channel.h"
#include "worker/media_worker.h"
#include "worker/worker_engine.h"

namespace {

using namespace player;

constexpr char kBegins[] = "worker";

std::string wordsOf(const VolumeOrder& order) {
    return "volume " + std::to_string(order.percent) + (order.mute ? " muted" : "");
}
std::string wordsOf(const ViewOrder& order) {
    const View& view = order.view;
    std::ostringstream words;
    words << "view zoom " << view.zoomSteps << " turn " << view.quarterTurns << " ratio "
          << static_cast<int>(view.ratio) << " crop " << view.crop.width << " display "
          << view.display.width << (view.mute ? " muted" : "") << (view.keepRatio ? "" : " free");
    return words.str();
}
std::string wordsOf(const FullScreenOrder& order) {
    return std::string("full screen ") + (order.on ? "1" : "0");
}
std::string wordsOf(const OpenOrder& order) {
    return "open " + std::to_string(order.session) + " " + order.address.uri;
}
std::string wordsOf(const Ping&) {
    return "ping";
}
template <class Other> std::string wordsOf(const Other&) {
    return "something else";
}

/// Answers when it is asked whether it lives, and does nothing else.
int workAndWriteDown() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::ofstream written(std::string(std::getenv("KETRA_DOWNLOAD_DIR")) + "/orders",
                          std::ios::app);
    written << kBegins << " " << getpid() << std::endl;
    Bytes bytes(Channel::kLongest);
    for (;;) {
        bytes.resize(Channel::kLongest);
        const ssize_t got = recv(kWorkerSocket, bytes.data(), bytes.size(), 0);
        if (got <= 0) {
            return EXIT_SUCCESS;
        }
        bytes.resize(static_cast<std::size_t>(got));
        const std::optional<Order> order = decodeOrder(bytes);
        written << (order ? std::visit([](const auto& what) { return wordsOf(what); }, *order)
                          : "nonsense")
                << std::endl;
        if (order && std::holds_alternative<Ping>(*order)) {
            const Bytes pong = encode(Answer(Pong{}));
            (void)send(kWorkerSocket, pong.data(), pong.size(), MSG_NOSIGNAL); // or it ends soon
        }
    }
}

class ANewWorker : public testing::Test {
protected:
    /// What each worker so far was told, word for word, without what it is asked meanwhile.
    std::vector<std::vector<std::string>> told() {
        std::vector<std::vector<std::string>> workers;
        std::ifstream written(folder_.path() + "/orders");
        for (std::string line; std::getline(written, line);) {
            if (line.rfind(kBegins, 0) == 0) {
                worker_ = static_cast<pid_t>(std::stol(line.substr(sizeof kBegins)));
                workers.emplace_back();
            } else {
                workers.back().push_back(line);
            }
        }
        return workers;
    }

    /// Waits until there have been so many workers and the last has been told the last of this.
    bool waitForOrder(std::size_t workers, const std::string& last) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        for (;;) {
            const auto orders = told();
            if (orders.size() == workers && !orders.back().empty() &&
                orders.back().back() == last) {
                return true;
            }
            if (std::chrono::steady_clock::now() >= end) {
                return false;
            }
            g_main_context_iteration(nullptr, FALSE);
            g_usleep(1000);
        }
    }

    void start() {
        engine_ = std::make_unique<WorkerEngine>(
            queue_, folder_.path(),
            [this](const EngineEvent& event) {
                if (const auto* const failed = std::get_if<EngineFailed>(&event.what)) {
                    failures_.emplace_back(event.session, failed->error);
                }
            },
            [](const std::string&) {},
            [this] {
                if (const auto then = std::exchange(onGone_, nullptr)) {
                    then();
                }
            });
        ASSERT_TRUE(waitForOrder(1, "ping"));
    }

    void killWorker() {
        ASSERT_GT(worker_, 0);
        ASSERT_EQ(kill(worker_, SIGKILL), 0);
    }

    using Orders = std::vector<std::string>;

    const std::string kUntouched = "view zoom 0 turn 0 ratio 0 crop 0 display 0";
    test::TemporaryFolder folder_;
    TaskQueue queue_{nullptr};
    std::vector<std::pair<Session, PlayerError>> failures_;
    std::function<void()> onGone_; ///< the next time that a worker has ended
    pid_t worker_ = 0;
    std::unique_ptr<WorkerEngine> engine_;
};

TEST_F(ANewWorker, IsToldNothingThatNobodySaid) {
    start();
    EXPECT_EQ(told().back(), (Orders{"volume 100", kUntouched, "ping"}));
    killWorker();
    ASSERT_TRUE(waitForOrder(2, "ping"));
    EXPECT_EQ(told().back(), (Orders{"volume 100", kUntouched, "ping"}));
    EXPECT_TRUE(failures_.empty());
}

TEST_F(ANewWorker, IsToldWhatTheViewerHadSet) {
    start();
    engine_->setVolume(35, true);
    View view;
    view.zoomSteps = 2;
    view.quarterTurns = 3;
    view.crop = {10, 20, 30, 40};
    view.display = {50, 60, 70, 80};
    view.mute = true;
    view.keepRatio = false;
    view.ratio = AspectRatio::k235To100;
    engine_->setView(view);
    engine_->setFullScreen(true);
    ASSERT_TRUE(waitForOrder(1, "full screen 1"));
    killWorker();
    ASSERT_TRUE(waitForOrder(2, "ping"));
    EXPECT_EQ(told().back(),
              (Orders{"volume 35 muted", "view zoom 2 turn 3 ratio 7 crop 30 display 70 muted free",
                      "full screen 1", "ping"}));
}

TEST_F(ANewWorker, IsToldWhatWasSetWhileThereWasNone) {
    start();
    engine_->setFullScreen(true);
    onGone_ = [this] {
        engine_->setVolume(20, false);
        engine_->setFullScreen(false);
        View view;
        view.ratio = AspectRatio::kFill;
        engine_->setView(view);
    };
    killWorker();
    ASSERT_TRUE(waitForOrder(2, "ping"));
    EXPECT_EQ(told().back(), (Orders{"volume 20", "view zoom 0 turn 0 ratio 1 crop 0 display 0",
                                     "full screen 0", "ping"}));
}

TEST_F(ANewWorker, OpensWhatTheOneBeforeHadNotBegunAndTheNextDoesNot) {
    start();
    engine_->open(5, {"http://tv/film", "", ""});
    ASSERT_TRUE(waitForOrder(1, "open 5 http://tv/film"));
    killWorker();
    ASSERT_TRUE(waitForOrder(2, "ping"));
    EXPECT_EQ(told().back(), (Orders{"volume 100", kUntouched, "open 5 http://tv/film", "ping"}));
    EXPECT_TRUE(failures_.empty());
    killWorker();
    ASSERT_TRUE(waitForOrder(3, "ping"));
    EXPECT_EQ(told().back(), (Orders{"volume 100", kUntouched, "ping"}));
    EXPECT_EQ(failures_, (std::vector{std::pair{Session{5}, PlayerError::kPlayerLost}}));
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == kWorkerArgument) {
        return workAndWriteDown();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
