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
/// was written so far. O(columns of connectM); allocates nothing.
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
/// hold, which merge refuses. Memory goes by what the file holds, never by the count that it claims;
/// that for a binary file is asked for at once. One pass over the file; then the time is that of merge
/// for the nodes that differ. A table of 12 to 24 bytes for each of them is held while reading, and half
/// of that beside it as it grows.
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
///         -199  no memory to tell a mixed matrix apart
/// The file is opened first: it is untouched on -1 and emptied on every other negative result. A
/// failed write goes unreported. O(size of pos and matrices); copies mixed matrices only.
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

/// Writes a mesh as a FEMAP neutral text file, with a node block 403 and an element block 404.
///
/// Nodes and elements keep their column index, counted from 0, as identifier. Coordinates have 6
/// significant digits. Kinds without a code in the format are passed over without an error: ET_NONE,
/// ET_QUAD9, ET_PYRA5, ET_PYRA14, ET_PENTA18, ET_HEXA27. A mixed run is written as one kind, the one
/// that its first column shows, all its columns included; it leaves nothing where that is a pyramid.
/// Numbers do not depend on the process locale.
///
/// @param file      name of the file, replaced
/// @param pos       3 rows, one column per node
/// @param connectM  one column per element, as high as the largest of them, may be strided; nodes are
///                  not checked against the columns of pos
/// @param offsets   run g holds the columns from offsets[g] up to, but without, offsets[g + 1]; a
///                  bound past the columns counts as their number, a falling pair as an empty run
/// @param types     element_type of each run
/// @param groups    one value per element, its property in the file
/// @return 0, or the first that applies:
///         0   connectM is empty, whatever else: an empty file
///         -1  the file cannot be opened
///         -2  pos does not have 3 rows
///         -5  the size of offsets is not that of types plus 1
///         -6  the size of groups is not the number of columns
///         -3  a run with elements, on as many rows as its type has nodes (up to 4 for ET_FACE_MIX, up
///             to 20 for ET_SOLID_MIX), fails check_IDs, or its type is no element_type
/// The file is opened before all checks, and is empty after a refused call. A failed write goes
/// unreported. O(size of pos and connectM); allocates nothing.
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, const dense1D<unsigned>& offsets,
                                const dense1D<int>& types, const dense1D<unsigned>& groups);

/// The same for one run of all columns, in group 1. There is one group for all, so -6 refuses a
/// matrix of more than one column.
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type);

/// The same for two runs, in the groups 1 and 2, of a matrix with the columns of both: it is as high
/// as the higher of them, with NO_NODE where a column is lower.
///
/// Two columns together are what the two groups fit; -6 refuses every other number. The runs are
/// bounded by 0 and the numbers of columns of the two matrices, not their sum: of two matrices with a
/// column each only the first is written. -199, with the file untouched, if there is no memory for
/// the matrix of both.
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM1,
                                const dense2D<unsigned>& connectM2, element_type type1,
                                element_type type2);

/// Reads the nodes and the elements of a FEMAP neutral text file.
///
/// The blocks 403 and 404 are taken, also several of each, and all others passed over. A node goes to
/// the column that its identifier names; elements take columns in the order of the file. Identifiers
/// and nodes are read as atoi does and kept as unsigned 32-bit numbers, coordinates as atof does under
/// the "C" locale. Lines end with a line feed alone.
///
/// Columns of pos that no line names hold 0, as long as pos has no more than 2^24 columns or 16 per
/// node line; in a sparser file they are left as the storage held them, so that a high identifier
/// costs 24 bytes of address space per column but no time or memory to fill them.
///
/// An element of a code without a kind is left out, yet counts as a run of type 0: 0 is appended to
/// types, and behind an element of a known kind the number of elements less 1 to offsets. From then
/// on offsets[g] does not bound the run types[g].
///
/// @param file      name of the file
/// @param pos       cleared, then 3 rows, one column per identifier from 0 on
/// @param connectM  cleared, then one column per element, as high as the largest; NO_NODE below the
///                  others
/// @param offsets   cleared, then the first column of each run, and at last the number of columns
/// @param types     cleared, then the element_type of each run of elements of one kind in turn
/// @param groups    cleared, then the property of each element
/// @return 0, or the first that applies:
///         -1  the file cannot be opened: all outputs are empty
///         -1  no node or no element was read: the outputs hold what there was
/// A line with too few fields stops the process (std::abort), be it an empty one: a node needs 14
/// fields, the first line of an element 5, its two lines of nodes 10 each, and a field is what ends in
/// a comma. A file cut off ahead of an element's nodes stops it too.
///
/// A node or an element for which memory is exhausted is left out. O(size of the file + columns of
/// pos).
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                               dense1D<unsigned>& offsets, dense1D<int>& types,
                               dense1D<unsigned>& groups);

/// The same for the first run alone; connectM becomes a view of it with as many rows as its type has
/// nodes.
///
/// @param type  set, unless the result is negative. ET_NONE, with connectM empty, where the first
///              element of the file is of no known kind.
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                               element_type& type);

/// The same for the first two runs, each replacing its matrix.
///
/// @param connectM1     cleared, then the first run, as high as the largest element of the file
/// @param connectM2     cleared, then the second run, with as many rows as its type has nodes; empty
///                      where offsets bounds no second run
/// @param type1, type2  set, unless the result is negative; type2 is unchanged where types holds one
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM1,
                               dense2D<unsigned>& connectM2, element_type& type1,
                               element_type& type2);

// ---- formats/wavefront_obj.cpp ----

/// Writes a surface as a Wavefront OBJ text file.
///
/// Nodes count from 1; a corner has one number for its node, texture and normal. Numbers have 8
/// decimals and do not depend on the process locale. The corners of a face stand without a blank
/// between them, so no reader finds the faces again, WavefrontOBJ_input included.
///
/// @param file       name of the file, replaced
/// @param pos        2 or 3 rows, one column per node; z is 0 for 2 rows
/// @param normals    empty, or 3 rows, one column per node
/// @param textures   empty, or 2 rows, one column per node
/// @param triangles  ET_TRIA3: 3 rows, may be strided; nodes are not checked against the columns of
///                   pos
/// @param quads      ET_QUAD4: 4 rows, likewise
/// @return 0, or the first that applies:
///         -1  the file cannot be opened
///         -2  pos has neither 2 nor 3 rows
///         -3  normals has entries and another shape
///         -4  textures has entries and another shape
///         -5  triangles fails check_IDs for ET_TRIA3; NO_NODE is refused
///         -6  quads fails check_IDs for ET_QUAD4; NO_NODE is refused
/// The file is opened before the checks, and is empty after a refused call. A failed write goes
/// unreported. O(size of the mesh); allocates nothing.
KZ3_LATTIQ_API int WavefrontOBJ_output(const char* file, const dense2D<double>& pos,
                                       const dense2D<double>& normals,
                                       const dense2D<double>& textures,
                                       const dense2D<unsigned>& triangles,
                                       const dense2D<unsigned>& quads);

/// Reads the nodes, normals, texture coordinates, triangles and quadrangles of a Wavefront OBJ file.
///
/// Lines that begin with another word than v, vn, vt or f are passed over. Numbers are read as a
/// stream of the standard library reads them under the "C" locale, until one cannot be read; what
/// follows in the line is ignored. Texture coordinates with another number of values than the first
/// are lost, as are faces of other than 3 or 4 corners and a face in a last line without line end.
///
/// Of a face the node indices are kept, less 1 as unsigned numbers and unchecked: there are no
/// relative indices, and 0 stands for the number of nodes read so far.
///
/// @param file       name of the file
/// @param pos        cleared, then 3 rows, one column per v line
/// @param normals    cleared, then 3 rows, one column per vn line
/// @param textures   cleared, then one column per vt line, with as many rows as the first of them that
///                   has values
/// @param triangles  cleared, then 3 rows, one column per face of 3 corners
/// @param quads      cleared, then 4 rows, one column per face of 4 corners
/// @return 0, or the first that applies:
///         -1  the file cannot be opened: all outputs are empty
///         -1  a bad line, the outputs holding what came before it: nothing behind one of the four
///             words; v with less than 3 values, vn with other than 3, vt with more than 3; a face with
///             an index that runs into something other than a slash, or with an index of a texture or
///             a normal before any vt or vn line
/// A column for which memory is exhausted is left out. O(size of the file).
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
