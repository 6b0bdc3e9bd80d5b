#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetAncestors, KeepsTheLastElementThatHoldsANode)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense1D<unsigned> ancestors;
    ASSERT_EQ(get_ancestors(tria, ancestors), 0);
    EXPECT_TRUE(same(ancestors, {0, 1, 1, 1}));
}
