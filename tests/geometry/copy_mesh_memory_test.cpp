#include <new>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/geometry.h>

#include "geometry/nodes.h"
#include "support/allocation.h"

namespace {
using kz3::lattiq::copy_mesh;

const auto two_bars = columns<unsigned>({{0, 1}, {1, 2}});
const auto held = columns<unsigned>({{9}});

/// Copies two bars on three nodes, with one container allocation refused or all from it on. The
/// allocations are, in order: the list of nodes, the room for their copies, the copied connectivity and
/// the map.
struct refused_copy {
    refused_copy(std::size_t n, bool onwards) : view(copied)
    {
        const allocation::fail_containers broken(n, onwards);
        code = copy_mesh(pos, copied, two_bars);
        EXPECT_TRUE(broken.fired());
    }

    dense2D<double> pos = points(3);
    dense2D<unsigned> copied = duplicate(held);
    dense2D<unsigned> view; // keeps the copy from using its storage again
    int code = 0;
};

} // namespace

TEST(CopyMesh, DoesWithoutTheEstimatesOfWhatItNeeds)
{
    for (const std::size_t n : {1U, 2U}) {
        const refused_copy copy(n, false);
        EXPECT_EQ(copy.code, 0) << n;
        EXPECT_TRUE(same(copy.pos, points({0, 1, 2, 0, 1, 2}))) << n;
        EXPECT_TRUE(same(copy.copied, columns<unsigned>({{3, 4}, {4, 5}}))) << n;
    }
}

TEST(CopyMesh, ReportsThatTheNodesFoundNoMemory)
{
    const refused_copy copy(2, true);
    EXPECT_EQ(copy.code, -199);
    EXPECT_TRUE(same(copy.pos, points(3)));
    EXPECT_TRUE(same(copy.copied, held));
}

TEST(CopyMesh, ReportsThatTheCopyFoundNoMemory)
{
    for (const bool onwards : {false, true}) {
        const refused_copy copy(3, onwards);
        EXPECT_EQ(copy.code, -199);
        EXPECT_TRUE(same(copy.pos, points({0, 1, 2, 0, 1, 2})));
        EXPECT_TRUE(same(copy.copied, held));
    }
    const refused_copy without_a_list(1, true);
    EXPECT_EQ(without_a_list.code, -199);
    EXPECT_TRUE(same(without_a_list.pos, points(3)));
    EXPECT_TRUE(same(without_a_list.copied, held));
}

TEST(CopyMesh, ReportsThatTheMapFoundNoMemory)
{
    for (const bool onwards : {false, true}) {
        const refused_copy copy(4, onwards);
        EXPECT_EQ(copy.code, -199);
        EXPECT_TRUE(same(copy.pos, points({0, 1, 2, 0, 1, 2})));
        EXPECT_TRUE(same(copy.copied, two_bars));
    }
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

TEST(CopyMesh, LeavesAHoleForANodeThatTheListFindsNoMemoryFor)
{
    // For one column the list starts with room for 4; the fifth node asks for more and is lost.
    const auto hexa = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7}});
    for (const unsigned nodes : {8U, 1000U}) { // all of them are copied, or few
        auto pos = points(nodes);
        dense2D<unsigned> copied;
        {
            const allocation::fail_containers broken(2);
            EXPECT_EQ(copy_mesh(pos, copied, hexa), 0);
            ASSERT_TRUE(broken.fired());
        }
        auto expected = columns<unsigned>({{0, 1, 2, 3, none, 4, 5, 6}});
        kz3::lattiq::shift_indices(expected, int(nodes), kz3::lattiq::ET_SOLID_MIX);
        EXPECT_TRUE(same(copied, expected));
        EXPECT_TRUE(same(pos.sub_matrix(0, nodes, 2, 7), points({0, 1, 2, 3, 5, 6, 7})));
    }
}

TEST(CopyMesh, SurvivesExhaustedMemory)
{
    bool thrown = false;
    const auto attempt = [&](std::size_t n, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            auto pos = points(3);
            dense2D<unsigned> copied;
            int code = -199;
            try {
                code = run([&] { return copy_mesh(pos, copied, two_bars); });
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            EXPECT_TRUE(code == 0 || code == -199) << code << ", allocation " << n;
            const auto both = points({0, 1, 2, 0, 1, 2});
            EXPECT_TRUE(same(pos, pos.cols == 3 ? points(3) : both)) << "allocation " << n;
            const auto complete = columns<unsigned>({{3, 4}, {4, 5}});
            if (code == 0)
                EXPECT_TRUE(same(copied, complete)) << "allocation " << n;
            else
                EXPECT_TRUE(copied.empty() || same(copied, two_bars)) << "allocation " << n;
        }
        EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
    EXPECT_TRUE(thrown);
}

namespace {

/// A series of three copies of two bars with every allocation refused in turn. After a failure the
/// copies made before it are there: nodes in threes, and behind them perhaps those of one step that did
/// not end; columns in twos.
template <typename Copy>
void sweep_series(Copy copy)
{
    bool reported_after_some = false;
    bool lost_the_last_columns = false;
    const auto attempt = [&](std::size_t n, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            auto pos = points(3);
            dense2D<unsigned> copies;
            int code = -199;
            try {
                code = run([&] { return copy(pos, copies); });
            } catch (const std::bad_alloc&) {
            }
            EXPECT_TRUE(code == 0 || code == -199) << code << ", allocation " << n;
            EXPECT_TRUE(same(pos.sub_matrix(0, 0, 2, 3), points(3))) << "allocation " << n;
            EXPECT_EQ(pos.cols % 3, 0U) << "allocation " << n;
            EXPECT_EQ(copies.cols % 2, 0U) << "allocation " << n;
            EXPECT_TRUE(code != 0 || pos.cols == 12) << "allocation " << n;
            for (std::size_t j = 0; j < copies.cols; ++j)
                for (std::size_t k = 0; k < 2; ++k) EXPECT_LT(copies(k, j), pos.cols);
            reported_after_some = reported_after_some || (code != 0 && copies.cols == 4);
            lost_the_last_columns = lost_the_last_columns || (code == 0 && copies.cols == 4);
        }
        EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
    EXPECT_TRUE(reported_after_some);
    EXPECT_TRUE(lost_the_last_columns);
}

} // namespace

TEST(CopyMesh, InSeriesKeepsEarlierCopiesWhenMemoryIsExhausted)
{
    const vector_fixed<double, 2> v2{1, 2};
    const vector_fixed<double, 3> v3{1, 2, 3};
    sweep_series(
        [&](auto& pos, auto& copies) { return copy_mesh(pos, copies, v2, v2, 1.0, 3, two_bars); });
    sweep_series(
        [&](auto& pos, auto& copies) { return copy_mesh(pos, copies, v3, v3, v3, 3, two_bars); });
}
