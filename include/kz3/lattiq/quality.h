#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>
#include <kz3/misc/histogram.h>

namespace kz3::lattiq {

// ---- quality/shape_qualities.cpp ----

/// How close each element is to the regular element of its kind.
///
/// 1 for a regular element, near 0 for a flat one, negative for an inverted solid and for a face that
/// runs clockwise in two dimensions; -1 to 1. A triangle and a tetrahedron have the radius of their
/// inscribed circle or sphere over their longest edge (Frey and George, Mesh Generation), a
/// quadrangle its worst corner, lowered as it warps, the other solids the product of their worst face
/// and their corners. A regular tetrahedron scores 0.9999999999987025. Bars score 1 wherever their
/// nodes are; elements whose nodes all coincide otherwise score 0.
///
/// @param pos        one column per node. Triangles: 2 or 3 rows, with any other they score 0.
///                   Quadrangles: 2 rows, or at least 3, of which they read 3. Solids: at least 3,
///                   which is not checked; with fewer, what stands behind the rows is read.
/// @param connectM   one column per element, may be strided
/// @param type       ET_BAR2, ET_TRIA3, ET_QUAD4, ET_FACE_MIX, ET_TETRA4, ET_PYRA5, ET_PENTA6,
///                   ET_HEXA8 or ET_SOLID_MIX. The last goes by the rows of the matrix alone: 4, 5
///                   or 6 make all its columns tetrahedra, pyramids or wedges, 8 hexahedra, so that
///                   shorter elements in 8 rows are refused.
/// @param qualities  cleared and filled: one value per column
/// @return 0, or the first that applies:
///         -199  qualities could not be sized
///         -3    type is none of those above
///         -2    connectM fails check_IDs for type
/// On a negative result qualities is empty. An empty connectM passes; its columns, if it has no rows,
/// get 0. O(cols), without allocation but for qualities.
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                   element_type type, dense1D<double>& qualities);

/// The same for a range of connectivities, their values one behind the other.
///
/// @param first, last  the range
/// @param types        one element_type per connectivity; that of an empty one is not looked at
/// @param qualities    cleared and filled: one value per column of every connectivity. An empty one
///                     is passed over; if it has columns, as many zeros more stand at the end.
/// @return 0, or the first that applies:
///         -3    last lies before first
///         -4    types does not hold one type per connectivity
///         -199  qualities could not be sized
///         -3, -2  as above, of the first connectivity with a fault
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                   const dense2D<unsigned>* last, const dense1D<int>& types,
                                   dense1D<double>& qualities);

/// The same into a histogram: on the result 0 all values are added to it in one call, otherwise it is
/// left alone. Allocates one vector of the values; throws std::bad_alloc where its header finds no
/// memory.
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                   const dense2D<unsigned>* last, const dense1D<int>& types,
                                   misc::histogram& hist);

/// The same for one connectivity: the range form on it alone, so that an empty one passes with any
/// type.
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                   element_type type, misc::histogram& hist);

// ---- quality/copy_edges.cpp ----

/// Appends each corner-to-corner edge of a mesh once.
///
/// (a, b) and (b, a) are one edge, written as the first element that has it runs along it. The order
/// depends on the edges alone, not on that of the elements. It is that of a linear hash table: with n
/// edges there are m buckets, n / 4 rounded up and at least 8 (for more than 2^24 edges as a table
/// would grow that compares the load as a float). An edge stands in bucket h & mask, less half of
/// mask + 1 if that is m or more, where mask + 1 is the least power of 2 not below m and
/// h = ((a ^ 0x811C9DC5) + (b ^ 0x811C9DC5)) * 16777619 in 32 bits. Edges come by bucket, and in a
/// bucket by lower and then by higher node.
///
/// @param connectM  one column per element, may be strided
/// @param type      any kind. Higher-order kinds give the edges between their corners, ET_HEXA20,
///                  ET_NODE none. A column of a mixed kind ends at its first hole, or with the rows
///                  of the matrix.
/// @param edges     appended to: one column of 2 rows per edge. What it holds already is not looked
///                  at, so a second call appends the same edges again.
/// @return 0, or the first that applies:
///         0     connectM is empty
///         -1    connectM fails check_IDs for type, whatever the number of nodes, or type is no kind
///         -3    edges is not empty and has other than 2 rows
///         -199  edges could not be grown
/// On a negative result edges is unchanged; so it is after std::bad_alloc, thrown where a work table
/// finds no memory. O(cols), with tables of 4 bytes per edge of an element and 8 per node; where IDs are
/// sparse, of about 40 bytes per distinct edge.
KZ3_LATTIQ_API int copy_edges(const dense2D<unsigned>& connectM, element_type type,
                              dense2D<unsigned>& edges);

/// The same for a range: an edge that several connectivities have comes once.
///
/// @param first, last  the range
/// @param types        one element_type per connectivity; that of an empty one is not looked at
/// @param edges        appended to
/// @return 0, or the first that applies:
///         -2    last lies before first
///         -3    types does not hold one type per connectivity
///         -4    edges is not empty and has other than 2 rows
///         -1    a connectivity fails check_IDs for its type, or its type is no kind
///         -199  edges could not be grown
KZ3_LATTIQ_API int copy_edges(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                              const dense1D<int>& types, dense2D<unsigned>& edges);

// ---- quality/edge_lengths.cpp ----

/// Least, mean and greatest length of the edges at each node.
///
/// Edges are taken as listed: one listed twice counts twice, and one of two equal nodes counts twice
/// at its node, with length 0. A length that is not a number enters the mean alone.
///
/// @param pos       any number of rows, all of which count; one column per node
/// @param connectM  2 rows, one column per edge
/// @param lengths   replaced: a column of least, mean and greatest for each column of pos; a node
///                  without edges gets 1.7976931348623157e308, 0, 0. Must not share pos's storage.
/// @return 0, or the first that applies:
///         0     connectM has no columns; lengths is empty
///         -2    connectM fails check_IDs for ET_BAR2
///         -199  lengths, or a count per node, could not be sized
/// On a negative result lengths is empty; so it is after std::bad_alloc, thrown where the header of
/// the counts finds no memory. O(edges + nodes), with one number per node.
KZ3_LATTIQ_API int edge_lengths(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                dense2D<double>& lengths);

// ---- quality/edge_qualities.cpp ----

/// Sends the length of each edge of a mesh, measured in a field of desired sizes, to a histogram.
///
/// 1 is the ideal length, 2 that of an edge twice as long as desired. It is the integral of 1/h along
/// the edge, where h runs linearly from the size at one end to that at the other (Frey and George,
/// Mesh Generation). Edges are those of copy_edges, each once and in that order.
///
/// @param pos       2 or 3 rows, one column per node
/// @param connectM  one column per element, may be strided
/// @param type      as for copy_edges
/// @param sizes     the desired size at each node, in the unit of pos. With another number of entries
///                  than pos has columns nothing is sent.
/// @param hist      added to, one value at a time
/// @return 0, or the first that applies:
///         0     connectM is empty
///         -1    pos has neither 2 nor 3 rows
///         -2    connectM fails check_IDs for type, or type is no kind
/// 0 does not tell whether anything was sent. On a negative result nothing was, nor before
/// std::bad_alloc, thrown where a work table finds no memory. O(cols), with the tables of copy_edges
/// and a list of 8 bytes per distinct edge.
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                  element_type type, const dense1D<float>& sizes,
                                  misc::histogram& hist);

/// The same for a range: an edge that several connectivities have is sent once.
///
/// @param first, last  the range
/// @param types        one element_type per connectivity; that of an empty one is not looked at
/// @return 0, or the first that applies:
///         0     the range is empty
///         -1    pos has neither 2 nor 3 rows
///         -4    types does not hold one type per connectivity, or last lies before first
///         -2    a connectivity fails check_IDs for its type, or its type is no kind
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                  const dense2D<unsigned>* last, const dense1D<int>& types,
                                  const dense1D<float>& sizes, misc::histogram& hist);

/// The same in a field of metrics: the size at an end is that of its metric along the edge. Where the
/// metric of an end is not positive along it, 0 is sent.
///
/// @param metrics  a packed symmetric tensor per node: m00, m10, m11, and in three dimensions m20,
///                 m21, m22. With another number of columns than pos has, or with fewer rows, nothing
///                 is sent; further rows are not read.
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                  element_type type, const dense2D<float>& metrics,
                                  misc::histogram& hist);

/// The same for a range.
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                  const dense2D<unsigned>* last, const dense1D<int>& types,
                                  const dense2D<float>& metrics, misc::histogram& hist);

} // namespace kz3::lattiq
