#include "volume/node_cache.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace vellmark {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kNodeSize = 512;

Bytes NodeOf(std::uint32_t number, std::uint8_t version = 0) {
    Bytes node(kNodeSize, static_cast<std::uint8_t>(number * 7 + version));
    node[0] = static_cast<std::uint8_t>(number);
    node[1] = version;
    return node;
}

class NodeCacheRule : public ::testing::Test {
  protected:
    // As a reader does: what is not kept is read and offered.
    bool read(std::uint32_t number) {
        Bytes node(kNodeSize);
        if (cache_.fetch(number, node)) {
            EXPECT_EQ(node, NodeOf(number));
            return true;
        }
        cache_.offer(number, NodeOf(number));
        return false;
    }
    // Reads until the node is kept; how many misses that took.
    int missesUntilKept(std::uint32_t number) {
        int misses = 0;
        while (misses < 100 && !read(number))
            ++misses;
        return misses;
    }
    void fillHot(int readsEach) {
        for (int i = 0; i < readsEach; ++i)
            for (std::uint32_t number = 1; number <= NodeCache::kHot; ++number)
                EXPECT_EQ(read(number), i > 0) << number;
    }
    NodeCache cache_{kNodeSize};
};

TEST_F(NodeCacheRule, TheFirstSixtyFourAreKept) {
    fillHot(2);
    EXPECT_FALSE(read(65));
    EXPECT_FALSE(read(65)) << "as often missed as the others were hit";
    for (std::uint32_t number = 1; number <= 64; ++number)
        EXPECT_TRUE(read(number)) << number;
}

TEST_F(NodeCacheRule, ANodeEntersWhenItWasMissedMoreOftenThanAKeptOneWasHit) {
    for (const int reads : {1, 2, 5}) {
        cache_ = NodeCache(kNodeSize);
        fillHot(reads);
        EXPECT_EQ(missesUntilKept(65), reads + 1) << reads;
    }
}

TEST_F(NodeCacheRule, OnlyANodeHitLessOftenGoesOut) {
    fillHot(1);
    // Node n was hit n times, so that there is one of each count.
    for (std::uint32_t number = 2; number <= 64; ++number)
        for (std::uint32_t hit = 1; hit < number; ++hit)
            EXPECT_TRUE(read(number));
    EXPECT_EQ(missesUntilKept(100), 2) << "beats number 1 alone";
    for (std::uint32_t number = 2; number <= 64; ++number)
        EXPECT_TRUE(read(number)) << number;
    EXPECT_FALSE(read(1));
}

TEST_F(NodeCacheRule, ADisplacedNodeKeepsItsCountAsACandidate) {
    fillHot(3);
    EXPECT_EQ(missesUntilKept(65), 4);
    // One of the first 64 went out with a count of 3: its next miss makes 4, enough to come back.
    std::uint32_t out = 0;
    for (std::uint32_t number = 1; number <= 64 && out == 0; ++number)
        if (!read(number))
            out = number;
    ASSERT_NE(out, 0u);
    EXPECT_TRUE(read(out));
}

TEST_F(NodeCacheRule, AFullTableForgetsItsRarerHalf) {
    fillHot(10);
    for (std::uint32_t number = 1001; number < 1001 + NodeCache::kCandidates; ++number)
        for (int miss = number < 1041 ? 3 : 1; miss > 0; --miss)
            EXPECT_FALSE(read(number));
    EXPECT_FALSE(read(5000)) << "stays out, half of the table is free from now on";
    EXPECT_EQ(missesUntilKept(1020), 11 - 3) << "often missed: still known";
    EXPECT_EQ(missesUntilKept(5000), 11) << "unknown until now";
}

TEST_F(NodeCacheRule, AWriteFollowsIntoTheCopyAndCountsAsAHit) {
    fillHot(1);
    cache_.update(7, NodeOf(7, 1));
    Bytes node(kNodeSize);
    ASSERT_TRUE(cache_.fetch(7, node));
    EXPECT_EQ(node, NodeOf(7, 1));
    cache_.update(200, NodeOf(200, 1));
    EXPECT_FALSE(cache_.fetch(200, node)) << "a write alone keeps nothing";
}

// Reads and writes at random: whatever is kept must be what was written last.
TEST(NodeCacheModel, CopiesStayTrue) {
    constexpr unsigned kSeed = 6502;
    std::mt19937 random(kSeed);
    NodeCache cache(kNodeSize);
    std::map<std::uint32_t, Bytes> medium;
    std::size_t hits = 0;
    for (int step = 0; step < 40'000; ++step) {
        // Some nodes much more often than others.
        const auto number = static_cast<std::uint32_t>(1 + random() % (random() % 2   ? 40
                                                                       : random() % 4 ? 150
                                                                                      : 3000));
        Bytes& truth = medium.try_emplace(number, NodeOf(number)).first->second;
        Bytes node(kNodeSize);
        if (random() % 8 == 0) {
            truth = NodeOf(number, static_cast<std::uint8_t>(step));
            cache.update(number, truth);
        } else if (cache.fetch(number, node)) {
            ++hits;
            ASSERT_EQ(node, truth) << "seed " << kSeed << " step " << step;
        } else {
            cache.offer(number, truth);
        }
    }
    EXPECT_GT(hits, 15'000u) << "the frequent nodes are the kept ones";
}

}  // namespace
}  // namespace vellmark
