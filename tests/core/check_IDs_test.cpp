#include <kz3/lattiq/core.h>

#include "support/same.h"

using namespace kz3::lattiq;

TEST(CheckIDs, AcceptsAnEmptyListForAnyBound)
{
    EXPECT_TRUE(check_IDs(dense1D<unsigned>(), 0));
}

TEST(CheckIDs, AcceptsHolesInAListForAnyBound)
{
    EXPECT_TRUE(check_IDs(dense1D<unsigned>{none}, 0));
    EXPECT_TRUE(check_IDs(dense1D<unsigned>{none, none, none}, 0));
    EXPECT_TRUE(check_IDs(dense1D<unsigned>{0, none, 4}, 5));
}

TEST(CheckIDs, ComparesStrictlyWithTheBound)
{
    EXPECT_TRUE(check_IDs(dense1D<unsigned>{4}, 5));
    EXPECT_FALSE(check_IDs(dense1D<unsigned>{5}, 5));
    EXPECT_FALSE(check_IDs(dense1D<unsigned>{0}, 0));
    EXPECT_TRUE(check_IDs(dense1D<unsigned>{none - 1}, none));
    EXPECT_FALSE(check_IDs(dense1D<unsigned>{none - 1}, none - 1));
}

TEST(CheckIDs, FindsOneBadIDAnywhereInALongList)
{
    dense1D<unsigned> ids(5000, 9u);
    EXPECT_TRUE(check_IDs(ids, 10));
    for (const size_t bad : {0, 1, 1023, 1024, 1025, 2047, 2048, 4998, 4999}) {
        ids[bad] = 10;
        EXPECT_FALSE(check_IDs(ids, 10)) << bad;
        ids[bad] = 9;
    }
}

TEST(CheckIDs, LooksAtNothingOutsideAListView)
{
    dense1D<unsigned> ids{77, 1, 2, 77};
    EXPECT_TRUE(check_IDs(ids.sub_vector(1, 2), 3));
    EXPECT_FALSE(check_IDs(ids.sub_vector(0, 2), 3));
    EXPECT_FALSE(check_IDs(ids.sub_vector(2, 2), 3));
}

TEST(CheckIDs, AcceptsHolesAnywhereInAMatrixWithoutType)
{
    EXPECT_TRUE(check_IDs(columns<unsigned>({{none, 0, 1}, {2, none, none}}), 3));
    EXPECT_TRUE(check_IDs(columns<unsigned>({{none, none}}), 0));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{none, 0, 1}, {2, none, 3}}), 3));
}

TEST(CheckIDs, JudgesEmptinessOfAMatrixByTheProduct)
{
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(), 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(0, 4), 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(3, 0), 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(0, 4), ET_TRIA3, 0));
}

TEST(CheckIDs, LooksOnlyAtRowsInsideTheView)
{
    const strided<unsigned> ids(columns<unsigned>({{0, 1, 2}, {2, 1, 3}}), 77);
    EXPECT_TRUE(check_IDs(ids.view, 4));
    EXPECT_FALSE(check_IDs(ids.view, 3));
    EXPECT_TRUE(check_IDs(ids.view, ET_TRIA3, 4));
    EXPECT_FALSE(check_IDs(ids.view, ET_TRIA3, 3));
}

TEST(CheckIDs, AcceptsAnEmptyMatrixWhateverTheType)
{
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(3, 0), ET_TETRA4, 0));
    EXPECT_FALSE(check_IDs(dense2D<unsigned>(3, 1, 0), ET_TETRA4, 1));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(5, 0), ET_FACE_MIX, 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(7, 0), ET_SOLID_MIX, 0));
    EXPECT_TRUE(check_IDs(dense2D<unsigned>(), ET_NONE, 0));
}

TEST(CheckIDs, WantsTheRowsOfAPlainKind)
{
    constexpr std::pair<element_type, size_t> kinds[] = {
        {ET_NODE, 1},    {ET_BAR2, 2},    {ET_BAR3, 3},   {ET_TRIA3, 3},    {ET_QUAD4, 4},
        {ET_TRIA6, 6},   {ET_QUAD8, 8},   {ET_QUAD9, 9},  {ET_TETRA4, 4},   {ET_TETRA10, 10},
        {ET_PYRA5, 5},   {ET_PYRA14, 14}, {ET_PENTA6, 6}, {ET_PENTA18, 18}, {ET_HEXA8, 8},
        {ET_HEXA20, 20}, {ET_HEXA27, 27}};
    for (const auto& [type, nodes] : kinds)
        for (size_t rows = 1; rows < 30; ++rows)
            EXPECT_EQ(check_IDs(dense2D<unsigned>(rows, 2, 0), type, 1), rows == nodes)
                << type << " with " << rows << " rows";
}

TEST(CheckIDs, RefusesKindsWithoutNodes)
{
    for (const int type : {0, 2, 21})
        for (size_t rows = 1; rows < 30; ++rows)
            EXPECT_FALSE(check_IDs(dense2D<unsigned>(rows, 1, 0), element_type(type), 1));
}

TEST(CheckIDs, RefusesHolesInAPlainKind)
{
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2}}), ET_TRIA3, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, none}}), ET_TRIA3, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, 2, none}}), ET_QUAD4, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, none}}), ET_TRIA3, none));
}

TEST(CheckIDs, TakesAHoleForTheEndOfAMixedFaceInRowThreeOnly)
{
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, none}}), ET_FACE_MIX, 3));
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 2}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, 2, 3}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, none, 2}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, none, 1, 2}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{none, 0, 1, 2}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, none, none}}), ET_FACE_MIX, none));
}

TEST(CheckIDs, RefusesHolesInMixedFacesOfThreeRows)
{
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, none}}), ET_FACE_MIX, 3));
}

TEST(CheckIDs, WantsThreeOrFourRowsOfMixedFaces)
{
    for (size_t rows = 1; rows < 12; ++rows)
        EXPECT_EQ(check_IDs(dense2D<unsigned>(rows, 2, 0), ET_FACE_MIX, 1), rows == 3 || rows == 4)
            << rows;
}

TEST(CheckIDs, WantsTheRowsOfASolidForMixedSolids)
{
    for (size_t rows = 1; rows < 12; ++rows)
        EXPECT_EQ(check_IDs(dense2D<unsigned>(rows, 2, 0), ET_SOLID_MIX, 1),
                  rows == 4 || rows == 5 || rows == 6 || rows == 8)
            << rows;
}

TEST(CheckIDs, TakesAHoleForTheEndOfAMixedSolidInRowsFourToSix)
{
    const auto accepted = [](std::initializer_list<unsigned> node) {
        return check_IDs(columns<unsigned>({{0, 0, 0, 0, 0, 0, 0, 0}, node}), ET_SOLID_MIX, 8);
    };
    EXPECT_TRUE(accepted({0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_TRUE(accepted({0, 1, 2, 3, none, none, none, none}));
    EXPECT_TRUE(accepted({0, 1, 2, 3, 4, none, none, none}));
    EXPECT_TRUE(accepted({0, 1, 2, 3, 4, 5, none, none}));
    EXPECT_FALSE(accepted({0, 1, 2, 3, 4, 5, 6, none}));
    EXPECT_FALSE(accepted({0, 1, 2, none, none, none, none, none}));
    EXPECT_FALSE(accepted({none, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_FALSE(accepted({0, 1, 2, 3, 8, none, none, none}));
}

TEST(CheckIDs, DoesNotLookBelowTheEndOfAMixedSolid)
{
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 3, none, 99, 99, 99}}), ET_SOLID_MIX, 4));
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 3, 3, none, 99, 99}}), ET_SOLID_MIX, 4));
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 3, 3, 3, none, 99}}), ET_SOLID_MIX, 4));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, 2, 4, none, 99, 99, 99}}), ET_SOLID_MIX, 4));
}

TEST(CheckIDs, LooksAtTheColumnAfterAShortElement)
{
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, 2, none}, {0, 1, 9, none}}), ET_FACE_MIX, 3));
    EXPECT_FALSE(
        check_IDs(columns<unsigned>({{0, 1, 2, 0, none, 0, 0, 0}, {0, 1, 9, 0, 0, 0, 0, 0}}),
                  ET_SOLID_MIX, 3));
}

TEST(CheckIDs, AcceptsTheMarksInMixedSolidsOfFiveAndSixRows)
{
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 3, none}}), ET_SOLID_MIX, 4));
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 3, none, 99}}), ET_SOLID_MIX, 4));
    EXPECT_TRUE(check_IDs(columns<unsigned>({{0, 1, 2, 3, 3, none}}), ET_SOLID_MIX, 4));
    EXPECT_FALSE(check_IDs(columns<unsigned>({{0, 1, 2, none}}), ET_SOLID_MIX, 4));
}
