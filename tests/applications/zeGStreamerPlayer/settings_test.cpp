// What the environment sets, what is said of nonsense in it, and where pictures may go.

#include "process/settings.h"

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace {

using namespace player;

TEST(ASnapshot, GoesOnlyIntoItsFolder) {
    const test::TemporaryFolder folder;
    const std::string root = std::filesystem::canonical(folder.path()).string();
    std::filesystem::create_directory(root + "/deeper");
    std::filesystem::create_symlink("/", root + "/out");
    std::filesystem::create_symlink("/etc/hostname", root + "/link.png");
    EXPECT_EQ(snapshotTarget(root, "a.png"), root + "/a.png");
    EXPECT_EQ(snapshotTarget(root, root + "/a.png"), root + "/a.png");
    EXPECT_EQ(snapshotTarget(root, "deeper/a.png"), root + "/deeper/a.png");
    EXPECT_EQ(snapshotTarget(root, "deeper/../a.png"), root + "/a.png");
    for (const char* path : {"", "a.jpg", "../a.png", "/tmp/a.png", "out/tmp/a.png", "link.png",
                             "missing/a.png", ".png", "deeper"}) {
        EXPECT_FALSE(snapshotTarget(root, path)) << path;
    }
    EXPECT_FALSE(snapshotTarget("", "a.png"));
    EXPECT_FALSE(snapshotTarget(root + "/missing", "a.png"));
}

using Environment = std::map<std::string, std::string>;

/// Those of this environment, and what is said of them.
std::pair<Settings, std::vector<std::string>> settingsOf(const Environment& environment) {
    std::vector<std::string> complaints;
    Settings settings = readSettings(
        [&environment](const char* name) {
            const auto found = environment.find(name);
            return found == environment.end() ? nullptr : found->second.c_str();
        },
        complaints);
    return {settings, complaints};
}

TEST(TheSettings, ComeFromTheEnvironment) {
    const auto [settings, complaints] = settingsOf({{"KETRA_VIDEO_SINK", "fakesink"},
                                                    {"KETRA_LOG", "debug"},
                                                    {"KETRA_DOWNLOAD_LIMIT_MB", "3"},
                                                    {"KETRA_SCREEN_SIZE", "640x360"},
                                                    {"KETRA_FULLSCREEN", "1"},
                                                    {"DISPLAY", ":0"}});
    EXPECT_EQ(settings.videoSink, "fakesink");
    EXPECT_EQ(settings.audioSink, "");
    EXPECT_EQ(settings.downloadDir, "/tmp");
    EXPECT_EQ(roomForCopy(settings), 3u * 1024 * 1024);
    EXPECT_EQ(settings.screenWidth, 640);
    EXPECT_EQ(settings.screenHeight, 360);
    EXPECT_TRUE(settings.fullScreen);
    EXPECT_TRUE(settings.xDisplay);
    EXPECT_FALSE(settings.waylandDisplay);
    EXPECT_EQ(settings.logLevel, LogLevel::kDebug);
    EXPECT_EQ(complaints, std::vector<std::string>());
}

TEST(TheSettings, MayBeEmptyWhichIsNotSet) {
    const auto [settings, complaints] = settingsOf({{"KETRA_LOG", ""},
                                                    {"KETRA_DOWNLOAD_LIMIT_MB", ""},
                                                    {"KETRA_SCREEN_SIZE", ""},
                                                    {"KETRA_FULLSCREEN", ""}});
    EXPECT_EQ(settings.screenWidth, 1920);
    EXPECT_FALSE(settings.downloadLimitBytes);
    EXPECT_EQ(complaints, std::vector<std::string>());
}

TEST(TheSettings, ThatMakeNoSenseLeaveTheUsualOnesAndAreNamed) {
    const std::pair<const char*, const char*> wrong[] = {
        {"KETRA_SCREEN_SIZE", "abc"},      {"KETRA_SCREEN_SIZE", "1920"},
        {"KETRA_SCREEN_SIZE", "0x1080"},   {"KETRA_SCREEN_SIZE", "1920x1080x3"},
        {"KETRA_SCREEN_SIZE", "9000x100"}, {"KETRA_FULLSCREEN", "maybe"},
        {"KETRA_FULLSCREEN", "2"},         {"KETRA_DOWNLOAD_LIMIT_MB", "x"},
        {"KETRA_DOWNLOAD_LIMIT_MB", "-1"}, {"KETRA_LOG", "loud"}};
    for (const auto& [name, value] : wrong) {
        const auto [settings, complaints] = settingsOf({{name, value}});
        EXPECT_EQ(settings.screenWidth, 1920) << value;
        EXPECT_EQ(settings.screenHeight, 1080) << value;
        EXPECT_FALSE(settings.fullScreen) << value;
        EXPECT_FALSE(settings.downloadLimitBytes) << value;
        EXPECT_EQ(settings.logLevel, LogLevel::kInfo) << value;
        ASSERT_EQ(complaints.size(), 1u) << name << "=" << value;
        EXPECT_EQ(complaints[0].find(std::string(name) + "=" + value + " "), 0u) << complaints[0];
    }
    EXPECT_EQ(settingsOf({{"KETRA_SCREEN_SIZE", "abc"}}).second[0],
              "KETRA_SCREEN_SIZE=abc is no size from 1x1 to 8192x8192; 1920x1080 is used");
    EXPECT_EQ(settingsOf({{"KETRA_FULLSCREEN", "maybe"}}).second[0],
              "KETRA_FULLSCREEN=maybe is neither 0 nor 1; 0 is used");
    EXPECT_EQ(settingsOf({{"KETRA_DOWNLOAD_LIMIT_MB", "x"}}).second[0],
              "KETRA_DOWNLOAD_LIMIT_MB=x is no number of megabytes; half of what is free is used");
    EXPECT_EQ(settingsOf({{"KETRA_LOG", "loud"}}).second[0],
              "KETRA_LOG=loud is none of error, warning, info, debug; info is used");
}

} // namespace
