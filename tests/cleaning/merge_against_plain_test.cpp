#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include <kz3/lattiq/cleaning.h>

#include "plain/cleaning/merge.h"
#include "support/same.h"

namespace {
using kz3::lattiq::merge;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

struct cloud {
    const char* name;
    std::function<double(std::mt19937&)> coordinate;
    std::vector<double> tolerances;
};

double uniform(std::mt19937& draw)
{
    return double(draw()) / 4294967296.0;
}

const cloud clouds[] = {
    {"uniform", uniform, {0, 0.05, 0.2, 0.7, 10}},
    {"grid",
     [](std::mt19937& draw) { return double(draw() % 6) * 0.1; },
     {0, 0.1, 0.10000000000000001 * 1.5, 0.2, 0.3}},
    {"clusters",
     [](std::mt19937& draw) { return double(draw() % 3) + 0.02 * uniform(draw); },
     {0, 0.001, 0.01, 0.03, 1}},
    {"coincident", [](std::mt19937& draw) { return double(draw() % 2); }, {0, 0.5, 1, 1.5}},
    {"jittered grid",
     [](std::mt19937& draw) { return double(draw() % 4) * 0.25 + 1e-9 * double(draw() % 3); },
     {0, 1e-9, 2e-9, 1e-8, 0.25, 0.26}},
    {"zeros of either sign",
     [](std::mt19937& draw) {
         const double values[] = {0.0, -0.0, 1e-300, -1e-300, 1e-30};
         return values[draw() % 5];
     },
     {0, 1e-300, 1e-30, 1}},
    {"holes and infinities",
     [](std::mt19937& draw) {
         const double values[] = {0, 1, 0.5, infinity, -infinity, not_a_number, 1e200, 0.25};
         return values[draw() % (draw() % 2 == 0 ? 3 : 8)];
     },
     {0, 0.5, 1, 1e201, infinity}},
    {"last bits",
     [](std::mt19937& draw) { return (draw() % 2 == 0 ? 1 : 4) + 0x1p-52 * double(draw() % 8); },
     {0, 0x1p-60, 0x1p-53, 0x1p-52, 0x1.8p-52, 0x1.4p-51, 1e-14}},
    {"far apart",
     [](std::mt19937& draw) {
         const double values[] = {1e300, -1e300, 1, 1 + 1e-9, 1e-40, 0, 3e17, 1e300 * (1 + 1e-15)};
         return values[draw() % (draw() % 4 == 0 ? 8 : 4)];
     },
     {0, 1e-300, 1e-9, 2, 1e286, 1e299, 1e308}},
    {"crowd with an outlier",
     [](std::mt19937& draw) { return draw() % 60 == 0 ? 1e250 : 0.001 * double(draw() % 12); },
     {1e-20, 0.001, 0.0011, 0.003}},
    {"least numbers",
     [](std::mt19937& draw) { return 4e-324 * (double(draw() % 9) - 4); },
     {0, 4e-324, 1.2e-323, 1e-300, 1e-46}},
    {"distances no float holds",
     [](std::mt19937& draw) { return 1e-46 * double(draw() % 20) - 5e-46; },
     {1e-47, 1e-46, 3e-46, 8e-46, 1.5e-45, 1e-44}},
    {"largest numbers",
     [](std::mt19937& draw) {
         const double values[] = {1.7e308, -1.7e308, 1e308, -1e308, 0, 1.6999999e308};
         return values[draw() % 6];
     },
     {0, 1, 1e300, 1.8e301, 1e308, 1.7e308, infinity}},
    {"halves and holes",
     [](std::mt19937& draw) {
         const double sign = draw() % 2 == 0 ? 1 : -1;
         return draw() % 12 == 0 ? not_a_number : sign * 0.5 * double(draw() % 4);
     },
     {0, 0.0625, 0.5, 0.75, 1e30}},
};

class MergeAgainstPlain : public testing::TestWithParam<std::tuple<cloud, unsigned>> {
protected:
    void
    for_each_case(const std::function<void(std::mt19937&, const dense2D<double>&, double)>& compare)
    {
        const auto& [kind, dim] = GetParam();
        for (unsigned seed = 1; seed <= 16; ++seed)
            for (const double tol : kind.tolerances) {
                SCOPED_TRACE(testing::Message() << "seed " << seed << ", tol " << tol);
                std::mt19937 draw(seed);
                dense2D<double> pos(dim, 1 + draw() % (seed == 16 ? 300 : 70));
                for (std::size_t j = 0; j < pos.cols; ++j)
                    for (unsigned d = 0; d < dim; ++d) pos(d, j) = kind.coordinate(draw);
                compare(draw, pos, tol);
                if (HasFatalFailure()) return;
            }
    }
};

dense1D<unsigned> random_list(std::mt19937& draw, std::size_t n)
{
    dense1D<unsigned> list(draw() % (2 * n));
    for (unsigned& node : list) node = draw() % 10 == 0 ? none : unsigned(draw() % n);
    return list;
}

dense2D<unsigned> random_elements(std::mt19937& draw, std::size_t n)
{
    dense2D<unsigned> connectM(1 + draw() % 8, draw() % (n + 1));
    for (std::size_t e = 0; e < connectM.cols; ++e)
        for (std::size_t k = 0; k < connectM.rows; ++k)
            connectM(k, e) = draw() % 10 == 0 ? none : unsigned(draw() % n);
    return connectM;
}

testing::AssertionResult same_map(const dense1D<unsigned>& id_map, const plain::ids& expected)
{
    dense1D<unsigned> list(expected.size());
    std::copy(expected.begin(), expected.end(), list.begin());
    return same(id_map, list);
}

void expect_direct(const dense1D<unsigned>& id_map, int merged)
{
    int moved = 0;
    for (std::size_t j = 0; j < id_map.size; ++j) {
        ASSERT_LT(id_map[j], id_map.size);
        ASSERT_EQ(id_map[id_map[j]], id_map[j]);
        moved += id_map[j] != j ? 1 : 0;
    }
    ASSERT_EQ(moved, merged);
}

} // namespace

TEST_P(MergeAgainstPlain, OneList)
{
    for_each_case([](std::mt19937& draw, const dense2D<double>& pos, double tol) {
        const auto list = random_list(draw, pos.cols);
        dense1D<unsigned> id_map;
        plain::ids expected;
        const auto plain_list = plain::list_of(list);
        const int merged = merge(pos, list, id_map, tol);
        ASSERT_EQ(merged, plain::merge_lists(pos, plain_list, plain_list, expected, tol));
        ASSERT_TRUE(same_map(id_map, expected));
        expect_direct(id_map, merged);
    });
}

TEST_P(MergeAgainstPlain, TwoLists)
{
    for_each_case([](std::mt19937& draw, const dense2D<double>& pos, double tol) {
        const auto stored = random_list(draw, pos.cols);
        const auto scanned = random_list(draw, pos.cols);
        dense1D<unsigned> id_map;
        plain::ids expected;
        const int merged = merge(pos, stored, scanned, id_map, tol);
        ASSERT_EQ(merged, plain::merge_lists(pos, plain::list_of(stored), plain::list_of(scanned),
                                             expected, tol));
        ASSERT_TRUE(same_map(id_map, expected));
        expect_direct(id_map, merged);
    });
}

TEST_P(MergeAgainstPlain, Connectivities)
{
    for_each_case([](std::mt19937& draw, const dense2D<double>& pos, double tol) {
        const dense2D<unsigned> original[] = {random_elements(draw, pos.cols),
                                              random_elements(draw, pos.cols),
                                              random_elements(draw, pos.cols)};
        for (unsigned mode = 0; mode <= 2; ++mode) {
            SCOPED_TRACE(testing::Message() << "mode " << mode);
            dense2D<unsigned> range[3], expected_range[3];
            for (int m = 0; m < 3; ++m) {
                ASSERT_TRUE(range[m].copy(original[m]));
                ASSERT_TRUE(expected_range[m].copy(original[m]));
            }
            dense1D<unsigned> id_map;
            plain::ids expected;
            const int merged = merge(pos, range, range + 3, id_map, tol, mode);
            ASSERT_EQ(merged, plain::merge_range(pos, expected_range, expected_range + 3, expected,
                                                 tol, mode));
            ASSERT_TRUE(same_map(id_map, expected));
            for (int m = 0; m < 3; ++m) ASSERT_TRUE(same(range[m], expected_range[m]));
            expect_direct(id_map, merged);
        }
    });
}

TEST_P(MergeAgainstPlain, Coordinates)
{
    for_each_case([](std::mt19937&, const dense2D<double>& original, double tol) {
        auto pos = duplicate(original);
        auto expected_pos = duplicate(original);
        dense1D<unsigned> id_map;
        plain::ids expected;
        const int merged = merge(pos, id_map, tol);
        ASSERT_EQ(merged, plain::merge_coordinates(expected_pos, expected, tol));
        ASSERT_TRUE(same_map(id_map, expected));
        ASSERT_TRUE(same(pos, expected_pos));
        for (std::size_t j = 0; j < pos.cols; ++j)
            for (std::size_t d = 0; d < pos.rows; ++d)
                ASSERT_EQ(std::signbit(pos(d, j)), std::signbit(expected_pos(d, j)));
        expect_direct(id_map, merged);
    });
}

INSTANTIATE_TEST_SUITE_P(Clouds, MergeAgainstPlain,
                         testing::Combine(testing::ValuesIn(clouds), testing::Values(2U, 3U)),
                         [](const auto& instance) {
                             std::string name = std::get<0>(instance.param).name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name + "_" + std::to_string(std::get<1>(instance.param)) + "D";
                         });
