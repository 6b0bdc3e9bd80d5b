#include <kz3/lattiq/connectivity.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetNeighbors, JoinsTwoTrianglesAcrossTheirCommonEdge)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, none, none}, {none, none, 0}})));
}
