#include <kz3/lattiq/core.h>

#include <random>

#include "plain/core/get_IDs.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

using list = dense1D<unsigned>;

// Matches two containers and compares both maps; they hold something else before.
template <typename Container, typename... Ordered>
void expect_maps(const Container& first, const Container& second, const list& second_to_first,
                 const list& first_to_second, Ordered... ordered)
{
    list a(7, 5u);
    list b(7, 5u);
    EXPECT_EQ(get_IDs(first, second, a, b, ordered...), 0);
    EXPECT_TRUE(same(a, second_to_first)) << "second to first";
    EXPECT_TRUE(same(b, first_to_second)) << "first to second";
}

void expect_match(std::initializer_list<unsigned> a, std::initializer_list<unsigned> b,
                  bool ordered, bool unordered)
{
    const auto first = columns<unsigned>({a});
    const auto second = columns<unsigned>({b});
    const auto found = [](bool match) { return list{match ? 0 : none}; };
    expect_maps(first, second, found(ordered), found(ordered), true);
    expect_maps(first, second, found(unordered), found(unordered), false);
}

} // namespace

TEST(GetIDs, MatchesEqualIDsByPosition)
{
    expect_maps(list{10, 20, 30}, list{30, 40, 10}, list{2, none, 0}, list{2, none, 0});
    expect_maps(list{10, 20, 30, 40}, list{20}, list{1}, list{none, 0, none, none});
    expect_maps(list{0, 1, 2}, list{3, 2}, list{none, 2}, list{none, none, 1});
}

TEST(GetIDs, TakesTheLastPlaceOfARepeatedID)
{
    expect_maps(list{5, 6, 5}, list{5}, list{2}, list{none, none, 0});
    expect_maps(list{5, 6}, list{5, 6, 5}, list{0, 1, 0}, list{2, 1});
    expect_maps(list{5, 5}, list{5, 5}, list{1, 1}, list{none, 1});
}

TEST(GetIDs, FindsNoCounterpartForHoles)
{
    expect_maps(list{none, 1}, list{1, none}, list{1, none}, list{none, 0});
    expect_maps(list{none}, list{none}, list{none}, list{none});
    expect_maps(list{0}, list{none - 1, 0}, list{none, 0}, list{1});
    expect_maps(list{none - 1, 0}, list{none - 1}, list{0}, list{0, none});
}

TEST(GetIDs, OfEmptyListsGivesEmptyMaps)
{
    expect_maps(list(), list(), list(), list());
    expect_maps(list(), list{1, 2}, list{none, none}, list());
    expect_maps(list{1, 2}, list(), list(), list{none, none});
}

TEST(GetIDs, ReadsListsThatAreViews)
{
    list ids{9, 1, 2, 9};
    expect_maps(ids.sub_vector(1, 2), ids.sub_vector(2, 2), list{1, none}, list{none, 0});
}

TEST(GetIDs, TakesTheRoomOfTheOutputsAgain)
{
    const list first{1, 2, 3};
    list a(10, 0u);
    list b(10, 0u);
    const std::size_t before = allocation::calls();
    EXPECT_EQ(get_IDs(first, first, a, b), 0);
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_TRUE(same(a, list{0, 1, 2}));
}

TEST(GetIDs, AgreesWithASearchOfTheList)
{
    auto random = [engine = std::mt19937(5)]() mutable { return unsigned(engine()); };
    for (const unsigned limit : {2u, 50u, 5000u, none})
        for (const unsigned step : {1u, 4096u, 1u << 24})
            for (const size_t n : {1, 30, 400}) {
                list first(n);
                list second(n + 3);
                for (unsigned& id : first) id = random() % 9 ? random() % limit * step : none;
                for (unsigned& id : second)
                    id = random() % 3 ? first[random() % n] : random() % limit * step;
                list a;
                list b;
                plain::get_IDs(first, second, a, b);
                expect_maps(first, second, a, b);
            }
}

TEST(GetIDs, MatchesAReversedTriangleUnlessOrdered)
{
    expect_match({1, 2, 3}, {2, 1, 3}, false, true);
}

TEST(GetIDs, MatchesATurnedTriangleUnlessOrdered)
{
    expect_match({1, 2, 3}, {3, 1, 2}, false, true);
}

TEST(GetIDs, MatchesEqualColumns)
{
    expect_match({1, 2, 3}, {1, 2, 3}, true, true);
    expect_match({1}, {1}, true, true);
    expect_match({1}, {2}, false, false);
    expect_match({4'000'000'000, 5'000, 6'000}, {4'000'000'000, 5'000, 6'000}, true, true);
}

TEST(GetIDs, MatchesTheSameCycleAndNotTheSameNodes)
{
    expect_match({0, 1, 2, 3}, {2, 1, 0, 3}, false, true);
    expect_match({0, 1, 2, 3}, {2, 3, 0, 1}, false, true);
    expect_match({0, 1, 2, 3}, {0, 2, 1, 3}, false, false);
    expect_match({0, 1}, {1, 0}, false, true);
}

TEST(GetIDs, TellsColumnsOfOneSumApart)
{
    expect_match({0, 4, 5}, {1, 3, 5}, false, false);
    expect_match({1, 2, none}, {0, 1, 1}, false, false); // equal sums modulo 2 to the 32nd
}

TEST(GetIDs, TakesAHoleForAnOrdinaryNode)
{
    expect_match({0, 1, 2, none}, {0, 1, 2, none}, true, true);
    expect_match({0, 1, 2, none}, {2, none, 0, 1}, false, true);
    expect_match({0, 1, 2, none}, {1, 2, 0, none}, false, false);
    expect_match({none, none}, {none, none}, true, true);
}

TEST(GetIDs, StartsARepeatedLargestNodeAtItsFirstPlace)
{
    // Equal when turned by two, but each is compared from the first of its own two fives on.
    expect_match({5, 1, 5, 2}, {5, 2, 5, 1}, false, false);
    expect_match({1, 5, 5}, {5, 1, 5}, false, false);
    expect_match({1, 5, 5}, {5, 5, 1}, false, true);
    expect_match({5, 1, 5}, {5, 1, 5}, true, true);
}

TEST(GetIDs, TakesTheFirstColumnThatMatches)
{
    const auto first = columns<unsigned>({{7, 8, 9}, {1, 2, 3}, {2, 3, 1}, {1, 2, 3}});
    const auto second = columns<unsigned>({{2, 3, 1}, {3, 2, 1}, {1, 2, 3}});
    expect_maps(first, second, list{2, none, 1}, list{none, 2, 0, none}, true);
    expect_maps(first, second, list{1, 1, 1}, list{none, 2, none, none}, false);
}

TEST(GetIDs, RefusesColumnsOfDifferentHeight)
{
    list a{1, 2};
    list b{3};
    EXPECT_EQ(get_IDs(dense2D<unsigned>(3, 1, 0), dense2D<unsigned>(4, 1, 0), a, b, true), -2);
    EXPECT_EQ(a.size, 0u);
    EXPECT_EQ(b.size, 0u);
    list c{1};
    EXPECT_EQ(get_IDs(dense2D<unsigned>(3, 0), dense2D<unsigned>(), c, c, false), -2);
    EXPECT_EQ(c.size, 0u);
}

TEST(GetIDs, OfEmptyMatricesGivesMapsOfTheirColumns)
{
    expect_maps(dense2D<unsigned>(), dense2D<unsigned>(), list(), list(), false);
    expect_maps(dense2D<unsigned>(3, 0), columns<unsigned>({{1, 2, 3}}), list{none}, list(), true);
    expect_maps(columns<unsigned>({{1, 2, 3}}), dense2D<unsigned>(3, 0), list(), list{none}, false);
}

TEST(GetIDs, MatchesColumnsWithoutRows)
{
    for (const bool ordered : {false, true})
        expect_maps(dense2D<unsigned>(0, 2), dense2D<unsigned>(0, 3), list{0, 0, 0}, list{2, none},
                    ordered);
}

TEST(GetIDs, LooksOnlyInsideTheViews)
{
    const strided<unsigned> first(columns<unsigned>({{1, 2, 3}, {4, 5, 6}}), 99);
    const strided<unsigned> second(columns<unsigned>({{6, 5, 4}, {1, 2, 3}}), 77);
    expect_maps(first.view, second.view, list{none, 0}, list{1, none}, true);
    expect_maps(first.view, second.view, list{1, 0}, list{1, 0}, false);
    EXPECT_TRUE(first.gaps_untouched());
    EXPECT_TRUE(second.gaps_untouched());
}

TEST(GetIDs, AgreesWithAComparisonOfAllColumns)
{
    auto random = [engine = std::mt19937(77)]() mutable { return unsigned(engine()); };
    for (const size_t rows : {1, 2, 3, 4, 8})
        for (const unsigned limit : {2u, 4u, 40u, 4'000'000'000u}) {
            dense2D<unsigned> first(rows, 60);
            dense2D<unsigned> second(rows, 70);
            for (size_t e = 0; e < 60; ++e)
                for (size_t k = 0; k < rows; ++k)
                    first(k, e) = random() % 12 ? random() % limit : none;
            for (size_t e = 0; e < 70; ++e) {
                // A column of the first matrix, turned and half of the time reversed.
                const size_t from = random() % 60;
                const size_t turn = random() % rows;
                const bool back = random() % 2 != 0;
                for (size_t k = 0; k < rows; ++k)
                    second(k, e) = first((back ? rows - 1 - k + turn : k + turn) % rows, from);
            }
            for (const bool ordered : {false, true}) {
                list a;
                list b;
                plain::get_IDs(first, second, a, b, ordered);
                expect_maps(first, second, a, b, ordered);
            }
        }
}

TEST(GetIDs, AgreesWithAComparisonOfAllColumnsOnAFan)
{
    // All share their smallest node, and every other column stands twice.
    for (const unsigned shift : {0u, 4'000'000'000u}) {
        dense2D<unsigned> fan(3, 400);
        for (unsigned e = 0; e < 400; ++e) {
            const unsigned i = e % 200 < 100 ? e % 200 : e;
            fan(0, e) = shift;
            fan(1, e) = shift + i + 1;
            fan(2, e) = shift + i + 2;
        }
        for (const bool ordered : {false, true}) {
            list a;
            list b;
            plain::get_IDs(fan, fan, a, b, ordered);
            expect_maps(fan, fan, a, b, ordered);
        }
    }
}

// A few columns are compared one by one, more are searched by key: on both sides of that limit.
TEST(GetIDs, AgreesWithAComparisonOfAllColumnsOnFansOfEverySize)
{
    std::mt19937 random(78);
    for (unsigned n = 1; n < 60; ++n)
        for (const unsigned stride : {1U, 10'000'000U}) {
            dense2D<unsigned> fan(3, n);
            dense2D<unsigned> turned(3, n);
            for (unsigned e = 0; e < n; ++e) {
                const unsigned node[] = {stride, stride * (2 + unsigned(random() % n)),
                                         stride * (2 + n - e)};
                for (unsigned k = 0; k < 3; ++k) {
                    fan(k, e) = node[k];
                    turned(k, n - 1 - e) = node[(k + e) % 3];
                }
            }
            for (const bool ordered : {false, true}) {
                list a;
                list b;
                plain::get_IDs(fan, turned, a, b, ordered);
                expect_maps(fan, turned, a, b, ordered);
            }
        }
}

TEST(GetIDs, LeavesAnOutputEmptyThatCouldNotBeSized)
{
    const list first{1, 2, 3, 4, 5};
    const list second{5, 4, 3};
    const auto matrix = dense2D<unsigned>::wrap(const_cast<unsigned*>(first.begin()), 1, 5);
    const auto other = dense2D<unsigned>::wrap(const_cast<unsigned*>(second.begin()), 1, 3);
    const list second_to_first{4, 3, 2};
    const list first_to_second{none, none, 2, 1, 0};
    for (const bool onwards : {false, true})
        for (const bool of_lists : {false, true}) {
            const std::size_t runs = allocation::sweep<allocation::fail_containers>(
                [&](std::size_t n, auto guarded) {
                    list a;
                    list b;
                    const int result = guarded([&] {
                        return of_lists ? get_IDs(first, second, a, b)
                                        : get_IDs(matrix, other, a, b, false);
                    });
                    EXPECT_EQ(result, 0);
                    EXPECT_TRUE(same(a, n == 1 ? list() : second_to_first));
                    EXPECT_TRUE(same(b, n == 2 || (n == 1 && onwards) ? list() : first_to_second));
                },
                onwards);
            EXPECT_EQ(runs, 2u);
        }
}

TEST(GetIDs, LetsStandardAllocationFailuresOut)
{
    const list first{1, 2, 900000000};
    const auto matrix = columns<unsigned>({{1, 2, 3}, {4, 5, 6}});
    const std::size_t before = allocation::live_blocks();
    const auto count_runs = [](auto call, const list& expected) {
        return allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
            list a;
            list b;
            bool done = true;
            try {
                EXPECT_EQ(guarded([&] { return call(a, b); }), 0);
            } catch (const std::bad_alloc&) {
                done = false;
            }
            EXPECT_TRUE(same(a, done ? expected : list(expected.size, none)));
            EXPECT_TRUE(same(b, done ? expected : list(expected.size, none)));
        });
    };
    EXPECT_GE(
        count_runs([&](auto& a, auto& b) { return get_IDs(first, first, a, b); }, list{0, 1, 2}),
        1u);
    EXPECT_GE(count_runs([&](auto& a, auto& b) { return get_IDs(matrix, matrix, a, b, false); },
                         list{0, 1}),
              3u);
    EXPECT_EQ(allocation::live_blocks(), before);
}
