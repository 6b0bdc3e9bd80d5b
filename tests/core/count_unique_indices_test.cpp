#include <kz3/lattiq/core.h>

#include <random>
#include <set>

#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

TEST(CountUniqueIndices, CountsDistinctIDsWithoutHoles)
{
    EXPECT_EQ(count_unique_indices(columns<unsigned>({{0, 1, 2}, {2, 1, none}})), 3);
    EXPECT_EQ(count_unique_indices(columns<unsigned>({{none - 1, 0, none - 1}})), 2);
}

TEST(CountUniqueIndices, OfHolesAloneIsZero)
{
    EXPECT_EQ(count_unique_indices(dense2D<unsigned>(3, 4, none)), 0);
}

TEST(CountUniqueIndices, OfNothingIsZero)
{
    EXPECT_EQ(count_unique_indices(dense2D<unsigned>()), 0);
    EXPECT_EQ(count_unique_indices(dense2D<unsigned>(0, 3)), 0);
    EXPECT_EQ(count_unique_indices(dense2D<unsigned>(3, 0)), 0);
    EXPECT_EQ(count_unique_indices(nullptr, nullptr), 0);
}

TEST(CountUniqueIndices, CountsOverAllMatricesOfARange)
{
    const dense2D<unsigned> range[] = {columns<unsigned>({{0, 1}}), dense2D<unsigned>(),
                                       columns<unsigned>({{1, 2, 900000000}})};
    EXPECT_EQ(count_unique_indices(range, range + 3), 4);
    EXPECT_EQ(count_unique_indices(range, range + 2), 2);
    EXPECT_EQ(count_unique_indices(range + 1, range + 1), 0);
}

TEST(CountUniqueIndices, RefusesAReversedRange)
{
    const dense2D<unsigned> range[2];
    EXPECT_EQ(count_unique_indices(range + 1, range), -2);
    EXPECT_EQ(count_unique_indices(range + 2, range), -2);
}

TEST(CountUniqueIndices, LooksOnlyInsideTheView)
{
    const strided<unsigned> m(columns<unsigned>({{0, 1}, {1, 2}}), 99);
    EXPECT_EQ(count_unique_indices(m.view), 3);
}

TEST(CountUniqueIndices, AgreesWithASetAndWithTheListOfUniqueIndices)
{
    auto random = [engine = std::mt19937(99)]() mutable { return unsigned(engine()); };
    for (const unsigned limit : {3u, 1000u, none})
        for (const size_t cols : {1, 20, 2000}) {
            dense2D<unsigned> m(4, cols);
            std::set<unsigned> known;
            for (size_t e = 0; e < cols; ++e)
                for (size_t k = 0; k < 4; ++k) {
                    m(k, e) = random() % 10 == 0 ? none : random() % limit;
                    if (m(k, e) != none) known.insert(m(k, e));
                }
            EXPECT_EQ(count_unique_indices(m), int(known.size()));
            dense1D<unsigned> indices;
            ASSERT_EQ(unique_indices(indices, m), 0);
            EXPECT_EQ(indices.size, known.size());
        }
}

TEST(CountUniqueIndices, LetsStandardAllocationFailuresOut)
{
    dense2D<unsigned> m(4, 50);
    for (unsigned i = 0; i < 200; ++i) m(i % 4, i / 4) = i * 20000003;
    const std::size_t runs =
        allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
            int count = -1;
            try {
                count = guarded([&] { return count_unique_indices(m); });
            } catch (const std::bad_alloc&) {
                count = 200;
            }
            EXPECT_EQ(count, 200);
        });
    EXPECT_GE(runs, 3u);
    const allocation::fail_containers no_blocks(1, true);
    EXPECT_EQ(count_unique_indices(m), 200);
    EXPECT_FALSE(no_blocks.fired());
}
