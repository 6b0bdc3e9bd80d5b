#include <kz3/lapack/dspev.h>

#include "metrics/tensors.h"

using kz3::lapack::dspev;

namespace {

// Eigenvalues 1, 3 and 5: ((2, 1, 0), (1, 2, 0), (0, 0, 5)).
constexpr tensor3 blocks{2, 1, 2, 0, 0, 5};

} // namespace

TEST(Dspev, GivesEigenvaluesAscending)
{
    tensor3 ap = blocks;
    double w[3] = {};
    double work[9];
    std::int32_t info = 7;
    EXPECT_EQ(dspev('N', 'U', 3, ap.data, w, nullptr, 1, work, info), 0);
    EXPECT_EQ(info, 0);
    EXPECT_NEAR(w[0], 1, 1e-14);
    EXPECT_NEAR(w[1], 3, 1e-14);
    EXPECT_NEAR(w[2], 5, 1e-14);
}

TEST(Dspev, GivesEigenvectorsInColumnsOfTheLeadingDimension)
{
    tensor3 ap = blocks;
    double w[3] = {};
    double z[12];
    std::fill_n(z, 12, -9.0);
    double work[9];
    std::int32_t info = 7;
    EXPECT_EQ(dspev('V', 'U', 3, ap.data, w, z, 4, work, info), 0);
    EXPECT_NEAR(std::fabs(z[0]), std::sqrt(0.5), 1e-14);
    EXPECT_NEAR(z[0] + z[1], 0, 1e-14);
    EXPECT_NEAR(std::fabs(z[10]), 1, 1e-14);
    for (const int gap : {3, 7, 11}) EXPECT_EQ(z[gap], -9.0);
}

TEST(Dspev, ReadsTheLowerTriangleToo)
{
    double ap[] = {2, 1, 0, 2, 0, 5}; // the columns of blocks from the diagonal down
    double w[3] = {};
    double work[9];
    std::int32_t info = 7;
    EXPECT_EQ(dspev('n', 'l', 3, ap, w, nullptr, 1, work, info), 0);
    EXPECT_NEAR(w[0], 1, 1e-14);
    EXPECT_NEAR(w[1], 3, 1e-14);
    EXPECT_NEAR(w[2], 5, 1e-14);
}

TEST(Dspev, HasNothingToDoForAnEmptyMatrix)
{
    double w = -9;
    std::int32_t info = 7;
    EXPECT_EQ(dspev('N', 'U', 0, nullptr, &w, nullptr, 1, nullptr, info), 0);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(w, -9);
}

TEST(Dspev, NamesTheFirstWrongArgumentAndTouchesNothing)
{
    struct {
        char jobz, uplo;
        std::int32_t n, ldz;
        int code;
    } const rows[] = {
        {'X', 'U', 3, 3, -1},  {'X', 'X', 3, 3, -1},  {'V', 'X', 3, 3, -2}, {'V', 'X', -1, 3, -2},
        {'V', 'U', -1, 3, -3}, {'V', 'U', -1, 0, -3}, {'V', 'U', 3, 2, -7}, {'N', 'U', 3, 0, -7},
    };
    for (const auto& row : rows) {
        tensor3 ap = blocks;
        double w[3] = {-9, -9, -9};
        double z[9] = {-9};
        double work[9];
        std::int32_t info = 7;
        EXPECT_EQ(dspev(row.jobz, row.uplo, row.n, ap.data, w, z, row.ldz, work, info), row.code);
        EXPECT_EQ(info, row.code);
        EXPECT_TRUE(same(ap, blocks));
        EXPECT_EQ(w[0], -9);
        EXPECT_EQ(z[0], -9);
    }
}
