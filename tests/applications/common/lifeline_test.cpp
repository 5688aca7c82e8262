// A companion whose television dies before the companion has looked for it.
#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/private_bus.h"
#include "support/program.h"

namespace {

using testing_support::Program;

class ACompanion : public testing::Test, public testing::WithParamInterface<const char*> {
protected:
    ACompanion() {
        std::string pattern = testing::TempDir() + "lifeline-XXXXXX";
        folder_ = mkdtemp(pattern.data());
        setenv("KETRA_STATE_DIR", folder_.c_str(), 1);
        setenv("KETRA_INTERFACE", "lo", 1);
        unsetenv("KETRA_TV_PID");
        // Orphans become this process's children, so that it sees how they end.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
    }
    ~ACompanion() override {
        if (orphan_ > 0) {
            kill(orphan_, SIGKILL);
            waitpid(orphan_, nullptr, 0);
        }
        unlink((folder_ + "/Vantor2.json").c_str());
        rmdir(folder_.c_str());
    }

    /// Waits for the one child that there is; its exit code, or -1 when it goes on running.
    int orphansExitCode() const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(8);
        while (std::chrono::steady_clock::now() < end) {
            int status = 0;
            const pid_t ended = waitpid(-1, &status, WNOHANG);
            if (ended == orphan_) {
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            poll(nullptr, 0, 10);
        }
        return -1;
    }

    testing_support::PrivateBus bus_;
    std::string folder_;
    pid_t orphan_ = -1;
};

TEST_P(ACompanion, EndsWhenItsTelevisionDiedBeforeItsFirstLook) {
    // The companion begins when the shell that stands for the television is gone for certain.
    Program television({"sh", "-c",
                        "export KETRA_TV_PID=$$; "
                        "sh -c 'echo $$; while kill -0 $KETRA_TV_PID; do :; done 2>&-; exec " +
                            std::string(GetParam()) + "' & exit 0"});
    const auto line = television.waitForLine("");
    ASSERT_TRUE(line) << television.error();
    orphan_ = std::stoi(*line);
    ASSERT_EQ(television.waitForExit(), 0);
    const int code = orphansExitCode();
    if (code >= 0) {
        orphan_ = -1;
    }
    EXPECT_EQ(code, 0) << television.error();
}

TEST_P(ACompanion, SaysThatATelevisionOfNoNumberIsNoneAndFollowsItsStarter) {
    for (const char* nonsense : {"abc", "0", "-5"}) {
        setenv("KETRA_TV_PID", nonsense, 1);
        Program companion({GetParam()});
        const std::string warning =
            std::string(": warning: KETRA_TV_PID=") + nonsense + " is no process number; ";
        EXPECT_TRUE(companion.waitForError(warning, std::chrono::seconds(10))) << companion.error();
        companion.signal(SIGTERM);
        EXPECT_TRUE(companion.waitForExit()) << companion.error();
    }
    unsetenv("KETRA_TV_PID");
}

INSTANTIATE_TEST_SUITE_P(OfTheTelevision, ACompanion,
                         testing::Values(VANTOR2_PROGRAM, KETRA_PLAYER_PROGRAM),
                         [](const auto& one) {
                             const std::string program = one.param;
                             return test::caseName(program.substr(program.rfind('/') + 1));
                         });

} // namespace
