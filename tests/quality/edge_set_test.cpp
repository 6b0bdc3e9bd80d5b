#include "quality/edge_set.h"

#include <algorithm>
#include <random>
#include <vector>

#include "plain/quality/edge_set.h"
#include "support/same.h"

using kz3::lattiq::detail::edge;
using kz3::lattiq::detail::edge_buckets;
using kz3::lattiq::detail::edge_layout;
using kz3::lattiq::detail::edge_set;

namespace {

dense2D<unsigned> listed(const edge_set& set)
{
    const auto visit_all = [&](auto visit) { set.visit_all(visit); };
    std::vector<edge> edges(set.size());
    edge_layout(set.size(), visit_all).write(visit_all, edges.data());
    dense2D<unsigned> list;
    for (const edge& e : edges) list.push_back(e);
    return list;
}

dense2D<unsigned> listed(const plain::edge_set& set)
{
    dense2D<unsigned> list;
    for (const auto& e : set.ordered()) list.push_back({e[0], e[1]});
    return list;
}

/// Feeds both sets and compares them.
void compare(const std::vector<std::array<unsigned, 2>>& edges)
{
    edge_set set;
    plain::edge_set plainly;
    for (const auto& e : edges) {
        set.insert(e[0], e[1]);
        plainly.insert(e[0], e[1]);
    }
    ASSERT_EQ(set.size(), plainly.size());
    EXPECT_EQ(edge_buckets(set.size()), plainly.buckets());
    EXPECT_TRUE(same(listed(set), listed(plainly)));
}

} // namespace

TEST(EdgeSet, IsEmptyAtFirst)
{
    EXPECT_EQ(edge_set().size(), 0u);
    EXPECT_EQ(listed(edge_set()).cols, 0u);
}

TEST(EdgeSet, TakesBothDirectionsForOneEdgeAndKeepsTheFirst)
{
    edge_set set;
    set.insert(7, 3);
    set.insert(3, 7);
    set.insert(7, 3);
    EXPECT_TRUE(same(listed(set), columns<unsigned>({{7, 3}})));
}

// With 8 buckets the bucket is 3 * ((a ^ 5) + (b ^ 5)) mod 8.
TEST(EdgeSet, RunsThroughTheBucketsInAscendingOrder)
{
    edge_set set;
    set.insert(3, 2); // 7
    set.insert(1, 3); // 6
    set.insert(2, 0); // 4
    set.insert(0, 1); // 3
    set.insert(1, 2); // 1
    EXPECT_TRUE(same(listed(set), columns<unsigned>({{1, 2}, {0, 1}, {2, 0}, {1, 3}, {3, 2}})));
}

TEST(EdgeSet, SortsABucketByLowerAndThenByHigherNode)
{
    edge_set set; // all in bucket 3
    set.insert(16, 1);
    set.insert(9, 8);
    set.insert(1, 8);
    set.insert(9, 0);
    set.insert(0, 1);
    EXPECT_TRUE(same(listed(set), columns<unsigned>({{0, 1}, {9, 0}, {1, 8}, {16, 1}, {9, 8}})));
}

TEST(EdgeSet, KeepsAnEdgeFromANodeToItself)
{
    edge_set set;
    set.insert(4, 4);
    set.insert(4, 4);
    EXPECT_TRUE(same(listed(set), columns<unsigned>({{4, 4}})));
}

TEST(EdgeSet, TakesTheHighestNodes)
{
    compare({{none - 1, none - 2}, {none - 2, none - 1}, {0, none - 1}, {none - 1, none - 1}});
}

TEST(EdgeSet, AddsABucketBeyondFourEdgesEach)
{
    EXPECT_EQ(edge_buckets(0), 8u);
    EXPECT_EQ(edge_buckets(32), 8u);
    EXPECT_EQ(edge_buckets(33), 9u);
    EXPECT_EQ(edge_buckets(36), 9u);
    EXPECT_EQ(edge_buckets(37), 10u);
    EXPECT_EQ(edge_buckets(1000), 250u);
    EXPECT_EQ(edge_buckets(1001), 251u);
}

// From 2^24 on, float(size) rounds to even: the 4 edges to a bucket are seen late.
TEST(EdgeSet, CountsEdgesAsFloatsDo)
{
    constexpr std::uint64_t edges = 1u << 24;
    constexpr std::uint64_t buckets = 1u << 22;
    EXPECT_EQ(edge_buckets(edges - 1), buckets);
    EXPECT_EQ(edge_buckets(edges), buckets);
    EXPECT_EQ(edge_buckets(edges + 1), buckets);
    EXPECT_EQ(edge_buckets(edges + 2), buckets + 1);
    EXPECT_EQ(edge_buckets(edges + 5), buckets + 1); // a rounded-up quarter would be one more
    EXPECT_EQ(edge_buckets(edges + 6), buckets + 2);
}

TEST(EdgeSet, AgreesWithAGrowingTableAtEverySize)
{
    std::mt19937 random(20240511);
    edge_set set;
    plain::edge_set plainly;
    for (unsigned i = 0; i < 300; ++i) {
        const unsigned a = unsigned(random() % 60);
        const unsigned b = unsigned(random() % 60);
        set.insert(a, b);
        plainly.insert(a, b);
        ASSERT_EQ(edge_buckets(set.size()), plainly.buckets());
        ASSERT_TRUE(same(listed(set), listed(plainly))) << "after insertion " << i;
    }
}

TEST(EdgeSet, AgreesWithAGrowingTableOnMillionsOfEdges)
{
#ifdef NDEBUG
    constexpr unsigned offered = 3'000'000;
#else
    constexpr unsigned offered = 300'000;
#endif
    std::mt19937 random(7);
    std::vector<std::array<unsigned, 2>> edges(offered);
    for (auto& e : edges) {
        e[0] = unsigned(random() % 1000000);
        e[1] = e[0] + unsigned(random() % 8); // many of them twice, and from a node to itself
        if (random() % 2) std::swap(e[0], e[1]);
    }
    compare(edges);
}

TEST(EdgeSet, AgreesWithAGrowingTableWhereAllEdgesFallInOneBucket)
{
    std::vector<std::array<unsigned, 2>> edges;
    for (unsigned i = 0; i < 2048; ++i) edges.push_back({4095 - i, i}); // equal sums
    compare(edges);
}

TEST(EdgeSet, DoesNotDependOnTheOrderOfInsertion)
{
    std::mt19937 random(3);
    std::vector<std::array<unsigned, 2>> edges;
    for (unsigned a = 0; a < 40; ++a)
        for (unsigned b = a; b < 40; ++b) edges.push_back({a, b});
    edge_set forward;
    for (const auto& e : edges) forward.insert(e[0], e[1]);
    std::shuffle(edges.begin(), edges.end(), random);
    edge_set shuffled;
    for (const auto& e : edges) shuffled.insert(e[0], e[1]);
    EXPECT_TRUE(same(listed(forward), listed(shuffled)));
}
