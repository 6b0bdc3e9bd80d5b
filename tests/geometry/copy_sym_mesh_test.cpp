#include <algorithm>
#include <limits>
#include <new>

#include <kz3/lattiq/geometry.h>

#include "geometry/nodes.h"
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

TEST(CopySymMesh, MirrorsAPlaneMeshInSpaceInAllThreeComponents)
{
    // The plane x + y + z = 2. The nodes lie 1 and -2 beyond it, measured by the normal.
    auto pos = columns<double>({{1, 2}, {-3, 3}});
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 3>{0, 0, 2},
                            vector_fixed<double, 3>{3, 3, 3}, columns<unsigned>({{1, 0}})),
              0);
    const double a = 2.0 / 3;
    EXPECT_TRUE(
        near(pos,
             columns<double>(
                 {{1, 2, 0}, {-3, 3, 0}, {-3 + 2 * a, 3 + 2 * a, 2 * a}, {1 - a, 2 - a, -a}}),
             1e-15));
    EXPECT_EQ(pos(2, 0), 0.0);
    EXPECT_EQ(pos(2, 1), 0.0);
}

TEST(CopySymMesh, WidensFromOneRow)
{
    auto pos = columns<double>({{3}});
    dense2D<unsigned> mirrored;
    const auto one = columns<unsigned>({{0}});
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 2>{0, 1},
                            vector_fixed<double, 2>{0, 1}, one),
              0);
    EXPECT_TRUE(same(pos, columns<double>({{3, 0}, {3, 2}})));
}

TEST(CopySymMesh, LeavesTheThirdRowAloneInThePlane)
{
    auto pos = columns<double>({{3, 5, 7}});
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 2>{1, 0},
                            vector_fixed<double, 2>{2, 0}, columns<unsigned>({{0}})),
              0);
    EXPECT_TRUE(same(pos, columns<double>({{3, 5, 7}, {-1, 5, 7}})));
}

TEST(CopySymMesh, TwiceInThePlaneIsTheIdentity)
{
    auto pos = cloud(2, 30, 10);
    const auto mesh = columns<unsigned>({{0, 29, 3}, {none, 11, 17}});
    const vector_fixed<double, 2> point{0.5, 0.25};
    const vector_fixed<double, 2> normal{3, -1};
    dense2D<unsigned> once;
    dense2D<unsigned> twice;
    ASSERT_EQ(copy_sym_mesh(pos, once, point, normal, mesh), 0);
    ASSERT_EQ(copy_sym_mesh(pos, twice, point, normal, once), 0);
    EXPECT_TRUE(same(twice, columns<unsigned>({{35, 36, 37}, {none, 38, 39}})));
    for (const unsigned k : {0U, 29U, 3U, 11U, 17U}) {
        const unsigned* place = std::find(mesh.as_vector().begin(), mesh.as_vector().end(), k);
        const unsigned image = twice.as_vector()[std::size_t(place - mesh.as_vector().begin())];
        for (std::size_t d = 0; d < 2; ++d) EXPECT_NEAR(pos(d, k), pos(d, image), 1e-14);
    }
}

TEST(CopySymMesh, ComputesTheReflectionInSpaceInItsDocumentedOrder)
{
    const vector_fixed<double, 3> point{0.1, 0.7, -0.3};
    const vector_fixed<double, 3> normal{0.3, -1.1, 0.7};
    auto pos = cloud(3, 40, 11);
    dense2D<unsigned> nodes(1, 40);
    for (unsigned j = 0; j < 40; ++j) nodes(0, j) = j;
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos, mirrored, point, normal, nodes), 0);
    const double f = -2.0 / (normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    for (std::size_t j = 0; j < 40; ++j) {
        const double k = ((pos(0, j) - point[0]) * normal[0] + (pos(1, j) - point[1]) * normal[1] +
                          (pos(2, j) - point[2]) * normal[2]) *
                         f;
        for (std::size_t d = 0; d < 3; ++d) EXPECT_EQ(pos(d, 40 + j), pos(d, j) + k * normal[d]);
    }
}

TEST(CopySymMesh, RefusesTheNormalBeforeItAsksForMemory)
{
    auto pos = columns<double>({{3, 5}});
    dense2D<unsigned> mirrored;
    const auto one = columns<unsigned>({{0}});
    const vector_fixed<double, 2> point{0, 0};
    const allocation::fail_containers broken(1, true);
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, point, vector_fixed<double, 2>{0, 0}, one), -4);
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, point, vector_fixed<double, 2>{1, 0}, one), -199);
}

TEST(CopySymMesh, RefusesANormalWhoseSquareVanishes)
{
    auto pos = columns<double>({{3, 5}});
    dense2D<unsigned> mirrored;
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 2>{0, 0},
                            vector_fixed<double, 2>{1e-170, 0}, columns<unsigned>({{0}})),
              -4);
    EXPECT_EQ(pos.cols, 1U);
}

TEST(CopySymMesh, OfAnEmptyConnectivityCopiesNothingButWidens)
{
    auto pos = columns<double>({{3, 5}});
    auto mirrored = columns<unsigned>({{7}});
    EXPECT_EQ(copy_sym_mesh(pos, mirrored, vector_fixed<double, 3>{0, 0, 0},
                            vector_fixed<double, 3>{0, 0, 1}, dense2D<unsigned>()),
              0);
    EXPECT_TRUE(mirrored.empty());
    EXPECT_TRUE(same(pos, columns<double>({{3, 5, 0}})));
}

TEST(CopySymMesh, ReadsStridedViews)
{
    strided<double> pos(columns<double>({{3, 5}, {2, 2}}));
    const strided<unsigned> mesh(columns<unsigned>({{1, 0}}));
    dense2D<unsigned> mirrored;
    ASSERT_EQ(copy_sym_mesh(pos.view, mirrored, vector_fixed<double, 3>{0, 0, 0},
                            vector_fixed<double, 3>{1, 0, 0}, mesh.view),
              0);
    EXPECT_TRUE(same(mirrored, columns<unsigned>({{2, 3}})));
    EXPECT_TRUE(same(pos.view, columns<double>({{3, 5, 0}, {2, 2, 0}, {-2, 2, 0}, {-3, 5, 0}})));
}

TEST(CopySymMesh, MirrorsTheRowsThereAreWhenItCannotWiden)
{
    // The plane y + z = 1; the missing row counts as 0.
    const auto start = columns<double>({{1, 2}, {0, 3}});
    const auto bars = columns<unsigned>({{1, 0}});
    const vector_fixed<double, 3> point{0, 0, 1};
    const vector_fixed<double, 3> normal{0, 1, 1};
    std::size_t unwidened = 0;
    allocation::sweep<allocation::fail_containers>(
        [&](std::size_t, auto run) {
            auto pos = duplicate(start);
            dense2D<unsigned> mirrored;
            const int code = run([&] { return copy_sym_mesh(pos, mirrored, point, normal, bars); });
            if (code != 0 || pos.rows != 2) return;
            ++unwidened;
            EXPECT_TRUE(same(mirrored, columns<unsigned>({{2, 3}})));
            EXPECT_TRUE(same(pos, columns<double>({{1, 2}, {0, 3}, {0, 1}, {1, 1}})));
        },
        true);
    EXPECT_EQ(unwidened, 1U);
}

TEST(CopySymMesh, SurvivesExhaustedMemory)
{
    const auto bars = columns<unsigned>({{0, 1}});
    const auto sweep = [&](const auto& point, const auto& normal) {
        bool reported = false;
        const auto attempt = [&](std::size_t n, auto run) {
            const std::size_t blocks = allocation::live_blocks();
            {
                auto pos = columns<double>({{1, 2}, {3, 4}});
                dense2D<unsigned> mirrored;
                int code = -199;
                try {
                    code = run([&] { return copy_sym_mesh(pos, mirrored, point, normal, bars); });
                    reported = reported || code == -199;
                } catch (const std::bad_alloc&) {
                }
                EXPECT_TRUE(code == 0 || code == -199) << code;
                EXPECT_TRUE(pos.cols == 4 || (code != 0 && pos.cols == 2)) << "allocation " << n;
                EXPECT_EQ(mirrored.empty() && code == 0, false) << "allocation " << n;
                EXPECT_EQ(pos(0, 0), 1.0);
                EXPECT_EQ(pos(1, 0), 2.0);
                EXPECT_EQ(pos(0, 1), 3.0);
                EXPECT_EQ(pos(1, 1), 4.0);
            }
            EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
        };
        for (const bool onwards : {false, true}) {
            EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
            EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
        }
        EXPECT_TRUE(reported);
    };
    sweep(vector_fixed<double, 3>{0, 0, 1}, vector_fixed<double, 3>{0, 1, 1});
    sweep(vector_fixed<double, 2>{0, 1}, vector_fixed<double, 2>{0, 1});
}
