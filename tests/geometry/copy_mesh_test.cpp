#include <cmath>
#include <new>

#include <kz3/lattiq/geometry.h>

#include "geometry/append_columns.h"

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::copy_mesh;
using kz3::lattiq::rotate;
using kz3::lattiq::translate;
using kz3::lattiq::detail::append_columns;
using kz3::lattiq::detail::append_selected_columns;

// Node j stands at (j, 10 * j).
dense2D<double> points(std::size_t n)
{
    dense2D<double> pos(2, n);
    for (std::size_t j = 0; j < n; ++j) {
        pos(0, j) = double(j);
        pos(1, j) = 10.0 * double(j);
    }
    return pos;
}

dense2D<double> points(std::initializer_list<unsigned> which)
{
    dense2D<double> pos(2, which.size());
    std::size_t k = 0;
    for (const unsigned j : which) {
        pos(0, k) = j;
        pos(1, k++) = 10.0 * j;
    }
    return pos;
}

} // namespace

TEST(CopyMesh, AppendsTheNodesInTheOrderInWhichTheyAreFirstUsed)
{
    auto pos = points(10);
    const auto tria = columns<unsigned>({{5, 2, 7}, {2, 7, 9}});
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, tria), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{10, 11, 12}, {11, 12, 13}})));
    ASSERT_EQ(pos.cols, 14U);
    EXPECT_TRUE(same(pos.sub_matrix(0, 0, 2, 10), points(10)));
    EXPECT_TRUE(same(pos.sub_matrix(0, 10, 2, 4), points({5, 2, 7, 9})));
    EXPECT_TRUE(same(tria, columns<unsigned>({{5, 2, 7}, {2, 7, 9}})));
}

TEST(CopyMesh, KeepsTheHolesOfAMixedMatrix)
{
    auto pos = points(5);
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{4, 1, 2, none}, {1, 2, 3, 4}})), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{5, 6, 7, none}, {6, 7, 8, 5}})));
}

TEST(CopyMesh, OfAnEmptyConnectivityLeavesTheNodesAndEmptiesTheCopy)
{
    auto pos = points(3);
    auto copied = columns<unsigned>({{0, 1}});
    EXPECT_EQ(copy_mesh(pos, copied, dense2D<unsigned>()), 0);
    EXPECT_TRUE(copied.empty());
    EXPECT_TRUE(same(pos, points(3)));
}

TEST(CopyMesh, ReplacesWhatTheCopyHeld)
{
    auto pos = points(3);
    auto copied = columns<unsigned>({{0, 1}, {1, 2}, {2, 0}});
    const dense2D<unsigned> view(copied);
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{2, 0, 1}})), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{3, 4, 5}})));
    EXPECT_TRUE(same(view, columns<unsigned>({{0, 1}, {1, 2}, {2, 0}})));
}

TEST(CopyMesh, TakesACopyOntoItself)
{
    auto pos = points(3);
    auto bars = columns<unsigned>({{2, 0}});
    ASSERT_EQ(copy_mesh(pos, bars, bars), 0);
    EXPECT_TRUE(same(bars, columns<unsigned>({{3, 4}})));
    EXPECT_TRUE(same(pos.sub_matrix(0, 3, 2, 2), points({2, 0})));
}

TEST(CopyMesh, ReadsStridedViews)
{
    strided<unsigned> bars(columns<unsigned>({{2, 0}, {0, 1}}));
    strided<double> pos(points(3));
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos.view, copied, bars.view), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{3, 4}, {4, 5}})));
    EXPECT_TRUE(same(pos.view.sub_matrix(0, 3, 2, 3), points({2, 0, 1})));
    EXPECT_TRUE(bars.gaps_untouched());
    EXPECT_TRUE(same(bars.view, columns<unsigned>({{2, 0}, {0, 1}})));
}

TEST(CopyMesh, InSeriesTurnsAndMovesEachCopyAStepFurther)
{
    const vector_fixed<double, 2> step{100, 200};
    const vector_fixed<double, 2> center{1, 1};
    const double angle = 0.3;
    const auto bars = columns<unsigned>({{1, 0}});
    auto pos = points(2);
    auto copies = columns<unsigned>({{8, 9}});
    ASSERT_EQ(copy_mesh(pos, copies, step, center, angle, 2, bars), 0);
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}, {2, 3}, {4, 5}})));
    ASSERT_EQ(pos.cols, 6U);
    EXPECT_TRUE(same(pos.sub_matrix(0, 0, 2, 2), points(2)));
    for (unsigned i = 0; i < 2; ++i) {
        auto expected = points({1, 0});
        const double t = double(i) + 1;
        rotate(expected, center, t * angle);
        translate(expected, vector_fixed<double, 2>{t * step[0], t * step[1]});
        EXPECT_TRUE(same(pos.sub_matrix(0, 2 + 2 * i, 2, 2), expected)) << i;
    }
}

TEST(CopyMesh, InSeriesWidensAPlaneMeshInSpace)
{
    const vector_fixed<double, 3> step{0, 0, 5};
    const vector_fixed<double, 3> center{0, 0, 0};
    const vector_fixed<double, 3> r{0, 0.25, 0};
    auto pos = points(2);
    dense2D<unsigned> copies;
    ASSERT_EQ(copy_mesh(pos, copies, step, center, r, 3, columns<unsigned>({{0, 1}})), 0);
    EXPECT_TRUE(same(copies, columns<unsigned>({{2, 3}, {4, 5}, {6, 7}})));
    ASSERT_EQ(pos.rows, 3U);
    EXPECT_EQ(pos(2, 1), 0.0);
    auto expected = columns<double>({{0, 0, 0}, {1, 10, 0}});
    rotate(expected, center, vector_fixed<double, 3>{0, 3 * 0.25, 0});
    translate(expected, vector_fixed<double, 3>{0, 0, 15});
    EXPECT_TRUE(same(pos.sub_matrix(0, 6, 3, 2), expected));
}

TEST(CopyMesh, InSeriesOfNoneOrOfNothingChangesNothing)
{
    auto pos = points(2);
    auto copies = columns<unsigned>({{8, 9}});
    const vector_fixed<double, 2> step{1, 1};
    EXPECT_EQ(copy_mesh(pos, copies, step, step, 1.0, 0, columns<unsigned>({{0, 1}})), 0);
    EXPECT_TRUE(same(pos, points(2)));
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}})));

    dense2D<double> nothing;
    const vector_fixed<double, 3> step3{1, 1, 1};
    EXPECT_EQ(copy_mesh(nothing, copies, step3, step3, step3, 4, dense2D<unsigned>()), 0);
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}})));
}

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
    ASSERT_TRUE(append_selected_columns(pos, dense1D<unsigned>{2, 0, 2, 99}, pos));
    EXPECT_TRUE(same(pos.sub_matrix(0, 3, 2, 3), points({2, 0, 2})));
    EXPECT_TRUE(same(pos.sub_matrix(0, 6, 2, 1), columns<double>({{0, 0}})));
    ASSERT_TRUE(append_selected_columns(pos, dense1D<unsigned>(), pos));
    EXPECT_EQ(pos.cols, 7U);
}

TEST(AppendColumns, LeavesTheMatrixAsItWasWithoutMemory)
{
    auto pos = points(3);
    const dense1D<unsigned> all{0, 1, 2, 0, 1, 2, 0, 1, 2};
    const allocation::fail_containers broken(1, true);
    EXPECT_FALSE(append_selected_columns(pos, all, pos));
    EXPECT_EQ(pos.cols, 3U);
}

namespace {

/// Copies with every allocation refused in turn: -199 or success, nothing leaked, the old nodes as they
/// were. A list of nodes that was cut short copies fewer of them.
template <typename Copy>
void sweep_copy(Copy copy)
{
    const auto attempt = [&](std::size_t n, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            auto pos = points(3);
            dense2D<unsigned> copied;
            try {
                const int code = run([&] { return copy(pos, copied); });
                EXPECT_TRUE(code == 0 || code == -199) << code << ", allocation " << n;
            } catch (const std::bad_alloc&) {
            }
            ASSERT_GE(pos.cols, 3U);
            for (std::size_t j = 0; j < 3; ++j) EXPECT_EQ(pos(1, j), 10.0 * double(j));
        }
        EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
}

} // namespace

TEST(CopyMesh, SurvivesExhaustedMemory)
{
    const auto bars = columns<unsigned>({{0, 1}, {1, 2}});
    const vector_fixed<double, 2> v2{1, 2};
    const vector_fixed<double, 3> v3{1, 2, 3};
    sweep_copy([&](auto& pos, auto& copied) { return copy_mesh(pos, copied, bars); });
    sweep_copy(
        [&](auto& pos, auto& copied) { return copy_mesh(pos, copied, v2, v2, 1.0, 3, bars); });
    sweep_copy(
        [&](auto& pos, auto& copied) { return copy_mesh(pos, copied, v3, v3, v3, 3, bars); });
}

TEST(CopyMesh, ReportsThatTheCopyOrTheMapFoundNoMemory)
{
    const auto bars = columns<unsigned>({{0, 1}, {1, 2}});
    std::size_t refused = 0;
    allocation::sweep<allocation::fail_containers>([&](std::size_t, auto run) {
        auto pos = points(3);
        dense2D<unsigned> copied;
        refused += run([&] { return copy_mesh(pos, copied, bars); }) == -199;
    });
    EXPECT_GE(refused, 2U);
}

TEST(CopyMesh, LeavesHolesForNodesThatItsListFoundNoMemoryFor)
{
    // More nodes than elements, so that the list of them has to grow; and the storage that other lists
    // leave behind is full of IDs of the first nodes.
    const auto hexa = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7}});
    bool cut_short = false;
    allocation::sweep<allocation::fail_containers>([&](std::size_t, auto run) {
        auto pos = points(8);
        dense2D<unsigned> copied;
        {
            dense1D<unsigned> used;
            used.resize(8, 0U);
        }
        if (run([&] { return copy_mesh(pos, copied, hexa); }) != 0) return;
        cut_short = cut_short || pos.cols < 16;
        for (std::size_t i = 0; i < 8; ++i) {
            const unsigned node = copied(i, 0);
            if (node == none) continue;
            ASSERT_LT(node, pos.cols);
            EXPECT_GE(node, 8U);
            EXPECT_EQ(pos(0, node), double(i));
        }
    });
    EXPECT_TRUE(cut_short);
}

TEST(CopyMesh, InSeriesNeverMovesTheNodesItCopies)
{
    const auto hexa = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7}});
    const vector_fixed<double, 2> step{100, 200};
    allocation::sweep<allocation::fail_containers>([&](std::size_t n, auto run) {
        auto pos = points(8);
        dense2D<unsigned> copied;
        run([&] { return copy_mesh(pos, copied, step, step, 1.0, 2, hexa); });
        for (std::size_t j = 0; j < 8; ++j)
            EXPECT_EQ(pos(1, j), 10.0 * double(j)) << "allocation " << n;
    });
}
