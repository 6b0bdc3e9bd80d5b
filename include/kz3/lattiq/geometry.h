#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- geometry/translate.cpp ----

/// Moves nodes by a vector.
///
/// @param pos  in place: one column per node. Rows beyond those of v stay; coordinates with fewer rows
///             are widened by rows of zeros first, all columns of them. Other views of the storage see
///             the motion, but where pos must be widened they keep the old coordinates.
/// @param v    2 or 3 components, in the unit of the coordinates
/// @return the number of columns, all moved; 0, with nothing widened, if pos is empty or no component
///         of v is above or below 0 (so NaN alone moves nothing)
/// Where widening finds memory exhausted, the rows that pos has move as if the missing ones held zeros.
/// O(columns); allocates only to widen.
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v);

/// The same for listed nodes.
///
/// @param ids  nodes; one listed twice moves twice; an ID that is no column, NO_NODE among them, is
///             passed over
/// @return the number of moves; 0, with nothing widened, also if ids is empty
/// O(size of ids), besides the widening.
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v,
                             const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v,
                             const dense1D<unsigned>& ids);

/// The same for the nodes of a connectivity, each once.
///
/// @param connectM  one column per element, of any kind; holes are passed over
/// @return as for the list of its nodes; 0, with nothing widened, if it has none
/// Allocates that list, out of which std::bad_alloc may leave with nothing moved. A node that finds no
/// memory in it stays and is not counted. Expected O(rows * cols) of connectM.
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v,
                             const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v,
                             const dense2D<unsigned>& connectM);

// ---- geometry/rotate.cpp ----

/// Turns nodes about a point of the plane.
///
/// @param pos     in place and widened as by translate
/// @param center  the point that stays
/// @param angle   in radians, counter-clockwise
/// @return as translate: the number of columns; 0 if pos is empty or angle is 0 or NaN
/// To the center the columns of the rotation matrix are added in order, each times a component of the
/// node's difference from it; one that is 0 or NaN adds nothing. O(columns).
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center,
                          double angle);

/// The same for listed nodes, counted as by translate.
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle,
                          const dense1D<unsigned>& ids);

/// The same for the nodes of a connectivity, each once, as by translate.
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle,
                          const dense2D<unsigned>& connectM);

/// Turns nodes about an axis in space, by Rodrigues' formula.
///
/// @param center  a point of the axis
/// @param r       rotation vector: its direction is the axis, its length the angle in radians, turning
///                to the right as seen along it
/// @return as translate: the number of columns; 0 if pos is empty or no component of r is above or
///         below 0. A full turn counts.
/// Up to an angle of 0.2 the coefficients come from their Taylor series, which do not cancel.
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                          const vector_fixed<double, 3>& r);

/// The same for listed nodes, counted as by translate.
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                          const vector_fixed<double, 3>& r, const dense1D<unsigned>& ids);

/// The same for the nodes of a connectivity, each once, as by translate.
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                          const vector_fixed<double, 3>& r, const dense2D<unsigned>& connectM);

// ---- geometry/zoom.cpp ----

/// Scales the distances of nodes from a point.
///
/// @param pos     in place and widened as by translate
/// @param center  the point that stays
/// @param factor  of all distances; 0 collapses the nodes on the center
/// @return as translate: the number of columns; 0 if pos is empty or factor is 1 or NaN
/// A coordinate x becomes x + (x - center) * (factor - 1), in that order of operations. O(columns).
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor);

/// The same for listed nodes. Unlike the other motions it neither checks its IDs nor counts.
///
/// @param ids  columns of pos, all of them and no hole: no ID is checked; one listed twice is scaled
///             twice
/// @return 0
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor,
                        const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor,
                        const dense1D<unsigned>& ids);

/// The same for the nodes of a connectivity, each once and collected as by translate; all must be
/// columns of pos.
///
/// @return 0
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor,
                        const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor,
                        const dense2D<unsigned>& connectM);

// ---- geometry/inc_bounding_box.cpp ----

/// Widens a box so that it holds all nodes.
///
/// @param pos  as many rows as the box has components
/// @param min  in place: lowest corner of a box of the caller's, which is widened, never started. A
///             coordinate that is not at or above it replaces it, NaN too.
/// @param max  in place: highest corner. A coordinate above it replaces it, NaN never.
/// @return 0, or -1 if pos has other rows, also where it is empty
/// On -1 the box is unchanged. O(columns); allocates nothing.
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 2>& min,
                                    vector_fixed<double, 2>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 3>& min,
                                    vector_fixed<double, 3>& max);

/// The same for listed nodes.
///
/// @param ids  nodes; holes are passed over
/// @return 0 if ids is empty; else the first that applies:
///         -1  pos has other rows than the box has components
///         -2  an ID other than NO_NODE is not below the number of columns
///         0
/// On a negative result the box is unchanged. O(size of ids); allocates nothing.
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                                    vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                                    vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);

/// The same for the nodes of a connectivity.
///
/// @param connectM  one column per element, of any kind; holes are passed over
/// @return as for the list of its nodes, so 0 if it has none
/// Allocates that list, out of which std::bad_alloc may leave with the box unchanged. A node that finds
/// no memory in it is not looked at. Expected O(rows * cols) of connectM.
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                    vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                    vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);

// ---- geometry/copy_mesh.cpp ----

/// Copies the nodes of a connectivity and the connectivity on them.
///
/// @param pos            appended: a copy of each node that connectM uses, in the order in which its
///                       columns first name them; the other columns stay
/// @param connectM_copy  replaced: connectM on the new nodes, of the same shape, with its holes. May be
///                       connectM itself.
/// @param connectM       one column per element, of any kind, with nodes of pos; not checked
/// @return 0, or -199 if memory is exhausted; by then pos may have grown, and connectM_copy may be
///         connectM on its old nodes. A node that finds no memory in the list of those to copy is left
///         out without a word, and its place in connectM_copy is NO_NODE.
/// std::bad_alloc may leave, with both as after -199. Expected O(rows * cols) of connectM; the room of
/// pos at least doubles when it must grow.
KZ3_LATTIQ_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                             const dense2D<unsigned>& connectM);

/// A series of copies in the plane, each turned and moved a step further than the last.
///
/// @param pos            appended, copy by copy; coordinates with too few rows are widened
/// @param connectM_copy  appended, copy by copy: unlike the form above this one keeps what it held, so
///                       its rows must be those of connectM
/// @param translation    copy t, from 1 on, moves by t times this, after it has turned
/// @param center         the point about which copies turn
/// @param angle          copy t turns by t times this, in radians
/// @param copies         how many
/// @return 0, with nothing changed, where pos is empty or copies is 0; else the first that applies:
///         -199  memory is exhausted; earlier copies stay, and pos may have grown by nodes of the next
///         0     also where connectM_copy found no memory for the elements of a copy, which it then
///               lacks
/// std::bad_alloc may leave, as after -199. Where connectM_copy is connectM, each copy takes the earlier
/// ones along. Expected O(copies * rows * cols) of connectM.
KZ3_LATTIQ_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                             const vector_fixed<double, 2>& translation,
                             const vector_fixed<double, 2>& center, double angle, unsigned copies,
                             const dense2D<unsigned>& connectM);

/// The same in space.
///
/// @param r  rotation vector; copy t turns by t times it
KZ3_LATTIQ_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                             const vector_fixed<double, 3>& translation,
                             const vector_fixed<double, 3>& center,
                             const vector_fixed<double, 3>& r, unsigned copies,
                             const dense2D<unsigned>& connectM);

// ---- geometry/copy_sym_mesh.cpp ----

/// A mirror copy, in a line of the plane or a plane of space.
///
/// @param pos            appended as by copy_mesh; coordinates with too few rows are widened
/// @param connectM_copy  replaced as by copy_mesh: the elements keep the order of their nodes, so that
///                       they come out turned round
/// @param point          of the line or plane
/// @param normal         of the line or plane, of any length but 0
/// @return 0 if pos is empty, with all left as it was; else the first that applies:
///         -4    the square of normal's length is 0, or NaN; nothing is changed
///         -199  memory is exhausted; pos and connectM_copy are as copy_mesh leaves them, not mirrored
///         0
/// Where widening finds memory exhausted, the rows that pos has are mirrored as if the missing ones held
/// zeros. std::bad_alloc may leave, as after -199. Expected O(rows * cols) of connectM.
KZ3_LATTIQ_API int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                                 const vector_fixed<double, 2>& point,
                                 const vector_fixed<double, 2>& normal,
                                 const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                                 const vector_fixed<double, 3>& point,
                                 const vector_fixed<double, 3>& normal,
                                 const dense2D<unsigned>& connectM);

// ---- geometry/clip.cpp ----

/// Selects the elements that lie wholly on one side of a plane. Elements that cross or touch it are
/// left out; none is cut.
///
/// @param pos       one column per node; of its rows the first three count, and one that it lacks
///                  counts as equal to that of point
/// @param connectM  one column per element, of any kind; a column is read up to its first NO_NODE, and
///                  one that begins with it is kept
/// @param point     of the plane
/// @param normal    of the plane, of any length from 1e-12 on; the kept side is the one it points to
/// @param clipped   appended: copies of the kept columns, in their order. May be connectM itself.
///                  Columns without rows count: they become columns of NO_NODE.
/// @return 0 if connectM is empty; else the first that applies:
///         -2    an ID other than NO_NODE is not below the number of columns of pos
///         -4    normal is shorter than 1e-12
///         -5    clipped is not empty and has other rows than connectM
///         -199  clipped could not be sized
///         0
/// On a negative result clipped is unchanged. An element for which the list of those to keep finds no
/// memory is left out without a word. std::bad_alloc may leave, with clipped unchanged, out of a table
/// of a byte for each node of pos. O(rows * cols), and a column of pos for each node; beside the table
/// at most a list of the elements.
KZ3_LATTIQ_API int clip(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                        const vector_fixed<double, 3>& point, const vector_fixed<double, 3>& normal,
                        dense2D<unsigned>& clipped);

} // namespace kz3::lattiq
