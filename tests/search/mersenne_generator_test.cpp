#include "search/mersenne_generator.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "plain/search/mersenne_generator.h"
#include "support/same.h"

using kz3::lattiq::detail::mersenne_generator;
using kz3::lattiq::detail::shuffle_indices;

namespace {

std::vector<unsigned> shuffled(std::vector<unsigned> list)
{
    mersenne_generator generator;
    shuffle_indices(list.data(), list.data() + list.size(), generator);
    return list;
}

std::vector<unsigned> counted(unsigned n)
{
    std::vector<unsigned> list(n);
    std::iota(list.begin(), list.end(), 0u);
    return list;
}

// The number of the given place, counted from 1.
std::uint32_t number(unsigned place)
{
    mersenne_generator generator;
    for (unsigned i = 1; i < place; ++i) generator.draw();
    return generator.draw();
}

} // namespace

TEST(MersenneGenerator, StartsWithItsOwnSequence)
{
    mersenne_generator generator;
    for (const std::uint32_t expected :
         {0xE2450886u, 0xF94C56FAu, 0x81F0EEAFu, 0xE30E8878u, 0xB07A203Cu, 0xF179224Eu, 0xEDC4F1C4u,
          0x7CD78BFFu, 0xC7A68C77u, 0xE08C2585u})
        EXPECT_EQ(generator.draw(), expected);
}

TEST(MersenneGenerator, GivesTheSameSequenceAnew)
{
    mersenne_generator first;
    mersenne_generator second;
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(first.draw(), second.draw()) << i;
}

TEST(MersenneGenerator, KeepsItsSequenceWhereTheRecurrenceWraps)
{
    EXPECT_EQ(number(227), 0x5A2B2A00u);
    EXPECT_EQ(number(228), 0x4AE95BE5u);
    EXPECT_EQ(number(229), 0x19450198u);
    EXPECT_EQ(number(623), 0x43174A77u);
    EXPECT_EQ(number(624), 0x2CCB41A4u);
}

TEST(MersenneGenerator, KeepsItsSequenceAcrossReloads)
{
    EXPECT_EQ(number(625), 0x440F69EDu);
    EXPECT_EQ(number(626), 0xE3A4ABECu);
    EXPECT_EQ(number(1248), 0xB3BD8FDCu);
    EXPECT_EQ(number(1249), 0x77910EE1u);
}

TEST(MersenneGenerator, AgreesWithThePlainVersion)
{
    mersenne_generator generator;
    plain::mersenne_generator slow;
    for (int i = 0; i < 100000; ++i) ASSERT_EQ(generator.draw(), slow.draw()) << i;
}

TEST(ShuffleIndices, PutsTenItemsInTheKnownOrder)
{
    EXPECT_EQ(shuffled(counted(10)), (std::vector<unsigned>{5, 8, 4, 3, 7, 1, 0, 6, 2, 9}));
}

TEST(ShuffleIndices, SwapsTwoSinceTheFirstNumberIsEven)
{
    EXPECT_EQ(shuffled({7, 4}), (std::vector<unsigned>{4, 7}));
}

TEST(ShuffleIndices, MovesPlacesWhateverTheValues)
{
    EXPECT_EQ(shuffled({90, 91, 91, 93, none}), (std::vector<unsigned>{91, 91, none, 93, 90}));
}

TEST(ShuffleIndices, DrawsNothingForARangeOfZeroOrOne)
{
    mersenne_generator generator;
    unsigned one = 42;
    shuffle_indices(nullptr, nullptr, generator);
    shuffle_indices(&one, &one, generator);
    shuffle_indices(&one, &one + 1, generator);
    EXPECT_EQ(one, 42u);
    EXPECT_EQ(generator.draw(), 0xE2450886u);
}

TEST(ShuffleIndices, DrawsOneNumberLessThanItHasItems)
{
    mersenne_generator generator;
    auto list = counted(10);
    shuffle_indices(list.data(), list.data() + 10, generator);
    EXPECT_EQ(generator.draw(), 0xE08C2585u);
}

TEST(ShuffleIndices, TouchesNothingOutsideItsRange)
{
    std::vector<unsigned> list{100, 0, 1, 2, 3, 101};
    mersenne_generator generator;
    shuffle_indices(list.data() + 1, list.data() + 5, generator);
    EXPECT_EQ(list, (std::vector<unsigned>{100, 1, 2, 0, 3, 101}));
}

TEST(ShuffleIndices, AgreesWithThePlainVersionAcrossReloads)
{
    for (const unsigned n : {0u, 1u, 2u, 3u, 100u, 624u, 625u, 626u, 20000u}) {
        const auto list = shuffled(counted(n));
        EXPECT_EQ(list, plain::shuffled(counted(n))) << n;
        auto sorted = list;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, counted(n)) << n;
    }
}
