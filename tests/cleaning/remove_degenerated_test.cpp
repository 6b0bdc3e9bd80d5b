#include <random>
#include <set>

#include <kz3/lattiq/cleaning.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::remove_degenerated;

dense2D<unsigned> random_elements(std::size_t rows, std::size_t count, unsigned nodes,
                                  unsigned seed)
{
    std::mt19937 draw(seed);
    dense2D<unsigned> connectM(rows, count);
    for (std::size_t e = 0; e < count; ++e)
        for (std::size_t k = 0; k < rows; ++k) {
            const unsigned node = unsigned(draw() % (nodes + 2));
            connectM(k, e) = node < nodes ? node : none;
        }
    return connectM;
}

bool is_degenerate(const dense1D<unsigned>& nodes, bool strict)
{
    std::set<unsigned> seen;
    for (const unsigned node : nodes)
        if (!seen.insert(node).second && (strict || node != none)) return true;
    return false;
}

} // namespace

TEST(RemoveDegenerated, DropsTheElementThatNamesANodeTwice)
{
    auto connectM = columns<unsigned>({{0, 1, 2}, {1, 3, 1}, {2, 1, 3}, {4, 4, 5}, {3, 4, 5}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(remove_degenerated(connectM, id_map, false), 2);
    EXPECT_TRUE(same(connectM, columns<unsigned>({{0, 1, 2}, {2, 1, 3}, {3, 4, 5}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, none, 1, none, 2}));
}

TEST(RemoveDegenerated, KeepsAMeshWithoutRepeatsAndGivesTheIdentity)
{
    auto connectM = columns<unsigned>({{7, 1}, {1, 7}, {2, 0}});
    const auto before = duplicate(connectM);
    dense1D<unsigned> id_map{9, 9, 9, 9, 9};
    ASSERT_EQ(remove_degenerated(connectM, id_map, true), 0);
    EXPECT_TRUE(same(connectM, before));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2}));
}

TEST(RemoveDegenerated, MayDropEveryElement)
{
    auto connectM = columns<unsigned>({{0, 0}, {5, 5}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(remove_degenerated(connectM, id_map, false), 2);
    EXPECT_EQ(connectM.rows, 2U);
    EXPECT_EQ(connectM.cols, 0U);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{none, none}));
}

TEST(RemoveDegenerated, EmptiesTheMapOfAnEmptyMatrix)
{
    dense2D<unsigned> connectM;
    dense1D<unsigned> id_map{1, 2};
    EXPECT_EQ(remove_degenerated(connectM, id_map, true), 0);
    EXPECT_EQ(id_map.size, 0U);

    dense2D<unsigned> no_columns(3, 0);
    id_map = dense1D<unsigned>{1, 2};
    EXPECT_EQ(remove_degenerated(no_columns, id_map, true), 0);
    EXPECT_EQ(id_map.size, 0U);
    EXPECT_EQ(no_columns.rows, 3U);
}

TEST(RemoveDegenerated, DropsARealNodeTwiceBesideAHoleWhateverStrictIs)
{
    for (const bool strict : {false, true}) {
        auto connectM = columns<unsigned>({{3, 5, 3, none}});
        dense1D<unsigned> id_map;
        EXPECT_EQ(remove_degenerated(connectM, id_map, strict), 1) << strict;
        EXPECT_TRUE(same(id_map, dense1D<unsigned>{none}));
    }
}

TEST(RemoveDegenerated, DropsARealNodeTwiceBesideSeveralHoles)
{
    auto connectM = columns<unsigned>({{none, none, 4, none, 4}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(remove_degenerated(connectM, id_map, false), 1);
}

TEST(RemoveDegenerated, CountsRepeatedHolesOnlyWhenStrict)
{
    auto connectM = columns<unsigned>({{3, 5, none, none}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(remove_degenerated(connectM, id_map, false), 0);
    EXPECT_TRUE(same(connectM, columns<unsigned>({{3, 5, none, none}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0}));
    EXPECT_EQ(remove_degenerated(connectM, id_map, true), 1);
    EXPECT_EQ(connectM.cols, 0U);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{none}));
}

TEST(RemoveDegenerated, KeepsASingleHoleWhenStrict)
{
    auto connectM = columns<unsigned>({{3, 5, 7, none}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(remove_degenerated(connectM, id_map, true), 0);
}

TEST(RemoveDegenerated, NeverDropsFromAMatrixOfOneRow)
{
    auto connectM = columns<unsigned>({{3}, {3}, {none}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(remove_degenerated(connectM, id_map, true), 0);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2}));
}

TEST(RemoveDegenerated, KeepsColumnsWithoutRows)
{
    dense2D<unsigned> connectM(0, 3);
    dense1D<unsigned> id_map;
    EXPECT_EQ(remove_degenerated(connectM, id_map, true), 0);
    EXPECT_EQ(connectM.cols, 3U);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2}));
}

TEST(RemoveDegenerated, StaysInsideAStridedView)
{
    strided<unsigned> mesh(columns<unsigned>({{0, 0, 1}, {0, 1, 2}, {4, 4, 4}, {2, 1, 3}}));
    dense1D<unsigned> id_map;
    ASSERT_EQ(remove_degenerated(mesh.view, id_map, false), 2);
    EXPECT_TRUE(same(mesh.view, columns<unsigned>({{0, 1, 2}, {2, 1, 3}})));
    EXPECT_TRUE(mesh.gaps_untouched());
}

TEST(RemoveDegenerated, KeepsExactlyTheElementsWithoutRepeats)
{
    for (const std::size_t rows : {2, 3, 4, 8, 20, 27})
        for (const bool strict : {false, true}) {
            SCOPED_TRACE(testing::Message() << rows << " rows, strict " << strict << ", seed 11");
            const auto original = random_elements(rows, 300, unsigned(rows * rows), 11);
            auto connectM = duplicate(original);
            dense1D<unsigned> id_map;
            const int removed = remove_degenerated(connectM, id_map, strict);
            ASSERT_GT(removed, 0);
            ASSERT_EQ(connectM.cols + std::size_t(removed), original.cols);
            ASSERT_EQ(id_map.size, original.cols);
            unsigned next = 0;
            for (std::size_t e = 0; e < original.cols; ++e) {
                const unsigned expected = is_degenerate(original.col(e), strict) ? none : next++;
                ASSERT_EQ(id_map[e], expected) << e;
                if (expected != none) {
                    ASSERT_TRUE(same(connectM.col(expected), original.col(e))) << e;
                }
            }
        }
}

TEST(RemoveDegenerated, RemovesElementsWithoutMemoryForTheMap)
{
    const auto runs =
        allocation::sweep<allocation::fail_containers>([](std::size_t n, auto&& attempt) {
            auto connectM = columns<unsigned>({{0, 1, 2}, {1, 3, 1}, {2, 1, 3}});
            dense1D<unsigned> id_map;
            EXPECT_EQ(attempt([&] { return remove_degenerated(connectM, id_map, false); }), 1) << n;
            EXPECT_TRUE(same(connectM, columns<unsigned>({{0, 1, 2}, {2, 1, 3}})));
            if (n == 1)
                EXPECT_EQ(id_map.size, 0U);
            else
                EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, none, 1}));
        });
    EXPECT_EQ(runs, 1U);
}

TEST(RemoveDegenerated, ChangesNothingWhenTheScratchListThrows)
{
    const std::size_t live = allocation::live_blocks();
    const auto runs = allocation::sweep<allocation::fail_new>([](std::size_t n, auto&& attempt) {
        dense2D<unsigned> connectM(20, 2); // tall enough to be sorted
        for (unsigned k = 0; k < 20; ++k) connectM(k, 0) = connectM(k, 1) = k;
        connectM(7, 1) = 12;
        dense1D<unsigned> id_map{7};
        if (n > 1) {
            EXPECT_EQ(attempt([&] { return remove_degenerated(connectM, id_map, false); }), 1);
            return;
        }
        EXPECT_THROW(attempt([&] { return remove_degenerated(connectM, id_map, false); }),
                     std::bad_alloc);
        EXPECT_EQ(connectM.cols, 2U);
        EXPECT_TRUE(same(id_map, dense1D<unsigned>{7}));
    });
    EXPECT_EQ(runs, 1U);
    EXPECT_EQ(allocation::live_blocks(), live);
}
