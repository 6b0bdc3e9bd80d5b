#include "search/kd_layout.h"

#include <limits>
#include <vector>

#include "plain/search/kd_tree.h"
#include "search/clouds.h"
#include "search/trees.h"
#include "support/same.h"

using namespace kz3::lattiq::detail;

namespace {

template <unsigned Dim>
struct layout {
    std::vector<placed_node<Dim>> nodes;
    std::vector<unsigned> entries;
    std::size_t compared = 0;

    // Of all nodes in the order of their ids.
    explicit layout(const dense2D<double>& pos) : nodes(pos.cols), entries(3 * pos.cols)
    {
        for (unsigned j = 0; j < pos.cols; ++j) {
            nodes[j].node = j;
            for (unsigned d = 0; d < Dim; ++d) nodes[j].p[d] = pos(d, j);
        }
        std::vector<placed_node<Dim>> spare(pos.cols);
        compared =
            lay_out_tree<Dim>(nodes.data(), unsigned(pos.cols), spare.data(), entries.data());
    }
};

// Compares the trees below two entries, and the places that the layout gives entries.
template <unsigned Dim>
void expect_same_tree(const layout<Dim>& made, const plain::kd_tree<Dim>& slow)
{
    unsigned visited = 0;
    struct step {
        unsigned at, plain_at;
    };
    std::vector<step> pending{{0, 0}};
    while (!pending.empty()) {
        const step next = pending.back();
        pending.pop_back();
        ASSERT_EQ(next.at, visited++); // entry, left, right
        const unsigned* words = &made.entries[3 * std::size_t(next.at)];
        const auto expected = slow.words(next.plain_at);
        ASSERT_EQ(words[0], expected[0]);
        ASSERT_EQ(words[0], made.nodes[next.at].node);
        ASSERT_EQ(words[1] == none, expected[1] == none);
        ASSERT_EQ(words[2] == none, expected[2] == none);
        if (words[2] != none) pending.push_back({words[2], expected[2]});
        if (words[1] != none) pending.push_back({words[1], expected[1]});
    }
    ASSERT_EQ(visited, slow.size());
}

template <unsigned Dim>
void compare_layouts(clouds::character character)
{
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << Dim << "-D, seed " << seed);
        clouds::source random(character, seed);
        const auto pos = random.matrix(Dim, 1 + random.below(seed % 2 == 0 ? 12 : 500));
        plain::kd_tree<Dim> slow(pos);
        for (unsigned node = 0; node < pos.cols; ++node) slow.insert_node(node);
        expect_same_tree<Dim>(layout<Dim>(pos), slow);
    }
}

} // namespace

class LayOutTreeOfCloud : public testing::TestWithParam<clouds::character> {};

TEST_P(LayOutTreeOfCloud, MakesTheTreeOfPlainInsertion)
{
    compare_layouts<2>(GetParam());
    compare_layouts<3>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Seeded, LayOutTreeOfCloud, testing::ValuesIn(clouds::all), clouds::name);

TEST(LayOutTree, ChainsAMillionCoincidentNodesInLinearTime)
{
    ASSERT_LE(layout<3>(dense2D<double>(3, 1000, 1.0)).compared, 3000u);
    constexpr unsigned n = 1000000;
    const layout<3> made(dense2D<double>(3, n, 1.0));
    EXPECT_LE(made.compared, 3 * std::size_t(n));
    for (unsigned i = 0; i < n; ++i) {
        ASSERT_EQ(made.entries[3 * std::size_t(i)], i);
        ASSERT_EQ(made.entries[3 * std::size_t(i) + 1], none);
        ASSERT_EQ(made.entries[3 * std::size_t(i) + 2], i + 1 < n ? i + 1 : none);
    }
}

TEST(LayOutTree, ChainsCoincidentNodesAmongOthersInLinearTime)
{
    // Every thousandth is elsewhere, above or below on one axis or on both.
    constexpr unsigned n = 200000;
    for (const double x : {-1.0, 0.0, 1.0})
        for (const double y : {-1.0, 1.0}) {
            dense2D<double> pos(2, n, 0.0);
            for (unsigned j = 500; j < n; j += 1000) {
                pos(0, j) = x * j;
                pos(1, j) = y * j;
            }
            EXPECT_LE(layout<2>(pos).compared, 40 * std::size_t(n)) << x << ' ' << y;
        }
}

TEST(LayOutTree, ChainsNodesThatAreNoNumbersInLinearTime)
{
    constexpr unsigned n = 100000;
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double x : {not_a_number, infinity, -infinity, -0.0})
        EXPECT_LE(layout<3>(dense2D<double>(3, n, x)).compared, 3 * std::size_t(n)) << x;
}
