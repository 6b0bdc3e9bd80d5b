#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <kz3/lattiq/quality.h>

#include "core/element_table.h"
#include "plain/quality/shape_qualities.h"
#include "support/same.h"

using namespace kz3::lattiq;

// The parts into which its centre cuts a wedge or a hexahedron are not measured where a bound says that
// they are sound. These elements stand on both sides of that bound.
namespace {

using plain::point;
using solid = std::vector<point>;

constexpr size_t count = 3001; // a number that leaves some at the end of blocks

point scaled(point p, double s)
{
    return {p.x * s, p.y * s, p.z * s};
}

/// Six times the volume between the centre and three nodes.
double volume(const solid& s, unsigned a, unsigned b, unsigned c)
{
    point center{0, 0, 0};
    for (const point& p : s) center = center - scaled(p, -1.0 / double(s.size()));
    return dot(cross(s[a] - center, s[b] - center), s[c] - center);
}

class InnerParts : public testing::TestWithParam<element_type> {
protected:
    /// An element of edges about 1 whose nodes are moved by up to `width`.
    solid perturbed(double width)
    {
        static const solid triangle = {{0, 0, 0}, {1, 0, 0}, {0.5, 0.9, 0}};
        static const solid square = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        std::uniform_real_distribution<double> shift(-width, width);
        solid s;
        for (const double height : {0.0, 1.0})
            for (const point& p : kind.corners == 6 ? triangle : square) {
                const double x = p.x + shift(random);
                const double y = p.y + shift(random);
                s.push_back({x, y, height + shift(random)});
            }
        return s;
    }

    void append(const solid& s, double size)
    {
        for (const point& p : s) points.push_back(scaled(p, size));
    }

    /// Compares all elements with the formulas, to the bit, in `rows` coordinates of three. Returns how
    /// many qualities lie between the bounds.
    size_t compare(double low, double high, size_t rows = 3)
    {
        const size_t corners = kind.corners;
        const size_t n = points.size() / corners;
        dense2D<double> pos(3, points.size());
        dense2D<unsigned> connectM(corners, n);
        dense1D<double> expected(n);
        for (size_t j = 0; j < points.size(); ++j) {
            pos(0, j) = points[j].x;
            pos(1, j) = points[j].y;
            pos(2, j) = points[j].z;
            connectM(j % corners, j / corners) = unsigned(j);
        }
        const plain::shapes shapes{rows};
        for (size_t e = 0; e < n; ++e) {
            const solid s(&points[e * corners], &points[e * corners] + corners);
            expected[e] = corners == 6 ? shapes.wedge(s) : shapes.hexahedron(s);
        }
        dense1D<double> qualities;
        EXPECT_EQ(shape_qualities(pos.sub_matrix(0, 0, rows, points.size()), connectM, kind.type,
                                  qualities),
                  0);
        EXPECT_TRUE(same(qualities, expected));
        return size_t(std::count_if(qualities.begin(), qualities.end(),
                                    [=](double q) { return low < q && q < high; }));
    }

    const detail::element_kind& kind = *detail::find_kind(GetParam());
    std::vector<point> points;
    std::mt19937 random{61};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Solids, InnerParts, testing::Values(ET_PENTA6, ET_HEXA8),
                         [](const auto& of) { return of.param == ET_PENTA6 ? "Penta6" : "Hexa8"; });

// Far from 1, products of the inner check leave the range of doubles, and a cube looks inverted.
TEST_P(InnerParts, AgreeWithTheFormulasInElementsOfAllSizes)
{
    std::uniform_real_distribution<double> exponent(-60, 60);
    for (size_t e = 0; e < count; ++e) append(perturbed(0.1), std::pow(10.0, exponent(random)));
    const size_t good = compare(1e-3, 2);
    EXPECT_GT(good, count / 4);
    EXPECT_LT(good, count * 3 / 4);
}

// A tetrahedron between the centre and a face is made flat, or nearly so, by moving one node.
TEST_P(InnerParts, AgreeWithTheFormulasWhereTheyAreNearlyFlat)
{
    std::uniform_real_distribution<double> exponent(5, 16);
    for (size_t e = 0; e < count; ++e) {
        solid s = perturbed(e % 2 == 0 ? 0.1 : 0.4);
        const size_t f = random() % kind.faces;
        const size_t nodes = kind.face_nodes[f];
        const size_t k = random() % nodes;
        const unsigned a = kind.face_rows[f][k];
        const unsigned b = kind.face_rows[f][(k + 1) % nodes];
        const unsigned c = kind.face_rows[f][(k + 2) % nodes];
        // On the way of the node to a place above the middle of its neighbours the volume is linear.
        const point inside{0.5, 0.5, 0.5};
        const point from = s[b];
        const point middle = scaled(s[a] - scaled(s[c], -1), 0.5) - inside;
        const point way = scaled(middle, 1.4) - (from - inside);
        const auto move = [&](double t) { s[b] = from - scaled(way, -t); };
        const double before = volume(s, a, b, c);
        move(1);
        const double flat = before / (before - volume(s, a, b, c));
        const double off = std::pow(10.0, -exponent(random));
        move(flat + (e % 3 == 0 ? off : e % 3 == 1 ? -off : 0.0));
        append(s, e % 4 == 0 ? 1e-4 : e % 4 == 1 ? 1e4 : 1.0);
    }
    // The value of the flat part stands where the outline hides it.
    EXPECT_GT(compare(-1e-6, 1e-12), count / 8);
}

// Stretched along the axes, elements come near to the values that the bound has to tell apart.
TEST_P(InnerParts, AgreeWithTheFormulasInStretchedElements)
{
    std::uniform_real_distribution<double> exponent(-14, 0);
    std::uniform_real_distribution<double> width(0, 0.5);
    for (size_t e = 0; e < 10 * count; ++e) {
        solid s = perturbed(width(random));
        const point stretch{std::pow(10.0, exponent(random)), std::pow(10.0, exponent(random)),
                            std::pow(10.0, exponent(random))};
        for (point& p : s) p = {p.x * stretch.x, p.y * stretch.y, p.z * stretch.z};
        append(s, 1.0);
    }
    EXPECT_GT(compare(1e-14, 1e-11), 50U);
}

// Solids read three rows, which stand in the storage of a view of two as well.
TEST_P(InnerParts, AgreeWithTheFormulasOfThePlaneInTwoRows)
{
    for (size_t e = 0; e < 500; ++e) append(perturbed(0.3), 1.0);
    compare(0, 1, 2);
}
