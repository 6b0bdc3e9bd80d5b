#include <kz3/lattiq/core.h>

#include <limits>

#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

TEST(ShiftIndices, MovesAListAndSparesHoles)
{
    dense1D<unsigned> ids{0, none, 5};
    EXPECT_EQ(shift_indices(ids, 3), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{3, none, 8}));
}

TEST(ShiftIndices, WrapsAroundForNegativeShifts)
{
    dense1D<unsigned> ids{0, none, 5};
    EXPECT_EQ(shift_indices(ids, -2), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{none - 1, none, 3}));
    EXPECT_EQ(shift_indices(ids, std::numeric_limits<int>::min()), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{0x7FFFFFFE, none, 0x80000003}));
}

TEST(ShiftIndices, AnIDThatReachesNoNodeIsAHoleFromThenOn)
{
    dense1D<unsigned> ids{none - 1, 0};
    EXPECT_EQ(shift_indices(ids, 1), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{none, 1}));
    EXPECT_EQ(shift_indices(ids, -1), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{none, 0}));
}

TEST(ShiftIndices, AcceptsEmptyInputAndNoShift)
{
    dense1D<unsigned> ids;
    EXPECT_EQ(shift_indices(ids, 3), 0);
    EXPECT_EQ(ids.size, 0u);
    dense2D<unsigned> m;
    EXPECT_EQ(shift_indices(m, 3, ET_TRIA3), 0);
    EXPECT_EQ(shift_indices(m, 3, ET_FACE_MIX), 0);
    EXPECT_TRUE(m.empty());
    dense1D<unsigned> kept{1, none};
    EXPECT_EQ(shift_indices(kept, 0), 0);
    EXPECT_TRUE(same(kept, dense1D<unsigned>{1, none}));
    auto tria = columns<unsigned>({{1, none, 2}});
    EXPECT_EQ(shift_indices(tria, 0, ET_TRIA3), 0);
    EXPECT_TRUE(same(tria, columns<unsigned>({{1, none, 2}})));
}

TEST(ShiftIndices, MovesHolesOfAPlainKind)
{
    auto m = columns<unsigned>({{0, 1, none}, {4, 5, 6}});
    EXPECT_EQ(shift_indices(m, 1, ET_TRIA3), 0);
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2, 0}, {5, 6, 7}})));
}

TEST(ShiftIndices, SparesHolesOfTheMixedKinds)
{
    auto face = columns<unsigned>({{0, 1, 2, none}, {4, 5, 6, 7}});
    EXPECT_EQ(shift_indices(face, 1, ET_FACE_MIX), 0);
    EXPECT_TRUE(same(face, columns<unsigned>({{1, 2, 3, none}, {5, 6, 7, 8}})));
    auto solid = columns<unsigned>({{0, 1, 2, 3, none, 9, none, none}});
    EXPECT_EQ(shift_indices(solid, -1, ET_SOLID_MIX), 0);
    // What stands below the end of the element moves along.
    EXPECT_TRUE(same(solid, columns<unsigned>({{none, 0, 1, 2, none, 8, none, none}})));
}

TEST(ShiftIndices, LooksAtTheKindOnlyForBeingMixed)
{
    for (int type = -1; type < 30; ++type) {
        const bool mixed = type == 5 || type == 11;
        auto m = columns<unsigned>({{1, none}}); // the height of no mixed kind
        EXPECT_EQ(shift_indices(m, 2, element_type(type)), 0);
        EXPECT_TRUE(same(m, columns<unsigned>({{3, mixed ? none : 1}}))) << type;
    }
}

TEST(ShiftIndices, WritesOnlyInsideTheView)
{
    for (const element_type type : {ET_TRIA3, ET_FACE_MIX}) {
        strided<unsigned> m(columns<unsigned>({{0, 1, 2}, {3, 4, 5}}));
        EXPECT_EQ(shift_indices(m.view, 10, type), 0);
        EXPECT_TRUE(same(m.view, columns<unsigned>({{10, 11, 12}, {13, 14, 15}})));
        EXPECT_TRUE(m.gaps_untouched());
    }
    dense1D<unsigned> ids{1, 2, 3, 4};
    dense1D<unsigned> middle = ids.sub_vector(1, 2);
    EXPECT_EQ(shift_indices(middle, 10), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{1, 12, 13, 4}));
}

TEST(ShiftIndices, ComesBackByTheOppositeShift)
{
    dense2D<unsigned> m(5, 40);
    for (size_t e = 0; e < m.cols; ++e)
        for (size_t k = 0; k < m.rows; ++k) m(k, e) = unsigned(e * 77777777 + k);
    const auto before = duplicate(m);
    EXPECT_EQ(shift_indices(m, 123456789, ET_PYRA5), 0);
    EXPECT_FALSE(same(m, before));
    EXPECT_EQ(shift_indices(m, -123456789, ET_PYRA5), 0);
    EXPECT_TRUE(same(m, before));
}

TEST(ShiftIndices, NeedsNoMemory)
{
    dense1D<unsigned> ids{0, 1};
    auto m = columns<unsigned>({{0, 1, 2}});
    const allocation::fail_containers no_blocks(1, true);
    const allocation::fail_new no_new(1, true);
    shift_indices(ids, 1);
    shift_indices(m, 1, ET_TRIA3);
    EXPECT_FALSE(no_blocks.fired());
    EXPECT_FALSE(no_new.fired());
}
