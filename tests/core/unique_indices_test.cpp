#include <kz3/lattiq/core.h>

#include <iterator>
#include <random>

#include "plain/core/unique_indices.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

// 0, 1, 2, ... in a single column, so that the room estimated from the columns is too small.
dense2D<unsigned> tall_column(size_t rows)
{
    dense2D<unsigned> m(rows, 1);
    for (size_t k = 0; k < rows; ++k) m(k, 0) = unsigned(k);
    return m;
}

// 0 up to n - 1, without the elements from `without` up to `to`.
dense1D<unsigned> count_up(unsigned n, unsigned without, unsigned to)
{
    dense1D<unsigned> list;
    for (unsigned i = 0; i < n; ++i)
        if (i < without || i >= to) list.push_back(i);
    return list;
}

} // namespace

TEST(UniqueIndices, AppendsInOrderOfFirstOccurrenceBehindTheContent)
{
    dense1D<unsigned> indices{2};
    EXPECT_EQ(unique_indices(indices, dense1D<unsigned>{4, 2, 4, none, 7}), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{2, 4, 2, 7}));
}

TEST(UniqueIndices, LeavesOutWhatIsExcluded)
{
    dense1D<unsigned> indices{9};
    EXPECT_EQ(unique_indices(indices, dense1D<unsigned>{4, 2, 4, none, 7, 3},
                             dense1D<unsigned>{2, none, 3, 900, 4'000'000'000}),
              0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{9, 4, 7}));
}

TEST(UniqueIndices, LeavesIndicesAloneForAnEmptyList)
{
    dense1D<unsigned> indices{5};
    const auto* data = indices.vec->data;
    const std::size_t before = allocation::calls();
    const allocation::fail_new no_new(1, true);
    EXPECT_EQ(unique_indices(indices, dense1D<unsigned>(indices).sub_vector(0, 0)), 0);
    EXPECT_EQ(unique_indices(indices, indices.sub_vector(0, 0), indices), 0);
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_EQ(indices.vec->data, data);
    EXPECT_EQ(indices.size, 1u);
    EXPECT_FALSE(no_new.fired());
}

TEST(UniqueIndices, ReservesForEveryElementOfAList)
{
    dense1D<unsigned> indices;
    const std::size_t before = allocation::calls();
    EXPECT_EQ(unique_indices(indices, dense1D<unsigned>(10, 3u)), 0);
    EXPECT_EQ(allocation::calls() - before, 2u); // the input of the call and the output
    EXPECT_EQ(indices.vec->capacity, 12u);
    EXPECT_EQ(indices.size, 1u);
}

TEST(UniqueIndices, ReservesForEveryColumnOfARange)
{
    const dense2D<unsigned> range[] = {dense2D<unsigned>(4, 6, 1), dense2D<unsigned>(3, 4, 2)};
    dense1D<unsigned> indices{8, 9};
    const std::size_t before = allocation::calls();
    EXPECT_EQ(unique_indices(indices, range, range + 2), 0);
    EXPECT_EQ(allocation::calls() - before, 1u);
    EXPECT_EQ(indices.vec->capacity, 14u); // 2 + 6 + 4, and 2 of slack
    EXPECT_TRUE(same(indices, dense1D<unsigned>{8, 9, 1, 2}));
}

TEST(UniqueIndices, WalksMatrixByMatrixAndColumnByColumn)
{
    const dense2D<unsigned> range[] = {columns<unsigned>({{5, 1, 9}, {1, none, 0}}),
                                       dense2D<unsigned>(), columns<unsigned>({{9, 7}, {3, 5}})};
    dense1D<unsigned> indices;
    EXPECT_EQ(unique_indices(indices, std::begin(range), std::end(range)), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{5, 1, 9, 0, 7, 3}));
}

TEST(UniqueIndices, OfOneMatrixIsThatOfARangeOfOne)
{
    dense1D<unsigned> indices{1};
    EXPECT_EQ(unique_indices(indices, columns<unsigned>({{5, 1}, {1, 2}})), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{1, 5, 1, 2}));
    EXPECT_EQ(unique_indices(indices, dense2D<unsigned>(3, 0)), 0);
    EXPECT_EQ(unique_indices(indices, dense2D<unsigned>(0, 3)), 0);
    EXPECT_EQ(unique_indices(indices, dense2D<unsigned>(2, 2, none)), 0);
    EXPECT_EQ(indices.size, 4u);
}

TEST(UniqueIndices, TakesAnEmptyRangeAndRefusesAReversedOne)
{
    const dense2D<unsigned> range[] = {columns<unsigned>({{5, 1}}), columns<unsigned>({{5, 1}})};
    dense1D<unsigned> indices{4};
    const std::size_t before = allocation::calls();
    EXPECT_EQ(unique_indices(indices, range + 1, range + 1), 0);
    EXPECT_EQ(unique_indices(indices, nullptr, nullptr), 0);
    EXPECT_EQ(unique_indices(indices, range + 1, range), -3);
    EXPECT_EQ(unique_indices(indices, range + 2, range), -3);
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{4}));
}

TEST(UniqueIndices, LooksOnlyInsideTheView)
{
    const strided<unsigned> m(columns<unsigned>({{5, 1}, {1, 2}}), 99);
    dense1D<unsigned> indices;
    EXPECT_EQ(unique_indices(indices, m.view), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{5, 1, 2}));
    EXPECT_TRUE(m.gaps_untouched());
    dense1D<unsigned> ids{99, 3, 4, 99};
    EXPECT_EQ(unique_indices(indices, ids.sub_vector(1, 2)), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{5, 1, 2, 3, 4}));
}

TEST(UniqueIndices, TellsTheLargestIDFromAHole)
{
    dense1D<unsigned> indices;
    EXPECT_EQ(unique_indices(indices, dense1D<unsigned>{none, none - 1, none, none - 1, 0}), 0);
    EXPECT_TRUE(same(indices, dense1D<unsigned>{none - 1, 0}));
}

TEST(UniqueIndices, AppendsAListToItself)
{
    dense1D<unsigned> ids{4, 2, 4};
    EXPECT_EQ(unique_indices(ids, ids), 0);
    EXPECT_TRUE(same(ids, dense1D<unsigned>{4, 2, 4, 4, 2}));
}

TEST(UniqueIndices, AppendsNodesOfAMatrixWhoseStorageItGrows)
{
    dense1D<unsigned> all(40, 0u);
    for (unsigned i = 0; i < 40; ++i) all[i] = i % 37;
    dense2D<unsigned> m;
    m.vec = all.vec;
    m.rows = m.ld = 20;
    m.cols = 2;
    EXPECT_EQ(unique_indices(all, m), 0);
    ASSERT_EQ(all.size, 77u);
    for (unsigned i = 0; i < 37; ++i) EXPECT_EQ(all[40 + i], i);
}

TEST(UniqueIndices, AgreesWithASetOverDenseAndScatteredIDs)
{
    auto random = [engine = std::mt19937(1234)]() mutable { return unsigned(engine()); };
    const unsigned limits[] = {1, 5, 100, 5000, 1000000, none};
    for (const unsigned limit : limits)
        for (const unsigned step : {1u, 64u, 4096u, 1u << 20, 0x9E3779B9u})
            for (const size_t n : {1, 7, 300, 3000}) {
                dense1D<unsigned> ids(n);
                dense1D<unsigned> exclude;
                for (unsigned& id : ids) {
                    id = random() % limit * step;
                    if (random() % 20 == 0) id = none;
                    if (random() % 5 == 0) exclude.push_back(random() % 2 ? id : id + 1);
                }
                const dense1D<unsigned> content{3, 1};
                auto indices = duplicate(content);
                auto expected = duplicate(content);
                ASSERT_EQ(unique_indices(indices, ids, exclude), 0);
                plain::unique_indices(expected, ids, exclude);
                ASSERT_TRUE(same(indices, expected)) << limit << " " << step << " " << n;

                const auto m = dense2D<unsigned>::wrap(ids.begin(), 1 + n / 8, 1);
                const strided<unsigned> wide(dense2D<unsigned>::wrap(ids.begin(), 3, n / 3));
                const dense2D<unsigned> range[] = {m, wide.view};
                ASSERT_EQ(unique_indices(indices, range, range + 2), 0);
                plain::unique_indices(expected, range, range + 2);
                ASSERT_TRUE(same(indices, expected)) << limit << " " << step << " " << n;
            }
}

TEST(UniqueIndices, SkipsTheElementsThatFindNoRoom)
{
    const auto m = tall_column(20);
    const auto sweep = [&](bool onwards,
                           std::initializer_list<std::pair<unsigned, unsigned>> lost) {
        const std::size_t runs = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto guarded) {
                dense1D<unsigned> indices;
                EXPECT_EQ(guarded([&] { return unique_indices(indices, m); }), 0);
                const auto [from, to] =
                    n > lost.size() ? std::pair<unsigned, unsigned>{20, 20} : lost.begin()[n - 1];
                EXPECT_TRUE(same(indices, count_up(20, from, to))) << n;
            },
            onwards);
        EXPECT_EQ(runs, lost.size());
    };
    // Room for 1 is asked first, then for 8, 16 and 32; where the estimate fails, 4 come first.
    sweep(false, {{20, 20}, {4, 5}, {8, 9}, {16, 17}});
    sweep(true, {{0, 20}, {4, 20}, {8, 20}, {16, 20}});
}

TEST(UniqueIndices, KeepsTheContentWhereNoRoomIsFound)
{
    dense1D<unsigned> indices{9, 8};
    const dense1D<unsigned> ids{1, 2, 3, 4, 5, 6};
    const dense1D<unsigned> expected{9, 8, 1, 2}; // 4 slots in all
    const allocation::fail_containers refused(1, true);
    EXPECT_EQ(unique_indices(indices, ids), 0);
    EXPECT_TRUE(same(indices, expected));
}

TEST(UniqueIndices, LetsStandardAllocationFailuresOut)
{
    dense1D<unsigned> scattered(200);
    for (unsigned i = 0; i < 200; ++i) scattered[i] = i * 20000003;
    const auto matrix = dense2D<unsigned>::wrap(scattered.begin(), 4, 50);
    const dense1D<unsigned> dense{1, 2, 3};
    const auto expect_prefix = [](const dense1D<unsigned>& indices, const auto& ids) {
        ASSERT_GE(indices.size, 1u);
        EXPECT_EQ(indices[0], 77u);
        for (size_t i = 1; i < indices.size; ++i) EXPECT_EQ(indices[i], ids[i - 1]);
    };
    const std::size_t before = allocation::live_blocks();
    const auto count_runs = [&](auto call, const auto& ids) {
        return allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
            dense1D<unsigned> indices{77};
            try {
                EXPECT_EQ(guarded([&] { return call(indices); }), 0);
                EXPECT_EQ(indices.size, ids.size + 1);
            } catch (const std::bad_alloc&) {
            }
            expect_prefix(indices, ids);
        });
    };
    EXPECT_GE(count_runs([&](auto& i) { return unique_indices(i, dense); }, dense), 1u);
    EXPECT_GE(count_runs([&](auto& i) { return unique_indices(i, scattered); }, scattered), 3u);
    EXPECT_GE(count_runs([&](auto& i) { return unique_indices(i, matrix); }, scattered), 3u);
    EXPECT_EQ(allocation::live_blocks(), before);
}
