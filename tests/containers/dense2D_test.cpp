#include <kz3/dense2D.h>

#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "support/allocation.h"
#include "support/same.h"

namespace {

constexpr std::size_t most = std::numeric_limits<std::size_t>::max();

template <typename T>
class Dense2DOf : public testing::Test {
};
using element_types = testing::Types<unsigned, float, double>;
TYPED_TEST_SUITE(Dense2DOf, element_types);

dense2D<unsigned> three_by_two()
{
    return columns<unsigned>({{1, 2, 3}, {4, 5, 6}});
}

} // namespace

TYPED_TEST(Dense2DOf, StartsWithTheFieldsOfAVectorAndHasItsOwnBehind)
{
    const dense2D<TypeParam> m;
    const auto* at = reinterpret_cast<const char*>(&m);
    EXPECT_EQ(reinterpret_cast<const char*>(&m.vec) - at, 0);
    EXPECT_EQ(reinterpret_cast<const char*>(&m.offset) - at, 16);
    EXPECT_EQ(reinterpret_cast<const char*>(&m.rows) - at, 24);
    EXPECT_EQ(reinterpret_cast<const char*>(&m.cols) - at, 32);
    EXPECT_EQ(reinterpret_cast<const char*>(&m.ld) - at, 40);
    EXPECT_EQ(sizeof(m), 48u);
}

TYPED_TEST(Dense2DOf, StartsEmptyWithAStorageOfItsOwn)
{
    const dense2D<TypeParam> m;
    ASSERT_NE(m.vec.get(), nullptr);
    EXPECT_EQ(m.vec->data, nullptr);
    EXPECT_EQ(m.vec->capacity, 0u);
    EXPECT_EQ(m.vec->count, 1);
    EXPECT_EQ(m.offset, 0u);
    EXPECT_EQ(m.rows, 0u);
    EXPECT_EQ(m.cols, 0u);
    EXPECT_EQ(m.ld, 0u);
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(m.column_capacity(), 0u);
}

TYPED_TEST(Dense2DOf, ConstructsFilledWithoutGaps)
{
    const dense2D<TypeParam> m(3, 2, TypeParam(7));
    EXPECT_EQ(m.rows, 3u);
    EXPECT_EQ(m.cols, 2u);
    EXPECT_EQ(m.ld, 3u);
    EXPECT_TRUE(same(m, columns<TypeParam>({{7, 7, 7}, {7, 7, 7}})));
    const dense2D<TypeParam> n(3, 2);
    EXPECT_EQ(n.ld, 3u);
    EXPECT_EQ(n.cols, 2u);
}

TYPED_TEST(Dense2DOf, ConstructionWithoutMemoryGivesAnEmptyMatrix)
{
    const allocation::fail_containers none_left(1, true);
    EXPECT_TRUE(dense2D<TypeParam>(3, 2, TypeParam(7)).empty());
    EXPECT_TRUE(dense2D<TypeParam>(3, 2).empty());
    EXPECT_TRUE(columns<TypeParam>({{1, 2}}).empty());
}

TYPED_TEST(Dense2DOf, StoresElementsByColumn)
{
    const auto m = columns<TypeParam>({{1, 2, 3}, {4, 5, 6}});
    for (std::size_t k = 0; k < 6; ++k) EXPECT_EQ(m.vec->data[k], TypeParam(k + 1));
    EXPECT_EQ(m(2, 0), TypeParam(3));
    EXPECT_EQ(m(0, 1), TypeParam(4));
}

TYPED_TEST(Dense2DOf, ResizeToMoreRowsKeepsTheOldRowsOfEveryColumn)
{
    auto m = columns<TypeParam>({{1, 2}, {3, 4}, {5, 6}});
    ASSERT_TRUE(m.resize(3, 4, TypeParam(9)));
    EXPECT_EQ(m.ld, 3u);
    EXPECT_TRUE(same(m, columns<TypeParam>({{1, 2, 9}, {3, 4, 9}, {5, 6, 9}, {9, 9, 9}})));
}

TEST(Dense2D, IsEmptyByTheProductOfItsDimensions)
{
    EXPECT_TRUE(dense2D<unsigned>(0, 5).empty());
    EXPECT_TRUE(dense2D<unsigned>(5, 0).empty());
    EXPECT_FALSE(dense2D<unsigned>(1, 1).empty());
    const dense2D<unsigned> m(0, 5);
    EXPECT_EQ(m.rows, 0u);
    EXPECT_EQ(m.cols, 5u);
}

TEST(Dense2D, CopyConstructionAndAssignmentShareElements)
{
    auto a = three_by_two();
    dense2D<unsigned> part = a.sub_matrix(1, 1, 2, 1);
    const dense2D<unsigned> b(part);
    EXPECT_EQ(b.vec.get(), a.vec.get());
    EXPECT_EQ(a.vec->count, 3);
    EXPECT_EQ(b.offset, 4u);
    EXPECT_EQ(b.rows, 2u);
    EXPECT_EQ(b.cols, 1u);
    EXPECT_EQ(b.ld, 3u);
    part(0, 0) = 50;
    EXPECT_EQ(b(0, 0), 50u);
    EXPECT_EQ(a(1, 1), 50u);
}

TEST(Dense2D, ShallowCopyBecomesAViewAndReleasesItsStorage)
{
    const std::size_t before = allocation::live_blocks();
    auto a = three_by_two();
    dense2D<unsigned> b(4, 4, 0);
    EXPECT_TRUE((std::is_void_v<decltype(b.shallow_copy(a))>));
    b.shallow_copy(a.sub_matrix(1, 0, 2, 2));
    EXPECT_EQ(allocation::live_blocks(), before + 1);
    EXPECT_EQ(b.ld, 3u);
    EXPECT_TRUE(same(b, columns<unsigned>({{2, 3}, {5, 6}})));
    b(0, 0) = 20;
    EXPECT_EQ(a(1, 0), 20u);
}

TEST(Dense2D, ColIsAViewOfOneColumn)
{
    auto a = columns<float>({{1, 2}, {3, 4}, {5, 6}});
    dense1D<float> column = a.col(2);
    EXPECT_EQ(column.offset, 4u);
    EXPECT_EQ(column.size, 2u);
    column[1] = 60;
    EXPECT_EQ(a(1, 2), 60.0f);
    const auto& constant = a;
    EXPECT_TRUE((std::is_const_v<decltype(constant.col(0))>));
    EXPECT_TRUE(same<float>(constant.col(1), {3, 4}));
}

TEST(Dense2D, ColOfAStridedViewHasTheRowsOfTheView)
{
    const strided<unsigned> m(three_by_two());
    EXPECT_TRUE(same<unsigned>(m.view.col(1), {4, 5, 6}));
}

TEST(Dense2D, SubMatrixKeepsTheLeadingDimension)
{
    auto a = columns<unsigned>({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    dense2D<unsigned> b = a.sub_matrix(1, 1, 2, 2);
    EXPECT_EQ(b.offset, 4u);
    EXPECT_EQ(b.ld, 3u);
    EXPECT_TRUE(same(b, columns<unsigned>({{5, 6}, {8, 9}})));
    const dense2D<unsigned> c = b.sub_matrix(1, 1, 1, 1);
    EXPECT_EQ(c.ld, 3u);
    EXPECT_EQ(c(0, 0), 9u);
    b(1, 0) = 60;
    EXPECT_EQ(a(2, 1), 60u);
    const auto& constant = a;
    EXPECT_TRUE((std::is_const_v<decltype(constant.sub_matrix(0, 0, 1, 1))>));
}

TEST(Dense2D, AsVectorViewsAllElementsInStorageOrder)
{
    auto a = three_by_two();
    const auto all = a.as_vector();
    EXPECT_EQ(all.vec.get(), a.vec.get());
    EXPECT_TRUE(same(all, dense1D<unsigned>{1, 2, 3, 4, 5, 6}));
    a(0, 1) = 40;
    EXPECT_EQ(all[3], 40u);
    const auto behind = a.sub_matrix(0, 1, 3, 1).as_vector();
    EXPECT_TRUE(same(behind, dense1D<unsigned>{40, 5, 6}));
}

TEST(Dense2D, ViewsOutliveTheMatrixTheyWereTakenFrom)
{
    dense1D<unsigned> view;
    {
        const auto m = three_by_two();
        view.shallow_copy(m.col(1));
    }
    EXPECT_TRUE(same(view, dense1D<unsigned>{4, 5, 6}));
}

TEST(Dense2D, CopySharesNothingAndClosesGaps)
{
    strided<unsigned> from(three_by_two());
    dense2D<unsigned> b;
    ASSERT_TRUE(b.copy(from.view));
    EXPECT_EQ(b.ld, 3u);
    EXPECT_TRUE(same(b, three_by_two()));
    b(0, 0) = 10;
    EXPECT_EQ(from.view(0, 0), 1u);
    ASSERT_TRUE(b.copy(dense2D<unsigned>(0, 4)));
    EXPECT_TRUE(b.empty());
    EXPECT_EQ(b.cols, 4u);
}

TEST(Dense2D, CopyUsesAStorageHeldAloneAgain)
{
    const auto a = three_by_two();
    dense2D<unsigned> b(10, 10, 0);
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(b.copy(a));
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_TRUE(same(b, a));
    EXPECT_EQ(b.ld, 3u);
}

TEST(Dense2D, CopyIntoASharedStorageLeavesTheOtherViews)
{
    dense2D<unsigned> b(3, 3, 8);
    const dense2D<unsigned> other(b);
    ASSERT_TRUE(b.copy(three_by_two()));
    EXPECT_TRUE(same(b, three_by_two()));
    EXPECT_TRUE(same(other, dense2D<unsigned>(3, 3, 8)));
}

TEST(Dense2D, CopyOfAViewOfItselfDetachesIt)
{
    auto a = three_by_two();
    const dense2D<unsigned> whole(a);
    ASSERT_TRUE(a.copy(a.sub_matrix(1, 0, 2, 2)));
    EXPECT_TRUE(same(a, columns<unsigned>({{2, 3}, {5, 6}})));
    a(0, 0) = 20;
    EXPECT_TRUE(same(whole, three_by_two()));
    ASSERT_TRUE(a.copy(a));
    EXPECT_TRUE(same(a, columns<unsigned>({{20, 3}, {5, 6}})));
}

TEST(Dense2D, CopyWithoutMemoryLeavesTheTargetUnchanged)
{
    const dense2D<unsigned> a(30, 30, 1);
    auto b = three_by_two();
    {
        const allocation::fail_containers refused(1);
        EXPECT_FALSE(b.copy(a));
    }
    {
        const allocation::fail_new refused(1);
        EXPECT_FALSE(b.copy(a));
    }
    EXPECT_TRUE(same(b, three_by_two()));
    EXPECT_EQ(b.ld, 3u);
}

TEST(Dense2D, ReserveKeepsShapeAndContentAndSparesTheResize)
{
    auto m = three_by_two();
    ASSERT_TRUE(m.reserve(3, 40));
    EXPECT_TRUE(same(m, three_by_two()));
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(m.resize(3, 40));
    EXPECT_EQ(allocation::calls(), before);

    auto n = three_by_two();
    ASSERT_TRUE(n.reserve(8, 40));
    EXPECT_TRUE(same(n, three_by_two()));
    const std::size_t again = allocation::calls();
    ASSERT_TRUE(n.resize(8, 40));
    EXPECT_EQ(allocation::calls(), again);
    EXPECT_EQ(n(2, 1), 6u);
}

TEST(Dense2D, ReserveOfAnEmptyMatrixSparesTheResize)
{
    dense2D<double> m;
    ASSERT_TRUE(m.reserve(3, 40));
    EXPECT_TRUE(m.empty());
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(m.resize(3, 40, 1.0));
    EXPECT_EQ(allocation::calls(), before);
}

TEST(Dense2D, ReserveAndResizeRefuseWhatCannotBe)
{
    auto m = three_by_two();
    EXPECT_FALSE(m.reserve(most, 2));
    EXPECT_FALSE(m.reserve(most / 2 + 1, 2));
    EXPECT_FALSE(m.reserve(most / 8, 2));
    EXPECT_FALSE(m.resize(most / 2 + 1, 2));
    EXPECT_FALSE(m.resize(3, most));
    EXPECT_FALSE(m.resize(3, most / 3 + 1));
    EXPECT_FALSE(m.resize(2, most, 1));
    EXPECT_FALSE(m.resize(most, 1));
    EXPECT_TRUE(same(m, three_by_two()));
    EXPECT_EQ(m.ld, 3u);
    dense2D<unsigned> empty;
    EXPECT_FALSE(empty.resize(most / 2 + 1, 2));
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.ld, 0u);
}

TEST(Dense2D, ReserveWithoutMemoryChangesNothing)
{
    auto m = three_by_two();
    const allocation::fail_containers refused(1);
    EXPECT_FALSE(m.reserve(3, 400));
    EXPECT_TRUE(same(m, three_by_two()));
}

TEST(Dense2D, ResizeKeepsExistingColumns)
{
    auto m = three_by_two();
    ASSERT_TRUE(m.resize(3, 5, 9));
    EXPECT_TRUE(
        same(m, columns<unsigned>({{1, 2, 3}, {4, 5, 6}, {9, 9, 9}, {9, 9, 9}, {9, 9, 9}})));
    ASSERT_TRUE(m.resize(3, 1));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2, 3}})));
    ASSERT_TRUE(m.resize(3, 2, 7));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2, 3}, {7, 7, 7}})));
}

TEST(Dense2D, ResizeToFewerRowsKeepsTheRowsThatStay)
{
    auto m = columns<unsigned>({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    ASSERT_TRUE(m.resize(2, 4, 0));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2}, {4, 5}, {7, 8}, {0, 0}})));
}

TEST(Dense2D, ResizeToFewerRowsAndBackFillsThemAnew)
{
    auto m = three_by_two();
    ASSERT_TRUE(m.resize(1, 2));
    ASSERT_TRUE(m.resize(3, 3, 9));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 9, 9}, {4, 9, 9}, {9, 9, 9}})));
}

TEST(Dense2D, ResizeFromAnEmptyMatrixFillsEverything)
{
    dense2D<unsigned> m(0, 5);
    ASSERT_TRUE(m.resize(2, 3, 4));
    EXPECT_EQ(m.ld, 2u);
    EXPECT_TRUE(same(m, columns<unsigned>({{4, 4}, {4, 4}, {4, 4}})));
    m.clear();
    EXPECT_TRUE(m.empty());
    ASSERT_TRUE(m.resize(3, 2, 5));
    EXPECT_EQ(m.ld, 3u);
    EXPECT_TRUE(same(m, columns<unsigned>({{5, 5, 5}, {5, 5, 5}})));
}

TEST(Dense2D, ResizeToAnEmptyShapeTakesTheShape)
{
    auto m = three_by_two();
    ASSERT_TRUE(m.resize(4, 0));
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(m.rows, 4u);
    EXPECT_EQ(m.cols, 0u);
    ASSERT_TRUE(m.resize(0, 7));
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(m.cols, 7u);
}

TEST(Dense2D, ResizeToMoreRowsSeparatesFromOtherViews)
{
    auto m = three_by_two();
    const dense2D<unsigned> other(m);
    ASSERT_TRUE(m.resize(4, 2, 9));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2, 3, 9}, {4, 5, 6, 9}})));
    EXPECT_TRUE(same(other, three_by_two()));
}

TEST(Dense2D, ResizeOfAStridedViewToMoreRowsLeavesItsParent)
{
    strided<unsigned> m(three_by_two());
    ASSERT_TRUE(m.view.resize(5, 3, 9));
    EXPECT_TRUE(
        same(m.view, columns<unsigned>({{1, 2, 3, 9, 9}, {4, 5, 6, 9, 9}, {9, 9, 9, 9, 9}})));
    EXPECT_TRUE(m.gaps_untouched());
    EXPECT_EQ(m.parent(2, 1), 1u);
}

TEST(Dense2D, ResizeOfAStridedViewToFewerRowsLeavesItsParent)
{
    strided<unsigned> m(three_by_two());
    ASSERT_TRUE(m.view.resize(2, 1, 9));
    EXPECT_TRUE(same(m.view, columns<unsigned>({{1, 2}})));
    EXPECT_TRUE(m.gaps_untouched());
    EXPECT_EQ(m.parent(4, 2), 6u);
}

TEST(Dense2D, ResizeThatGrowsASharedStorageMovesAllViews)
{
    auto m = three_by_two();
    const dense2D<unsigned> last = m.sub_matrix(0, 1, 3, 1);
    ASSERT_TRUE(m.resize(3, 100, 9));
    EXPECT_EQ(last.vec.get(), m.vec.get());
    EXPECT_TRUE(same(last, columns<unsigned>({{4, 5, 6}})));
    EXPECT_EQ(m(2, 1), 6u);
    EXPECT_EQ(m(2, 99), 9u);
}

TEST(Dense2D, ResizeOfAStridedViewThatGrowsKeepsTheGapsOfOthers)
{
    strided<unsigned> m(three_by_two());
    const auto parent = duplicate(m.parent);
    const std::size_t beyond = m.parent.vec->capacity; // columns behind the parent's
    ASSERT_TRUE(m.view.resize(3, beyond));
    EXPECT_TRUE(same(m.parent, parent));
    EXPECT_EQ(m.view(2, 1), 6u);
}

TEST(Dense2D, ResizeWithoutMemoryChangesNothing)
{
    const auto unchanged = [](auto change) {
        auto m = three_by_two();
        {
            const allocation::fail_containers refused(1);
            EXPECT_FALSE(change(m));
            EXPECT_TRUE(refused.fired());
        }
        EXPECT_TRUE(same(m, three_by_two()));
        EXPECT_EQ(m.ld, 3u);
    };
    unchanged([](auto& m) { return m.resize(3, 50); });
    unchanged([](auto& m) { return m.resize(3, 50, 9); });
    unchanged([](auto& m) { return m.resize(2, 50, 9); });
    unchanged([](auto& m) { return m.resize(8, 2); });
    unchanged([](auto& m) { return m.resize(8, 50, 9); });
    unchanged([](auto& m) {
        const auto other(m);
        return m.resize(4, 2, 9);
    });
}

TEST(Dense2D, ResizeOfASharedMatrixWithoutMemoryForItsHeaderChangesNothing)
{
    auto m = three_by_two();
    const auto other(m);
    {
        const allocation::fail_new refused(1);
        EXPECT_FALSE(m.resize(4, 2, 9));
    }
    EXPECT_TRUE(same(m, three_by_two()));
}

// A matrix of known elements next to the real one, and views that must keep what they saw.
TEST(Dense2D, ResizeAgreesWithAModelOverRandomShapes)
{
    std::mt19937 random(20240611);
    const auto below = [&](std::size_t n) { return std::size_t(random()) % n; };
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const allocation::misalign odd(below(8));
        dense2D<unsigned> m;
        std::vector<std::vector<unsigned>> model;
        std::size_t height = 0;
        for (unsigned step = 1; step < 12; ++step) {
            const std::size_t r = below(6);
            const std::size_t c = below(9);
            const dense2D<unsigned> held = below(3) == 0 ? m : dense2D<unsigned>();
            const auto seen = duplicate(held);
            const bool ahead = below(4) == 0;
            ASSERT_TRUE(!ahead || m.reserve(below(9), below(12)));
            ASSERT_TRUE(m.resize(r, c, step));
            if (height * model.size() == 0) model.clear();
            model.resize(c);
            for (auto& column : model) column.resize(r, step);
            height = r;
            ASSERT_EQ(m.rows, r);
            ASSERT_EQ(m.cols, c);
            for (std::size_t j = 0; j < c; ++j)
                for (std::size_t i = 0; i < r; ++i) ASSERT_EQ(m(i, j), model[j][i]);
            ASSERT_TRUE(same(held, seen));
        }
    }
}

TEST(Dense2D, ClearMakesItEmptyAndKeepsTheStorage)
{
    auto m = three_by_two();
    const unsigned* data = m.vec->data;
    m.clear();
    EXPECT_TRUE(m.empty());
    EXPECT_EQ(m.vec->data, data);
}

TEST(Dense2D, PushBackAppendsAColumnOfTwo)
{
    dense2D<unsigned> edges;
    ASSERT_TRUE(edges.push_back({1, 2}));
    EXPECT_EQ(allocation::last_request(), 40u); // 2 x 4 and 2 of slack
    EXPECT_EQ(edges.rows, 2u);
    EXPECT_EQ(edges.ld, 2u);
    ASSERT_TRUE(edges.push_back({3, 4}));
    EXPECT_TRUE(same(edges, columns<unsigned>({{1, 2}, {3, 4}})));
}

TEST(Dense2D, PushBackDoublesItsRoom)
{
    const std::size_t before = allocation::calls();
    dense2D<unsigned> edges;
    for (unsigned i = 0; i < 1000; ++i) ASSERT_TRUE(edges.push_back({i, 2 * i}));
    EXPECT_EQ(edges.cols, 1000u);
    for (unsigned i = 0; i < 1000; ++i) EXPECT_EQ(edges(1, i), 2 * i);
    // Room for 5 columns first, then each time for twice the columns and the slack of one.
    EXPECT_EQ(allocation::calls() - before, 9u);
}

TEST(Dense2D, PushBackRefusesAMatrixOfOtherHeight)
{
    auto m = three_by_two();
    EXPECT_FALSE(m.push_back({1, 2}));
    EXPECT_TRUE(same(m, three_by_two()));
    dense2D<unsigned> one(1, 1, 5);
    EXPECT_FALSE(one.push_back({1, 2}));
}

TEST(Dense2D, PushBackOnAnEmptyMatrixTakesAnyHeight)
{
    dense2D<unsigned> m(3, 0);
    ASSERT_TRUE(m.push_back({1, 2}));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2}})));
    m.clear();
    ASSERT_TRUE(m.push_back({3, 4}));
    EXPECT_TRUE(same(m, columns<unsigned>({{3, 4}})));
}

TEST(Dense2D, PushBackCountsColumnsWithoutRows)
{
    dense2D<unsigned> m(0, 3);
    ASSERT_TRUE(m.push_back({1, 2}));
    EXPECT_EQ(m.rows, 2u);
    EXPECT_EQ(m.cols, 4u);
    EXPECT_EQ(m(0, 3), 1u);
    EXPECT_EQ(m(1, 3), 2u);

    dense2D<unsigned> endless(0, most);
    EXPECT_FALSE(endless.push_back({1, 2}));
    EXPECT_EQ(endless.cols, most);
}

TEST(Dense2D, PushBackOnAStridedViewWritesTheNextColumnOfItsParent)
{
    dense2D<unsigned> parent(3, 4, 9);
    dense2D<unsigned> view = parent.sub_matrix(1, 0, 2, 2);
    ASSERT_TRUE(view.push_back({1, 2}));
    EXPECT_EQ(view.cols, 3u);
    EXPECT_TRUE(same(parent, columns<unsigned>({{9, 9, 9}, {9, 9, 9}, {9, 1, 2}, {9, 9, 9}})));
}

TEST(Dense2D, PushBackWithoutMemoryChangesNothing)
{
    dense2D<unsigned> edges;
    {
        const allocation::fail_containers refused(1, true);
        EXPECT_FALSE(edges.push_back({1, 2}));
    }
    EXPECT_TRUE(edges.empty());
    while (edges.cols == 0 || edges.cols < edges.column_capacity())
        ASSERT_TRUE(edges.push_back({3, 4}));
    const auto before = duplicate(edges);
    {
        const allocation::fail_containers refused(1, true);
        EXPECT_FALSE(edges.push_back({1, 2}));
    }
    EXPECT_TRUE(same(edges, before));
}

TEST(Dense2D, PushBackSucceedsWhereOnlyTheEstimateFails)
{
    dense2D<unsigned> edges;
    while (edges.cols == 0 || edges.cols < edges.column_capacity())
        ASSERT_TRUE(edges.push_back({3, 4}));
    const std::size_t n = edges.cols;
    const allocation::fail_containers refused(1);
    EXPECT_TRUE(edges.push_back({1, 2}));
    EXPECT_EQ(edges.cols, n + 1);
    EXPECT_EQ(edges(1, n), 2u);
    EXPECT_EQ(edges(1, n - 1), 4u);
}

TEST(Dense2D, ColumnCapacityCountsFromTheOffset)
{
    dense2D<unsigned> m(3, 4, 0); // 14 slots
    EXPECT_EQ(m.column_capacity(), 4u);
    EXPECT_EQ(m.sub_matrix(0, 1, 3, 1).column_capacity(), 3u);
    EXPECT_EQ(m.sub_matrix(1, 0, 2, 4).column_capacity(), 4u);
    EXPECT_EQ(m.sub_matrix(2, 3, 1, 1).column_capacity(), 1u);
}

TEST(Dense2D, WrapUsesTheCallersBlockAndNeverFreesIt)
{
    double block[] = {1, 2, 77, 3, 4};
    const std::size_t before = allocation::live_blocks();
    {
        auto m = dense2D<double>::wrap(block, 2, 2, 3);
        EXPECT_EQ(m.vec->capacity, 5u);
        EXPECT_TRUE(same(m, columns<double>({{1, 2}, {3, 4}})));
        m(1, 1) = 40;
    }
    EXPECT_EQ(block[4], 40);
    EXPECT_EQ(allocation::live_blocks(), before);
    EXPECT_EQ(dense2D<double>::wrap(block, 1, 5).ld, 1u);
}

TEST(Dense2D, WrapMovesToAnOwnedBlockWhenItGrows)
{
    unsigned block[] = {1, 2, 3, 4, 77, 77, 77, 77};
    auto m = dense2D<unsigned>::wrap(block, 2, 2);
    ASSERT_TRUE(m.push_back({5, 6}));
    EXPECT_EQ(m.vec->not_owned, 0);
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2}, {3, 4}, {5, 6}})));
    EXPECT_EQ(block[4], 77u);
}

TEST(Dense2D, WrapNeverWritesBetweenItsColumns)
{
    unsigned block[] = {1, 2, 77, 3, 4, 77, 5, 6};
    auto m = dense2D<unsigned>::wrap(block, 2, 3, 3);
    ASSERT_TRUE(m.resize(3, 2, 9));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2, 9}, {3, 4, 9}})));
    EXPECT_EQ(block[2], 77u);
    EXPECT_EQ(block[5], 77u);

    auto n = dense2D<unsigned>::wrap(block, 2, 3, 3);
    ASSERT_TRUE(n.resize(4, 2, 9));
    EXPECT_TRUE(same(n, columns<unsigned>({{1, 2, 9, 9}, {3, 4, 9, 9}})));
    EXPECT_EQ(block[3], 3u);
}

TEST(Dense2D, WrapOfNothingHasNoRoom)
{
    auto m = dense2D<unsigned>::wrap(nullptr, 0, 5, 3);
    EXPECT_EQ(m.vec->capacity, 0u);
    EXPECT_TRUE(m.resize(2, 1, 4));
    EXPECT_TRUE(same(m, columns<unsigned>({{4, 4}})));
    EXPECT_EQ(dense2D<unsigned>::wrap(nullptr, 3, 0).vec->capacity, 0u);
}

TEST(Dense2D, CopyBetweenAMatrixAndAWrapOfItsElementsSharesNothing)
{
    auto m = three_by_two();
    auto w = dense2D<unsigned>::wrap(m.vec->data + 1, 1, 2, 3);
    ASSERT_TRUE(w.copy(m));
    w(0, 0) = 9;
    EXPECT_TRUE(same(m, three_by_two()));
    const auto middle = dense2D<unsigned>::wrap(m.vec->data + 1, 1, 2, 3);
    ASSERT_TRUE(m.copy(middle));
    EXPECT_TRUE(same(m, columns<unsigned>({{2}, {5}})));
}

TEST(Dense2D, CopyOfAWrapOfEarlierElementsReadsNoneThatItWrote)
{
    dense2D<unsigned> m;
    {
        const auto whole = columns<unsigned>({{1, 2}, {3, 4}, {5, 6}});
        m = dense2D<unsigned>(whole).sub_matrix(0, 1, 2, 2);
    }
    const auto earlier = dense2D<unsigned>::wrap(m.vec->data, 2, 2);
    ASSERT_TRUE(m.copy(earlier));
    EXPECT_TRUE(same(m, columns<unsigned>({{1, 2}, {3, 4}})));
}
