#include "host_runtime/media/BlockPool.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace host_runtime {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

TEST(BlockPool, GivesAtLeastTheSizeAskedForAndWastesAtMostAnEighth) {
    BlockPool pool;
    for (const std::size_t size : {std::size_t{1}, std::size_t{4096}, std::size_t{6848}, 4 * kMebibyte + 1}) {
        const BlockPool::Block block = pool.Take(size);
        ASSERT_NE(block.memory, nullptr);
        EXPECT_GE(block.size, size);
        EXPECT_LE(block.size, size + size / 8 + 2 * 4096);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.memory) % 4096, 0U);
        block.memory[size - 1] = 1;
        pool.Give(block);
    }
}

TEST(BlockPool, TellsFreshMemoryFromReused) {
    BlockPool pool;
    const BlockPool::Block first = pool.Take(10'000);
    EXPECT_TRUE(first.fresh);
    pool.Give(first);
    const BlockPool::Block second = pool.Take(10'000);
    EXPECT_FALSE(second.fresh);
    EXPECT_EQ(second.memory, first.memory);
    pool.Give(second);
}

TEST(BlockPool, FreshMemoryIsThereBeforeItIsTouched) {
    BlockPool pool;
    const BlockPool::Block block = pool.Take(4 * kMebibyte);
    ASSERT_TRUE(block.fresh);
    std::vector<unsigned char> resident(block.size / 4096);
    ASSERT_EQ(mincore(block.memory, block.size, resident.data()), 0);
    EXPECT_EQ(
        std::count_if(resident.begin(), resident.end(), [](unsigned char page) { return page % 2 == 0; }), 0);
    pool.Give(block);
}

TEST(BlockPool, OfferingNothingBackIsHarmless) {
    BlockPool pool;
    pool.Give(BlockPool::Block());
    EXPECT_EQ(pool.FreeBytes(), 0U);
}

TEST(BlockPool, SizeNoLongerUsedGoesBackToTheSystem) {
    BlockPool pool;
    std::vector<BlockPool::Block> blocks;
    for (int count = 0; count < 5; ++count)
        blocks.push_back(pool.Take(kMebibyte));
    for (const BlockPool::Block& block : blocks)
        pool.Give(block);
    EXPECT_EQ(pool.FreeBytes(), 5 * kMebibyte);
    for (std::uint32_t count = 0; count < 2 * BlockPool::kTrimInterval; ++count)
        pool.Give(pool.Take(4096));
    EXPECT_EQ(pool.FreeBytes(), 4096U);
}

TEST(BlockPool, BlocksThatAreUsedNowAndThenStay) {
    BlockPool pool;
    const auto takeThree = [&pool] {
        const BlockPool::Block blocks[3] = {pool.Take(kMebibyte), pool.Take(kMebibyte), pool.Take(kMebibyte)};
        bool fresh = false;
        for (const BlockPool::Block& block : blocks) {
            fresh = fresh || block.fresh;
            pool.Give(block);
        }
        return fresh;
    };
    takeThree();
    for (std::uint32_t round = 0; round < 3 * BlockPool::kTrimInterval; ++round) {
        if (round % 1000 == 0) {
            ASSERT_FALSE(takeThree()) << "round " << round;
        }
        pool.Give(pool.Take(4096));
    }
}

TEST(BlockPool, FreeMemoryIsBounded) {
    BlockPool pool;
    constexpr std::size_t kSize = 64 * kMebibyte;
    std::vector<BlockPool::Block> blocks;
    for (std::size_t taken = 0; taken <= BlockPool::kMostFreeBytes; taken += kSize)
        blocks.push_back(pool.Take(kSize));
    for (const BlockPool::Block& block : blocks)
        pool.Give(block);
    EXPECT_EQ(pool.FreeBytes(), BlockPool::kMostFreeBytes);
}

}  // namespace
}  // namespace host_runtime
