#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include <kz3/lattiq/quality.h>

#include "core/element_table.h"
#include "plain/quality/shape_qualities.h"
#include "support/same.h"

using namespace kz3::lattiq;

// Hexahedra are measured side by side, and their inner check is left out where a bound says that it is
// passed. These stand on both sides of that bound.
namespace {

using plain::point;
using hexahedron = std::array<point, 8>;

constexpr unsigned count = 3001; // a number that leaves some at the end of blocks

point scaled(point p, double s)
{
    return {p.x * s, p.y * s, p.z * s};
}

/// A unit cube whose nodes are moved by up to `width`.
hexahedron perturbed_cube(double width, std::mt19937& random)
{
    std::uniform_real_distribution<double> shift(-width, width);
    hexahedron h;
    for (int k = 0; k < 8; ++k) {
        const double x = shift(random) + (k % 4 == 1 || k % 4 == 2);
        const double y = shift(random) + (k % 4 > 1);
        h[k] = {x, y, shift(random) + (k > 3)};
    }
    return h;
}

/// Six times the volume between the centre and three nodes.
double volume(const hexahedron& h, unsigned a, unsigned b, unsigned c)
{
    point center{0, 0, 0};
    for (const point& p : h) center = center - scaled(p, -0.125);
    return dot(cross(h[a] - center, h[b] - center), h[c] - center);
}

void fill(const hexahedron& h, size_t e, double size, dense2D<double>& pos)
{
    for (size_t k = 0; k < 8; ++k) {
        const point p = scaled(h[k], size);
        pos(0, 8 * e + k) = p.x;
        pos(1, 8 * e + k) = p.y;
        pos(2, 8 * e + k) = p.z;
    }
}

/// Elements of eight columns of pos each, one after the other.
dense2D<unsigned> consecutive(size_t n)
{
    dense2D<unsigned> m(8, n);
    for (size_t e = 0; e < n; ++e)
        for (size_t k = 0; k < 8; ++k) m(k, e) = unsigned(8 * e + k);
    return m;
}

/// Compares to the bit and returns how many qualities lie between the bounds.
size_t compare(const dense2D<double>& pos, size_t n, double low, double high)
{
    const auto hexa = consecutive(n);
    dense1D<double> qualities;
    EXPECT_EQ(shape_qualities(pos, hexa, ET_HEXA8, qualities), 0);
    dense1D<double> expected(n);
    for (size_t e = 0; e < n; ++e) expected[e] = plain::shape_quality(pos, hexa, ET_HEXA8, e);
    EXPECT_TRUE(same(qualities, expected));
    return size_t(std::count_if(qualities.begin(), qualities.end(),
                                [=](double q) { return low < q && q < high; }));
}

} // namespace

// Far from 1, products of the inner check leave the range of doubles, and a cube looks inverted.
TEST(HexahedronBlock, AgreesWithTheFormulasOnCubesOfAllSizes)
{
    std::mt19937 random(61);
    std::uniform_real_distribution<double> exponent(-60, 60);
    dense2D<double> pos(3, 8 * count);
    for (size_t e = 0; e < count; ++e)
        fill(perturbed_cube(0.1, random), e, std::pow(10.0, exponent(random)), pos);
    const size_t good = compare(pos, count, 1e-3, 2);
    EXPECT_GT(good, count / 4);
    EXPECT_LT(good, count * 3 / 4);
}

// A tetrahedron between the centre and a face is made flat, or nearly so, by moving one node.
TEST(HexahedronBlock, AgreesWithTheFormulasOnNearlyFlatInnerParts)
{
    std::mt19937 random(62);
    std::uniform_real_distribution<double> exponent(5, 16);
    const auto& kind = *detail::find_kind(ET_HEXA8);
    dense2D<double> pos(3, 8 * count);
    for (size_t e = 0; e < count; ++e) {
        hexahedron h = perturbed_cube(e % 2 == 0 ? 0.1 : 0.4, random);
        const unsigned* face = kind.face_rows[random() % 6];
        const unsigned k = unsigned(random() % 4);
        const unsigned a = face[k];
        const unsigned b = face[(k + 1) % 4];
        const unsigned c = face[(k + 2) % 4];
        // On the way of the node to a place above the middle of its neighbours the volume is linear.
        const point from = h[b];
        const point middle = scaled(h[a] - scaled(h[c], -1), 0.5) - point{0.5, 0.5, 0.5};
        const point way = scaled(middle, 1.4) - (from - point{0.5, 0.5, 0.5});
        const auto move = [&](double t) { h[b] = from - scaled(way, -t); };
        const double before = volume(h, a, b, c);
        move(1);
        const double flat = before / (before - volume(h, a, b, c));
        const double off = std::pow(10.0, -exponent(random));
        move(flat + (e % 3 == 0 ? off : e % 3 == 1 ? -off : 0.0));
        const double size = e % 4 == 0 ? 1e-4 : e % 4 == 1 ? 1e4 : 1.0;
        fill(h, e, size, pos);
    }
    // The value of the flat part stands where the outline hides it.
    EXPECT_GT(compare(pos, count, -1e-6, 1e-12), count / 4);
}

// Stretched along the axes, elements come near to the values that the bound has to tell apart.
TEST(HexahedronBlock, AgreesWithTheFormulasOnStretchedElements)
{
    std::mt19937 random(63);
    std::uniform_real_distribution<double> exponent(-14, 0);
    std::uniform_real_distribution<double> width(0, 0.5);
    constexpr size_t n = 10 * count;
    dense2D<double> pos(3, 8 * n);
    for (size_t e = 0; e < n; ++e) {
        fill(perturbed_cube(width(random), random), e, 1.0, pos);
        for (size_t d = 0; d < 3; ++d) {
            const double stretch = std::pow(10.0, exponent(random));
            for (size_t k = 0; k < 8; ++k) pos(d, 8 * e + k) *= stretch;
        }
    }
    EXPECT_GT(compare(pos, n, 1e-14, 1e-11), 50U);
}

// Solids read three rows, which stand in the storage of a view of two as well.
TEST(HexahedronBlock, LeavesElementsOfTwoRowsToTheFormulaOfThePlane)
{
    std::mt19937 random(64);
    constexpr size_t n = 40;
    dense2D<double> pos(3, 8 * n);
    for (size_t e = 0; e < n; ++e) fill(perturbed_cube(0.1, random), e, 1.0, pos);
    dense1D<double> qualities;
    ASSERT_EQ(shape_qualities(pos.sub_matrix(0, 0, 2, 8 * n), consecutive(n), ET_HEXA8, qualities),
              0);
    for (size_t e = 0; e < n; ++e) {
        std::vector<point> p;
        for (size_t k = 0; k < 8; ++k)
            p.push_back({pos(0, 8 * e + k), pos(1, 8 * e + k), pos(2, 8 * e + k)});
        EXPECT_EQ(qualities[e], plain::shapes{2}.hexahedron(p)) << e;
    }
}
