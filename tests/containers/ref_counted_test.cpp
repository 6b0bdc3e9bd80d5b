#include "support/same.h"

TEST(Placeholder, Builds)
{
    EXPECT_TRUE(same(dense1D<unsigned>{1, 2}, dense1D<unsigned>{1, 2}));
    EXPECT_EQ(columns<unsigned>({{1u, 2u}}).rows, 2u);
}
