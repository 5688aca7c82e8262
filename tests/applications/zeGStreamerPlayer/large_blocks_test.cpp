// The large blocks that GStreamer takes from the player and returns to it.

#include <chrono>
#include <cstdint>
#include <cstring>

#include <gst/gst.h>
#include <gtest/gtest.h>

#include "engine/gst_handles.h"
#include "engine/large_blocks.h"

namespace {

using player::keptBytes;

constexpr gsize kSize = 3 << 20;

class ALargeBlock : public testing::Test {
protected:
    ALargeBlock() {
        gst_init(nullptr, nullptr);
        player::provideLargeBlocks();
        player::giveBackLargeBlocks(std::chrono::milliseconds(0));
        player::keepLargeBlocks(true);
    }
    ~ALargeBlock() override {
        player::keepLargeBlocks(false);
        player::giveBackLargeBlocks(std::chrono::milliseconds(0));
    }

    static GstMemory* make(gsize size) { return gst_allocator_alloc(nullptr, size, nullptr); }

    /// Where its bytes are.
    static const void* place(GstMemory* memory) {
        GstMapInfo map;
        EXPECT_TRUE(gst_memory_map(memory, &map, GST_MAP_READ));
        const void* const data = map.data;
        gst_memory_unmap(memory, &map);
        return data;
    }
};

TEST_F(ALargeBlock, ServesWhoeverWantsTheSameNext) {
    GstMemory* const first = make(kSize);
    const void* const data = place(first);
    gst_memory_unref(first);
    EXPECT_GE(keptBytes(), kSize);
    GstMemory* const second = make(kSize);
    EXPECT_EQ(place(second), data);
    EXPECT_EQ(keptBytes(), 0u);
    gst_memory_unref(second);
}

TEST_F(ALargeBlock, MakesRoomForOneOfAnotherSize) {
    for (GstMemory* const one : {make(kSize), make(kSize), make(kSize), make(kSize)}) {
        gst_memory_unref(one);
    }
    GstMemory* const other = make(2 * kSize - (1 << 20));
    EXPECT_GE(keptBytes(), 2 * kSize);
    EXPECT_LT(keptBytes(), 3 * kSize);
    gst_memory_unref(other);
}

TEST_F(ALargeBlock, IsGivenBackWhenNobodyWantsIt) {
    gst_memory_unref(make(kSize));
    player::giveBackLargeBlocks();
    EXPECT_GE(keptBytes(), kSize) << "too early";
    player::giveBackLargeBlocks(std::chrono::milliseconds(0));
    EXPECT_EQ(keptBytes(), 0u);
}

TEST_F(ALargeBlock, IsNotKeptWhereNobodyWouldGiveItBack) {
    player::keepLargeBlocks(false);
    gst_memory_unref(make(kSize));
    EXPECT_EQ(keptBytes(), 0u);
}

TEST_F(ALargeBlock, IsOneOfSoManyAtMost) {
    constexpr gsize kHuge = gsize{64} << 20;
    GstMemory* const first = make(kHuge);
    GstMemory* const second = make(kHuge);
    gst_memory_unref(first);
    gst_memory_unref(second);
    EXPECT_GE(keptBytes(), kHuge);
    EXPECT_LT(keptBytes(), 2 * kHuge);
}

TEST_F(ALargeBlock, LivesAsLongAsAPartOfIt) {
    GstMemory* const whole = make(kSize);
    GstMapInfo map;
    ASSERT_TRUE(gst_memory_map(whole, &map, GST_MAP_WRITE));
    std::memset(map.data, 7, map.size);
    gst_memory_unmap(whole, &map);
    GstMemory* const part = gst_memory_share(whole, 1000, 50);
    gst_memory_unref(whole);
    EXPECT_EQ(keptBytes(), 0u);
    ASSERT_TRUE(gst_memory_map(part, &map, GST_MAP_READ));
    EXPECT_EQ(map.size, 50u);
    EXPECT_EQ(map.data[0], 7);
    EXPECT_EQ(map.data[49], 7);
    gst_memory_unmap(part, &map);
    gst_memory_unref(part);
    EXPECT_GE(keptBytes(), kSize);
}

TEST_F(ALargeBlock, HasTheRoomAroundItThatIsAskedFor) {
    GstAllocationParams params;
    gst_allocation_params_init(&params);
    params.flags =
        static_cast<GstMemoryFlags>(GST_MEMORY_FLAG_ZERO_PREFIXED | GST_MEMORY_FLAG_ZERO_PADDED);
    params.align = 63;
    params.prefix = 128;
    params.padding = 16;
    GstMemory* const dirty = make(kSize);
    GstMapInfo map;
    ASSERT_TRUE(gst_memory_map(dirty, &map, GST_MAP_WRITE));
    std::memset(map.data, 7, map.size);
    gst_memory_unmap(dirty, &map);
    gst_memory_unref(dirty);
    GstMemory* const memory = gst_allocator_alloc(nullptr, kSize - 144, &params);
    ASSERT_TRUE(gst_memory_map(memory, &map, GST_MAP_READ));
    EXPECT_EQ(map.size, kSize - 144);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(map.data) % 64, 0u);
    EXPECT_EQ(map.data[-1], 0);
    EXPECT_EQ(map.data[-128], 0);
    EXPECT_EQ(map.data[0], 7) << "the block that was there";
    EXPECT_EQ(map.data[map.size], 0);
    EXPECT_EQ(map.data[map.size + 15], 0);
    gst_memory_unmap(memory, &map);
    gst_memory_unref(memory);
}

TEST_F(ALargeBlock, IsCopiedLikeAnyMemory) {
    GstMemory* const memory = make(kSize);
    GstMapInfo map;
    ASSERT_TRUE(gst_memory_map(memory, &map, GST_MAP_WRITE));
    map.data[kSize - 1] = 9;
    gst_memory_unmap(memory, &map);
    GstMemory* const copy = gst_memory_copy(memory, static_cast<gssize>(kSize) - 1, 1);
    ASSERT_TRUE(gst_memory_map(copy, &map, GST_MAP_READ));
    EXPECT_EQ(map.size, 1u);
    EXPECT_EQ(map.data[0], 9);
    gst_memory_unmap(copy, &map);
    gst_memory_unref(copy);
    gst_memory_unref(memory);
}

TEST_F(ALargeBlock, IsNotWhatASmallOneIs) {
    GstMemory* const memory = make(1000);
    EXPECT_TRUE(gst_memory_is_type(memory, GST_ALLOCATOR_SYSMEM));
    gst_memory_unref(memory);
    EXPECT_EQ(keptBytes(), 0u);
}

} // namespace
