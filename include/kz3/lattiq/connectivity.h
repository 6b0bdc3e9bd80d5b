#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- connectivity/get_connected_elements.cpp, get_node_graph.cpp, get_ancestors.cpp ----

/// The elements that hold each node, as a compressed graph.
///
/// Row k stands in row_values from row_starts[k] up to row_starts[k + 1]. Element kinds play no
/// part; NO_NODE entries are holes.
///
/// @param connectM    one column per element, may be strided
/// @param row_starts  cleared: m + 2 entries, with m the largest node, or 0 if all are NO_NODE. The
///                    first is 0, the last the size of row_values. The single value 0 if connectM
///                    is empty.
/// @param row_values  cleared: elements, rising within a row. An element that names a node twice
///                    stands twice in its row. A node that none names has an empty row.
/// @return 0, or -199 if a result could not be sized or needs positions above 32 bits; both are
///         empty then
/// The results share no elements with connectM. O(entries + m); allocates only the results.
KZ3_LATTIQ_API int get_connected_elements(const dense2D<unsigned>& connectM,
                                          dense1D<unsigned>& row_starts,
                                          dense1D<unsigned>& row_values);

/// The nodes that share an element with each node, as a compressed graph.
///
/// All nodes of an element are related, not only those joined by an edge. Arguments and form as for
/// get_connected_elements; what differs:
///
/// @param row_values  cleared: each neighbour once, never the node itself, in order of first
///                    discovery: by rising element, then by row of the element
/// @return 0, or -199 if a result or work list could not be sized, or the result needs positions
///         above 32 bits; both are empty then
/// O(sum over all nodes of the entries of their elements); allocates the results, the graph of
/// get_connected_elements and 4 bytes a node.
KZ3_LATTIQ_API int get_node_graph(const dense2D<unsigned>& connectM, dense1D<unsigned>& row_starts,
                                  dense1D<unsigned>& row_values);

/// One element for each node: the last that holds it.
///
/// Element kinds play no part; NO_NODE entries are holes.
///
/// @param connectM   one column per element, may be strided
/// @param ancestors  with entries: written in place, only for the nodes that some element names;
///                   nodes at or above its size are ignored. Empty: sized to the largest node plus
///                   1, NO_NODE for a node that no element names.
/// @return 0, or the first that applies:
///         -1  ancestors is empty and connectM holds a NO_NODE
///         -2  ancestors could not be sized
/// An empty connectM gives 0 with ancestors unchanged; -1 and -2 leave it empty. O(entries);
/// allocates only ancestors.
KZ3_LATTIQ_API int get_ancestors(const dense2D<unsigned>& connectM, dense1D<unsigned>& ancestors);

// ---- connectivity/get_neighbors.cpp ----

/// The element across each local face of each element.
///
/// Local faces are numbered by kind: in bars, triangles and tetrahedra face f lies opposite node f,
/// in quadrangles it runs from node f to the next; get_element_boundaries writes them all in order.
/// Two faces are one if they hold the same nodes, quadrangles if also in the same cycle, in either
/// direction. (A cycle that holds its smallest node more than once is begun at the first of them, so
/// that such quadrangles may fail to match.) An element with two equal faces is its own neighbour. A
/// face whose nodes add up to 0xFFFFFFFF modulo 2^32 is never matched, except where type is ET_BAR2,
/// ET_TRIA3, ET_TETRA4 or an ET_FACE_MIX of 3 rows.
///
/// @param connectM  one column per element, may be strided
/// @param type      ET_BAR2, ET_TRIA3, ET_QUAD4, ET_FACE_MIX of 3 or 4 rows, ET_TETRA4, ET_PYRA5,
///                  ET_PENTA6, ET_HEXA8, or ET_SOLID_MIX of 8 rows
/// @param link_non_manifold  of a face that three or more elements hold: true joins the first two by
///                  element, then local face; false joins none
/// @param neighbors  cleared: one row per local face (2, 3, 4, 4, 4, 5, 5, 6 or 6 by type, 3 for
///                  ET_FACE_MIX of 3 rows), one column per element; 0xFFFFFFFF where there is no
///                  element, and in rows that the kind of a mixed column does not use
/// @return 0, also for an empty connectM whatever its type, or the first that applies:
///         -1    connectM fails check_IDs for type and the bound NO_NODE, or is an ET_SOLID_MIX of
///               4, 5 or 6 rows
///         -2    type is none of those listed
///         -199  memory is exhausted
/// On a negative result neighbors is empty. connectM is never changed, unless it is neighbors itself.
/// O(faces), with a logarithm for many faces whose smallest node is one; allocates neighbors and about
/// 8 bytes a face for its size and 4 for each of its nodes but one, twice as much where IDs of nodes
/// exceed the number of faces. A mesh in natural numbering uses little of it.
KZ3_LATTIQ_API int get_neighbors(const dense2D<unsigned>& connectM, element_type type,
                                 bool link_non_manifold, dense2D<unsigned>& neighbors);

// ---- connectivity/get_element_boundaries.cpp ----

/// All local faces of all elements as a mesh of their own; a face between two elements comes twice.
///
/// @param connectM    one column per element, may be strided
/// @param type        as for get_neighbors
/// @param boundaries  cleared: one column per face, by element, then by local face. 1 row for bars, 2
///                    for triangles, quadrangles and ET_FACE_MIX, 3 for tetrahedra, 4 for the other
///                    solids, where a triangle ends in NO_NODE as in ET_FACE_MIX. Nodes run as they
///                    do around the face of the element.
/// @return 0, also for an empty connectM whatever its type, or the first that applies:
///         -1    connectM fails check_IDs for type and the bound NO_NODE, or is an ET_SOLID_MIX of
///               4, 5 or 6 rows
///         -2    type is none of those of get_neighbors
///         -199  boundaries could not be sized
/// On a negative result boundaries is empty. connectM is never changed, unless it is boundaries
/// itself. O(faces); allocates only boundaries.
KZ3_LATTIQ_API int get_element_boundaries(const dense2D<unsigned>& connectM, element_type type,
                                          dense2D<unsigned>& boundaries);

// ---- connectivity/get_mesh_boundaries.cpp ----

/// The faces without a neighbour as a mesh of their own: the boundary of the mesh.
///
/// Arguments and form as for get_element_boundaries; what differs:
///
/// @param neighbors   the matrix of get_neighbors, may be strided. Only its shape and the entries
///                    0xFFFFFFFF are looked at.
/// @param boundaries  cleared: as for get_element_boundaries, without the faces that have a
///                    neighbour. Where all have one it has rows but no columns.
/// @return 0, also for an empty connectM whatever else is wrong, or the first that applies:
///         -1    connectM fails check_IDs for type and the bound NO_NODE, or is an ET_SOLID_MIX of
///               4, 5 or 6 rows
///         -2    type is none of those of get_neighbors, or neighbors does not have the columns of
///               connectM and the rows that get_neighbors gives the type
///         -199  boundaries could not be sized
/// neighbors is never changed, unless it is boundaries itself, which gives -2.
KZ3_LATTIQ_API int get_mesh_boundaries(const dense2D<unsigned>& connectM,
                                       const dense2D<unsigned>& neighbors, element_type type,
                                       dense2D<unsigned>& boundaries);

// ---- connectivity/get_subdomains.cpp ----

/// Splits a mesh into the pieces that its neighbours matrix connects.
///
/// Subdomains stand by their lowest element, elements of one breadth first from it: by distance in
/// faces, then in the order in which earlier elements reach them, face by face. Element kinds and
/// nodes play no part.
///
/// @param neighbors          one column per element, any number of rows, may be strided: the
///                           element across each face. An entry above the number of columns, such
///                           as NO_NODE, is no neighbour; one equal to it is an error that ends the
///                           process.
/// @param sorted_elements    cleared: every element once, those of a subdomain side by side
/// @param subdomain_offsets  cleared: the start of each subdomain in sorted_elements, then the
///                           number of elements. An entry that finds no memory is left out.
/// @return 0, or -199 if sorted_elements could not be sized; both outputs are empty then
/// O(entries); allocates the outputs and one bit an element.
KZ3_LATTIQ_API int get_subdomains(const dense2D<unsigned>& neighbors,
                                  dense1D<unsigned>& sorted_elements,
                                  dense1D<unsigned>& subdomain_offsets);

/// Reorders a mesh in place, so that each subdomain becomes one run of columns.
///
/// @param connectM           replaced: its columns in the order of sorted_elements above. Must have
///                           as many columns as neighbors, which is not checked.
/// @param neighbors          replaced: columns in the same order, entries renumbered to match
/// @param subdomain_offsets  cleared: the first column of each subdomain, then the number of
///                           columns
/// @return 0, or -199 if memory is exhausted. Where the elements could not be listed, the matrices
///         are then unchanged and subdomain_offsets is empty; where a matrix could not be replaced
///         or renumbered, all three are empty.
/// Views of the old columns keep the old order. O(entries); allocates both matrices anew and 8
/// bytes an element.
KZ3_LATTIQ_API int get_subdomains(dense2D<unsigned>& connectM, dense2D<unsigned>& neighbors,
                                  dense1D<unsigned>& subdomain_offsets);

// ---- connectivity/sort_elfes.cpp ----

/// Gathers the elements of a mixed connectivity by their number of nodes, each kind one run of
/// columns, and drops elements without nodes.
///
/// The node count of an element is the number of its entries ahead of the first NO_NODE. Columns
/// come to stand by falling node count and, among equal counts, by falling old index: the columns
/// of a connectivity of one kind come out reversed.
///
/// @param connectM       any number of rows, may be strided; columns exchanged in place, then
///                       shrunk to the m columns with nodes. Removed columns end up behind them.
/// @param element_links  one column per element, entries element indices or NO_NODE, as of
///                       get_neighbors; may be strided, sharing no elements with connectM.
///                       Without entries it counts as absent. Columns go along with those of
///                       connectM; then each entry that is an element of the input becomes its new
///                       index, or NO_NODE where that was removed. Others stay.
/// @param group_nodes    cleared: node count of each group, falling; NO_NODE alone if m is 0
/// @param group_ends     cleared: column one past each group, as long as group_nodes; 0 alone if m
///                       is 0. Group 0 starts at column 0, group k at group_ends[k - 1].
/// @param new_indices    cleared: one entry per element of the input, the column at which it now
///                       stands, NO_NODE for a removed one
/// @return 0, or the first that applies:
///         -1    element_links has entries and not as many columns as connectM
///         -199  an output or a work list could not be sized
/// After -1 nothing is changed; after -199 both matrices are unchanged and the outputs empty.
/// O(entries); allocates the outputs and 12 bytes an element, no second matrix.
KZ3_LATTIQ_API int sort_elfes(dense2D<unsigned>& connectM, dense2D<unsigned>& element_links,
                              dense1D<unsigned>& group_nodes, dense1D<unsigned>& group_ends,
                              dense1D<unsigned>& new_indices);

/// The same without links: 0 or -199.
KZ3_LATTIQ_API int sort_elfes(dense2D<unsigned>& connectM, dense1D<unsigned>& group_nodes,
                              dense1D<unsigned>& group_ends, dense1D<unsigned>& new_indices);

} // namespace kz3::lattiq
