#include <kz3/fixed.h>

#include <cstring>
#include <type_traits>

#include <gtest/gtest.h>

using kz3::matrix_fixed;
using kz3::symmetric_fixed;
using kz3::vector_fixed;

TEST(VectorFixed, IsNothingButItsElements)
{
    EXPECT_EQ(sizeof(vector_fixed<double, 2>), 16u);
    EXPECT_EQ(sizeof(vector_fixed<double, 3>), 24u);
    EXPECT_EQ(sizeof(vector_fixed<unsigned, 2>), 8u);
    EXPECT_TRUE((std::is_trivially_copyable_v<vector_fixed<double, 3>>));
    EXPECT_TRUE((std::is_aggregate_v<vector_fixed<double, 3>>));
    const vector_fixed<unsigned, 2> v{8, 9};
    EXPECT_EQ(reinterpret_cast<const unsigned*>(&v)[0], 8u);
    EXPECT_EQ(reinterpret_cast<const unsigned*>(&v)[1], 9u);
}

TEST(VectorFixed, AssignmentOfAValueWritesAllEntriesAndReturnsIt)
{
    vector_fixed<double, 3> v{1, 2, 3};
    EXPECT_EQ((v = 7.5), 7.5);
    for (const double x : v) EXPECT_EQ(x, 7.5);
    vector_fixed<double, 2> w{1, 2};
    EXPECT_EQ((w = -1.0), -1.0);
    EXPECT_EQ(w[0], -1.0);
    EXPECT_EQ(w[1], -1.0);
}

TEST(MatrixFixed, StoresColumnByColumn)
{
    EXPECT_EQ(sizeof(matrix_fixed<double, 2, 2>), 32u);
    EXPECT_EQ(sizeof(matrix_fixed<double, 3, 3>), 72u);
    EXPECT_EQ(sizeof(matrix_fixed<double, 3, 2>), 48u);
    matrix_fixed<double, 3, 2> m{0, 1, 2, 3, 4, 5};
    EXPECT_EQ(m(2, 0), 2);
    EXPECT_EQ(m(0, 1), 3);
    EXPECT_EQ(m(1, 1), 4);
    m(2, 1) = 50;
    EXPECT_EQ(m.data[5], 50);
}

TEST(MatrixFixed, ColIsTwoWordsWithThePlaceInTheSecond)
{
    matrix_fixed<double, 3, 3> m{0, 1, 2, 3, 4, 5, 6, 7, 8};
    for (std::size_t j = 0; j < 3; ++j) {
        auto walk = m.col(j);
        void* words[2];
        static_assert(sizeof(walk) == sizeof(words));
        std::memcpy(words, &walk, sizeof(words));
        EXPECT_EQ(words[1], m.data + 3 * j);
    }
    matrix_fixed<double, 2, 2> n{0, 1, 2, 3};
    EXPECT_EQ(n.col(1).get(), n.data + 2);
}

TEST(MatrixFixed, ColWalksAndWritesItsColumn)
{
    matrix_fixed<double, 2, 2> m{0, 1, 2, 3};
    auto walk = m.col(1);
    EXPECT_EQ(walk[1], 3);
    *walk = 20;
    ++walk;
    *walk = 30;
    EXPECT_EQ(m(0, 1), 20);
    EXPECT_EQ(m(1, 1), 30);
    EXPECT_TRUE(m.col(0) != walk);
    auto end = m.col(0);
    EXPECT_TRUE(++ ++end == m.col(1));
}

TEST(SymmetricFixed, PacksTheUpperTriangleByColumns)
{
    EXPECT_EQ(sizeof(symmetric_fixed<double, 2>), 24u);
    EXPECT_EQ(sizeof(symmetric_fixed<double, 3>), 48u);
    const symmetric_fixed<double, 2> a{0, 1, 11};
    EXPECT_EQ(a(0, 0), 0);
    EXPECT_EQ(a(0, 1), 1);
    EXPECT_EQ(a(1, 0), 1);
    EXPECT_EQ(a(1, 1), 11);
    const symmetric_fixed<double, 3> b{0, 1, 11, 2, 12, 22};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = i; j < 3; ++j) {
            EXPECT_EQ(b(i, j), double(10 * i + j));
            EXPECT_EQ(b(j, i), double(10 * i + j));
        }
    EXPECT_EQ(b[3], 2);
}
