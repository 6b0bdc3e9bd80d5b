#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetNodeGraph, RelatesAllNodesOfATriangle)
{
    const auto tria = columns<unsigned>({{0, 1, 2}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 2, 4, 6}));
    EXPECT_TRUE(same(values, {1, 2, 0, 2, 0, 1}));
}
