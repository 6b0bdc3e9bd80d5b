#include <functional>

#include <kz3/lattiq/cleaning.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::merge;

// A strip of quadrangles, each with nodes of its own, and one short edge: merging joins nodes across
// elements and within them.
struct mesh {
    mesh()
    {
        constexpr unsigned count = 6;
        pos.resize(2, 4 * count);
        connectM1.resize(4, count);
        connectM2 = columns<unsigned>({{0, 5}, {none, 1}, {20, 9}});
        for (unsigned e = 0; e < count; ++e)
            for (unsigned k = 0; k < 4; ++k) {
                pos(0, 4 * e + k) = e + (k == 1 || k == 2 ? 1.0 : 0.0);
                pos(1, 4 * e + k) = k < 2 ? 0.0 : 1.0;
                connectM1(k, e) = 4 * e + k;
            }
        pos(0, 9) = 2.0625;
        pos(0, 11) = 2.0625;
        pos(1, 11) = 0.0625;
    }

    dense2D<double> pos;
    dense2D<unsigned> range[2];
    dense2D<unsigned>& connectM1 = range[0];
    dense2D<unsigned>& connectM2 = range[1];
    dense1D<unsigned> id_map{3, 3};
};

struct form {
    const char* name;
    bool has_map;
    std::function<int(mesh&)> call;
};

const dense1D<unsigned> some_nodes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};

const form forms[] = {
    {"TwoLists", true, [](mesh& m) { return merge(m.pos, some_nodes, some_nodes, m.id_map, 0.1); }},
    {"OneList", true, [](mesh& m) { return merge(m.pos, some_nodes, m.id_map, 0.1); }},
    {"Range", true, [](mesh& m) { return merge(m.pos, m.range, m.range + 2, m.id_map, 0.1, 0); }},
    {"OneMatrixWithinElements", true,
     [](mesh& m) { return merge(m.pos, m.connectM1, m.id_map, 0.1, 1); }},
    {"TwoMatricesRepeated", true,
     [](mesh& m) { return merge(m.pos, m.connectM1, m.connectM2, m.id_map, 0.1, 2); }},
    {"RangeWithoutMap", false, [](mesh& m) { return merge(m.pos, m.range, m.range + 2, 0.1, 2); }},
    {"OneMatrixWithoutMap", false, [](mesh& m) { return merge(m.pos, m.connectM1, 0.1, 0); }},
    {"TwoMatricesWithoutMap", false,
     [](mesh& m) { return merge(m.pos, m.connectM1, m.connectM2, 0.1, 1); }},
    {"OneMatrixByDefault", false, [](mesh& m) { return merge(m.pos, m.connectM1); }},
    {"TwoMatricesByDefault", false, [](mesh& m) { return merge(m.pos, m.connectM1, m.connectM2); }},
    {"Coordinates", true, [](mesh& m) { return merge(m.pos, m.id_map, 0.1); }},
    {"CoordinatesWithoutMap", false, [](mesh& m) { return merge(m.pos, 0.1); }},
};

class MergeMemory : public testing::TestWithParam<form> {};

void expect_unchanged(const mesh& m)
{
    const mesh original;
    EXPECT_TRUE(same(m.pos, original.pos));
    EXPECT_TRUE(same(m.connectM1, original.connectM1));
    EXPECT_TRUE(same(m.connectM2, original.connectM2));
}

// Whether the mesh is the original one under the map, for whatever was merged.
void expect_mapped(const mesh& m, int merged)
{
    int moved = 0;
    for (std::size_t j = 0; j < m.id_map.size; ++j) {
        ASSERT_LT(m.id_map[j], m.id_map.size);
        ASSERT_EQ(m.id_map[m.id_map[j]], m.id_map[j]);
        moved += m.id_map[j] != j ? 1 : 0;
    }
    EXPECT_EQ(moved, merged);
    const mesh original;
    for (std::size_t e = 0; e < m.connectM1.cols; ++e)
        for (std::size_t k = 0; k < 4; ++k)
            if (m.connectM1(k, e) != original.connectM1(k, e)) {
                ASSERT_EQ(m.connectM1(k, e), m.id_map[original.connectM1(k, e)]);
            }
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        for (std::size_t d = 0; d < 2; ++d)
            if (m.pos(d, j) != original.pos(d, j)) {
                ASSERT_EQ(m.pos(d, j), original.pos(d, m.id_map[j]));
            }
}

void expect_nodes_exist(const dense2D<unsigned>& connectM)
{
    const mesh original;
    for (std::size_t e = 0; e < connectM.cols; ++e)
        for (const unsigned node : connectM.col(e))
            EXPECT_TRUE(node == none || node < original.pos.cols);
}

} // namespace

TEST_P(MergeMemory, IsSafeWhenContainersFindNone)
{
    const form& f = GetParam();
    mesh unharmed;
    const int expected = f.call(unharmed);
    ASSERT_GT(expected, 0);
    for (const bool onwards : {false, true}) {
        SCOPED_TRACE(onwards ? "all from the n-th" : "the n-th alone");
        const std::size_t live = allocation::live_blocks();
        int refused = 0;
        const auto runs = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& attempt) {
                SCOPED_TRACE(testing::Message() << "n " << n);
                mesh m;
                const int merged = attempt([&] { return f.call(m); });
                EXPECT_LE(merged, expected);
                if (merged < 0) {
                    ++refused;
                    EXPECT_EQ(merged, -199);
                    EXPECT_TRUE(!f.has_map || m.id_map.size == 0);
                    expect_unchanged(m);
                } else if (f.has_map) {
                    expect_mapped(m, merged);
                }
                expect_nodes_exist(m.connectM1);
                expect_nodes_exist(m.connectM2);
            },
            onwards);
        EXPECT_GT(runs, 1U);
        EXPECT_GT(refused, 0);
        EXPECT_EQ(allocation::live_blocks(), live);
    }
}

TEST_P(MergeMemory, ThrowsOrCompletesWhenTheHeapFindsNone)
{
    const form& f = GetParam();
    mesh unharmed;
    const int expected = f.call(unharmed);
    for (const bool onwards : {false, true}) {
        const std::size_t live = allocation::live_blocks();
        const auto runs = allocation::sweep<allocation::fail_new>(
            [&](std::size_t n, auto&& attempt) {
                SCOPED_TRACE(testing::Message() << "n " << n);
                mesh m;
                try {
                    const int merged = attempt([&] { return f.call(m); });
                    if (merged == -199) {
                        expect_unchanged(m);
                        return;
                    }
                    EXPECT_EQ(merged, expected);
                    EXPECT_TRUE(same(m.connectM1, unharmed.connectM1));
                    EXPECT_TRUE(same(m.pos, unharmed.pos));
                } catch (const std::bad_alloc&) {
                    expect_nodes_exist(m.connectM1);
                    expect_nodes_exist(m.connectM2);
                    EXPECT_TRUE(same(m.pos, mesh().pos));
                }
            },
            onwards);
        EXPECT_GT(runs, 0U);
        EXPECT_EQ(allocation::live_blocks(), live);
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, MergeMemory, testing::ValuesIn(forms),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(Merge, RefusesAMapThatCannotBeSized)
{
    // The list of nodes takes the first block, the map the second.
    mesh m;
    const allocation::fail_containers second(2);
    EXPECT_EQ(merge(m.pos, some_nodes, m.id_map, 0.1), -199);
    EXPECT_TRUE(second.fired());
    EXPECT_EQ(m.id_map.size, 0U);
}

TEST(Merge, MergesAllWhenOnlyTheRoomAskedForAheadIsRefused)
{
    // The two lists of nodes take the first blocks; both then grow as they fill.
    mesh unharmed;
    const dense1D<unsigned> scanned{14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
    const int expected = merge(unharmed.pos, some_nodes, scanned, unharmed.id_map, 0.1);
    for (const std::size_t n : {1, 2}) {
        mesh m;
        const allocation::fail_containers nth(n);
        EXPECT_EQ(merge(m.pos, some_nodes, scanned, m.id_map, 0.1), expected);
        EXPECT_TRUE(nth.fired());
        EXPECT_TRUE(same(m.id_map, unharmed.id_map));
    }
}

TEST(Merge, StaysInsideTheMapWhenTheListOfNodesIsCutShort)
{
    // The list has room for a few nodes only, so that the last one, which does not exist, escapes the
    // check; the map needs no memory.
    constexpr unsigned n = 30;
    const dense2D<double> pos(2, n, 0.0);
    for (const unsigned mode : {0U, 1U, 2U}) {
        dense2D<unsigned> connectM(n, 1);
        for (unsigned k = 0; k < n; ++k) connectM(k, 0) = k + 1 < n ? k : 1U << 20;
        dense1D<unsigned> id_map(n);
        const allocation::fail_containers growth(2, true);
        const int merged = merge(pos, connectM, id_map, 0.1, mode);
        EXPECT_EQ(merged, mode == 0 ? 3 : int(n) - 2) << mode; // in mode 0 the list alone counts
        EXPECT_TRUE(growth.fired());
        EXPECT_EQ(connectM(n - 1, 0), 1U << 20);
        for (unsigned k = 0; k + 1 < n; ++k) EXPECT_EQ(id_map[k], mode == 0 && k > 3 ? k : 0);
    }
}
