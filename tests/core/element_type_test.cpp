#include <kz3/lattiq/element_type.h>

#include <cstdint>
#include <iterator>
#include <type_traits>

#include <gtest/gtest.h>

using namespace kz3::lattiq;

TEST(ElementType, IsA32BitEnumeration)
{
    EXPECT_EQ(sizeof(element_type), 4u);
    EXPECT_TRUE(std::is_enum_v<element_type>);
}

TEST(ElementType, HasFixedValues)
{
    EXPECT_EQ(ET_NONE, 0);
    EXPECT_EQ(ET_NODE, 1);
    EXPECT_EQ(ET_BAR2, 3);
    EXPECT_EQ(ET_BAR3, 4);
    EXPECT_EQ(ET_FACE_MIX, 5);
    EXPECT_EQ(ET_TRIA3, 6);
    EXPECT_EQ(ET_QUAD4, 7);
    EXPECT_EQ(ET_TRIA6, 8);
    EXPECT_EQ(ET_QUAD8, 9);
    EXPECT_EQ(ET_QUAD9, 10);
    EXPECT_EQ(ET_SOLID_MIX, 11);
    EXPECT_EQ(ET_TETRA4, 12);
    EXPECT_EQ(ET_TETRA10, 13);
    EXPECT_EQ(ET_PYRA5, 14);
    EXPECT_EQ(ET_PYRA14, 15);
    EXPECT_EQ(ET_PENTA6, 16);
    EXPECT_EQ(ET_PENTA18, 17);
    EXPECT_EQ(ET_HEXA8, 18);
    EXPECT_EQ(ET_HEXA20, 19);
    EXPECT_EQ(ET_HEXA27, 20);
}

TEST(ElementTypeNodes, HoldsTheNodesOfEachKind)
{
    constexpr std::uint32_t nodes[] = {0, 1, 0,  2, 3,  0, 3,  4, 6,  8,  9,
                                       0, 4, 10, 5, 14, 6, 18, 8, 20, 27, 0};
    ASSERT_EQ(std::size(element_type_nodes), 22u);
    EXPECT_EQ(sizeof(element_type_nodes), 88u);
    for (std::size_t type = 0; type < 22; ++type)
        EXPECT_EQ(element_type_nodes[type], nodes[type]) << "kind " << type;
}

TEST(ElementTypeNodes, AgreesWithTheNamesOfTheKinds)
{
    EXPECT_EQ(element_type_nodes[ET_NODE], 1u);
    EXPECT_EQ(element_type_nodes[ET_BAR2], 2u);
    EXPECT_EQ(element_type_nodes[ET_BAR3], 3u);
    EXPECT_EQ(element_type_nodes[ET_TRIA3], 3u);
    EXPECT_EQ(element_type_nodes[ET_QUAD4], 4u);
    EXPECT_EQ(element_type_nodes[ET_TRIA6], 6u);
    EXPECT_EQ(element_type_nodes[ET_QUAD8], 8u);
    EXPECT_EQ(element_type_nodes[ET_QUAD9], 9u);
    EXPECT_EQ(element_type_nodes[ET_TETRA4], 4u);
    EXPECT_EQ(element_type_nodes[ET_TETRA10], 10u);
    EXPECT_EQ(element_type_nodes[ET_PYRA5], 5u);
    EXPECT_EQ(element_type_nodes[ET_PYRA14], 14u);
    EXPECT_EQ(element_type_nodes[ET_PENTA6], 6u);
    EXPECT_EQ(element_type_nodes[ET_PENTA18], 18u);
    EXPECT_EQ(element_type_nodes[ET_HEXA8], 8u);
    EXPECT_EQ(element_type_nodes[ET_HEXA20], 20u);
    EXPECT_EQ(element_type_nodes[ET_HEXA27], 27u);
    EXPECT_EQ(element_type_nodes[ET_FACE_MIX], 0u);
    EXPECT_EQ(element_type_nodes[ET_SOLID_MIX], 0u);
}

TEST(NoNode, IsTheLargest32BitValue)
{
    EXPECT_EQ(NO_NODE, 0xFFFFFFFFu);
    EXPECT_TRUE((std::is_same_v<decltype(NO_NODE), const unsigned>));
}
