#include <kz3/lattiq/core.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetIDs, MatchesAReversedTriangleUnlessOrdered)
{
    const auto first = columns<unsigned>({{1, 2, 3}});
    const auto second = columns<unsigned>({{2, 1, 3}});
    dense1D<unsigned> second_to_first;
    dense1D<unsigned> first_to_second;
    EXPECT_EQ(get_IDs(first, second, second_to_first, first_to_second, true), 0);
    EXPECT_TRUE(same(second_to_first, dense1D<unsigned>{none}));
    EXPECT_TRUE(same(first_to_second, dense1D<unsigned>{none}));
    EXPECT_EQ(get_IDs(first, second, second_to_first, first_to_second, false), 0);
    EXPECT_TRUE(same(second_to_first, dense1D<unsigned>{0}));
    EXPECT_TRUE(same(first_to_second, dense1D<unsigned>{0}));
}
