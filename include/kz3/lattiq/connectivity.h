#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- connectivity/get_connected_elements.cpp, get_node_graph.cpp, get_ancestors.cpp ----

KZ3_LATTIQ_API int get_connected_elements(const dense2D<unsigned>& connectM,
                                          dense1D<unsigned>& row_starts,
                                          dense1D<unsigned>& row_values);
KZ3_LATTIQ_API int get_node_graph(const dense2D<unsigned>& connectM, dense1D<unsigned>& row_starts,
                                  dense1D<unsigned>& row_values);
KZ3_LATTIQ_API int get_ancestors(const dense2D<unsigned>& connectM, dense1D<unsigned>& ancestors);

// ---- connectivity/get_neighbors.cpp ----

KZ3_LATTIQ_API int get_neighbors(const dense2D<unsigned>& connectM, element_type type,
                                 bool link_non_manifold, dense2D<unsigned>& neighbors);

// ---- connectivity/get_mesh_boundaries.cpp, get_element_boundaries.cpp ----

KZ3_LATTIQ_API int get_element_boundaries(const dense2D<unsigned>& connectM, element_type type,
                                          dense2D<unsigned>& boundaries);
KZ3_LATTIQ_API int get_mesh_boundaries(const dense2D<unsigned>& connectM,
                                       const dense2D<unsigned>& neighbors, element_type type,
                                       dense2D<unsigned>& boundaries);

// ---- connectivity/get_subdomains.cpp ----

KZ3_LATTIQ_API int get_subdomains(const dense2D<unsigned>& neighbors,
                                  dense1D<unsigned>& sorted_elements,
                                  dense1D<unsigned>& subdomain_offsets);
KZ3_LATTIQ_API int get_subdomains(dense2D<unsigned>& connectM, dense2D<unsigned>& neighbors,
                                  dense1D<unsigned>& subdomain_offsets);

// ---- connectivity/sort_elfes.cpp ----

KZ3_LATTIQ_API int sort_elfes(dense2D<unsigned>& connectM, dense2D<unsigned>& element_links,
                              dense1D<unsigned>& group_nodes, dense1D<unsigned>& group_ends,
                              dense1D<unsigned>& new_indices);
KZ3_LATTIQ_API int sort_elfes(dense2D<unsigned>& connectM, dense1D<unsigned>& group_nodes,
                              dense1D<unsigned>& group_ends, dense1D<unsigned>& new_indices);

} // namespace kz3::lattiq
