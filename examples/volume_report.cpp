// Reports on a solid mesh of several kinds:  volume_report
//
// Builds a block of hexahedra with a ramp of wedges and a roof of pyramids and tetrahedra, then
// finds its skin, its connected pieces and the quality of each kind. Writes VTK and EnSight files
// to the folder lattiq-report.

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <kz3/lattiq/lattiq.h>

#include "report.h"

namespace {

using namespace kz3;
using namespace kz3::lattiq;
using report::must;

/// Nodes and elements as a program may hold them; the library works on views of them.
struct solid_mesh {
    std::vector<double> coordinates;
    std::vector<unsigned> elements; // 8 to an element, as ET_SOLID_MIX has it

    unsigned add_node(double x, double y, double z)
    {
        coordinates.insert(coordinates.end(), {x, y, z});
        return unsigned(coordinates.size() / 3 - 1);
    }
    void add_element(std::initializer_list<unsigned> nodes)
    {
        elements.insert(elements.end(), nodes);
        elements.resize((elements.size() + 7) / 8 * 8, NO_NODE);
    }
};

/// Every face matches that of its neighbour: the ramp and the roof turn to the block faces of four
/// nodes, and the roof is closed by tetrahedra between the pyramids.
solid_mesh build()
{
    constexpr unsigned nx = 4;
    constexpr unsigned ny = 3;
    constexpr double heights[] = {0, 1, 1.5};
    solid_mesh m;
    unsigned grid[3][ny + 1][nx + 1];
    unsigned apex[ny][nx];
    unsigned toe[ny + 1];
    for (unsigned k = 0; k < 3; ++k)
        for (unsigned j = 0; j <= ny; ++j)
            for (unsigned i = 0; i <= nx; ++i) grid[k][j][i] = m.add_node(i, j, heights[k]);
    for (unsigned j = 0; j < ny; ++j)
        for (unsigned i = 0; i < nx; ++i) apex[j][i] = m.add_node(i + 0.5, j + 0.5, 2);
    for (unsigned j = 0; j <= ny; ++j) toe[j] = m.add_node(nx + 1, j, 0);

    // Bottom counter-clockwise as seen from the top, then the top in the same order.
    for (unsigned k = 0; k < 2; ++k)
        for (unsigned j = 0; j < ny; ++j)
            for (unsigned i = 0; i < nx; ++i)
                m.add_element({grid[k][j][i], grid[k][j][i + 1], grid[k][j + 1][i + 1],
                               grid[k][j + 1][i], grid[k + 1][j][i], grid[k + 1][j][i + 1],
                               grid[k + 1][j + 1][i + 1], grid[k + 1][j + 1][i]});
    // One triangle counter-clockwise as seen from the other, then the other in the same order.
    for (unsigned j = 0; j < ny; ++j)
        m.add_element({grid[0][j][nx], grid[1][j][nx], toe[j], grid[0][j + 1][nx],
                       grid[1][j + 1][nx], toe[j + 1]});
    // Pyramids: the base counter-clockwise as seen from the apex. Tetrahedra: the first three nodes
    // clockwise as seen from the last.
    const auto& top = grid[2];
    for (unsigned j = 0; j < ny; ++j)
        for (unsigned i = 0; i < nx; ++i) {
            m.add_element({top[j][i], top[j][i + 1], top[j + 1][i + 1], top[j + 1][i], apex[j][i]});
            if (i > 0) m.add_element({top[j][i], top[j + 1][i], apex[j][i], apex[j][i - 1]});
            if (j > 0) m.add_element({top[j][i], top[j][i + 1], apex[j - 1][i], apex[j][i]});
            if (i > 0 && j > 0)
                m.add_element(
                    {apex[j - 1][i - 1], apex[j][i - 1], apex[j][i], apex[j - 1][i], top[j][i]});
        }

    // A fault to be found: a wedge that hangs on to the mesh by an edge, which carries no load.
    const unsigned a = m.add_node(nx + 2, 0, 1);
    const unsigned b = m.add_node(nx + 2, 0, 0);
    const unsigned c = m.add_node(nx + 2, 1, 1);
    const unsigned d = m.add_node(nx + 2, 1, 0);
    m.add_element({toe[0], a, b, toe[1], c, d});
    return m;
}

/// What the number of nodes of a solid says.
const std::map<unsigned, std::pair<element_type, const char*>> kinds = {
    {4, {ET_TETRA4, "tetrahedra"}},
    {5, {ET_PYRA5, "pyramids"}},
    {6, {ET_PENTA6, "wedges"}},
    {8, {ET_HEXA8, "hexahedra"}}};

void run()
{
    solid_mesh mesh = build();
    const auto pos = dense2D<double>::wrap(mesh.coordinates.data(), 3, mesh.coordinates.size() / 3);
    auto solids = dense2D<unsigned>::wrap(mesh.elements.data(), 8, mesh.elements.size() / 8);
    std::printf("  nodes        %zu\n  elements     %zu\n", pos.cols, solids.cols);

    dense2D<unsigned> neighbors;
    dense1D<unsigned> order;
    dense1D<unsigned> pieces;
    must(get_neighbors(solids, ET_SOLID_MIX, false, neighbors), "get_neighbors");
    must(get_subdomains(neighbors, order, pieces), "get_subdomains");
    std::printf("  pieces       %zu:", pieces.size - 1);
    for (std::size_t k = 0; k + 1 < pieces.size; ++k) std::printf(" %u", pieces[k + 1] - pieces[k]);
    std::printf(" elements\n");

    // The skin is a mesh of its own. Where it is sound each of its faces has one other across each
    // edge.
    dense2D<unsigned> skin;
    dense2D<unsigned> across;
    dense2D<unsigned> unmatched;
    must(get_mesh_boundaries(solids, neighbors, ET_SOLID_MIX, skin), "get_mesh_boundaries");
    must(get_neighbors(skin, ET_FACE_MIX, false, across), "get_neighbors");
    must(get_mesh_boundaries(skin, across, ET_FACE_MIX, unmatched), "get_mesh_boundaries");

    // Each kind becomes a run of columns, the largest first.
    dense1D<unsigned> nodes;
    dense1D<unsigned> ends;
    dense1D<unsigned> new_indices;
    must(sort_elfes(skin, nodes, ends, new_indices), "sort_elfes");
    std::printf("  free faces   %zu:", skin.cols);
    for (std::size_t g = 0; g < nodes.size; ++g)
        std::printf(" %u of %u nodes", ends[g] - (g == 0 ? 0 : ends[g - 1]), nodes[g]);
    std::printf("\n  edges of them without one face across: %zu\n", unmatched.cols);

    must(sort_elfes(solids, neighbors, nodes, ends, new_indices), "sort_elfes");
    std::vector<dense2D<unsigned>> groups;
    std::vector<int> types;
    for (std::size_t g = 0; g < nodes.size; ++g) {
        const unsigned first = g == 0 ? 0 : ends[g - 1];
        const auto [type, name] = kinds.at(nodes[g]);
        groups.push_back(solids.sub_matrix(0, first, nodes[g], ends[g] - first));
        types.push_back(type);
        misc::histogram hist;
        must(shape_qualities(pos, groups[g], type, hist), "shape_qualities");
        std::printf("  %-12s %zu, quality %.4f to %.4f, mean %.4f\n", name, groups[g].cols,
                    hist.minimum(), hist.maximum(), hist.mean());
    }
    const auto all_types = dense1D<int>::wrap(types.data(), types.size());
    const dense2D<unsigned>* last = groups.data() + groups.size();
    misc::histogram all(0.6, 1.0, 8);
    must(shape_qualities(pos, groups.data(), last, all_types, all), "shape_qualities");
    std::printf("  all %zu, of them %zu below 0.6\n", std::size_t(all.total()),
                std::size_t(all.below()));
    report::print(all);

    const std::string vtk = report::in_folder("solids.vtk");
    const std::string ensight = report::in_folder("solids.geo");
    must(vtk_output(vtk.c_str(), pos, solids, ET_SOLID_MIX), "vtk_output");
    // An EnSight file takes no mixed matrices, hence the groups, and leaves out pyramids.
    must(ensight_output(ensight.c_str(), pos, groups.data(), last, all_types), "ensight_output");
    std::printf("  written      %s %s (without the pyramids)\n", vtk.c_str(), ensight.c_str());
}

} // namespace

int main()
{
    return report::guarded("volume_report", run);
}
