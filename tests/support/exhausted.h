#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/files.h"

/// Calls with every allocation of the Breaker's kind refused in turn, then with all from it on. Each
/// refused call must give one of the codes, or for fail_new may throw std::bad_alloc, and leak
/// neither storage nor a descriptor; only the last call, with nothing refused, may give 0. check(n)
/// looks at the state after each call. Returns the number of calls with an allocation refused.
template <typename Breaker, typename Call, typename Check>
std::size_t exhaust(const std::vector<int>& codes, Call call, Check check)
{
    constexpr bool may_throw = std::is_same_v<Breaker, allocation::fail_new>;
    const std::size_t descriptors = open_descriptors();
    std::size_t refused = 0;
    for (const bool onwards : {false, true}) {
        std::size_t successes = 0;
        refused += allocation::sweep<Breaker>(
            [&](std::size_t n, auto run) {
                const std::size_t blocks = allocation::live_blocks();
                bool threw = false;
                int code = 0;
                try {
                    code = run(call);
                } catch (const std::bad_alloc&) {
                    threw = true;
                }
                const bool success = !threw && code == 0;
                const bool documented =
                    threw || success || std::count(codes.begin(), codes.end(), code) != 0;
                successes += success;
                EXPECT_TRUE(documented) << "code " << code << ", allocation " << n;
                EXPECT_TRUE(!threw || may_throw) << "allocation " << n;
                EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
                EXPECT_EQ(open_descriptors(), descriptors) << "allocation " << n;
                check(n);
            },
            onwards);
        EXPECT_EQ(successes, 1U) << "a call succeeded that was refused memory";
    }
    return refused;
}

template <typename Breaker, typename Call>
std::size_t exhaust(const std::vector<int>& codes, Call call)
{
    return exhaust<Breaker>(codes, call, [](std::size_t) {});
}
