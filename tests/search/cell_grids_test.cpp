#include "search/cell_grids.h"

#include "support/same.h"

using kz3::lattiq::detail::cell_grids;

namespace {

using grids = cell_grids<2>;

/// Three by two cells of 8 units, of which the middle one of the second row is cut in four by four, and
/// the last but one of these in two by two.
grids nested()
{
    grids made;
    made.start(3, {3, 2});
    made.starts(grids::whole_box)[4] = 5;
    made.count_up(grids::whole_box, 0);
    made.starts(grids::whole_box)[4] -= 5;
    made.add_links(grids::whole_box);

    const unsigned inner = made.append(3, 2);
    made.starts(inner)[14] = 4;
    made.starts(inner)[15] = 1;
    made.count_up(inner, 0);
    made.starts(inner)[14] -= 4;
    made.starts(inner)[15] -= 1;
    made.link(grids::whole_box, 4, inner);
    made.add_links(inner);

    const unsigned innermost = made.append(1, 1);
    made.starts(innermost)[1] = 4;
    made.count_up(innermost, 0);
    made.starts(innermost)[1] -= 4;
    made.link(inner, 14, innermost);
    return made;
}

void expect_cell(const grids& of, const grids::corner& at, unsigned shift, unsigned first,
                 unsigned last)
{
    const grids::cell found = of.cell_around(at);
    EXPECT_EQ(found.shift, shift);
    EXPECT_EQ(found.first, first);
    EXPECT_EQ(found.last, last);
}

} // namespace

TEST(CellGrids, NumberCellsAlongTheFirstAxisFirst)
{
    grids made;
    made.start(3, {3, 2});
    const grids::grid all = made.at(grids::whole_box);
    EXPECT_EQ(made.cells_in(grids::whole_box), 6u);
    EXPECT_EQ(all.shift, 3u);
    EXPECT_EQ(all.inner, nullptr);
    EXPECT_EQ(all.cell_of({0, 0}), 0u);
    EXPECT_EQ(all.cell_of({7, 7}), 0u);
    EXPECT_EQ(all.cell_of({8, 7}), 1u);
    EXPECT_EQ(all.cell_of({23, 7}), 2u);
    EXPECT_EQ(all.cell_of({0, 8}), 3u);
    EXPECT_EQ(all.cell_of({23, 15}), 5u);
}

TEST(CellGrids, NumberCellsWithinACellFromItsOwnLowestCorner)
{
    const grids made = nested();
    const grids::grid inner = made.at(made.at(grids::whole_box).inner[4]);
    EXPECT_EQ(inner.shift, 1u);
    EXPECT_EQ(inner.cells, (std::array<unsigned, 2>{4, 4}));
    EXPECT_EQ(inner.cell_of({8, 8}), 0u);
    EXPECT_EQ(inner.cell_of({15, 9}), 3u);
    EXPECT_EQ(inner.cell_of({9, 10}), 4u);
    EXPECT_EQ(inner.cell_of({15, 15}), 15u);
}

TEST(CellGrids, FindTheSmallestCellAroundACorner)
{
    const grids made = nested();
    expect_cell(made, {0, 0}, 3, 0, 0);   // of the whole box, empty
    expect_cell(made, {23, 15}, 3, 5, 5); // the last one, empty, after all items
    expect_cell(made, {8, 8}, 1, 0, 0);   // within the one cut
    expect_cell(made, {14, 15}, 1, 4, 5);
    expect_cell(made, {12, 14}, 0, 0, 0); // within the one that is cut again
    expect_cell(made, {13, 14}, 0, 0, 4);
    expect_cell(made, {12, 15}, 0, 4, 4);
}
