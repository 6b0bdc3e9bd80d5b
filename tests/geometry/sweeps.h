#pragma once

#include <new>

#include "support/allocation.h"
#include "support/same.h"

/// Runs a motion of three nodes in one row, which it must widen, with every allocation refused in turn.
/// A motion has no code for it: it must stay in bounds, leak nothing and leave a matrix of 3 columns.
template <typename Motion>
void sweep_motion(Motion motion)
{
    const auto one_row = columns<double>({{1}, {2}, {3}});
    const auto try_all = [&](auto breaker, bool onwards) {
        using broken = decltype(breaker);
        allocation::sweep<typename broken::type>(
            [&](std::size_t n, auto run) {
                const std::size_t blocks = allocation::live_blocks();
                {
                    auto pos = duplicate(one_row);
                    try {
                        EXPECT_GE(run([&] { return motion(pos); }), 0) << "allocation " << n;
                    } catch (const std::bad_alloc&) {
                    }
                    EXPECT_EQ(pos.cols, 3U) << "allocation " << n;
                    EXPECT_GE(pos.rows, 1U) << "allocation " << n;
                }
                EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
            },
            onwards);
    };
    for (const bool onwards : {false, true}) {
        try_all(std::type_identity<allocation::fail_containers>(), onwards);
        try_all(std::type_identity<allocation::fail_new>(), onwards);
    }
}
