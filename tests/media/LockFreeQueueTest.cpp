// The lock-free pieces between the main thread, the decoder workers and the device
// callback: the command queue and the block ring, alone and under two threads.

#include "media/BlockRing.h"
#include "media/SpscQueue.h"

#include <gtest/gtest.h>
#include <thread>

using media::BlockRing;
using media::SpscQueue;

TEST(SpscQueue, HoldsItsCapacityInOrderAndRefusesMore) {
    SpscQueue<int> queue(3);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_TRUE(queue.push(1));
    EXPECT_TRUE(queue.push(2));
    EXPECT_TRUE(queue.push(3));
    EXPECT_FALSE(queue.push(4)) << "a full queue refuses, it never overwrites";
    int value = 0;
    ASSERT_TRUE(queue.pop(value));
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(queue.push(5));
    for (const int expected : {2, 3, 5}) {
        ASSERT_TRUE(queue.pop(value));
        EXPECT_EQ(value, expected);
    }
    EXPECT_FALSE(queue.pop(value));
    EXPECT_TRUE(queue.isEmpty());
}

TEST(SpscQueue, DeliversEveryValueInOrderAcrossTwoThreads) {
    SpscQueue<long long> queue(64);
    constexpr long long kCount = 200000;
    std::thread producer([&] {
        for (long long i = 0; i < kCount;) {
            if (queue.push(i)) {
                ++i;
            } else {
                std::this_thread::yield();
            }
        }
    });
    long long expected = 0;
    long long outOfOrder = 0;
    while (expected < kCount) {
        long long value = 0;
        if (queue.pop(value)) {
            outOfOrder += value != expected;
            ++expected;
        } else {
            std::this_thread::yield();
        }
    }
    producer.join();
    EXPECT_EQ(outOfOrder, 0);
}

TEST(BlockRing, GivesBlocksBackInOrderAndOnlyWhenReleased) {
    BlockRing ring(2, 4, 2);
    EXPECT_EQ(ring.head(), nullptr);
    for (int i = 0; i < 2; ++i) {
        BlockRing::Block* block = ring.beginWrite();
        ASSERT_NE(block, nullptr);
        block->generation = 7;
        block->fileFrame = i * 4;
        block->frames = 4;
        block->data[0] = float(i);
        ring.commitWrite();
    }
    EXPECT_EQ(ring.beginWrite(), nullptr) << "both blocks are still unread";
    EXPECT_EQ(ring.filledBlocks(), 2);
    ASSERT_NE(ring.head(), nullptr);
    EXPECT_EQ(ring.head()->fileFrame, 0);
    EXPECT_EQ(ring.head()->data[0], 0.0f);
    ring.pop();
    ASSERT_NE(ring.beginWrite(), nullptr);
    EXPECT_EQ(ring.head()->fileFrame, 4);
}

TEST(BlockRing, AReaderOnAnotherThreadSeesEveryBlockWhole) {
    constexpr int kFrames = 64;
    BlockRing ring(8, kFrames, 2);
    constexpr int kBlocks = 20000;
    std::thread writer([&] {
        for (int written = 0; written < kBlocks;) {
            BlockRing::Block* block = ring.beginWrite();
            if (!block) {
                std::this_thread::yield();
                continue;
            }
            block->generation = uint64_t(written / 100);
            block->fileFrame = (long long)written * kFrames;
            block->frames = kFrames;
            for (int i = 0; i < kFrames * 2; ++i) {
                block->data[i] = float(written) + float(i) / 1024.0f;
            }
            ring.commitWrite();
            ++written;
        }
    });
    long long damaged = 0;
    for (int read = 0; read < kBlocks;) {
        const BlockRing::Block* block = ring.head();
        if (!block) {
            std::this_thread::yield();
            continue;
        }
        damaged += block->fileFrame != (long long)read * kFrames;
        damaged += block->generation != uint64_t(read / 100);
        for (int i = 0; i < kFrames * 2; ++i) {
            damaged += block->data[i] != float(read) + float(i) / 1024.0f;
        }
        ring.pop();
        ++read;
    }
    writer.join();
    EXPECT_EQ(damaged, 0);
}
