#include <array>
#include <random>
#include <vector>

#include <kz3/lattiq/quality.h>

#include "plain/quality/edge_set.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

using rows = std::vector<std::array<unsigned, 2>>;

const rows of_tria = {{1, 2}, {2, 0}, {0, 1}};
const rows of_quad = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
const rows of_tetra = {{1, 2}, {2, 0}, {0, 1}, {3, 0}, {3, 1}, {3, 2}};
const rows of_pyramid = {{0, 4}, {1, 4}, {2, 4}, {3, 4}, {0, 1}, {1, 2}, {2, 3}, {3, 0}};
const rows of_wedge = {{0, 3}, {1, 4}, {2, 5}, {1, 2}, {2, 0}, {0, 1}, {4, 5}, {5, 3}, {3, 4}};
const rows of_hexa = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                      {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

const rows& edges_of(const dense2D<unsigned>& m, size_t e, int type)
{
    switch (type) {
    case ET_TRIA3:
        return of_tria;
    case ET_TETRA4:
        return of_tetra;
    case ET_FACE_MIX:
        return m(3, e) == none ? of_tria : of_quad;
    default:
        if (m(4, e) == none) return of_tetra;
        if (m(5, e) == none) return of_pyramid;
        return m(6, e) == none ? of_wedge : of_hexa;
    }
}

void insert_plainly(const dense2D<unsigned>& m, int type, plain::edge_set& set)
{
    for (size_t e = 0; e < m.cols; ++e)
        for (const auto& [a, b] : edges_of(m, e, type)) set.insert(m(a, e), m(b, e));
}

dense2D<unsigned> listed(const plain::edge_set& set)
{
    dense2D<unsigned> list;
    for (const auto& e : set.ordered()) list.push_back({e[0], e[1]});
    return list;
}

/// n elements on about n / 2 nodes, near ones on near nodes or not, some nodes repeated. Every ID is
/// `first` and a multiple of `step`.
dense2D<unsigned> random_mesh(int type, size_t n, bool local, unsigned first, unsigned step,
                              std::mt19937& random)
{
    const size_t height = type == ET_TRIA3 ? 3 : type == ET_SOLID_MIX ? 8 : 4;
    const auto nodes = unsigned(n / 2 + 2);
    dense2D<unsigned> m(height, n);
    for (size_t e = 0; e < n; ++e) {
        for (size_t k = 0; k < height; ++k) {
            const unsigned id = local ? unsigned(e / 2 + random() % 9) : unsigned(random());
            m(k, e) = first + step * (id % nodes);
        }
        if (type == ET_FACE_MIX && random() % 2 == 0) m(3, e) = none;
        if (type == ET_SOLID_MIX && random() % 4 != 0) m(4 + random() % 3, e) = none;
    }
    return m;
}

struct numbering {
    unsigned first;
    unsigned step;
};

// From 0 on without gaps, with gaps that a table can hold and that it cannot, up to the last ID, and
// on both sides of the ID whose double leaves 32 bits.
constexpr numbering numberings[] = {
    {0, 1}, {5, 3}, {0, 100'000}, {4'294'000'000, 7}, {2'147'483'000, 1}};

} // namespace

TEST(CopyEdgesAgainstPlain, OfOneMatrix)
{
    std::mt19937 random(20);
    for (const int type : {ET_TRIA3, ET_TETRA4, ET_FACE_MIX, ET_SOLID_MIX})
        for (const numbering& ids : numberings)
            for (const bool local : {true, false})
                for (const size_t n : {1, 2, 30, 2000}) {
                    const auto m = random_mesh(type, n, local, ids.first, ids.step, random);
                    plain::edge_set plainly;
                    insert_plainly(m, type, plainly);
                    dense2D<unsigned> edges;
                    ASSERT_EQ(copy_edges(m, element_type(type), edges), 0);
                    ASSERT_TRUE(same(edges, listed(plainly)))
                        << type << ' ' << ids.first << ' ' << ids.step << ' ' << local << ' ' << n;
                }
}

TEST(CopyEdgesAgainstPlain, OfManyElements)
{
    std::mt19937 random(21);
    for (const bool local : {true, false}) {
        const auto m = random_mesh(ET_TETRA4, 40'000, local, 0, 1, random);
        plain::edge_set plainly;
        insert_plainly(m, ET_TETRA4, plainly);
        dense2D<unsigned> edges;
        ASSERT_EQ(copy_edges(m, ET_TETRA4, edges), 0);
        ASSERT_TRUE(same(edges, listed(plainly)));
    }
}

TEST(CopyEdgesAgainstPlain, OfAFanWhoseEdgesShareTheirLowerNode)
{
    std::mt19937 random(22);
    dense2D<unsigned> fan(3, 30'000);
    for (unsigned e = 0; e < 30'000; ++e) {
        const auto i = unsigned(random() % 30'000);
        fan(e % 3, e) = 0;
        fan((e + 1) % 3, e) = 1 + 16'384 * (i % 17);
        fan((e + 2) % 3, e) = 1 + i;
    }
    plain::edge_set plainly;
    insert_plainly(fan, ET_TRIA3, plainly);
    dense2D<unsigned> edges;
    ASSERT_EQ(copy_edges(fan, ET_TRIA3, edges), 0);
    EXPECT_TRUE(same(edges, listed(plainly)));
}

TEST(CopyEdgesAgainstPlain, OfARangeThatAppendsToAStridedList)
{
    std::mt19937 random(23);
    for (const numbering& ids : numberings) {
        const dense2D<unsigned> range[] = {
            random_mesh(ET_TRIA3, 90, true, ids.first, ids.step, random), dense2D<unsigned>(),
            random_mesh(ET_SOLID_MIX, 90, true, ids.first, ids.step, random)};
        plain::edge_set plainly;
        insert_plainly(range[0], ET_TRIA3, plainly);
        insert_plainly(range[2], ET_SOLID_MIX, plainly);
        dense2D<unsigned> expected = columns<unsigned>({{8, 9}});
        for (const auto& e : plainly.ordered()) expected.push_back({e[0], e[1]});

        dense2D<unsigned> tall(5, 2, 77U);
        dense2D<unsigned> edges = tall.sub_matrix(1, 0, 2, 1);
        edges(0, 0) = 8;
        edges(1, 0) = 9;
        ASSERT_EQ(copy_edges(range, range + 3, {ET_TRIA3, 99, ET_SOLID_MIX}, edges), 0);
        EXPECT_TRUE(same(edges, expected));
    }
}
