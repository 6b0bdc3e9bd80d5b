// Assembles a mesh from copies of a sector:  assemble
//
// Turns a sector round to half a drum, mirrors that, joins the nodes and clips off a lid. Takes the
// drum through a FEMAP and an OBJ file and compares what comes back. Writes all files to the folder
// lattiq-report.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>

#include <kz3/lattiq/lattiq.h>

#include "report.h"

namespace {

using namespace kz3;
using namespace kz3::lattiq;
using report::must;

constexpr double pi = 3.14159265358979323846;
constexpr unsigned sectors = 12;
const vector_fixed<double, 3> origin{0, 0, 0};
const vector_fixed<double, 3> up{0, 0, 1};

/// Half a drum: from its axis outward along the lid and down the wall. The nodes of each sector are
/// its own, those on its sides stand at the same places as those of its neighbours.
dense2D<unsigned> build_half(dense2D<double>& pos)
{
    const vector_fixed<double, 3> turn{0, 0, 2 * pi / sectors}; // axis times angle
    pos = columns<double>({{0, 0, 1}, {1, 0, 1}, {2, 0, 1}, {2, 0, 0.5}, {2, 0, 0}});
    dense2D<unsigned> other_side; // nodes 5 to 8
    must(copy_mesh(pos, other_side, origin, origin, turn, 1, columns<unsigned>({{1, 2, 3, 4}})),
         "copy_mesh");
    const auto sector =
        columns<unsigned>({{0, 1, 5, NO_NODE}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 4, 8, 7}});
    dense2D<unsigned> half;
    must(half.copy(sector), "copy");
    must(copy_mesh(pos, half, origin, origin, turn, sectors - 1, sector), "copy_mesh");
    return half;
}

/// Appends elements turned over: a mirror image keeps the order of the nodes, and so faces inward.
void append_turned(dense2D<unsigned>& faces, const dense2D<unsigned>& mirrored)
{
    const std::size_t n = faces.cols;
    must(faces.resize(faces.rows, n + mirrored.cols), "resize");
    for (std::size_t e = 0; e < mirrored.cols; ++e) {
        const dense1D<unsigned> from = mirrored.col(e);
        dense1D<unsigned> to = faces.col(n + e);
        std::copy(from.begin(), from.end(), to.begin());
        std::reverse(to.begin() + 1, to.begin() + (from[3] == NO_NODE ? 3 : 4));
    }
}

std::size_t free_edges(const dense2D<unsigned>& faces)
{
    dense2D<unsigned> neighbors;
    dense2D<unsigned> edges;
    must(get_neighbors(faces, ET_FACE_MIX, false, neighbors), "get_neighbors");
    must(get_mesh_boundaries(faces, neighbors, ET_FACE_MIX, edges), "get_mesh_boundaries");
    return edges.cols;
}

template <typename T>
const char* compare(const dense1D<T>& a, const dense1D<T>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end()) ? "the same" : "changed";
}

void print_box(const char* of, const dense2D<double>& pos, const dense2D<unsigned>& faces)
{
    constexpr double far = std::numeric_limits<double>::max();
    vector_fixed<double, 3> low{far, far, far}; // widened, so begun empty
    vector_fixed<double, 3> high{-far, -far, -far};
    must(inc_bounding_box(pos, faces, low, high), "inc_bounding_box");
    std::printf("  %-12s %.2f %.2f %.2f to %.2f %.2f %.2f\n", of, low[0], low[1], low[2], high[0],
                high[1], high[2]);
}

/// FEMAP files hold runs of elements of one kind, and a group number for each element.
void through_femap(const dense2D<double>& pos, const dense2D<unsigned>& faces,
                   const dense1D<unsigned>& ends, const dense1D<unsigned>& groups)
{
    const std::string file = report::in_folder("drum.neu");
    dense2D<double> pos_back;
    dense2D<unsigned> faces_back;
    dense1D<unsigned> offsets;
    dense1D<unsigned> groups_back;
    dense1D<int> types;
    must(
        FEMAP_output(file.c_str(), pos, faces, {0, ends[0], ends[1]}, {ET_QUAD4, ET_TRIA3}, groups),
        "FEMAP_output");
    must(FEMAP_input(file.c_str(), pos_back, faces_back, offsets, types, groups_back),
         "FEMAP_input");
    double apart = 0;
    for (std::size_t j = 0; j < std::min(pos.cols, pos_back.cols); ++j)
        for (unsigned d = 0; d < 3; ++d)
            apart = std::max(apart, std::abs(pos(d, j) - pos_back(d, j)));
    // Both matrices are without gaps between their columns, as as_vector needs.
    std::printf("  FEMAP        %zu runs, elements %s, groups %s, %zu nodes within %.1e\n",
                types.size, compare(faces.as_vector(), faces_back.as_vector()),
                compare(groups, groups_back), pos_back.cols, apart);
}

void read_obj(const std::string& file)
{
    dense2D<double> pos;
    dense2D<double> normals;
    dense2D<double> textures;
    dense2D<unsigned> triangles;
    dense2D<unsigned> quads;
    const int result = WavefrontOBJ_input(file.c_str(), pos, normals, textures, triangles, quads);
    std::printf("  %-28s result %d: %zu nodes, %zu triangles, %zu quadrangles\n", file.c_str(),
                result, pos.cols, triangles.cols, quads.cols);
}

/// The library writes the corners of a face without a blank between them, which its own reader
/// refuses at the first face; the nodes have come by then. A file with blanks comes back whole.
void through_obj(const dense2D<double>& pos, const dense2D<unsigned>& triangles,
                 const dense2D<unsigned>& quads)
{
    const std::string written = report::in_folder("drum.obj");
    must(WavefrontOBJ_output(written.c_str(), pos, {}, {}, triangles, quads),
         "WavefrontOBJ_output");
    read_obj(written);

    const std::string spaced = report::in_folder("drum_spaced.obj");
    std::ofstream out(spaced);
    for (std::size_t j = 0; j < pos.cols; ++j)
        out << "v " << pos(0, j) << ' ' << pos(1, j) << ' ' << pos(2, j) << '\n';
    for (const auto* faces : {&triangles, &quads})
        for (std::size_t e = 0; e < faces->cols; ++e) {
            out << 'f';
            for (const unsigned node : faces->col(e)) out << ' ' << node + 1;
            out << '\n';
        }
    out.close();
    must(bool(out), "writing OBJ");
    read_obj(spaced);
}

void run()
{
    dense2D<double> pos;
    dense2D<unsigned> mirrored;
    dense2D<unsigned> drum = build_half(pos);
    const std::size_t upper = drum.cols;
    must(copy_sym_mesh(pos, mirrored, origin, up, drum), "copy_sym_mesh");
    append_turned(drum, mirrored);
    std::printf("  copied       %zu elements on %zu nodes, %zu free edges\n", drum.cols, pos.cols,
                free_edges(drum));
    const int merged = must(merge(pos, drum), "merge");
    const int removed = must(simplify(pos, drum), "simplify");
    std::printf("  joined       %d nodes merged, %d removed, %zu left, %zu free edges\n", merged,
                removed, pos.cols, free_edges(drum));
    print_box("drum", pos, drum);

    // Quadrangles first, then triangles; the numbers of the elements' groups go along.
    dense1D<unsigned> groups(drum.cols, 2);
    groups.sub_vector(0, upper) = 1;
    dense1D<unsigned> nodes;
    dense1D<unsigned> ends;
    dense1D<unsigned> new_indices;
    must(sort_elfes(drum, nodes, ends, new_indices), "sort_elfes");
    must(nodes.size == 2 && groups.size == drum.cols, "groups");
    permutation(groups, new_indices);
    through_femap(pos, drum, ends, groups);
    through_obj(pos, drum.sub_matrix(0, ends[0], 3, ends[1] - ends[0]),
                drum.sub_matrix(0, 0, 4, ends[0]));

    // What lies wholly above z = 0.25, on nodes of its own: those of the drum stay.
    dense2D<double> lid_pos;
    dense2D<unsigned> lid;
    must(clip(pos, drum, {0, 0, 0.25}, up, lid), "clip");
    must(lid_pos.copy(pos), "copy");
    must(simplify(lid_pos, lid), "simplify");
    std::printf("  clipped      %zu elements on %zu nodes, %zu free edges\n", lid.cols,
                lid_pos.cols, free_edges(lid));
    print_box("lid", lid_pos, lid);
    must(medit_output(report::in_folder("drum.mesh").c_str(), pos, drum, ET_FACE_MIX, groups),
         "medit_output");
    must(medit_output(report::in_folder("lid.mesh").c_str(), lid_pos, lid, ET_FACE_MIX),
         "medit_output");
}

} // namespace

int main()
{
    return report::guarded("assemble", run);
}
