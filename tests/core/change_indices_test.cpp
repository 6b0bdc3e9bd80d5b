#include <kz3/lattiq/core.h>

#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

TEST(ChangeIndices, MapsEachElementOnceThroughTheTable)
{
    dense1D<unsigned> ids{0, 1, 2, 1};
    change_indices(ids, dense1D<unsigned>{1, 2, 0});
    EXPECT_TRUE(same(ids, dense1D<unsigned>{1, 2, 0, 2}));
    auto m = columns<unsigned>({{0, 1, 2}, {2, 1, 0}});
    change_indices(m, dense1D<unsigned>{1, 2, 0});
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2, 0}, {0, 2, 1}})));
}

TEST(ChangeIndices, ChangesNothingWithAnEmptyTable)
{
    dense1D<unsigned> ids{0, none, 2};
    change_indices(ids, dense1D<unsigned>());
    EXPECT_TRUE(same(ids, dense1D<unsigned>{0, none, 2}));
    auto m = columns<unsigned>({{0, none, 2}});
    change_indices(m, dense1D<unsigned>());
    EXPECT_TRUE(same(m, columns<unsigned>({{0, none, 2}})));
}

TEST(ChangeIndices, LeavesWhatStandsBeyondTheTable)
{
    dense1D<unsigned> ids{0, 1, 2, 3, none};
    change_indices(ids, dense1D<unsigned>{9, 8});
    EXPECT_TRUE(same(ids, dense1D<unsigned>{9, 8, 2, 3, none}));
    auto m = columns<unsigned>({{0, 1, 2, 3, none}});
    change_indices(m, dense1D<unsigned>{9, 8});
    EXPECT_TRUE(same(m, columns<unsigned>({{9, 8, 2, 3, none}})));
}

TEST(ChangeIndices, MakesHolesOfTableEntriesThatAreHoles)
{
    dense1D<unsigned> ids{0, 1, 0};
    change_indices(ids, dense1D<unsigned>{none, 4});
    EXPECT_TRUE(same(ids, dense1D<unsigned>{none, 4, none}));
}

TEST(ChangeIndices, AcceptsEmptyInput)
{
    dense1D<unsigned> ids;
    change_indices(ids, dense1D<unsigned>{1});
    EXPECT_EQ(ids.size, 0u);
    dense2D<unsigned> m(0, 3);
    change_indices(m, dense1D<unsigned>{1});
    EXPECT_TRUE(m.empty());
}

TEST(ChangeIndices, WritesOnlyInsideTheView)
{
    strided<unsigned> m(columns<unsigned>({{0, 1, 2}, {2, 1, 0}}), 1);
    change_indices(m.view, dense1D<unsigned>{5, 6, 7});
    EXPECT_TRUE(same(m.view, columns<unsigned>({{5, 6, 7}, {7, 6, 5}})));
    EXPECT_TRUE(m.gaps_untouched());
}

TEST(ChangeIndices, ReadsATableThatIsAView)
{
    dense1D<unsigned> table{77, 5, 6, 77};
    dense1D<unsigned> ids{0, 1, 2};
    change_indices(ids, table.sub_vector(1, 2));
    EXPECT_TRUE(same(ids, dense1D<unsigned>{5, 6, 2}));
}

TEST(ChangeIndices, MapsAListThroughItselfElementByElement)
{
    dense1D<unsigned> ids{1, 2, 0};
    change_indices(ids, ids);
    // [0] becomes ids[1] = 2, [1] then ids[2] = 0, [2] last ids[0], which is 2 by now.
    EXPECT_TRUE(same(ids, dense1D<unsigned>{2, 0, 2}));
}

TEST(ChangeIndices, NeedsNoMemory)
{
    dense1D<unsigned> ids{0, 1};
    const dense1D<unsigned> table{1, 0};
    auto m = columns<unsigned>({{0, 1, 2}});
    const allocation::fail_containers no_blocks(1, true);
    const allocation::fail_new no_new(1, true);
    change_indices(ids, table);
    change_indices(m, table);
    EXPECT_FALSE(no_blocks.fired());
    EXPECT_FALSE(no_new.fired());
}
