#include <kz3/lattiq/core.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(MaxID, OverlooksHoles)
{
    EXPECT_EQ(max_ID(dense1D<unsigned>{3, none, 7}), 7u);
    EXPECT_EQ(max_ID(dense1D<unsigned>{none, 7, 3}), 7u);
    EXPECT_EQ(max_ID(columns<unsigned>({{3, none}, {7, 1}})), 7u);
    EXPECT_EQ(max_ID(dense1D<unsigned>{none - 1, none}), none - 1);
}

TEST(MaxID, OfNothingIsNoNode)
{
    EXPECT_EQ(max_ID(dense1D<unsigned>()), none);
    EXPECT_EQ(max_ID(dense2D<unsigned>()), none);
    EXPECT_EQ(max_ID(dense2D<unsigned>(0, 3)), none);
    EXPECT_EQ(max_ID(dense2D<unsigned>(3, 0)), none);
}

TEST(MaxID, OfHolesAloneIsZero)
{
    EXPECT_EQ(max_ID(dense1D<unsigned>{none}), 0u);
    EXPECT_EQ(max_ID(dense1D<unsigned>{none, none}), 0u);
    EXPECT_EQ(max_ID(dense2D<unsigned>(2, 2, none)), 0u);
}

TEST(MaxID, LooksOnlyInsideTheView)
{
    dense1D<unsigned> ids{99, 3, 7, 99};
    EXPECT_EQ(max_ID(ids.sub_vector(1, 2)), 7u);
    EXPECT_EQ(max_ID(ids.sub_vector(1, 0)), none);
    const strided<unsigned> m(columns<unsigned>({{1, 2}, {8, none}, {4, 5}}), 99);
    EXPECT_EQ(max_ID(m.view), 8u);
}

TEST(MaxID, FindsTheLargestInEveryPlace)
{
    for (size_t at = 0; at < 70; ++at) {
        dense1D<unsigned> ids(70, 5u);
        ids[at] = 6;
        EXPECT_EQ(max_ID(ids), 6u) << at;
        dense2D<unsigned> m(7, 10, 5);
        m(at % 7, at / 7) = 6;
        EXPECT_EQ(max_ID(m), 6u) << at;
        EXPECT_EQ(max_ID(strided<unsigned>(m, 9).view), 6u) << at;
    }
}
