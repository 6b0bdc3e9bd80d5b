#pragma once

#include <algorithm>
#include <new>

#include "support/allocation.h"
#include "support/same.h"

/// Where the nodes of a motion come from. The list made from a connectivity may lack nodes that it
/// found no memory for; those stay.
enum class moved_nodes { given, collected };

/// Runs a motion of three nodes in one row, which it must widen, with every allocation refused in turn.
///
/// A motion has no code for it: it moves the rows that there are, as it moves them where nothing is
/// refused, and returns as many nodes as it moved (`counts`) or 0. Where std::bad_alloc leaves, nothing
/// has moved. Every motion must change the first row of each node that it moves.
template <typename Motion>
void sweep_motion(moved_nodes nodes, bool counts, Motion motion)
{
    const auto start = columns<double>({{2}, {3}, {4}});
    auto moved = duplicate(start);
    const int all = motion(moved);

    const auto check = [&](const dense2D<double>& pos, int code, std::size_t n) {
        int changed = 0;
        ASSERT_EQ(pos.cols, 3U) << "allocation " << n;
        ASSERT_TRUE(pos.rows == 1 || pos.rows == moved.rows) << "allocation " << n;
        for (std::size_t j = 0; j < pos.cols; ++j) {
            const bool stays = pos(0, j) == start(0, j);
            changed += !stays;
            for (std::size_t d = 0; d < pos.rows; ++d) {
                const double old = d == 0 ? start(0, j) : 0.0;
                EXPECT_EQ(pos(d, j), stays ? old : moved(d, j)) << "allocation " << n;
            }
        }
        EXPECT_EQ(code, counts ? changed : 0) << "allocation " << n;
        if (nodes == moved_nodes::given) {
            EXPECT_EQ(code, all) << "allocation " << n;
        }
    };
    const auto attempt = [&](std::size_t n, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            auto pos = duplicate(start);
            try {
                const int code = run([&] { return motion(pos); });
                check(pos, code, n);
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(same(pos, start)) << "allocation " << n;
            }
        }
        EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        const std::size_t thrown = allocation::sweep<allocation::fail_new>(attempt, onwards);
        EXPECT_EQ(thrown > 0, nodes == moved_nodes::collected);
    }
}
