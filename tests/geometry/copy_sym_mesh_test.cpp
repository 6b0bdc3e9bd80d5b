#include <limits>
#include <new>

#include <kz3/lattiq/geometry.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::copy_sym_mesh;

const double nan_value = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(CopySymMesh, MirrorsInALine)
{
    auto pos = columns<double>({{3, 5}, {1, 0}});
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 2>{1, 0},
                            vector_fixed<double, 2>{2, 0}, columns<unsigned>({{1, 0}})),
              0);
    EXPECT_TRUE(same(mirrored, columns<unsigned>({{2, 3}})));
    EXPECT_TRUE(same(pos, columns<double>({{3, 5}, {1, 0}, {1, 0}, {-1, 5}})));
}

TEST(CopySymMesh, MirrorsInAPlane)
{
    auto pos = columns<double>({{1, 2, 3}});
    dense2D<unsigned> mirrored;
    // The plane x + y + z = 3: (1, 2, 3) lies 3 / sqrt(3) beyond it.
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 3>{1, 1, 1},
                            vector_fixed<double, 3>{1, 1, 1}, columns<unsigned>({{0}})),
              0);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2, 3}, {-1, 0, 1}})));
}

TEST(CopySymMesh, KeepsTheOrderOfNodesSoThatElementsTurnRound)
{
    auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1}});
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 2>{0, 0},
                            vector_fixed<double, 2>{1, 0}, columns<unsigned>({{0, 1, 2}})),
              0);
    EXPECT_TRUE(same(mirrored, columns<unsigned>({{3, 4, 5}})));
    EXPECT_EQ(pos(0, 4), -1.0);
}

TEST(CopySymMesh, RefusesANormalThatIsZeroOrNotANumber)
{
    auto pos = columns<double>({{3, 5}});
    auto mirrored = columns<unsigned>({{7, 8}});
    const auto one = columns<unsigned>({{0}});
    const vector_fixed<double, 2> point{0, 0};
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, point, vector_fixed<double, 2>{0, 0}, one), -4);
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, point, vector_fixed<double, 2>{nan_value, 1}, one), -4);
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 3>{0, 0, 0},
                            vector_fixed<double, 3>{0, 0, 0}, one),
              -4);
    EXPECT_TRUE(same(pos, columns<double>({{3, 5}})));
    EXPECT_TRUE(same(mirrored, columns<unsigned>({{7, 8}})));
}

TEST(CopySymMesh, OfNothingDoesNotLookAtTheNormal)
{
    dense2D<double> pos(2, 0);
    auto mirrored = columns<unsigned>({{7, 8}});
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 2>{0, 0},
                            vector_fixed<double, 2>{0, 0}, columns<unsigned>({{0}})),
              0);
    EXPECT_TRUE(same(mirrored, columns<unsigned>({{7, 8}})));
}

TEST(CopySymMesh, WidensAPlaneMeshMirroredInSpace)
{
    auto pos = columns<double>({{1, 2}});
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 3>{0, 0, 1},
                            vector_fixed<double, 3>{0, 0, 5}, columns<unsigned>({{0}})),
              0);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2, 0}, {1, 2, 2}})));
}

TEST(CopySymMesh, TwiceIsTheIdentity)
{
    auto pos = columns<double>({{1, 2, 3}, {4, -5, 6}});
    const vector_fixed<double, 3> point{0.5, 0.25, 2};
    const vector_fixed<double, 3> normal{1, -2, 2};
    dense2D<unsigned> once;
    dense2D<unsigned> twice;
    ASSERT_EQ(copy_sym_mesh(pos, once, point, normal, columns<unsigned>({{0, 1}})), 0);
    ASSERT_EQ(copy_sym_mesh(pos, twice, point, normal, once), 0);
    EXPECT_TRUE(same(twice, columns<unsigned>({{4, 5}})));
    for (std::size_t j = 0; j < 2; ++j)
        for (std::size_t d = 0; d < 3; ++d) EXPECT_NEAR(pos(d, j), pos(d, j + 4), 1e-14);
}

TEST(CopySymMesh, ComputesTheReflectionInItsDocumentedOrder)
{
    const vector_fixed<double, 2> point{0.1, 0.7};
    const vector_fixed<double, 2> normal{0.3, -1.1};
    const double x = 2.3;
    const double y = -0.9;
    auto pos = columns<double>({{x, y}});
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, point, normal, columns<unsigned>({{0}})), 0);
    const double f = -2.0 / (normal[0] * normal[0] + normal[1] * normal[1]);
    const double k = ((x - point[0]) * normal[0] + (y - point[1]) * normal[1]) * f;
    EXPECT_EQ(pos(0, 1), x + k * normal[0]);
    EXPECT_EQ(pos(1, 1), y + k * normal[1]);
}

TEST(CopySymMesh, SurvivesExhaustedMemory)
{
    const auto bars = columns<unsigned>({{0, 1}});
    const auto attempt = [&](std::size_t, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            auto pos = columns<double>({{1, 2}, {3, 4}});
            dense2D<unsigned> mirrored;
            try {
                const int code = run([&] {
                    return copy_sym_mesh(pos, mirrored, vector_fixed<double, 3>{0, 0, 1},
                                         vector_fixed<double, 3>{0, 1, 1}, bars);
                });
                EXPECT_TRUE(code == 0 || code == -199) << code;
            } catch (const std::bad_alloc&) {
            }
            EXPECT_EQ(pos(1, 1), 4.0);
        }
        EXPECT_EQ(allocation::live_blocks(), blocks);
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
}
