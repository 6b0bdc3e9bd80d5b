#include <numeric>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

#include "cleaning/merge_nodes.h"
#include "cleaning/representatives.h"
#include "core/column.h"
#include "formats/file.h"
#include "formats/stl_reader.h"
#include "formats/stl_writer.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Joins the nodes that lie within tol of each other, and drops what falls away by that.
int weld(dense2D<double>& pos, dense2D<unsigned>& connectM, double tol)
{
    dense1D<unsigned> id_map;
    if (const int merged = merge(pos, connectM, id_map, tol, 0); merged < 0) return merged;
    remove_degenerated(connectM, id_map, true);
    const int removed = simplify(pos, connectM, id_map, 0);
    return removed < 0 ? removed : 0;
}

bool make_identity(dense1D<unsigned>& list, size_t n)
{
    if (!list.resize(n)) return false;
    std::iota(list.begin(), list.end(), 0U);
    return true;
}

// Lets the corners of the facets be what stands for them, and moves the facets that have three nodes
// still together. Returns how many they are.
size_t join_corners(dense2D<unsigned>& connectM, const dense1D<unsigned>& id_map)
{
    const unsigned* map = id_map.begin();
    unsigned* kept = column(connectM, 0);
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const unsigned a = map[node[0]];
        const unsigned b = map[node[1]];
        const unsigned c = map[node[2]];
        kept[0] = a;
        kept[1] = b;
        kept[2] = c;
        if ((a != b) & (b != c) & (c != a)) kept += 3;
    }
    return size_t(kept - column(connectM, 0)) / 3;
}

// The same for facets of which corners with equal bits are one node, the first of them.
//
// Such corners are coincident, and of coincident nodes all but the first may go before any search: all
// end where the first ends (see merge_one_list). Zeros of different sign are two nodes still, as are
// corners that are not finite, and what becomes of them is left to the same search. Nodes are numbered
// by their first corner, so that they are scanned, preferred and kept in the order of the corners.
//
// False where memory for it is exhausted; nothing is changed then, nor if it throws.
bool weld_distinct(dense2D<double>& pos, dense2D<unsigned>& connectM, double tol)
{
    dense1D<unsigned> id_map;
    size_t absorbed = 0;
    {
        dense1D<unsigned> nodes;
        if (!make_identity(id_map, pos.cols) || !make_identity(nodes, pos.cols)) return false;
        representatives map(id_map);
        merge_one_list(pos, {nodes.begin(), nodes.size}, tol, map);
        absorbed = map.settle();
    }
    const size_t kept = join_corners(connectM, id_map);
    if (absorbed == 0 && kept == connectM.cols) return true; // every node is still used
    connectM.resize(3, kept);
    simplify(pos, connectM, id_map, 0); // its map has room already
    return true;
}

// Reads all facets and welds them.
template <typename Read>
int read_mesh(const char* name, const char* mode, Read read, dense2D<double>& pos,
              dense2D<unsigned>& connectM)
{
    facet_list list(pos, connectM);
    {
        const file in(name, mode);
        if (!in) return -1;                   // name
        if (!read(in.get(), list)) return -1; // head
    }
    list.finish();
    const double height = list.smallest_height();
    if (!(height > 0.0)) {
        list.separate();
        return int(connectM.cols);
    }
    const double tol = 0.05 * height;
    bool welded = false;
    if (list.distinct()) {
        list.release_points();
        try {
            welded = weld_distinct(pos, connectM, tol);
        } catch (...) {
            list.separate();
            throw;
        }
    }
    if (!welded) {
        list.separate();
        if (const int code = weld(pos, connectM, tol); code < 0) return code;
    }
    return int(connectM.cols);
}

} // namespace

int STL_output(const char* name, const dense2D<double>& pos, const dense2D<unsigned>& connectM,
               bool ascii)
{
    file out(name, ascii ? "wt" : "wb");
    if (!out) return -1;                                               // name
    if (pos.rows != 2 && pos.rows != 3) return -2;                     // pos
    if (!check_IDs(connectM, ET_TRIA3, unsigned(pos.cols))) return -3; // connectM

    const size_t facets = connectM.empty() ? 0 : connectM.cols;
    block_writer to(out);
    if (ascii)
        write_stl_text(to, pos, connectM, facets);
    else
        write_stl_binary(to, pos, connectM, facets);
    return to.flush() && out.close() ? 0 : -1;
}

int STL_input(const char* name, dense2D<double>& pos, dense2D<unsigned>& connectM, bool ascii)
{
    pos.clear();
    connectM.clear();
    return ascii ? read_mesh(name, "rt", read_stl_text, pos, connectM)
                 : read_mesh(name, "rb", read_stl_binary, pos, connectM);
}

} // namespace kz3::lattiq
