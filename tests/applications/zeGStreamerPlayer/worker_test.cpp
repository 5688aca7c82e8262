// What the bus process and the media worker say to each other, and what the worker may not open.

#include <linux/landlock.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "worker/leftovers.h"
#include "worker/messages.h"
#include "worker/sandbox.h"

namespace {

using namespace player;

template <class What> What eventBack(const What& what) {
    const std::optional<Answer> answer = decodeAnswer(encode(Answer(EngineEvent{7, what})));
    const auto& event = std::get<EngineEvent>(answer.value());
    EXPECT_EQ(event.session, 7u);
    return std::get<What>(event.what);
}

template <class What> What orderBack(const What& what) {
    return std::get<What>(decodeOrder(encode(Order(what))).value());
}

TEST(AMessage, CarriesEveryFactOfAMedia) {
    MediaFacts facts;
    facts.kind = MediaKind::kVideo;
    facts.mimeType = "video/mp4";
    facts.durationMs = 1234567890123;
    facts.durationExact = facts.seekable = true;
    facts.speeds = {*Speed::fromText("-2"), *Speed::fromText("1/32")};
    facts.width = 1920;
    facts.height = 1080;
    facts.frameRateThousandths = 29970;
    facts.imageType = ImageType::kPngInterlaced;
    facts.programs = 4;
    facts.videoCodec = "H.264";
    facts.videoTrack = 1;
    facts.audioCodec = "AAC";
    facts.audioTracks = 3;
    facts.audioTrack = 2;
    facts.sampleRate = 48000;
    facts.channels = 6;
    facts.bitrate = 320000;
    facts.title = "\xE4\xF6 not UTF-8";
    facts.album = std::string("with a \0 in it", 14);
    facts.artist = "\xE2\x99\xAB";
    facts.genre = "g";
    facts.dateIso = "2024-05-06";
    facts.coverUri = "file:///c.jpg";
    facts.coverMimeType = "image/jpeg";
    facts.imageDateTime = "2024-05-06T07:08:09";
    EXPECT_EQ(eventBack(EngineOpened{facts}).facts, facts);
    EXPECT_EQ(eventBack(EngineFacts{facts}).facts, facts);
}

TEST(AMessage, CarriesEveryEvent) {
    EXPECT_EQ(eventBack(EngineAnswered{"a", "b", "c"}).contentFeatures, "b");
    EXPECT_EQ(eventBack(EngineAnswered{"a", "b", "c"}).subtitleUri, "c");
    (void)eventBack(EnginePlaying{});
    (void)eventBack(EnginePaused{});
    (void)eventBack(EngineArriving{});
    (void)eventBack(EngineBegun{});
    EXPECT_EQ(eventBack(EngineBuffering{42}).percent, 42);
    EXPECT_EQ(eventBack(EnginePosition{-1}).positionMs, -1);
    const EngineMoved moved = eventBack(EngineMoved{true, 5000, *Speed::fromText("1/2")});
    EXPECT_TRUE(moved.done);
    EXPECT_STREQ(moved.speed.text(), "1/2");
    EXPECT_EQ(eventBack(EngineEnded{99}).positionMs, 99);
    const EngineFollowed followed = eventBack(EngineFollowed{8, {}, {"a", "b", ""}, 61000});
    EXPECT_EQ(followed.next, 8u);
    EXPECT_EQ(followed.answered.contentType, "a");
    EXPECT_EQ(followed.endedMs, 61000);
    EXPECT_EQ(eventBack(EngineFailed{PlayerError::kNoDecoder, "d"}).error, PlayerError::kNoDecoder);
    EXPECT_EQ(std::get<SavedScreen>(*decodeAnswer(encode(Answer(SavedScreen{3, "e"})))).error, "e");
    EXPECT_EQ(std::get<Formats>(*decodeAnswer(encode(Answer(Formats{"f"})))).list, "f");
    EXPECT_TRUE(std::holds_alternative<Pong>(*decodeAnswer(encode(Answer(Pong{})))));
}

TEST(AMessage, CarriesEveryOrder) {
    EXPECT_EQ(orderBack(OpenOrder{1, {"http://h/\xFF", "s", "p"}}).address.uri, "http://h/\xFF");
    EXPECT_EQ(orderBack(PlayOrder{~Session{0}}).session, ~Session{0});
    EXPECT_EQ(orderBack(PauseOrder{2}).session, 2u);
    EXPECT_EQ(orderBack(SeekOrder{2, 1500}).positionMs, 1500);
    EXPECT_STREQ(orderBack(SpeedOrder{2, *Speed::fromText("-32")}).speed.text(), "-32");
    EXPECT_EQ(orderBack(AudioTrackOrder{2, 3}).index, 3u);
    EXPECT_EQ(orderBack(RepeatOrder{2, Repeat::kAB}).what, Repeat::kAB);
    EXPECT_EQ(orderBack(CloseOrder{3}).session, 3u);
    EXPECT_TRUE(orderBack(NextOrder{3, {}}).next.empty());
    const NextOrder next = orderBack(NextOrder{3, {{4, {"http://h/n", "s", ""}}}});
    EXPECT_EQ(next.next.at(0).session, 4u);
    EXPECT_EQ(next.next.at(0).address.uri, "http://h/n");
    EXPECT_TRUE(orderBack(VolumeOrder{35, true}).mute);
    View view;
    view.zoomSteps = -3;
    view.quarterTurns = 3;
    view.crop = {-5, 10, 1920, 1080};
    view.display = {1, 2, 3, 4};
    view.mute = true;
    view.keepRatio = false;
    view.ratio = AspectRatio::kDotByDot;
    const View back = orderBack(ViewOrder{view}).view;
    EXPECT_EQ(back.zoomSteps, -3);
    EXPECT_EQ(back.quarterTurns, 3);
    EXPECT_EQ(back.crop, view.crop);
    EXPECT_EQ(back.display, view.display);
    EXPECT_TRUE(back.mute);
    EXPECT_FALSE(back.keepRatio);
    EXPECT_EQ(back.ratio, AspectRatio::kDotByDot);
    EXPECT_TRUE(orderBack(FullScreenOrder{true}).on);
    EXPECT_EQ(orderBack(MoveOrder{-3, 4}).right, -3);
    EXPECT_EQ(orderBack(MoveOrder{-3, 4}).down, 4);
    EXPECT_EQ(orderBack(SaveScreenOrder{9, "p"}).path, "p");
    (void)orderBack(Ping{});
}

TEST(AMessage, IsReadStrictly) {
    const Bytes good = encode(Order(OpenOrder{1, {"http://h/", "", ""}}));
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_FALSE(decodeOrder(Bytes(good.begin(), good.begin() + static_cast<long>(size))))
            << size;
    }
    EXPECT_FALSE(decodeOrder(encode(Answer(EngineEvent{1, EngineAnswered{"a", "b", ""}}))));
    EXPECT_FALSE(decodeAnswer(good));
    EXPECT_FALSE(decodeAnswer(Bytes{0x92, 0x63, 0xC0})); // there is no alternative 99
    // A speed that nobody knows.
    Bytes speed = encode(Order(SpeedOrder{1, *Speed::fromText("2")}));
    speed.back() = '3';
    EXPECT_FALSE(decodeOrder(speed));
}

TEST(AMessage, IsNotDeeperThanAnyOfOurs) {
    // An array in an array in an array: each byte would be a call on the reader's stack.
    EXPECT_FALSE(decodeAnswer(Bytes(10 * 1024 * 1024, 0x91)));
    EXPECT_FALSE(decodeAnswer(Bytes(10 * 1024 * 1024, 0x81)));
}

TEST(AMessage, CarriesOnlyWhatIsPossible) {
    const auto arrives = [](decltype(EngineEvent::what) what) {
        return decodeAnswer(encode(Answer(EngineEvent{7, std::move(what)}))).has_value();
    };
    constexpr std::int64_t kNoTime = std::int64_t{1} << 60;
    MediaFacts facts;
    EXPECT_FALSE(arrives(EngineOpened{facts})); // open, and neither seen nor heard
    facts.kind = MediaKind::kAudio;
    EXPECT_TRUE(arrives(EngineOpened{facts}));
    facts.durationMs = kNoTime;
    EXPECT_FALSE(arrives(EngineOpened{facts}));
    EXPECT_FALSE(arrives(EngineFacts{facts}));
    EXPECT_FALSE(arrives(EnginePosition{-kNoTime}));
    EXPECT_FALSE(arrives(EngineMoved{true, kNoTime, Speed()}));
    EXPECT_FALSE(arrives(EngineEnded{kNoTime}));
    facts = MediaFacts();
    facts.kind = static_cast<MediaKind>(99);
    EXPECT_FALSE(arrives(EngineOpened{facts}));
    facts.kind = MediaKind::kImage;
    facts.imageType = static_cast<ImageType>(-2);
    EXPECT_FALSE(arrives(EngineOpened{facts}));
    EXPECT_FALSE(arrives(EngineFailed{static_cast<PlayerError>(99), ""}));
}

/// A fuzzer that starts from what is refused finds out little.
TEST(AMessage, OfTheFuzzersFirstInputsIsOneOfOurs) {
    for (const char* const name : {"damaged", "failures", "film", "photo", "song"}) {
        std::ifstream file(std::string(KETRA_FUZZ_CORPUS "/worker_answers/") + name,
                           std::ios::binary);
        const Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        ASSERT_GT(bytes.size(), 2u) << name;
        for (std::size_t at = 0; at + 2 <= bytes.size();) {
            const auto first = bytes.begin() + static_cast<long>(at + 2);
            const std::size_t size = std::size_t{bytes[at]} << 8U | bytes[at + 1];
            ASSERT_LE(at + 2 + size, bytes.size()) << name;
            EXPECT_TRUE(decodeAnswer(Bytes(first, first + static_cast<long>(size))))
                << name << " at " << at;
            at += 2 + size;
        }
    }
}

bool canRead(const std::string& path) {
    return std::ifstream(path).good();
}

TEST(TheSandbox, LeavesTheWorkerWhatItNeedsAndNothingElse) {
    const test::TemporaryFolder mine;
    const test::TemporaryFolder downloads;
    const WorkerFolder copies(downloads.path());
    std::ofstream(mine.path() + "/diary") << "secret";
    std::ofstream(downloads.path() + "/letter") << "secret";
    ASSERT_TRUE(canRead(mine.path() + "/diary"));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        Settings settings;
        settings.downloadDir = copies.path();
        setenv("HOME", mine.path().c_str(), 1);
        unsetenv("XDG_CACHE_HOME");
        // The bits say what went wrong; 128: this kernel has no such rules.
        int wrong = enterSandbox(settings) ? 0 : 128;
        if (wrong == 0) {
            wrong |= canRead(mine.path() + "/diary") ? 1 : 0;
            wrong |= std::ofstream(mine.path() + "/new").good() ? 2 : 0;
            wrong |= std::ofstream(copies.path() + "/copy").good() ? 0 : 4;
            wrong |= truncate((copies.path() + "/copy").c_str(), 0) == 0 ? 0 : 4;
            if (syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >=
                3) { // older kernels have no rule for that
                wrong |= truncate((mine.path() + "/diary").c_str(), 0) == 0 ? 2 : 0;
            }
            wrong |= canRead("/etc/hostname") ? 0 : 8;
            wrong |= canRead("/proc/self/status") ? 0 : 16;
            wrong |= std::ofstream("/etc/ketra-test").good() ? 32 : 0;
            // Other people's downloads, any device.
            wrong |= canRead(downloads.path() + "/letter") ? 1 : 0;
            wrong |= std::ofstream(downloads.path() + "/letter").good() ? 2 : 0;
            wrong |= std::ofstream("/dev/ptmx").good() ? 2 : 0;
            wrong |= canRead("/dev/urandom") && std::ofstream("/dev/null").good() ? 0 : 8;
            const std::string cache = mine.path() + "/.cache/gstreamer-1.0";
            wrong |= std::ofstream(cache + "/registry.bin").good() ? 0 : 64;
        }
        _exit(wrong);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(TheSandbox, KeepsCachesWhereTheUserWantsThem) {
    const test::TemporaryFolder mine;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const std::string wanted = mine.path() + "/caches";
        setenv("XDG_CACHE_HOME", wanted.c_str(), 1);
        const bool inside = enterSandbox(Settings());
        _exit(inside && std::ofstream(wanted + "/gstreamer-1.0/registry.bin").good() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
