// What must not cost memory: the report that arrives once a second, and the queries of a screen
// that shows it.
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/renderer_fixture.h"

namespace {

/// Allocations of this thread while somebody counts; -1: nobody does. Volatile, because the
/// compiler knows that a malloc writes no variable of ours.
thread_local volatile long gAllocations = -1;

void count() {
    if (gAllocations >= 0) {
        gAllocations = gAllocations + 1;
    }
}

} // namespace

// The linker sends the library's calls to these, and everybody's operator new ends here.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* old, std::size_t size);
char* __real_strdup(const char* text);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* old, std::size_t size);
char* __wrap_strdup(const char* text);

void* __wrap_malloc(std::size_t size) {
    count();
    return __real_malloc(size);
}
void* __wrap_calloc(std::size_t elements, std::size_t size) {
    count();
    return __real_calloc(elements, size);
}
void* __wrap_realloc(void* old, std::size_t size) {
    count();
    return __real_realloc(old, size);
}
char* __wrap_strdup(const char* text) {
    count();
    return __real_strdup(text);
}
}

void* operator new(std::size_t size) {
    count();
    void* const memory = __real_malloc(size ? size : 1);
    if (!memory) {
        std::abort();
    }
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using dmrtest::PlayerReport;

template <class Action> long allocationsOf(Action action) {
    gAllocations = 0;
    action();
    const long counted = gAllocations;
    gAllocations = -1;
    return counted;
}

class NoMemory : public dmrtest::Renderer {};

TEST(TheCounter, SeesEveryKindOfAllocation) {
    // Through a volatile pointer: the compiler may drop an allocation that nobody looks at.
    void* volatile memory = nullptr;
    EXPECT_EQ(allocationsOf([] {}), 0);
    EXPECT_EQ(allocationsOf([&] { memory = ::operator new(1); }), 1);
    ::operator delete(memory);
    EXPECT_EQ(allocationsOf([&] { memory = std::malloc(1); }), 1);
    std::free(memory);
    std::string text;
    EXPECT_EQ(allocationsOf([&] { text.assign(100, 'x'); }), 1);
}

TEST_F(NoMemory, IsAllocatedForARepeatedPlayingReport) {
    for (const char* profile : {dmrtest::kVideo, dmrtest::kAudio, dmrtest::kImage}) {
        PlayerReport playing(4);
        playing.profile(profile).duration(3600).info(
            "MetadataStr=title:a title that is far too long for a small string\xEE\x82\x8A"
            "album:and an album that is not short either");
        report(playing);
        for (std::uint32_t second = 1; second < 4; ++second) {
            playing.position(second);
            EXPECT_EQ(allocationsOf([&] { report(playing); }), 0) << profile;
        }
    }
}

TEST_F(NoMemory, IsAllocatedForAMetadataQueryBeyondItsAnswer) {
    const std::string longText(200, 'x');
    Access::mediaInfo(dmr()) = "title:" + longText + "\xEE\x82\x8A" + "frame-rate:29970";
    std::string answer;
    answer.reserve(300);
    EXPECT_EQ(allocationsOf([&] { dmr().MediaPlayer_GetMetaData(E_INFO_TITLE, answer); }), 0);
    EXPECT_EQ(answer, longText);
    for (int item = 0; item <= 50; ++item) {
        EXPECT_EQ(allocationsOf([&] {
                      dmr().MediaPlayer_GetMetaData(static_cast<EN_INFO_METADATA>(item), answer);
                  }),
                  0)
            << item;
    }
    EXPECT_EQ(allocationsOf([&] { dmr().MediaPlayer_GetAudioTrackIndex(); }), 0);
}

TEST_F(NoMemory, IsAllocatedTwiceForOneAnswer) {
    const char* const keys[] = {"title:", "image-type:", "frame-rate:", "video-codec:Video Codec ",
                                "index-existed:"};
    const EN_INFO_METADATA items[] = {E_INFO_TITLE, E_INFO_IMAGE_TYPE, E_INFO_FRAME_RATE,
                                      E_INFO_VIDEO_CODEC, E_INFO_INDEX_EXISTED};
    for (int i = 0; i < 5; ++i) {
        for (std::size_t length = 0; length < 300; ++length) {
            Access::mediaInfo(dmr()) = keys[i] + std::string(length, '1');
            std::string answer;
            EXPECT_LE(allocationsOf([&] { dmr().MediaPlayer_GetMetaData(items[i], answer); }), 1)
                << keys[i] << " " << length;
        }
    }
}

} // namespace
