#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

#include "core/column.h"
#include "formats/append_column.h"
#include "formats/file.h"
#include "formats/text_scanner.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

using point = std::array<double, 3>;
using triangle = std::array<point, 3>;

// Bytes of the binary form: the header, and a facet of 12 floats and an attribute of two bytes.
constexpr size_t header_size = 80;
constexpr size_t node_size = 12;
constexpr size_t facet_size = 50;

point difference(const point& a, const point& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

point cross(const point& u, const point& v)
{
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

// Left as it is where the length is 0.
void divide_by_length(point& v, double length)
{
    if (length == 0.0) return;
    const double inverse = 1.0 / length;
    for (double& x : v) x *= inverse;
}

// ---- writing ----

triangle corners_of(const dense2D<double>& pos, const unsigned* node)
{
    triangle corners;
    for (size_t k = 0; k < 3; ++k) {
        const double* x = column(pos, node[k]);
        corners[k] = {x[0], x[1], pos.rows == 3 ? x[2] : 0.0};
    }
    return corners;
}

point facet_unit_normal(const triangle& corners)
{
    point n = cross(difference(corners[1], corners[0]), difference(corners[2], corners[0]));
    // The sum keeps this order of axes, on which the last bit of a normal depends.
    divide_by_length(n, std::sqrt(n[0] * n[0] + n[2] * n[2] + n[1] * n[1]));
    return n;
}

void write_point(block_writer& to, const point& x)
{
    to.scientific(x[0]).character(' ').scientific(x[1]).character(' ').scientific(x[2]);
    to.character('\n');
}

void write_text_facet(block_writer& to, const triangle& corners)
{
    to.text("   facet normal ");
    write_point(to, facet_unit_normal(corners));
    to.text("      outer loop\n");
    for (const point& x : corners) {
        to.text("         vertex ");
        write_point(to, x);
    }
    to.text("      endloop\n   endfacet\n");
}

void write_text(block_writer& to, const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                size_t facets)
{
    to.text("solid KZ3\n");
    for (size_t e = 0; e < facets && to.ok(); ++e)
        write_text_facet(to, corners_of(pos, column(connectM, e)));
    to.text("endsolid KZ3\n");
}

unsigned char* store(std::uint32_t value, unsigned char* bytes)
{
    for (int k = 0; k < 4; ++k) bytes[k] = static_cast<unsigned char>(value >> (8 * k));
    return bytes + 4;
}

unsigned char* store(const point& x, unsigned char* bytes)
{
    for (const double value : x) bytes = store(std::bit_cast<std::uint32_t>(float(value)), bytes);
    return bytes;
}

void write_binary(block_writer& to, const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                  size_t facets)
{
    std::array<unsigned char, header_size + 4> head{'K', 'Z', '3', ' ', 'S', 'T', 'L',
                                                    ' ', 'B', 'i', 'n', 'a', 'r', 'y'};
    store(static_cast<std::uint32_t>(facets), head.data() + header_size);
    to.bytes(head.data(), head.size());

    std::array<unsigned char, facet_size> facet{};
    for (size_t e = 0; e < facets && to.ok(); ++e) {
        const triangle corners = corners_of(pos, column(connectM, e));
        unsigned char* next = store(facet_unit_normal(corners), facet.data());
        for (const point& x : corners) next = store(x, next);
        to.bytes(facet.data(), facet.size());
    }
}

// ---- reading ----

// Distance of x from the line through p and q.
double point_line_distance(const point& x, const point& p, const point& q)
{
    const auto length = [](const point& v) {
        return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    };
    point direction = difference(q, p);
    divide_by_length(direction, length(direction));
    return length(cross(difference(x, p), direction));
}

double facet_height(const triangle& corners)
{
    double height = point_line_distance(corners[0], corners[1], corners[2]);
    for (size_t i = 1; i < 3; ++i) {
        const double distance =
            point_line_distance(corners[i], corners[(i + 1) % 3], corners[(i + 2) % 3]);
        if (distance < height) height = distance;
    }
    return height;
}

// Joins the nodes that lie within tol of each other, and drops what falls away by that.
int stl_weld(dense2D<double>& pos, dense2D<unsigned>& connectM, double tol)
{
    dense1D<unsigned> id_map;
    if (const int merged = merge(pos, connectM, id_map, tol, 0); merged < 0) return merged;
    remove_degenerated(connectM, id_map, true);
    const int removed = simplify(pos, connectM, id_map, 0);
    return removed < 0 ? removed : 0;
}

// The mesh under construction, each facet with three nodes of its own.
//
// Columns that find memory exhausted are left out without a word, so from then on a facet may name
// nodes that pos does not hold. Heights are therefore taken from the values read, never from pos;
// welding refuses such a mesh.
class facet_list {
public:
    facet_list(dense2D<double>& nodes, dense2D<unsigned>& facets) : pos(nodes), connectM(facets) {}

    void add_node(const point& x) { append_column(pos, x.data(), x.size()); }

    void add_facet(const triangle& corners)
    {
        const double height = facet_height(corners);
        if (height > 0.0 && height < smallest_height) smallest_height = height;
        append_column(connectM, indices.data(), indices.size());
        for (unsigned& index : indices) index += 3;
    }

    // Number of facets left after welding, or its negative result.
    int weld()
    {
        if (smallest_height > 0.0 && smallest_height < none) {
            if (const int code = stl_weld(pos, connectM, 0.05 * smallest_height); code < 0)
                return code;
        }
        return int(connectM.cols);
    }

private:
    static constexpr double none = std::numeric_limits<double>::max();

    dense2D<double>& pos;
    dense2D<unsigned>& connectM;
    std::array<unsigned, 3> indices{0, 1, 2};
    double smallest_height = none;
};

// Three numbers and the white space behind them, which reaches over line ends.
bool read_point(text_scanner& in, point& x)
{
    for (double& value : x)
        if (!in.number(value)) return false;
    in.skip_space();
    return true;
}

// "facet normal" of fscanf: white space may be anything, also nothing. The normal itself is not used.
bool read_facet_head(text_scanner& in)
{
    in.skip_space();
    if (!in.match("facet")) return false;
    in.skip_space();
    point normal;
    return in.match("normal") && read_point(in, normal);
}

bool read_corner(text_scanner& in, point& x)
{
    in.skip_space();
    return in.match("vertex") && read_point(in, x);
}

// Adds the next facet; false where the text holds no further whole one.
bool read_text_facet(text_scanner& in, facet_list& list)
{
    if (!read_facet_head(in)) return false;
    if (!in.skip_line()) return false; // outer loop
    triangle corners;
    for (point& corner : corners) {
        if (!read_corner(in, corner)) return false;
        list.add_node(corner);
    }
    if (!in.skip_line()) return false; // endloop
    if (!in.skip_line()) return false; // endfacet
    list.add_facet(corners);
    return true;
}

bool read_text(std::FILE* stream, facet_list& list)
{
    text_scanner in(stream);
    if (!in.skip_line()) return false;
    while (read_text_facet(in, list)) {}
    return true;
}

std::uint32_t load(const unsigned char* bytes)
{
    std::uint32_t value = 0;
    for (int k = 0; k < 4; ++k) value |= std::uint32_t(bytes[k]) << (8 * k);
    return value;
}

point load_point(const unsigned char* bytes)
{
    point x;
    for (size_t d = 0; d < 3; ++d) x[d] = double(std::bit_cast<float>(load(bytes + 4 * d)));
    return x;
}

// Adds the facet of which n bytes, at least one, could be read: in a cut one, the nodes that are
// whole.
void add_binary_facet(const unsigned char* bytes, size_t n, facet_list& list)
{
    triangle corners;
    for (size_t k = 0; k < 3; ++k) {
        if (n < (k + 2) * node_size) return;
        corners[k] = load_point(bytes + (k + 1) * node_size);
        list.add_node(corners[k]);
    }
    if (n == facet_size) list.add_facet(corners);
}

bool read_binary(std::FILE* in, facet_list& list)
{
    constexpr size_t facets_per_block = 1024;
    std::array<unsigned char, facets_per_block * facet_size> block;
    if (std::fread(block.data(), 1, header_size + 4, in) != header_size + 4) return false;

    // The count is believed only as an upper bound: memory grows with what was read.
    const auto count = static_cast<std::int32_t>(load(block.data() + header_size));
    size_t left = count > 0 ? size_t(count) : 0;
    while (left > 0) {
        const size_t wanted = std::min(left, facets_per_block) * facet_size;
        const size_t got = std::fread(block.data(), 1, wanted, in);
        for (size_t at = 0; at < got; at += facet_size)
            add_binary_facet(block.data() + at, std::min(got - at, facet_size), list);
        if (got < wanted) break;
        left -= wanted / facet_size;
    }
    return true;
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
        write_text(to, pos, connectM, facets);
    else
        write_binary(to, pos, connectM, facets);
    return to.flush() && out.close() ? 0 : -1;
}

int STL_input(const char* name, dense2D<double>& pos, dense2D<unsigned>& connectM, bool ascii)
{
    pos.clear();
    connectM.clear();
    facet_list list(pos, connectM);
    {
        const file in(name, ascii ? "rt" : "rb");
        if (!in) return -1;                                                                // name
        if (!(ascii ? read_text(in.get(), list) : read_binary(in.get(), list))) return -1; // head
    }
    return list.weld();
}

} // namespace kz3::lattiq
