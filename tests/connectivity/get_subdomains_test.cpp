#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetSubdomains, ListsAChainByDistanceAndThenTheNextPiece)
{
    const auto neighbors = columns<unsigned>({{none, 2}, {2, none}, {0, 1}, {none, none}});
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(neighbors, sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 2, 1, 3}));
    EXPECT_TRUE(same(offsets, {0, 3, 4}));
}
