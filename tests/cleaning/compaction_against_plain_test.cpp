#include <random>

#include <kz3/lattiq/cleaning.h>

#include "plain/cleaning/remove_degenerated.h"
#include "plain/cleaning/simplify.h"
#include "support/same.h"

namespace {

dense2D<unsigned> random_elements(std::mt19937& draw, std::size_t rows, std::size_t n,
                                  unsigned nodes)
{
    dense2D<unsigned> connectM(rows, n);
    for (std::size_t e = 0; e < n; ++e)
        for (std::size_t k = 0; k < rows; ++k)
            connectM(k, e) = draw() % 8 == 0 ? none : unsigned(draw() % nodes);
    return connectM;
}

template <typename T>
dense2D<T> copy_of(const dense2D<T>& m)
{
    dense2D<T> copy;
    copy.copy(m);
    return copy;
}

} // namespace

TEST(RemoveDegenerated, DoesAsThePlainStepsForAnyRows)
{
    std::mt19937 draw(41);
    for (std::size_t rows = 0; rows <= 20; ++rows)
        for (const unsigned nodes : {1U, 3U, 30U, 1000U, 4294967295U})
            for (const bool strict : {false, true}) {
                auto connectM = random_elements(draw, rows, 60, nodes);
                auto expected = copy_of(connectM);
                dense1D<unsigned> id_map{5, 6};
                dense1D<unsigned> expected_map;
                ASSERT_EQ(kz3::lattiq::remove_degenerated(connectM, id_map, strict),
                          plain::remove_degenerated(expected, expected_map, strict));
                ASSERT_TRUE(same(connectM, expected)) << rows << " " << nodes << " " << strict;
                ASSERT_TRUE(same(id_map, expected_map)) << rows << " " << nodes << " " << strict;
            }
}

TEST(Simplify, DoesAsThePlainStepsForAnyRows)
{
    std::mt19937 draw(42);
    for (std::size_t rows = 1; rows <= 5; ++rows)
        for (int round = 0; round < 60; ++round) {
            const auto n = 1 + unsigned(draw() % 80);
            dense2D<double> pos(rows, n);
            for (std::size_t j = 0; j < n; ++j)
                for (std::size_t i = 0; i < rows; ++i) pos(i, j) = double(draw());
            dense2D<unsigned> range[] = {random_elements(draw, 1 + draw() % 8, draw() % 15, n),
                                         random_elements(draw, 3, draw() % 15, n)};
            if (round % 10 == 0 && range[1].cols > 0) range[1](2, 0) = n; // does not exist
            auto expected_pos = copy_of(pos);
            dense2D<unsigned> expected[] = {copy_of(range[0]), copy_of(range[1])};
            const unsigned start = draw() % 3 == 0 ? unsigned(draw() % (n + 1)) : 0;
            dense1D<unsigned> id_map{5, 6};
            dense1D<unsigned> expected_map;
            ASSERT_EQ(kz3::lattiq::simplify(pos, range, range + 2, id_map, start),
                      plain::simplify(expected_pos, expected, expected + 2, expected_map, start));
            ASSERT_TRUE(same(pos, expected_pos)) << round;
            ASSERT_TRUE(same(id_map, expected_map)) << round;
            for (int m = 0; m < 2; ++m) ASSERT_TRUE(same(range[m], expected[m])) << round;
        }
}
