#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(SortElfes, GathersSolidsByFallingCountAndFallingIndex)
{
    auto solid = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7},
                                    {8, 9, 10, 11, none, none, none, none},
                                    {12, 13, 14, 15, 16, 17, 18, 19},
                                    {20, 21, 22, 23, none, none, none, none}});
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(solid, nodes, ends, moved), 0);
    EXPECT_TRUE(same(solid, columns<unsigned>({{12, 13, 14, 15, 16, 17, 18, 19},
                                               {0, 1, 2, 3, 4, 5, 6, 7},
                                               {20, 21, 22, 23, none, none, none, none},
                                               {8, 9, 10, 11, none, none, none, none}})));
    EXPECT_TRUE(same(nodes, {8, 4}));
    EXPECT_TRUE(same(ends, {2, 4}));
    EXPECT_TRUE(same(moved, {1, 3, 0, 2}));
}
