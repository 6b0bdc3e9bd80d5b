#include "formats/split_connectivities.h"

#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/element_type.h>

#include "support/exhausted.h"
#include "support/same.h"

using namespace kz3::lattiq;
using detail::split_connectivities;

namespace {

struct SplitConnectivities : testing::Test {
    std::vector<dense2D<unsigned>> matrices;
    dense1D<unsigned> kinds;
    dense1D<unsigned> origins;

    int split(const std::vector<dense2D<unsigned>>& range, const dense1D<int>& types)
    {
        return split_connectivities(range.data(), range.data() + range.size(), types, matrices,
                                    kinds, origins);
    }
};

TEST_F(SplitConnectivities, SharesTheElementsOfOneKind)
{
    const auto bars = columns<unsigned>({{0, 1}, {1, 2}});
    ASSERT_EQ(split({bars}, {ET_BAR2}), 0);
    ASSERT_EQ(matrices.size(), 1U);
    EXPECT_EQ(matrices[0].vec.get(), bars.vec.get());
    EXPECT_TRUE(same(matrices[0], bars));
    EXPECT_TRUE(same(kinds, {ET_BAR2}));
    EXPECT_TRUE(same(origins, {0}));
}

TEST_F(SplitConnectivities, GroupsFacesByNodeCountInFallingColumnOrder)
{
    const strided<unsigned> faces(
        columns<unsigned>({{0, 1, 2, none}, {3, 4, 5, 6}, {7, 8, 9, none}, {1, 2, 3, 4}}));
    const auto before = duplicate(faces.parent);
    ASSERT_EQ(split({faces.view}, {ET_FACE_MIX}), 0);
    ASSERT_EQ(matrices.size(), 2U);
    EXPECT_TRUE(same(matrices[0], columns<unsigned>({{1, 2, 3, 4}, {3, 4, 5, 6}})));
    EXPECT_TRUE(same(matrices[1], columns<unsigned>({{7, 8, 9}, {0, 1, 2}})));
    EXPECT_EQ(matrices[0].vec.get(), matrices[1].vec.get());
    EXPECT_TRUE(same(kinds, {ET_QUAD4, ET_TRIA3}));
    EXPECT_TRUE(same(origins, {0, 0}));
    EXPECT_TRUE(same(faces.parent, before));
}

TEST_F(SplitConnectivities, TellsAllSolidsApart)
{
    const auto solids = columns<unsigned>({{0, 1, 2, 3, none, 9, 9, 9},
                                           {0, 1, 2, 3, 4, none, 9, 9},
                                           {0, 1, 2, 3, 4, 5, none, 9},
                                           {0, 1, 2, 3, 4, 5, 6, 7}});
    ASSERT_EQ(split({solids}, {ET_SOLID_MIX}), 0);
    ASSERT_EQ(matrices.size(), 4U);
    EXPECT_TRUE(same(matrices[0], columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7}})));
    EXPECT_TRUE(same(matrices[1], columns<unsigned>({{0, 1, 2, 3, 4, 5}})));
    EXPECT_TRUE(same(matrices[2], columns<unsigned>({{0, 1, 2, 3, 4}})));
    EXPECT_TRUE(same(matrices[3], columns<unsigned>({{0, 1, 2, 3}})));
    EXPECT_TRUE(same(kinds, {ET_HEXA8, ET_PENTA6, ET_PYRA5, ET_TETRA4}));
    EXPECT_TRUE(same(origins, {0, 0, 0, 0}));
}

TEST_F(SplitConnectivities, LeavesOutCountsThatAreNoElement)
{
    // Neither a face of 2 or 1 nor a solid of 7, 3 or 0 nodes.
    ASSERT_EQ(split({columns<unsigned>({{0, 1, none, 3}, {4, none, 5, 6}, {0, 1, 2, 3}}),
                     columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, none},
                                        {0, 1, 2, none, 4, 5, 6, 7},
                                        {none, 1, 2, 3, 4, 5, 6, 7},
                                        {8, 1, 2, 3, none, 5, 6, 7}})},
                    {ET_FACE_MIX, ET_SOLID_MIX}),
              0);
    ASSERT_EQ(matrices.size(), 2U);
    EXPECT_TRUE(same(matrices[0], columns<unsigned>({{0, 1, 2, 3}})));
    EXPECT_TRUE(same(matrices[1], columns<unsigned>({{8, 1, 2, 3}})));
    EXPECT_TRUE(same(kinds, {ET_QUAD4, ET_TETRA4}));
    EXPECT_TRUE(same(origins, {0, 1}));
}

TEST_F(SplitConnectivities, PassesOverEmptyMatricesAndKeepsCounting)
{
    ASSERT_EQ(split({dense2D<unsigned>(), columns<unsigned>({{0, 1}}), dense2D<unsigned>(4, 0, 0),
                     columns<unsigned>({{0, 1, 2}}), dense2D<unsigned>(0, 3, 0),
                     columns<unsigned>({{5}})},
                    {ET_HEXA8, ET_BAR2, ET_FACE_MIX, ET_FACE_MIX, ET_SOLID_MIX, ET_NODE}),
              0);
    ASSERT_EQ(matrices.size(), 3U);
    EXPECT_TRUE(same(kinds, {ET_BAR2, ET_TRIA3, ET_NODE}));
    EXPECT_TRUE(same(origins, {1, 3, 5}));
}

TEST_F(SplitConnectivities, EmptiesItsResultsFirst)
{
    ASSERT_EQ(split({columns<unsigned>({{0, 1}})}, {ET_BAR2}), 0);
    ASSERT_EQ(split({}, {}), 0);
    EXPECT_TRUE(matrices.empty());
    EXPECT_EQ(kinds.size, 0U);
    EXPECT_EQ(origins.size, 0U);
}

TEST_F(SplitConnectivities, ReportsExhaustedMemory)
{
    const auto faces = columns<unsigned>({{0, 1, 2, none}, {3, 4, 5, 6}});
    const auto before = duplicate(faces);
    const dense1D<int> types{ET_FACE_MIX};
    const auto call = [&] {
        std::vector<dense2D<unsigned>> m;
        dense1D<unsigned> k, o;
        return split_connectivities(&faces, &faces + 1, types, m, k, o);
    };
    EXPECT_GT(exhaust<allocation::fail_containers>({-199}, call), 0U);
    EXPECT_GT(exhaust<allocation::fail_new>({-199}, call), 0U);
    EXPECT_TRUE(same(faces, before));

    // No refusal passes for a success: the first is the copy of the mixed matrix.
    const allocation::fail_containers first(1);
    EXPECT_EQ(call(), -199);
}

} // namespace
