// What media workers leave on the disk, and what players that share a folder leave each other.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "worker/leftovers.h"

namespace {

/// What another player does as soon as the next folder is made.
std::function<void(const std::string& folder)> gMeanwhile;

} // namespace

extern "C" {
char* __real_mkdtemp(char* pattern); // NOLINT(bugprone-reserved-identifier)
char* __wrap_mkdtemp(char* pattern); // NOLINT(bugprone-reserved-identifier)
}

char* __wrap_mkdtemp(char* pattern) { // NOLINT(bugprone-reserved-identifier)
    char* const made = __real_mkdtemp(pattern);
    if (const auto meanwhile = std::exchange(gMeanwhile, nullptr); made != nullptr && meanwhile) {
        meanwhile(made);
    }
    return made;
}

namespace {

using namespace player;

TEST(TheWorkersFolder, GoesWithItsPlayer) {
    const test::TemporaryFolder downloads;
    std::string path;
    {
        const WorkerFolder folder(downloads.path());
        path = folder.path();
        ASSERT_TRUE(std::filesystem::is_directory(path));
        std::ofstream(path + "/copy") << "a film";
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TheWorkersFolder, OfAPlayerThatWasKilledGoesWhenTheNextBegins) {
    const test::TemporaryFolder downloads;
    const std::string abandoned = downloads.path() + "/zeGStreamerPlayer-killed";
    std::filesystem::create_directory(abandoned);
    std::ofstream(abandoned + "/copy") << "a film";
    std::filesystem::create_directory(downloads.path() + "/holidays");
    const WorkerFolder running(downloads.path());
    EXPECT_FALSE(std::filesystem::exists(abandoned));
    const WorkerFolder another(downloads.path());
    EXPECT_TRUE(std::filesystem::exists(running.path()));
    EXPECT_TRUE(std::filesystem::exists(downloads.path() + "/holidays"));
}

TEST(TheWorkersFolder, IsThereForEachOfTwoPlayersThatBeginAtOnce) {
    const test::TemporaryFolder downloads;
    std::optional<WorkerFolder> other;
    gMeanwhile = [&](const std::string&) {
        other.emplace(downloads.path());
    };
    const WorkerFolder mine(downloads.path());
    ASSERT_TRUE(other);
    EXPECT_NE(mine.path(), other->path());
    const WorkerFolder third(downloads.path()); // takes neither for abandoned
    for (const std::string& path : {mine.path(), other->path(), third.path()}) {
        EXPECT_TRUE(std::filesystem::is_directory(path)) << path;
    }
}

TEST(TheWorkersFolder, IsAnotherOneWhileAPlayerThatBeginsRemovesTheFirst) {
    const test::TemporaryFolder downloads;
    std::string first;
    int place = -1;
    gMeanwhile = [&](const std::string& folder) {
        first = folder;
        place = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_EQ(flock(place, LOCK_EX | LOCK_NB), 0);
    };
    const WorkerFolder mine(downloads.path());
    ASSERT_GE(place, 0);
    std::filesystem::remove_all(first);
    close(place);
    EXPECT_TRUE(std::filesystem::is_directory(mine.path())) << mine.path();
    const WorkerFolder next(downloads.path());
    EXPECT_TRUE(std::filesystem::is_directory(mine.path())) << "it was not locked";
}

TEST(ACover, IsRemovedWhenItsWorkerIsGone) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    const test::TemporaryFolder folder;
    const std::string gone = folder.path() + "/cover-" + std::to_string(child) + "-1.jpg";
    const std::string mine = folder.path() + "/cover-" + std::to_string(getpid()) + "-1.jpg";
    const std::string other = folder.path() + "/cover-of-a-book.jpg";
    for (const std::string& file : {gone, mine, other}) {
        std::ofstream(file) << "a picture";
    }
    removeOrphanedCovers(folder.path());
    EXPECT_FALSE(std::filesystem::exists(gone));
    EXPECT_TRUE(std::filesystem::exists(mine));
    EXPECT_TRUE(std::filesystem::exists(other));
}

} // namespace
