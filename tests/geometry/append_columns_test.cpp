#include "geometry/append_columns.h"

#include "geometry/nodes.h"
#include "support/allocation.h"

namespace {
using kz3::lattiq::detail::append_columns;
using kz3::lattiq::detail::append_selected_columns;

} // namespace

TEST(AppendColumns, DoublesItsRoomSoThatRepeatedAppendsStayCheap)
{
    const auto one = columns<unsigned>({{1, 2, 3}});
    dense2D<unsigned> all;
    const std::size_t before = allocation::calls();
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(append_columns(one, all));
    EXPECT_LE(allocation::calls() - before, 12U); // 2^10 is above 1000
    EXPECT_EQ(all.cols, 1000U);
    EXPECT_TRUE(same(all.sub_matrix(0, 999, 3, 1), one));
}

TEST(AppendColumns, FillsRowsThatAColumnLacks)
{
    auto all = columns<unsigned>({{1, 2, 3, 4}});
    ASSERT_TRUE(append_columns(columns<unsigned>({{5, 6}}), all));
    EXPECT_TRUE(same(all, columns<unsigned>({{1, 2, 3, 4}, {5, 6, none, none}})));
    auto low = columns<unsigned>({{5, 6}});
    ASSERT_TRUE(append_columns(columns<unsigned>({{1, 2, 3}}), low));
    EXPECT_TRUE(same(low, columns<unsigned>({{5, 6, none}, {1, 2, 3}})));
}

TEST(AppendColumns, TakesSelectedColumnsOfTheMatrixItAppendsTo)
{
    auto pos = points(3);
    ASSERT_TRUE(append_selected_columns(pos, dense1D<unsigned>{2, 0, 2, 99, 4}, pos));
    // 99 is no column, and 4 was none when it was asked for.
    EXPECT_TRUE(same(pos, points({0, 1, 2, 2, 0, 2, 0, 0})));
    ASSERT_TRUE(append_selected_columns(pos, dense1D<unsigned>(), pos));
    EXPECT_EQ(pos.cols, 8U);
}

TEST(AppendColumns, LeavesTheMatrixAsItWasWithoutMemory)
{
    auto pos = points(3);
    const dense1D<unsigned> all{0, 1, 2, 0, 1, 2, 0, 1, 2};
    const allocation::fail_containers broken(1, true);
    EXPECT_FALSE(append_selected_columns(pos, all, pos));
    EXPECT_EQ(pos.cols, 3U);
}

TEST(AppendColumns, FillsColumnsThatHadNoRows)
{
    dense2D<unsigned> all(0, 2);
    ASSERT_TRUE(append_columns(columns<unsigned>({{1, 2}}), all));
    EXPECT_TRUE(same(all, columns<unsigned>({{none, none}, {none, none}, {1, 2}})));
    dense2D<double> pos(0, 1);
    ASSERT_TRUE(append_selected_columns(points(2), dense1D<unsigned>{1}, pos));
    EXPECT_TRUE(same(pos, columns<double>({{0, 0}, {1, 10}})));
}

TEST(AppendColumns, OfNoneStillTakesTheGreaterHeight)
{
    auto pos = columns<double>({{4}, {5}});
    ASSERT_TRUE(append_selected_columns(points(2), dense1D<unsigned>(), pos));
    EXPECT_TRUE(same(pos, columns<double>({{4, 0}, {5, 0}})));
}

TEST(AppendColumns, DoublesTheRoomAtOnceWhereLessWouldDo)
{
    auto all = columns<unsigned>({{1}, {2}, {3}, {4}, {5}, {6}, {7}, {8}});
    ASSERT_TRUE(append_columns(columns<unsigned>({{9}, {10}, {11}}), all));
    EXPECT_GE(all.column_capacity(), 16U); // 8 and the larger of 3 and 8
    auto few = columns<unsigned>({{1}});
    ASSERT_TRUE(append_columns(all, few));
    EXPECT_GE(few.column_capacity(), 12U);
    EXPECT_LT(few.column_capacity(), 22U); // 1 and the larger of 11 and 1, not a doubling of all
}

TEST(AppendColumns, TakesColumnsOfViewsThatShareTheStorageThatGrows)
{
    auto pos = points(4);
    const dense2D<double> last = pos.sub_matrix(0, 2, 2, 2);
    ASSERT_TRUE(append_selected_columns(last, dense1D<unsigned>{1, 0}, pos));
    EXPECT_TRUE(same(pos, points({0, 1, 2, 3, 3, 2})));
}

TEST(AppendColumns, TakesColumnsOfAnyHeight)
{
    for (unsigned rows = 1; rows <= 9; ++rows) {
        dense2D<unsigned> all(rows, 40);
        for (unsigned j = 0; j < 40; ++j)
            for (unsigned i = 0; i < rows; ++i) all(i, j) = 10 * j + i;
        const auto before = duplicate(all);
        dense1D<unsigned> ids;
        for (unsigned k = 0; k < 40; ++k) ids.push_back(k * 7 % 41); // 40 too, which is none
        ASSERT_TRUE(append_selected_columns(all, ids, all));
        ASSERT_EQ(all.cols, 80U);
        EXPECT_TRUE(same(all.sub_matrix(0, 0, rows, 40), before));
        for (unsigned k = 0; k < 40; ++k)
            for (unsigned i = 0; i < rows; ++i)
                EXPECT_EQ(all(i, 40 + k), ids[k] < 40 ? 10 * ids[k] + i : none) << rows;
    }
}
