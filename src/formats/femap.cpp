#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <string_view>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

#include "core/column.h"
#include "core/element_table.h"
#include "core/out_of_memory.h"
#include "formats/femap_reader.h"
#include "formats/femap_topology.h"
#include "formats/file.h"
#include "geometry/append_columns.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Columns of a connectivity from one bound up to the other.
struct run {
    size_t first;
    size_t size;
};

// Run g. Bounds are the caller's own: past the columns, or falling, they cut the run short.
run run_of(const dense1D<unsigned>& offsets, size_t g, size_t cols)
{
    const size_t last = std::min<size_t>(offsets[g + 1], cols);
    const size_t first = std::min<size_t>(offsets[g], last);
    return {first, last - first};
}

// Nodes need not be among the columns of pos, and a run without rows is sound whatever its type.
bool check_run(const dense2D<unsigned>& connectM, run columns, int type)
{
    if (columns.size == 0) return true;
    const auto kind = element_type(type);
    if (!in_node_table(kind)) return false;
    size_t rows = element_type_nodes[kind];
    if (kind == ET_FACE_MIX) rows = std::min<size_t>(connectM.rows, 4);
    if (kind == ET_SOLID_MIX) rows = std::min<size_t>(connectM.rows, 20);
    return rows <= connectM.rows &&
           check_IDs(connectM.sub_matrix(0, columns.first, rows, columns.size), kind, NO_NODE);
}

bool check_runs(const dense2D<unsigned>& connectM, const dense1D<unsigned>& offsets,
                const dense1D<int>& types)
{
    for (size_t g = 0; g < types.size; ++g)
        if (!check_run(connectM, run_of(offsets, g, connectM.cols), types[g])) return false;
    return true;
}

// The type of a whole run, which in a mixed one is what its first column, of this many rows, shows.
element_type resolve_type(element_type type, const unsigned* node, size_t rows)
{
    const auto hole = [=](size_t row) { return row >= rows || node[row] == NO_NODE; };
    if (type == ET_FACE_MIX) return hole(3) ? ET_TRIA3 : ET_QUAD4;
    if (type != ET_SOLID_MIX) return type;
    if (hole(4)) return ET_TETRA4;
    if (hole(5)) return ET_PYRA5;
    return hole(6) ? ET_PENTA6 : ET_HEXA8;
}

void write_heading(block_writer& out, std::string_view title, std::string_view block)
{
    constexpr std::string_view banner = "*********************************\n";
    out.text(banner).text(title).text(banner).text("-1\n").text(block);
}

void write_nodes(block_writer& out, const dense2D<double>& pos)
{
    write_heading(out, "*********** NODES ***************\n", "403\n");
    for (size_t j = 0; j < pos.cols && out.ok(); ++j) {
        const double* x = column(pos, j);
        out.print([=](char* to) {
            to = print_text(print_integer(to, j), ",0,0,1,0,0,0,0,0,0,0,");
            for (size_t d = 0; d < 3; ++d) to = print_character(print_general(to, x[d]), ',');
            return print_text(to, "0,\n");
        });
    }
    out.text("-1\n");
}

// What follows the first line of an element whose slots are all 0.
constexpr std::string_view empty_record =
    "0,0,0,0,0,0,0,0,0,0,\n0,0,0,0,0,0,0,0,0,0,\n"
    "0.,0.,0.,0,0,0,0,0,0,\n0.,0.,0.,\n0.,0.,0.,\n0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,\n";

constexpr size_t place_in_record(size_t slot)
{
    return 2 * slot + slot / 10;
}

// The records of a type: its nodes in the order of their slots, and the texts between them, which are
// always the same. Those are copied with a fixed size, by a few moves, and printed over from where they
// end.
class femap_record {
public:
    explicit femap_record(const femap_topology& topology) : nodes(element_type_nodes[topology.type])
    {
        constexpr size_t no_row = femap_slots;
        std::array<size_t, femap_slots> row_of;
        row_of.fill(no_row);
        for (size_t k = 0; k < nodes; ++k) row_of[topology.slot[k]] = k;

        char* const code = print_text(text.data(), ",0,32,");
        char* const slots = print_text(print_integer(code, topology.code), ",1,0,0,0,0,0,0,0,\n");
        const char* const end = print_text(slots, empty_record);
        const char* begin = text.data();
        size_t n = 0;
        for (size_t slot = 0; slot < femap_slots; ++slot) {
            if (row_of[slot] == no_row) continue;
            const char* const place = slots + place_in_record(slot);
            assert(place - begin <= between);
            pieces[n++] = {size_t(begin - text.data()), size_t(place - begin), row_of[slot]};
            begin = place + 1;
        }
        assert(end - begin <= tail);
        rest = {size_t(begin - text.data()), size_t(end - begin), no_row};
    }

    char* print(char* to, size_t e, unsigned group, const unsigned* node) const
    {
        to = print_integer(print_character(print_integer(to, e), ','), group);
        for (size_t k = 0; k < nodes; ++k)
            to = print_integer(print_piece<between>(to, pieces[k]), node[pieces[k].row]);
        return print_piece<tail>(to, rest);
    }

private:
    // A text, and the row of the node behind it.
    struct piece {
        size_t begin;
        size_t size;
        size_t row;
    };

    template <int Most>
    char* print_piece(char* to, const piece& p) const
    {
        std::memcpy(to, text.data() + p.begin, Most);
        return to + p.size;
    }

    // The longest texts, ahead of a node and behind the last one.
    static constexpr int between = 32;
    static constexpr int tail = 128;

    size_t nodes;
    std::array<char, 2 * between + tail + tail> text{};
    std::array<piece, femap_slots> pieces;
    piece rest;
};

void write_elements(block_writer& out, const dense2D<unsigned>& connectM,
                    const dense1D<unsigned>& offsets, const dense1D<int>& types,
                    const dense1D<unsigned>& groups)
{
    write_heading(out, "********* ELEMENTS **************\n", "404\n");
    for (size_t g = 0; g < types.size; ++g) {
        const run columns = run_of(offsets, g, connectM.cols);
        if (columns.size == 0) continue;
        const element_type type =
            resolve_type(element_type(types[g]), column(connectM, columns.first), connectM.rows);
        const femap_topology* topology = find_femap_topology(type);
        if (topology == nullptr) continue;
        const femap_record record(*topology);
        for (size_t k = 0; k < columns.size && out.ok(); ++k) {
            const size_t e = columns.first + k;
            out.print(
                [&, e](char* to) { return record.print(to, e, groups[e], column(connectM, e)); });
        }
    }
    out.text("-1\n");
}

// The matrix without the columns that it has no rows for.
dense2D<unsigned> filled_columns(const dense2D<unsigned>& m)
{
    dense2D<unsigned> view(m);
    if (view.rows == 0) view.cols = 0;
    return view;
}

} // namespace

int FEMAP_output(const char* file, const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                 const dense1D<unsigned>& offsets, const dense1D<int>& types,
                 const dense1D<unsigned>& groups)
{
    const detail::file stream(file, "w"); // ahead of the checks: a refused call empties the file
    if (connectM.empty()) return 0;
    if (!stream) return -1;                               // file
    if (pos.rows != 3) return -2;                         // pos
    if (offsets.size != types.size + 1) return -5;        // offsets
    if (groups.size != connectM.cols) return -6;          // groups
    if (!check_runs(connectM, offsets, types)) return -3; // connectM

    block_writer out(stream);
    write_nodes(out, pos);
    write_elements(out, connectM, offsets, types, groups);
    return 0;
}

int FEMAP_output(const char* file, const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                 element_type type)
{
    unsigned bounds[] = {0, unsigned(connectM.cols)};
    int kind = type;
    unsigned group = 1;
    return FEMAP_output(file, pos, connectM, dense1D<unsigned>::wrap(bounds, 2),
                        dense1D<int>::wrap(&kind, 1), dense1D<unsigned>::wrap(&group, 1));
}

int FEMAP_output(const char* file, const dense2D<double>& pos, const dense2D<unsigned>& connectM1,
                 const dense2D<unsigned>& connectM2, element_type type1, element_type type2)
{
    const dense2D<unsigned> first = filled_columns(connectM1);
    const dense2D<unsigned> second = filled_columns(connectM2);
    dense2D<unsigned> joined;
    if (!append_columns(first, joined) || !append_columns(second, joined)) return out_of_memory;

    // The last bound is no sum, so of two matrices with one column each the second is not written.
    unsigned bounds[] = {0, unsigned(first.cols), unsigned(second.cols)};
    int kinds[] = {type1, type2};
    unsigned groups[] = {1, 2};
    return FEMAP_output(file, pos, joined, dense1D<unsigned>::wrap(bounds, 3),
                        dense1D<int>::wrap(kinds, 2), dense1D<unsigned>::wrap(groups, 2));
}

int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                dense1D<unsigned>& offsets, dense1D<int>& types, dense1D<unsigned>& groups)
{
    pos.clear();
    connectM.clear();
    offsets.clear();
    types.clear();
    groups.clear();
    const detail::file stream(file, "r");
    if (!stream) return -1; // file

    femap_nodes nodes(pos);
    femap_elements elements(connectM, offsets, types, groups);
    femap_reader(stream.get(), nodes, elements).read();
    nodes.finish();
    elements.finish();
    return pos.empty() || connectM.empty() ? -1 : 0; // file
}

int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                element_type& type)
{
    dense1D<unsigned> offsets, groups;
    dense1D<int> types;
    const int code = FEMAP_input(file, pos, connectM, offsets, types, groups);
    if (code < 0) return code;

    type = element_type(types[0]);
    const run columns = run_of(offsets, 0, connectM.cols);
    connectM = connectM.sub_matrix(0, columns.first, element_type_nodes[type], columns.size);
    return code;
}

int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM1,
                dense2D<unsigned>& connectM2, element_type& type1, element_type& type2)
{
    connectM1.clear();
    connectM2.clear();
    dense2D<unsigned> connectM;
    dense1D<unsigned> offsets, groups;
    dense1D<int> types;
    const int code = FEMAP_input(file, pos, connectM, offsets, types, groups);
    if (code < 0) return code;

    type1 = element_type(types[0]);
    const run columns = run_of(offsets, 0, connectM.cols);
    connectM1 = connectM.sub_matrix(0, columns.first, connectM.rows, columns.size);
    if (types.size < 2) return code;
    type2 = element_type(types[1]);
    if (offsets.size < 3) return code; // the second type is one of no known topology or follows it
    const run others = run_of(offsets, 1, connectM.cols);
    connectM2 = connectM.sub_matrix(0, others.first, element_type_nodes[type2], others.size);
    return code;
}

} // namespace kz3::lattiq
