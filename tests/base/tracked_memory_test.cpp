#include <cstring>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"

TEST(TrackedMemory, CountsBlocksAndBytesUntilFreed)
{
    void* a = KV_ALLOC(3, 10);
    void* b = KV_ALLOC_ZERO(4, 4);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(TrackedLiveBlocks(), 2u);
    EXPECT_EQ(TrackedLiveBytes(), 46u);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(static_cast<unsigned char*>(b)[i], 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % 16, 0u);
    KV_FREE(a);
    KV_FREE(b);
    KV_FREE(nullptr);
    EXPECT_EQ(TrackedLiveBlocks(), 0u);
    EXPECT_EQ(TrackedLiveBytes(), 0u);
}

TEST(TrackedMemory, ReallocKeepsContentsAndOldBlockOnFailure)
{
    auto* block = static_cast<char*>(KV_ALLOC(1, 6));
    std::memcpy(block, "hello", 6);
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(KV_REALLOC(block, 1 << 20), nullptr);
    EXPECT_STREQ(block, "hello");  // still valid after the refusal
    auto* grown = static_cast<char*>(KV_REALLOC(block, 1 << 20));
    ASSERT_NE(grown, nullptr);
    EXPECT_STREQ(grown, "hello");
    EXPECT_EQ(TrackedLiveBytes(), 1u << 20);
    KV_FREE(grown);
}

TEST(TrackedMemory, RefusesSizesThatOverflow)
{
    EXPECT_EQ(KV_ALLOC(SIZE_MAX / 2, 3), nullptr);
    EXPECT_EQ(KV_ALLOC_ZERO(SIZE_MAX, 2), nullptr);
    EXPECT_EQ(KV_ALLOC(1, SIZE_MAX - 8), nullptr);
    EXPECT_EQ(TrackedLiveBlocks(), 0u);
}

TEST(TrackedMemory, InjectedFailureHitsExactlyTheNthAllocation)
{
    TrackedFailAllocationAfter(2);
    void* first = KV_ALLOC(1, 8);
    void* second = KV_ALLOC(1, 8);
    void* third = KV_ALLOC(1, 8);
    void* fourth = KV_ALLOC(1, 8);
    EXPECT_TRUE(first && second && fourth);
    EXPECT_EQ(third, nullptr);
    KV_FREE(first);
    KV_FREE(second);
    KV_FREE(fourth);
}

TEST(TrackedMemory, ResourcesAreCountedByObjectAndDescribed)
{
    int a = 0, b = 0;
    KV_TRACK(&a);
    KV_TRACK(&b);
    KV_TRACK(&b);  // entering twice is still one object
    EXPECT_EQ(TrackedLiveResources(), 2u);
    EXPECT_NE(DescribeLiveTracked(10).find("tracked_memory_test.cpp"), std::string::npos);
    KV_UNTRACK(&a);
    KV_UNTRACK(&b);
    EXPECT_EQ(TrackedLiveResources(), 0u);
}
