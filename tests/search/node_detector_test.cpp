#include <algorithm>
#include <new>
#include <numeric>
#include <thread>
#include <unordered_set>
#include <vector>

#include <kz3/lattiq/search.h>

#include "plain/search/kd_tree.h"
#include "plain/search/mersenne_generator.h"
#include "search/clouds.h"
#include "support/allocation.h"
#include "support/same.h"

using kz3::lattiq::node_detector;

namespace {

using point2 = vector_fixed<double, 2>;
using point3 = vector_fixed<double, 3>;

// Four nodes of the plane and the same in space, at heights 0, 0, 7 and 0.
const auto plane = columns<double>({{0, 0}, {1, 0}, {0, 1}, {5, 5}});
const auto space = columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 7}, {5, 5, 0}});

std::vector<unsigned> box(const node_detector& detector, const point2& lo, const point2& hi)
{
    dense1D<unsigned> out;
    detector.find_in_box(lo, hi, out);
    return {out.begin(), out.end()};
}

std::vector<unsigned> box(const node_detector& detector, const point3& lo, const point3& hi)
{
    dense1D<unsigned> out;
    detector.find_in_box(lo, hi, out);
    return {out.begin(), out.end()};
}

// All nodes that a detector of small coordinates holds, by tree order.
std::vector<unsigned> everything(const node_detector& detector)
{
    return box(detector, point3{-99, -99, -99}, point3{99, 99, 99});
}

void expect_empty(node_detector& detector)
{
    EXPECT_EQ(detector.size(), 0u);
    EXPECT_EQ(detector.find_closest(point2{0, 0}), none);
    EXPECT_EQ(detector.find_closest(point3{0, 0, 0}), none);
    EXPECT_EQ(detector.find_closest(0u), none);
    EXPECT_TRUE(box(detector, point2{-9, -9}, point2{9, 9}).empty());
    EXPECT_TRUE(everything(detector).empty());
    EXPECT_EQ(detector.insert(dense1D<unsigned>{0}), 0u);
    EXPECT_EQ(detector.insert(columns<unsigned>({{0, 1}})), 0u);
    EXPECT_EQ(detector.size(), 0u);
}

} // namespace

// ---- reinit

TEST(NodeDetector, IndexesAllColumnsInShuffledOrder)
{
    node_detector detector;
    EXPECT_EQ(detector.reinit(plane), 0);
    EXPECT_EQ(detector.size(), 4u);
    // Four are stored in the order 1, 2, 0, 3: node 2 left of 1, node 0 left of 2, node 3 right of 1.
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 0, 2, 1}));
    EXPECT_EQ(detector.find_closest(point2{4, 4}), 3u);
    EXPECT_EQ(detector.find_closest(point2{0.1, 0.8}), 2u);
}

TEST(NodeDetector, IndexesTheGivenNodesOnly)
{
    const dense1D<unsigned> indices{3, 0};
    node_detector detector;
    EXPECT_EQ(detector.reinit(plane, indices), 0);
    EXPECT_EQ(detector.size(), 2u);
    EXPECT_EQ(detector.find_closest(point2{1, 0}), 0u);
    EXPECT_EQ(detector.find_closest(1u), 0u);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{3, 0}));
}

TEST(NodeDetector, LeavesHolesOut)
{
    node_detector detector;
    EXPECT_EQ(detector.reinit(plane, dense1D<unsigned>{none, 1, none}), 0);
    EXPECT_EQ(detector.size(), 1u);
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{1}));
}

TEST(NodeDetector, IndexesTheNodesOfAConnectivityOnce)
{
    node_detector detector;
    EXPECT_EQ(detector.reinit(plane, columns<unsigned>({{2, 1, none}, {1, 3, 2}})), 0);
    EXPECT_EQ(detector.size(), 3u);
    // Nodes 2, 1, 3 are stored in the order 1, 3, 2.
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 2, 1}));
}

TEST(NodeDetector, IndexesTheNodesOfARangeOfConnectivitiesOnce)
{
    const dense2D<unsigned> range[] = {columns<unsigned>({{2, 1}}), columns<unsigned>({{1, 3, 2}})};
    node_detector detector;
    EXPECT_EQ(detector.reinit(plane, range, range + 2), 0);
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 2, 1}));
    EXPECT_EQ(detector.reinit(plane, range, range + 1), 0);
    EXPECT_EQ(detector.size(), 2u);
}

TEST(NodeDetector, HoldsAnEmptyTreeAfterAnEmptyRange)
{
    const dense2D<unsigned> range[1];
    node_detector detector(plane);
    EXPECT_EQ(detector.reinit(plane, range, range), 0);
    EXPECT_EQ(detector.size(), 0u);
    EXPECT_EQ(detector.find_closest(point2{0, 0}), none);
    EXPECT_EQ(detector.insert(dense1D<unsigned>{2}), 1u);
    EXPECT_EQ(detector.find_closest(point2{0, 0}), 2u);
}

TEST(NodeDetector, WorksOnCoordinatesWithoutColumns)
{
    for (const std::size_t rows : {2, 3}) {
        const dense2D<double> pos(rows, 0);
        node_detector detector;
        EXPECT_EQ(detector.reinit(pos), 0);
        EXPECT_EQ(detector.size(), 0u);
        EXPECT_EQ(detector.find_closest(point2{0, 0}), none);
        EXPECT_EQ(detector.find_closest(point3{0, 0, 0}), none);
        EXPECT_EQ(detector.find_closest(0u), none);
        dense1D<unsigned> out{8};
        detector.find_in_box(point3{0, 0, 0}, point3{1, 1, 1}, out);
        EXPECT_TRUE(same(out, dense1D<unsigned>{8}));
        EXPECT_EQ(detector.insert(dense1D<unsigned>{0, none}), 0u);
        EXPECT_EQ(detector.reinit(pos, dense1D<unsigned>()), 0);
        EXPECT_EQ(detector.reinit(pos, dense2D<unsigned>()), 0);
    }
}

TEST(NodeDetector, ReadsStridedViews)
{
    strided pos(plane, 0.25);
    strided tria(columns<unsigned>({{2, 1}, {1, 3}}), 0u);
    node_detector detector(pos.view, tria.view);
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 2, 1}));
    EXPECT_EQ(detector.find_closest(point2{0.2, 0.3}), 2u);
    EXPECT_EQ(detector.insert(tria.view), 3u);
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_TRUE(tria.gaps_untouched());
}

TEST(NodeDetector, IsEmptyAfterCoordinatesOfAnotherDimension)
{
    for (const std::size_t rows : {0, 1, 4}) {
        node_detector detector(plane);
        EXPECT_EQ(detector.reinit(dense2D<double>(rows, 3, 0.0)), -1);
        expect_empty(detector);
    }
}

TEST(NodeDetector, RefusesAListConnectivityOrRangeInThisOrderAndStaysAsItWas)
{
    const dense2D<double> line(1, 4, 0.0);
    const dense1D<unsigned> good{0, 1};
    const dense1D<unsigned> beyond{0, none, 4};
    const dense2D<unsigned> lists[] = {columns<unsigned>({{0, 1}}), columns<unsigned>({{0, 4}})};
    const dense2D<unsigned>* first = lists;
    const dense2D<unsigned>* last = lists + 2;

    for (const auto* pos : {&plane, &space}) {
        node_detector detector(*pos);
        EXPECT_EQ(detector.reinit(line, good), -1);
        EXPECT_EQ(detector.reinit(line, beyond), -1);
        EXPECT_EQ(detector.reinit(plane, beyond), -2);
        EXPECT_EQ(detector.reinit(space, beyond), -2);

        EXPECT_EQ(detector.reinit(line, lists[0]), -1);
        EXPECT_EQ(detector.reinit(line, lists[1]), -1);
        EXPECT_EQ(detector.reinit(plane, lists[1]), -2);

        EXPECT_EQ(detector.reinit(plane, last, first), -3);
        EXPECT_EQ(detector.reinit(line, last, first), -3);
        EXPECT_EQ(detector.reinit(line, first, first), -1);
        EXPECT_EQ(detector.reinit(line, first, last), -1);
        EXPECT_EQ(detector.reinit(plane, first, last), -2);
        EXPECT_EQ(detector.reinit(plane, first, first + 1), 0);

        EXPECT_EQ(detector.reinit(*pos), 0);
        EXPECT_EQ(detector.reinit(plane, beyond), -2);
        EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 0, 2, 1}));
    }
}

TEST(NodeDetector, StaysAsItWasAfterEachRefusal)
{
    const dense2D<double> line(1, 4, 0.0);
    const dense1D<unsigned> beyond{4};
    const dense2D<unsigned> lists[] = {columns<unsigned>({{0, 4}}), columns<unsigned>({{0, 1}})};
    node_detector detector(space, dense1D<unsigned>{2, 3});
    const auto before = everything(detector);
    ASSERT_EQ(before.size(), 2u);
    for (const int refusal :
         {detector.reinit(line, beyond), detector.reinit(plane, beyond),
          detector.reinit(line, lists[0]), detector.reinit(plane, lists[0]),
          detector.reinit(line, lists, lists + 1), detector.reinit(plane, lists, lists + 2),
          detector.reinit(plane, lists + 2, lists)})
        EXPECT_LT(refusal, 0);
    EXPECT_EQ(detector.size(), 2u);
    EXPECT_EQ(everything(detector), before);
    EXPECT_EQ(detector.find_closest(point3{0, 1, 6}), 2u);
    EXPECT_EQ(detector.insert(dense1D<unsigned>{0}), 1u);
}

TEST(NodeDetector, ReplacesWhatItHeldByCoordinatesOfTheOtherDimension)
{
    node_detector detector(plane);
    EXPECT_EQ(detector.reinit(space, dense1D<unsigned>{2}), 0);
    EXPECT_EQ(detector.size(), 1u);
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{2}));
    EXPECT_TRUE(box(detector, point2{0, 0}, point2{9, 9}).empty());
    EXPECT_EQ(detector.reinit(plane), 0);
    EXPECT_EQ(detector.size(), 4u);
    EXPECT_EQ(box(detector, point2{0, 1}, point2{0, 1}), (std::vector<unsigned>{2}));
}

// ---- construction, copies, clear

TEST(NodeDetector, ConstructsAsReinitDoes)
{
    const dense2D<unsigned> bars[] = {columns<unsigned>({{2, 1}}), columns<unsigned>({{1, 3}})};
    const node_detector all(plane);
    const node_detector listed(plane, dense1D<unsigned>{2, 1, 3});
    const node_detector connected(plane, bars[0]);
    const node_detector ranged(plane, bars, bars + 2);
    EXPECT_EQ(everything(all), (std::vector<unsigned>{3, 0, 2, 1}));
    EXPECT_EQ(everything(listed), (std::vector<unsigned>{3, 2, 1}));
    EXPECT_EQ(everything(connected), (std::vector<unsigned>{2, 1}));
    EXPECT_EQ(everything(ranged), (std::vector<unsigned>{3, 2, 1}));
}

TEST(NodeDetector, IsEmptyWhereAConstructorFails)
{
    const dense2D<double> line(1, 4, 0.0);
    const dense2D<unsigned> beyond[] = {columns<unsigned>({{0, 4}})};
    node_detector none_given;
    node_detector flat(line);
    node_detector listed(plane, dense1D<unsigned>{4});
    node_detector connected(plane, beyond[0]);
    node_detector ranged(plane, beyond + 1, beyond);
    for (auto* detector : {&none_given, &flat, &listed, &connected, &ranged})
        expect_empty(*detector);
}

TEST(NodeDetector, CopiesAnswerAlikeAndGrowApart)
{
    for (const auto* pos : {&plane, &space}) {
        node_detector detector(*pos, dense1D<unsigned>{0, 1, 2});
        const auto before = everything(detector);
        node_detector copy(detector);
        node_detector assigned;
        assigned = detector;
        EXPECT_EQ(everything(copy), before);
        EXPECT_EQ(everything(assigned), before);

        EXPECT_EQ(copy.insert(dense1D<unsigned>{3, 3}), 2u);
        EXPECT_EQ(copy.size(), 5u);
        EXPECT_EQ(detector.size(), 3u);
        EXPECT_EQ(everything(detector), before);
        EXPECT_EQ(detector.insert(dense1D<unsigned>{3}), 1u);
        EXPECT_EQ(everything(assigned), before);

        detector.clear();
        EXPECT_EQ(everything(assigned), before);
        EXPECT_EQ(copy.find_closest(point2{5, 5}), 3u);
    }
}

TEST(NodeDetector, ReadsTheSameCoordinatesAsItsCopy)
{
    auto pos = duplicate(plane);
    const node_detector detector(pos, dense1D<unsigned>{3});
    const node_detector copy(detector);
    pos(0, 3) = 6;
    EXPECT_EQ(box(copy, point2{6, 5}, point2{6, 5}), (std::vector<unsigned>{3}));
    EXPECT_EQ(box(detector, point2{6, 5}, point2{6, 5}), (std::vector<unsigned>{3}));
}

TEST(NodeDetector, TakesTheDimensionOfWhatIsAssigned)
{
    const node_detector flat(plane);
    const node_detector solid(space);
    node_detector detector(plane);
    detector = solid;
    EXPECT_EQ(box(detector, point2{0, 0}, point2{0, 1}), (std::vector<unsigned>{0}));
    detector = flat;
    EXPECT_EQ(box(detector, point2{0, 0}, point2{0, 1}), (std::vector<unsigned>{0, 2}));
    EXPECT_EQ(detector.size(), 4u);
}

TEST(NodeDetector, IsEmptiedByAnEmptyOne)
{
    for (const auto* pos : {&plane, &space}) {
        const node_detector empty;
        node_detector detector(*pos);
        detector = empty;
        expect_empty(detector);
        node_detector copy(empty);
        expect_empty(copy);
        copy = empty;
        expect_empty(copy);
    }
}

TEST(NodeDetector, StaysAsItIsWhenAssignedToItself)
{
    for (const auto* pos : {&plane, &space}) {
        node_detector detector(*pos);
        const node_detector& itself = detector;
        detector = itself;
        EXPECT_EQ(detector.size(), 4u);
        EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 0, 2, 1}));
    }
    node_detector empty;
    const node_detector& itself = empty;
    empty = itself;
    expect_empty(empty);
}

TEST(NodeDetector, CopiesATreeWithoutNodes)
{
    const node_detector detector(plane, dense1D<unsigned>());
    node_detector copy(detector);
    EXPECT_EQ(copy.size(), 0u);
    EXPECT_EQ(copy.insert(dense1D<unsigned>{3, 2, 1, 0}), 4u);
    EXPECT_EQ(copy.find_closest(point2{4, 4}), 3u);
}

TEST(NodeDetector, ClearsMoreThanOnce)
{
    for (const auto* pos : {&plane, &space}) {
        node_detector detector(*pos);
        detector.clear();
        expect_empty(detector);
        detector.clear();
        expect_empty(detector);
        EXPECT_EQ(detector.reinit(*pos), 0);
        EXPECT_EQ(detector.size(), 4u);
    }
}

// ---- insert

TEST(NodeDetector, CountsANodeAsOftenAsItIsInserted)
{
    node_detector detector(plane, dense1D<unsigned>{1, 1});
    EXPECT_EQ(detector.size(), 2u);
    EXPECT_EQ(detector.insert(dense1D<unsigned>{1, 2, 1}), 3u);
    EXPECT_EQ(detector.size(), 5u);
    EXPECT_EQ(box(detector, point2{1, 0}, point2{1, 0}), (std::vector<unsigned>{1, 1, 1, 1}));
}

TEST(NodeDetector, InsertsNothingThatIsNoColumn)
{
    node_detector detector(plane, dense1D<unsigned>{0});
    EXPECT_EQ(detector.insert(dense1D<unsigned>{4, none, 3, 1000}), 1u);
    EXPECT_EQ(detector.insert(dense1D<unsigned>()), 0u);
    EXPECT_EQ(detector.size(), 2u);
}

TEST(NodeDetector, ShufflesEachListByItselfAndLeavesItAlone)
{
    node_detector detector(plane, dense1D<unsigned>());
    const dense1D<unsigned> low{0, 1};
    const dense1D<unsigned> high{2, 3};
    EXPECT_EQ(detector.insert(low), 2u);
    EXPECT_EQ(detector.insert(high), 2u);
    // The order is 1, 0, 3, 2: node 0 left of 1, node 3 right of 1, node 2 right of 0.
    EXPECT_EQ(everything(detector), (std::vector<unsigned>{3, 2, 0, 1}));
    EXPECT_TRUE(same(low, dense1D<unsigned>{0, 1}));
    EXPECT_TRUE(same(high, dense1D<unsigned>{2, 3}));
}

TEST(NodeDetector, InsertsTheNodesOfAConnectivityOnce)
{
    node_detector detector(plane, dense1D<unsigned>{0});
    EXPECT_EQ(detector.insert(columns<unsigned>({{2, 1, none}, {1, 4, 2}})), 2u);
    EXPECT_EQ(detector.size(), 3u);
    EXPECT_EQ(detector.insert(columns<unsigned>({{0, 0}})), 1u);
    EXPECT_EQ(detector.insert(dense2D<unsigned>()), 0u);
    EXPECT_EQ(detector.size(), 4u);
}

// ---- queries

TEST(NodeDetector, GivesATieToTheNodeMetFirst)
{
    // Two nodes are stored in the order 1, 0.
    const auto pos = columns<double>({{0, 0}, {2, 0}});
    const node_detector detector(pos);
    EXPECT_EQ(detector.find_closest(point2{1, 0}), 1u);
}

TEST(NodeDetector, IgnoresTheThirdComponentInThePlane)
{
    const node_detector detector(plane);
    EXPECT_EQ(detector.find_closest(point3{0, 1, 1e9}), 2u);
    EXPECT_EQ(box(detector, point3{0, 1, 50}, point3{1, 1, -50}), (std::vector<unsigned>{2}));
}

TEST(NodeDetector, TakesAMissingThirdComponentAsZeroInSpace)
{
    const node_detector detector(space);
    // Node 2 is right above (0, 1), by 7.
    EXPECT_EQ(detector.find_closest(point2{0, 1}), 0u);
    EXPECT_EQ(detector.find_closest(point3{0, 1, 6}), 2u);
}

TEST(NodeDetector, FindsOnlyNodesAtHeightZeroByABoxOfThePlane)
{
    const auto pos = columns<double>({{0, 0, 0}, {0, 0, 1e-300}, {0, 0, -1e-300}, {0, 0, -0.0}});
    const node_detector detector(pos);
    auto found = box(detector, point2{-1, -1}, point2{1, 1});
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<unsigned>{0, 3}));
}

TEST(NodeDetector, FindsAnotherNodeAtTheSamePosition)
{
    const auto pos = columns<double>({{1, 1}, {3, 3}, {1, 1}});
    const node_detector detector(pos);
    EXPECT_EQ(detector.find_closest(0u), 2u);
    EXPECT_EQ(detector.find_closest(2u), 0u);
}

TEST(NodeDetector, FindsNoOtherNodeIfItHoldsOnlyThatOne)
{
    for (const auto* pos : {&plane, &space}) {
        const node_detector detector(*pos, dense1D<unsigned>{3});
        EXPECT_EQ(detector.find_closest(3u), none);
        EXPECT_EQ(detector.find_closest(0u), 3u);
    }
}

TEST(NodeDetector, RejectsEveryEntryOfTheNodeItself)
{
    node_detector detector(plane, dense1D<unsigned>{0, 3});
    EXPECT_EQ(detector.insert(dense1D<unsigned>{3, 3}), 2u);
    EXPECT_EQ(detector.find_closest(3u), 0u);
}

TEST(NodeDetector, FindsNothingNextToANodeThatIsNoColumn)
{
    for (const auto* pos : {&plane, &space}) {
        const node_detector detector(*pos);
        EXPECT_EQ(detector.find_closest(4u), none);
        EXPECT_EQ(detector.find_closest(none), none);
    }
}

TEST(NodeDetector, AppendsTheNodesOfABox)
{
    const node_detector detector(plane);
    dense1D<unsigned> out{99};
    detector.find_in_box(point2{0, 0}, point2{1, 1}, out);
    detector.find_in_box(point3{5, 5, 0}, point3{5, 5, 0}, out);
    EXPECT_TRUE(same(out, dense1D<unsigned>{99, 0, 2, 1, 3}));
}

TEST(NodeDetector, AnswersSeveralThreadsAtOnce)
{
    clouds::source random(clouds::gridded, 11);
    const auto pos = random.matrix(2, 400);
    const node_detector detector(pos);
    const auto answers = [&] {
        dense1D<unsigned> all;
        for (unsigned node = 0; node < 400; ++node) {
            const point2 p{pos(0, node), pos(1, node)};
            all.push_back(detector.find_closest(node));
            detector.find_in_box(p, point2{p[0] + 1, p[1] + 2}, all);
            const node_detector copy(detector);
            all.push_back(copy.find_closest(point2{p[0] + 0.5, p[1]}));
        }
        return std::vector<unsigned>(all.begin(), all.end());
    };
    const auto expected = answers();
    std::vector<std::vector<unsigned>> found(4);
    std::vector<std::thread> threads;
    for (auto& mine : found) threads.emplace_back([&] { mine = answers(); });
    for (auto& thread : threads) thread.join();
    for (const auto& mine : found) EXPECT_EQ(mine, expected);
}

// ---- against a plain version

namespace {

// The distinct nodes of connectivities in the order in which they are met.
std::vector<unsigned> nodes_of(const std::vector<dense2D<unsigned>>& matrices)
{
    std::vector<unsigned> list;
    std::unordered_set<unsigned> seen{none};
    for (const auto& m : matrices)
        for (std::size_t j = 0; j < m.cols; ++j)
            for (std::size_t i = 0; i < m.rows; ++i)
                if (seen.insert(m(i, j)).second) list.push_back(m(i, j));
    return list;
}

template <unsigned Dim>
unsigned insert(plain::kd_tree<Dim>& tree, const std::vector<unsigned>& list)
{
    unsigned stored = 0;
    for (const unsigned node : plain::shuffled(list)) stored += unsigned(tree.insert_node(node));
    return stored;
}

template <unsigned Dim>
void expect_alike(const node_detector& detector, const plain::kd_tree<Dim>& slow,
                  const dense2D<double>& pos, clouds::source& random)
{
    ASSERT_EQ(detector.size(), slow.size());
    for (int i = 0; i < 50; ++i) {
        const auto p = random.point<Dim>(pos);
        ASSERT_EQ(detector.find_closest(p), slow.closest_node(p));
        const unsigned node = random.below(unsigned(pos.cols));
        vector_fixed<double, Dim> at{};
        for (unsigned d = 0; d < Dim; ++d) at[d] = pos(d, node);
        ASSERT_EQ(detector.find_closest(node), slow.closest_node(at, node));
        auto lo = random.point<Dim>(pos);
        auto hi = random.point<Dim>(pos);
        for (unsigned d = 0; d < Dim; ++d)
            if (lo[d] > hi[d]) std::swap(lo[d], hi[d]);
        std::vector<unsigned> expected;
        slow.nodes_in_box(lo, hi, expected);
        ASSERT_EQ(box(detector, lo, hi), expected);
    }
}

template <unsigned Dim>
void compare_detectors(clouds::character character)
{
    for (std::uint32_t seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(testing::Message()
                     << Dim << "-D, character " << character << ", seed " << seed);
        clouds::source random(character, seed);
        const unsigned n = 1 + random.below(150);
        const auto pos = random.matrix(Dim, n);
        const auto ids = [&](std::size_t rows, unsigned bound) {
            dense2D<unsigned> m(rows, 1 + random.below(20));
            for (std::size_t j = 0; j < m.cols; ++j)
                for (unsigned& id : m.col(j))
                    id = random.below(9) == 0 ? none : random.below(bound);
            return m;
        };

        std::vector<unsigned> every(n);
        std::iota(every.begin(), every.end(), 0u);
        plain::kd_tree<Dim> slow(pos);
        insert(slow, every);
        node_detector detector(pos);
        expect_alike(detector, slow, pos, random);

        const std::vector<dense2D<unsigned>> range{ids(3, n), ids(4, n), ids(2, n)};
        plain::kd_tree<Dim> of_range(pos);
        insert(of_range, nodes_of(range));
        ASSERT_EQ(detector.reinit(pos, range.data(), range.data() + 3), 0);
        expect_alike(detector, of_range, pos, random);

        plain::kd_tree<Dim> of_one(pos);
        insert(of_one, nodes_of({range[1]}));
        ASSERT_EQ(detector.reinit(pos, range[1]), 0);
        const auto more = ids(3, n + 5);
        ASSERT_EQ(detector.insert(more), insert(of_one, nodes_of({more})));
        expect_alike(detector, of_one, pos, random);

        const auto list = ids(30, n).col(0);
        plain::kd_tree<Dim> of_list(pos);
        insert(of_list, {list.begin(), list.end()});
        ASSERT_EQ(detector.reinit(pos, list), 0);
        const auto later = ids(30, n + 5).col(0);
        ASSERT_EQ(detector.insert(later), insert(of_list, {later.begin(), later.end()}));
        expect_alike(detector, of_list, pos, random);
        const node_detector copy(detector);
        expect_alike(copy, of_list, pos, random);
    }
}

} // namespace

class NodeDetectorOfCloud : public testing::TestWithParam<clouds::character> {};

TEST_P(NodeDetectorOfCloud, AgreesWithAPlainTreeInShuffledOrder)
{
    compare_detectors<2>(GetParam());
    compare_detectors<3>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Seeded, NodeDetectorOfCloud, testing::ValuesIn(clouds::all), clouds::name);

// ---- exhausted memory

namespace {

const auto two_triangles = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
const dense1D<unsigned> all_four{0, 1, 2, 3};

// Runs the call with each allocation of the containers refused in turn, alone and with all after
// it, and then hands the number of the refused one to the check.
template <typename Call, typename Check>
void without_room(Call call, Check check)
{
    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true})
        allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto guarded) {
                node_detector detector;
                guarded([&] { call(detector); });
                check(detector, n, onwards);
            },
            onwards);
    EXPECT_EQ(allocation::live_blocks(), live);
}

// Runs the call with each plain allocation refused in turn; afterwards the detector must work.
template <typename Call>
void without_heap(const node_detector& start, Call call)
{
    for (const bool onwards : {false, true}) {
        const std::size_t live = allocation::live_blocks();
        allocation::sweep<allocation::fail_new>(
            [&](std::size_t, auto guarded) {
                node_detector detector(start);
                try {
                    guarded([&] { call(detector); });
                } catch (const std::bad_alloc&) {
                    EXPECT_EQ(everything(detector).size(), detector.size());
                }
                EXPECT_EQ(detector.reinit(plane), 0);
                EXPECT_EQ(detector.size(), 4u);
            },
            onwards);
        EXPECT_EQ(allocation::live_blocks(), live);
    }
}

} // namespace

TEST(NodeDetectorWithoutMemory, IndexesAllColumnsOrNone)
{
    for (const auto* pos : {&plane, &space})
        without_room([&](auto& detector) { EXPECT_EQ(detector.reinit(*pos), 0); },
                     [&](auto& detector, std::size_t n, bool onwards) {
                         // In turn: the entries, the list of all columns, its copy. The entries
                         // alone are made good for when the first node comes.
                         const bool stored = n > 3 || (n == 1 && !onwards);
                         EXPECT_EQ(detector.size(), stored ? 4u : 0u) << n;
                         EXPECT_EQ(detector.insert(dense1D<unsigned>{3}), 1u);
                         EXPECT_EQ(detector.find_closest(point2{5, 5}), 3u);
                     });
}

TEST(NodeDetectorWithoutMemory, IndexesAListOrNone)
{
    without_room([&](auto& detector) { EXPECT_EQ(detector.reinit(plane, all_four), 0); },
                 [&](auto& detector, std::size_t n, bool onwards) {
                     const bool stored = n > 2 || (n == 1 && !onwards);
                     EXPECT_EQ(detector.size(), stored ? 4u : 0u) << n;
                     EXPECT_EQ(detector.insert(dense1D<unsigned>{3}), 1u);
                     EXPECT_EQ(detector.find_closest(point2{5, 5}), 3u);
                 });
}

TEST(NodeDetectorWithoutMemory, IndexesWhatItCouldCollectOfAConnectivity)
{
    const auto check = [](auto& detector, std::size_t, bool) {
        EXPECT_LE(detector.size(), 4u);
        EXPECT_EQ(everything(detector).size(), detector.size());
        EXPECT_EQ(detector.insert(dense1D<unsigned>{3}), 1u);
        EXPECT_EQ(detector.find_closest(point2{5, 5}), 3u);
    };
    without_room([&](auto& detector) { EXPECT_EQ(detector.reinit(plane, two_triangles), 0); },
                 check);
    without_room(
        [&](auto& detector) {
            EXPECT_EQ(detector.reinit(space, &two_triangles, &two_triangles + 1), 0);
        },
        check);
}

TEST(NodeDetectorWithoutMemory, CountsWhatInsertTookForStored)
{
    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true})
        allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto guarded) {
                node_detector detector(plane, dense1D<unsigned>());
                unsigned counted = 0;
                guarded([&] { counted = detector.insert(all_four); });
                // In turn: the copy of the list, room for entries, the entry's own room.
                EXPECT_EQ(counted, n == 1 ? 0u : 4u);
                const unsigned stored = n == 1 || (onwards && n == 2) ? 0 : 4;
                EXPECT_EQ(detector.size(), stored) << n;
            },
            onwards);
    EXPECT_EQ(allocation::live_blocks(), live);
}

TEST(NodeDetectorWithoutMemory, InsertsWhatItCouldCollectOfAConnectivity)
{
    allocation::sweep<allocation::fail_containers>([&](std::size_t, auto guarded) {
        node_detector detector(plane, dense1D<unsigned>{0});
        unsigned counted = 0;
        guarded([&] { counted = detector.insert(two_triangles); });
        EXPECT_LE(counted, 4u);
        EXPECT_LE(detector.size(), 1 + counted);
        EXPECT_EQ(everything(detector).size(), detector.size());
    });
}

TEST(NodeDetectorWithoutMemory, CopiesTheCoordinatesAlone)
{
    for (const auto* pos : {&plane, &space}) {
        const node_detector detector(*pos);
        const std::size_t live = allocation::live_blocks();
        {
            node_detector assigned(plane);
            const allocation::fail_containers memory(1, true);
            assigned = detector;
            const node_detector copy(detector);
            EXPECT_TRUE(memory.fired());
            EXPECT_EQ(copy.size(), 0u);
            EXPECT_EQ(assigned.size(), 0u);
            EXPECT_EQ(assigned.find_closest(point2{0, 0}), none);
        }
        {
            node_detector assigned(plane);
            {
                const allocation::fail_containers memory(1);
                assigned = detector;
            }
            EXPECT_EQ(assigned.insert(dense1D<unsigned>{3}), 1u);
            EXPECT_EQ(assigned.find_closest(point2{0, 0}), 3u);
        }
        EXPECT_EQ(allocation::live_blocks(), live);
    }
}

TEST(NodeDetectorWithoutMemory, DropsTheNodesOfABoxWithoutAReport)
{
    const node_detector detector(plane);
    dense1D<unsigned> out;
    {
        const allocation::fail_containers memory(1);
        detector.find_in_box(point2{0, 0}, point2{9, 9}, out);
    }
    EXPECT_TRUE(same(out, dense1D<unsigned>{0, 2, 1}));
    dense1D<unsigned> nothing;
    {
        const allocation::fail_containers memory(1, true);
        detector.find_in_box(point3{0, 0, 0}, point3{9, 9, 9}, nothing);
    }
    EXPECT_EQ(nothing.size, 0u);
}

TEST(NodeDetectorWithoutMemory, LeavesNothingBehindAnException)
{
    const node_detector start(space, dense1D<unsigned>{2, 3});
    const dense1D<unsigned> list{1, 2};
    without_heap(start, [](auto& detector) { detector.reinit(plane); });
    without_heap(start, [&](auto& detector) { detector.reinit(plane, list); });
    without_heap(start, [](auto& detector) { detector.reinit(plane, two_triangles); });
    without_heap(
        start, [](auto& detector) { detector.reinit(plane, &two_triangles, &two_triangles + 1); });
    without_heap(start, [&](auto& detector) { detector.insert(list); });
    without_heap(start, [](auto& detector) { detector.insert(two_triangles); });
    without_heap(start, [&](auto& detector) { detector = start; });
    without_heap(start, [&](auto&) { const node_detector copy(start); });
    without_heap(start, [](auto&) { const node_detector made(plane); });
    without_heap(start, [&](auto&) { const node_detector made(plane, list); });
    without_heap(start, [](auto&) { const node_detector made(plane, two_triangles); });
    without_heap(
        start, [](auto&) { const node_detector made(plane, &two_triangles, &two_triangles + 1); });
}

TEST(NodeDetectorWithoutMemory, QueriesAllocateNothing)
{
    for (const auto* pos : {&plane, &space}) {
        node_detector detector(*pos);
        dense1D<unsigned> out;
        ASSERT_TRUE(out.reserve(8, 1));
        const allocation::fail_containers room(1, true);
        const allocation::fail_new heap(1, true);
        const std::size_t calls = allocation::calls();
        unsigned found = 0;
        found += detector.find_closest(point2{5, 4});
        found += detector.find_closest(point3{5, 4, 0});
        found += detector.find_closest(1u);
        detector.find_in_box(point2{4, 4}, point2{6, 6}, out);
        detector.find_in_box(point3{4, 4, 0}, point3{6, 6, 0}, out);
        found += detector.size();
        detector.clear();
        EXPECT_FALSE(heap.fired());
        EXPECT_EQ(allocation::calls(), calls);
        EXPECT_EQ(found, 3u + 3u + 0u + 4u);
        EXPECT_EQ(out.size, 2u);
    }
}
