#pragma once

#include <cstdio>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- formats/stl.cpp ----

/// Writes triangles as an STL file, in its text or its binary form.
///
/// A facet is written for each column, with its unit normal; a triangle without area is written with
/// the normal 0, 0, 0 (or with what is left of its normal where the length underflows). Text has six
/// decimals, binary holds 32-bit floats. A mesh in the plane is written with z = 0.
///
/// @param file      name of the file, created or truncated
/// @param pos       2 or 3 rows, one column per node
/// @param connectM  ET_TRIA3: 3 rows, one column per triangle
/// @param ascii     true for the text form, false for the binary form
/// @return 0, or the first that applies:
///         -1  the file cannot be opened
///         -2  pos has neither 2 nor 3 rows
///         -3  connectM fails check_IDs for ET_TRIA3; NO_NODE is refused
///         -1  a write failed, be it only as the file was closed
/// The file is opened before the checks: -2 and -3 leave an empty file. A failed write leaves what
/// was written so far. O(columns of connectM); allocates nothing but the stream's own buffer.
KZ3_LATTIQ_API int STL_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>& connectM, bool ascii);

/// Reads the triangles of an STL file and joins them at the nodes they share.
///
/// The form is not detected, the caller names it. Facets come without shared nodes; nodes closer
/// than 0.05 of the smallest positive height of a triangle in the file are merged, triangles that
/// collapse by that are removed, and unused nodes dropped. Where no triangle has a positive height
/// nothing is joined, and each keeps three nodes of its own.
///
/// A text is read up to the first thing that is not a facet: upper case, "endsolid" and a damaged
/// facet end the reading without an error, as does a binary file shorter than its count. The nodes
/// of an unfinished facet stay in pos where nothing is joined. Normals, names and attributes in the
/// file are ignored. A number may be anything the C runtime's "%lg" takes in the "C" locale.
///
/// @param file      name of the file
/// @param pos       cleared in place, then 3 x nodes
/// @param connectM  cleared in place, then 3 x triangles, ET_TRIA3
/// @param ascii     true for the text form, false for the binary form
/// @return the columns of connectM, or the first that applies:
///         -1        the file cannot be opened; or it ends before its first line (text), or before
///                   the end of its header and count (binary). pos and connectM are then empty
///         negative  the result of merge or simplify, as which pos and connectM then are left
/// Columns for which memory is exhausted are left out: facets may then name nodes that pos does not
/// hold, which merge refuses. Memory grows with what is read, never with the count that a file
/// claims. One pass over the file; the time is that of merge.
KZ3_LATTIQ_API int STL_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                             bool ascii);

// ---- formats/medit.cpp ----

/// Writes a mesh as a MEDIT text file.
///
/// One section per kind, in ascending element_type, with the corners of each element, counted from
/// 1; pyramids and wedges go out as hexahedra with repeated nodes. The kinds of a mixed matrix are
/// told apart first, its elements in falling column order. ET_NODE matrices leave no trace. The
/// reference of an element is the place of its matrix in the range, counted from 0. Numbers do not
/// depend on the process locale; a count above INT_MAX is printed as its low 32 bits, signed.
///
/// @param file         name of the file, replaced
/// @param pos          1 to 3 rows, one column per node
/// @param first, last  connectivities, one column per element, may be strided
/// @param types        element_type of each matrix
/// @return 0, or the first that applies:
///         -2    pos has no row or more than 3
///         -4    first lies after last
///         -5    the number of matrices is not the size of types
///         -3    a matrix with elements fails check_IDs for its type and the columns of pos
///         -1    the file cannot be opened
///         -199  no memory to tell a mixed matrix apart
/// The file is untouched on -5 to -1, and holds the nodes only on -199. A failed write goes
/// unreported. O(size of pos and matrices); copies mixed matrices only.
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                                const dense1D<int>& types);

/// The same for one matrix; all references are 0.
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type);

/// The same for one matrix with a reference per element.
///
/// Elements come out by ascending reference, and within one in column order; within a reference of a
/// mixed matrix, in falling column order of each kind. An element whose reference is NO_NODE is left
/// out and not checked.
///
/// @param refs  one reference per column of connectM
/// @return 0, also where connectM is empty: no file is then created or changed. Or the first that
///         applies, with the file untouched:
///         -5    the size of refs is not the number of columns of connectM
///         -6    no memory for a list of as many matrices as the largest reference plus 1
///         -199  no memory for the elements in order of reference
///         or the result of the range form
/// O(size of pos and connectM + largest reference); copies connectM.
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type,
                                const dense1D<unsigned>& refs);

/// The same for two matrices, with the references 0 and 1.
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM1,
                                const dense2D<unsigned>& connectM2, element_type type1,
                                element_type type2);

/// Writes one value per node as a MEDIT solution file, eight to a line.
///
/// @param file    name of the file, replaced
/// @param dim     dimension of the mesh; written as it is
/// @param values  one value per node
/// @return 0, or -1 if the file cannot be opened, which leaves it untouched
/// A failed write goes unreported. O(size); allocates nothing.
KZ3_LATTIQ_API int medit_scalar(const char* file, unsigned dim, const dense1D<double>& values);

/// Writes one vector per node as a MEDIT solution file, one to a line.
///
/// @param values  one column per node, of any number of rows
/// @return 0, or -1 if the file cannot be opened, which leaves it untouched
/// A failed write goes unreported. O(rows * cols); allocates nothing.
KZ3_LATTIQ_API int medit_vector(const char* file, unsigned dim, const dense2D<double>& values);

/// Writes one symmetric tensor per node, such as a metric, as a MEDIT solution file, one to a line.
/// The dimension written is 2 for 3 rows and 3 for 6.
///
/// @param values  3 or 6 rows, one column per node
/// @return 0, or the first that applies:
///         -1  the file cannot be opened; it is untouched
///         -2  values has neither 3 nor 6 rows; the file is already emptied
/// A failed write goes unreported. O(rows * cols); allocates nothing.
KZ3_LATTIQ_API int medit_tensor(const char* file, const dense2D<float>& values);

// ---- formats/vtk.cpp ----

/// Appends the elements of a connectivity to the flat cell lists of a legacy VTK file.
///
/// An element becomes a linear cell of its corners, in row order except that the last two corners of
/// a tetrahedron change places. The further nodes of a higher-order element follow as one
/// poly-vertex cell, so that such an element counts as two cells.
///
/// @param connectM    one column per element, may be strided
/// @param type        any kind but ET_NODE and the mixed kinds
/// @param ncells      raised by the number of cells
/// @param cells       appended: for each cell its node count, then its nodes, counted from 0
/// @param cell_types  appended: the VTK type of each cell
/// @return 0, or the first that applies:
///         -1    connectM fails check_IDs for type, whatever the node count
///         -2    type has no cell type
///         -1    connectM, empty, has fewer rows than the element has corners
///         -199  the lists could not be sized
/// On a negative result ncells and both lists are unchanged. O(rows * cols); each list grows once.
KZ3_LATTIQ_API int vtk_convert(const dense2D<unsigned>& connectM, element_type type,
                               unsigned& ncells, dense1D<unsigned>& cells,
                               dense1D<unsigned>& cell_types);

/// Writes nodes and cells as a legacy VTK text file, an unstructured grid, to an open stream.
///
/// Coordinates have six decimals. Numbers do not depend on the process locale; a count above INT_MAX
/// is printed as its low 32 bits, signed.
///
/// @param stream      written from its present position on, behind what it has buffered; stays open
/// @param pos         2 or 3 rows, one column per node; z is 0 for 2 rows
/// @param ncells      number of cells
/// @param cells       as vtk_convert gives them; where they end early, no further cell is written
/// @param cell_types  the VTK type of each cell
/// @return 0, or the first that applies, with nothing written:
///         -1  stream is null
///         -2  pos has neither 2 nor 3 rows
/// A failed write goes unreported. O(size of pos and cells); allocates nothing.
KZ3_LATTIQ_API int vtk_output(std::FILE* stream, const dense2D<double>& pos, unsigned ncells,
                              const dense1D<unsigned>& cells, const dense1D<unsigned>& cell_types);

/// Writes a mesh as a legacy VTK text file, as vtk_convert and the stream form do.
///
/// The kinds of a mixed matrix are told apart first: the largest elements come first, and those of a
/// kind in falling column order.
///
/// @param file         name of the file, replaced
/// @param pos          2 or 3 rows, one column per node
/// @param first, last  connectivities, one column per element, may be strided
/// @param types        element_type of each matrix
/// @return 0, or the first that applies:
///         -1    the file cannot be opened
///         -2    pos has neither 2 nor 3 rows
///         -4    first lies after last
///         -5    the number of matrices is not the size of types
///         -3    a matrix with elements fails check_IDs for its type and the columns of pos
///         -2    a matrix with elements is of ET_NODE
///         -199  no memory to tell a mixed matrix apart or for the cells
/// The file is opened first: it is untouched on -1 and emptied on every other negative result. A
/// failed write goes unreported. O(size of pos and matrices); holds all cells in memory.
KZ3_LATTIQ_API int vtk_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                              const dense1D<int>& types);

/// The same for one matrix.
KZ3_LATTIQ_API int vtk_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>& connectM, element_type type);

/// The same for two matrices.
KZ3_LATTIQ_API int vtk_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>& connectM1,
                              const dense2D<unsigned>& connectM2, element_type type1,
                              element_type type2);

// ---- formats/femap.cpp ----

KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, const dense1D<unsigned>& offsets,
                                const dense1D<int>& types, const dense1D<unsigned>& groups);
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type);
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM1,
                                const dense2D<unsigned>& connectM2, element_type type1,
                                element_type type2);
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                               dense1D<unsigned>& offsets, dense1D<int>& types,
                               dense1D<unsigned>& groups);
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                               element_type& type);
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM1,
                               dense2D<unsigned>& connectM2, element_type& type1,
                               element_type& type2);

// ---- formats/wavefront_obj.cpp ----

KZ3_LATTIQ_API int WavefrontOBJ_output(const char* file, const dense2D<double>& pos,
                                       const dense2D<double>& normals,
                                       const dense2D<double>& textures,
                                       const dense2D<unsigned>& triangles,
                                       const dense2D<unsigned>& quads);
KZ3_LATTIQ_API int WavefrontOBJ_input(const char* file, dense2D<double>& pos,
                                      dense2D<double>& normals, dense2D<double>& textures,
                                      dense2D<unsigned>& triangles, dense2D<unsigned>& quads);

// ---- formats/ensight.cpp ----

/// Writes a mesh as an EnSight text geometry file, with one part per matrix.
///
/// Nodes and elements carry identifiers, counted from 1. A part has the place of its matrix in the
/// range as its number, counted from 1; an empty matrix and one of ET_NODE, of pyramids or of a
/// mixed kind have no part and leave a gap in the numbers. ET_QUAD9, ET_PENTA18 and ET_HEXA27 go
/// under the names quad8, penta6 and hexa20 with all of their nodes. Numbers do not depend on the
/// process locale; a number above INT_MAX is printed as its low 32 bits, signed.
///
/// @param file         name of the file, replaced
/// @param pos          1 to 3 rows, one column per node; missing coordinates are 0
/// @param first, last  connectivities, one column per element, may be strided; nodes are not checked
///                     against the columns of pos
/// @param types        element_type of each matrix
/// @return 0, or the first that applies:
///         -1  the file cannot be opened
///         -2  pos has no row or more than 3
///         -4  first lies after last
///         -5  the number of matrices is not the size of types
///         -3  a matrix with elements fails check_IDs for its type, whatever the node count
/// The file is opened first: it is untouched on -1 and emptied on every other negative result. A
/// failed write goes unreported. O(size of pos and matrices); allocates nothing.
KZ3_LATTIQ_API int ensight_output(const char* file, const dense2D<double>& pos,
                                  const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                                  const dense1D<int>& types);

/// The same for one matrix.
KZ3_LATTIQ_API int ensight_output(const char* file, const dense2D<double>& pos,
                                  const dense2D<unsigned>& connectM, element_type type);

/// The same for two matrices.
KZ3_LATTIQ_API int ensight_output(const char* file, const dense2D<double>& pos,
                                  const dense2D<unsigned>& connectM1,
                                  const dense2D<unsigned>& connectM2, element_type type1,
                                  element_type type2);

} // namespace kz3::lattiq
