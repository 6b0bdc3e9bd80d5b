// The lines shown in docs/connectivity.md.

#include "expect.h"

using namespace kz3::lattiq;

namespace {

void graphs()
{
    const auto tria = kz3::columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    kz3::dense1D<unsigned> row_starts, row_values;
    get_connected_elements(tria, row_starts, row_values); // 0
    // row_starts 0 1 3 5 6, row_values 0 | 0 1 | 0 1 | 1
    expect(holds(row_starts, {0u, 1u, 3u, 5u, 6u}), "rows of elements");
    expect(holds(row_values, {0u, 0u, 1u, 0u, 1u, 1u}), "elements of the nodes");

    get_node_graph(tria, row_starts, row_values); // 0
    // row_starts 0 2 5 8 10, row_values 1 2 | 0 2 3 | 0 1 3 | 2 1
    expect(holds(row_starts, {0u, 2u, 5u, 8u, 10u}), "rows of nodes");
    expect(holds(row_values, {1u, 2u, 0u, 2u, 3u, 0u, 1u, 3u, 2u, 1u}), "nodes of the nodes");

    kz3::dense1D<unsigned> ancestors;
    get_ancestors(tria, ancestors); // 0; ancestors 0 1 1 1
    expect(holds(ancestors, {0u, 1u, 1u, 1u}), "ancestors");
}

void neighbours_and_boundaries()
{
    constexpr unsigned none = NO_NODE;
    const auto tria = kz3::columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    kz3::dense2D<unsigned> neighbors;
    get_neighbors(tria, ET_TRIA3, false, neighbors); // {{1, none, none}, {none, none, 0}}
    expect(holds(neighbors, {{1, none, none}, {none, none, 0}}), "neighbours");

    kz3::dense2D<unsigned> faces;
    get_element_boundaries(kz3::columns<unsigned>({{0, 1, 2, 3}}), ET_TETRA4, faces);
    // {{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}}
    expect(holds(faces, {{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}}), "faces of a tetrahedron");

    get_neighbors(tria, ET_TRIA3, false, neighbors);
    get_mesh_boundaries(tria, neighbors, ET_TRIA3, faces); // {{2, 0}, {0, 1}, {1, 3}, {3, 2}}
    expect(holds(faces, {{2, 0}, {0, 1}, {1, 3}, {3, 2}}), "edges of the square");
}

void subdomains()
{
    // Elements 0, 2, 1 in a chain, 3 apart.
    auto neighbors =
        kz3::columns<unsigned>({{NO_NODE, 2}, {2, NO_NODE}, {0, 1}, {NO_NODE, NO_NODE}});
    kz3::dense1D<unsigned> sorted_elements, subdomain_offsets;
    get_subdomains(neighbors, sorted_elements, subdomain_offsets); // 0
    // sorted_elements 0 2 1 3, subdomain_offsets 0 3 4
    expect(holds(sorted_elements, {0u, 2u, 1u, 3u}), "elements by piece");
    expect(holds(subdomain_offsets, {0u, 3u, 4u}), "pieces");
}

void sorting()
{
    auto mixed = kz3::columns<unsigned>(
        {{0, 1, 2, NO_NODE}, {3, 4, 5, 6}, {NO_NODE, 0, 0, 0}, {6, 7, 8, 9}});
    kz3::dense1D<unsigned> group_nodes, group_ends, new_indices;
    sort_elfes(mixed, group_nodes, group_ends, new_indices); // 0
    // mixed 6 7 8 9 | 3 4 5 6 | 0 1 2 NO_NODE
    // group_nodes 4 3, group_ends 2 3, new_indices 2 1 NO_NODE 0
    expect(holds(mixed, {{6, 7, 8, 9}, {3, 4, 5, 6}, {0, 1, 2, NO_NODE}}), "sorted columns");
    expect(holds(group_nodes, {4u, 3u}) && holds(group_ends, {2u, 3u}), "groups");
    expect(holds(new_indices, {2u, 1u, NO_NODE, 0u}), "new indices");
}

} // namespace

int main()
{
    graphs();
    neighbours_and_boundaries();
    subdomains();
    sorting();
}
