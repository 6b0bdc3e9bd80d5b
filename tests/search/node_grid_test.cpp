#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "search/node_grid.h"
#include "support/same.h"

namespace {
using kz3::lattiq::detail::node_grid;

using list = std::vector<unsigned>;

list all_nodes(const dense2D<double>& pos)
{
    list nodes(pos.cols);
    std::iota(nodes.begin(), nodes.end(), 0U);
    return nodes;
}

template <unsigned Dim>
bool in_box(const dense2D<double>& pos, unsigned a, unsigned b, double tol)
{
    for (unsigned d = 0; d < Dim; ++d)
        if (pos(d, b) < pos(d, a) - tol || pos(d, b) > pos(d, a) + tol) return false;
    return true;
}

// Whether a search around each node visits all that its box holds and all whose box holds it.
template <unsigned Dim>
void expect_complete(const dense2D<double>& pos, const node_grid<Dim>& grid, double tol)
{
    ASSERT_TRUE(grid.usable());
    ASSERT_EQ(grid.size(), pos.cols);
    for (unsigned a = 0; a < pos.cols; ++a) {
        std::vector<char> visited(pos.cols, 0);
        const double* p = kz3::lattiq::detail::column(pos, a);
        std::size_t runs = 0;
        grid.for_each_near(p, [&](unsigned first, unsigned last) {
            ++runs;
            for (unsigned i = first; i < last; ++i) visited[grid[i].node] = 1;
        });
        ASSERT_TRUE(visited[a]);
        ASSERT_EQ(grid.stays_in_bucket(p), runs == 1);
        for (unsigned b = 0; b < pos.cols; ++b)
            if (in_box<Dim>(pos, a, b, tol) || in_box<Dim>(pos, b, a, tol)) {
                ASSERT_TRUE(visited[b]) << a << " misses " << b;
            }
    }
}

dense2D<double> random_nodes(std::mt19937& draw, std::size_t dim, std::size_t n, double size)
{
    dense2D<double> pos(dim, n);
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t d = 0; d < dim; ++d) pos(d, j) = size * (double(draw()) * 0x1p-32 - 0.5);
    return pos;
}

} // namespace

TEST(NodeGrid, FindsAllThatIsNear)
{
    std::mt19937 draw(5);
    for (const double size : {1e-290, 1.0, 1e200})
        for (const double part : {0.3, 0.02, 1e-5, 1e-15}) {
            SCOPED_TRACE(testing::Message() << size << " " << part);
            const auto pos2 = random_nodes(draw, 2, 400, size);
            const auto nodes = all_nodes(pos2);
            node_grid<2> flat(pos2, nodes, part * size);
            if (flat.crowded()) flat.separate_cubes();
            expect_complete(pos2, flat, part * size);
            const auto pos3 = random_nodes(draw, 3, 400, size);
            node_grid<3> grid(pos3, nodes, part * size);
            if (grid.crowded()) grid.separate_cubes();
            expect_complete(pos3, grid, part * size);
        }
}

TEST(NodeGrid, KeepsTheOrderOfTheListInEachBucket)
{
    std::mt19937 draw(6);
    const auto pos = random_nodes(draw, 3, 300, 1);
    auto nodes = all_nodes(pos);
    std::shuffle(nodes.begin(), nodes.end(), draw);
    const node_grid<3> grid(pos, nodes, 0.01);
    ASSERT_TRUE(grid.usable());
    std::size_t listed = 0;
    for (std::size_t b = 0; b < grid.buckets(); ++b)
        for (unsigned i = grid.start(b); i < grid.start(b + 1); ++i, ++listed) {
            EXPECT_EQ(grid[i].node, nodes[grid[i].rank]);
            if (i > grid.start(b)) {
                EXPECT_LT(grid[i - 1].rank, grid[i].rank);
            }
        }
    EXPECT_EQ(listed, nodes.size());
}

TEST(NodeGrid, SaysThatNodesAreCrowded)
{
    std::mt19937 draw(7);
    const auto pos = random_nodes(draw, 3, 2000, 1e-3);
    const auto nodes = all_nodes(pos);
    EXPECT_FALSE(node_grid<3>(pos, nodes, 1e-6).crowded());
    node_grid<3> grid(pos, nodes, 1e-2);
    EXPECT_TRUE(grid.crowded());
    EXPECT_FALSE(grid.usable());
    grid.separate_cubes();
    EXPECT_FALSE(grid.crowded());
    EXPECT_TRUE(grid.usable());
}

TEST(NodeGrid, IsUnusableWhereTheArithmeticWouldOverflow)
{
    const list nodes{0, 1, 2};
    const auto far = columns<double>({{1.7e308, 0}, {-1.7e308, 0}, {1, 1}});
    const node_grid<2> grid(far, nodes, 1);
    EXPECT_FALSE(grid.usable());
    EXPECT_FALSE(grid.crowded());
    const auto tiny = columns<double>({{4e-324, 0}, {0, 0}, {0, 8e-324}});
    EXPECT_FALSE(node_grid<2>(tiny, nodes, 4e-324).usable());
}

// So many nodes near 0 cannot be told apart by cubes that a distance far from 0 allows for.
TEST(NodeGrid, IsUnusableWhereAFarNodeMakesTheCubesTooWide)
{
    std::mt19937 draw(8);
    auto pos = random_nodes(draw, 3, 2000, 1e-3);
    pos(0, 0) = 1e20;
    const auto nodes = all_nodes(pos);
    const node_grid<3> grid(pos, nodes, 1e-6);
    EXPECT_FALSE(grid.usable());
    EXPECT_FALSE(grid.crowded());
}
