#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

#include "formats/file.h"
#include "formats/stl_reader.h"
#include "formats/stl_writer.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Joins the nodes that lie within tol of each other, and drops what falls away by that.
int stl_weld(dense2D<double>& pos, dense2D<unsigned>& connectM, double tol)
{
    dense1D<unsigned> id_map;
    if (const int merged = merge(pos, connectM, id_map, tol, 0); merged < 0) return merged;
    remove_degenerated(connectM, id_map, true);
    const int removed = simplify(pos, connectM, id_map, 0);
    return removed < 0 ? removed : 0;
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
    facet_list list(pos, connectM);
    {
        const file in(name, ascii ? "rt" : "rb");
        if (!in) return -1; // name
        const bool read = ascii ? read_stl_text(in.get(), list) : read_stl_binary(in.get(), list);
        if (!read) return -1; // head
    }
    list.finish();
    if (const double height = list.smallest_height(); height > 0.0) {
        if (const int code = stl_weld(pos, connectM, 0.05 * height); code < 0) return code;
    }
    return int(connectM.cols);
}

} // namespace kz3::lattiq
