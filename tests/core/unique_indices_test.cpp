#include <kz3/lattiq/core.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(UniqueIndices, AppendsInOrderOfFirstOccurrenceBehindTheContent)
{
    dense1D<unsigned> indices{2};
    EXPECT_EQ(unique_indices(indices, dense1D<unsigned>{4, 2, 4, none, 7}), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{2, 4, 2, 7}));
}
