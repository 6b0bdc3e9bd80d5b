#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetConnectedElements, GivesEachNodeOfATriangleTheTriangle)
{
    const auto tria = columns<unsigned>({{0, 1, 2}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 2, 3}));
    EXPECT_TRUE(same(values, {0, 0, 0}));
}
