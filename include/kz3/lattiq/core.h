#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- core/version.cpp ----

/// The version of the library, "4.1.0".
KZ3_LATTIQ_API const char* version();

// ---- core/max_ID.cpp ----

/// Largest ID that is no hole.
///
/// @param ids  IDs and holes (NO_NODE)
/// @return NO_NODE if ids is empty; 0 if it holds holes alone. O(size), allocates nothing.
KZ3_LATTIQ_API unsigned max_ID(const dense1D<unsigned>& ids);

/// The same over all elements of a matrix, which is empty when rows * cols is 0.
KZ3_LATTIQ_API unsigned max_ID(const dense2D<unsigned>& ids);

// ---- core/check_IDs.cpp ----

/// Whether each element is a hole (NO_NODE) or an ID less than n; true for an empty list.
///
/// O(size), ends soon after the first element that fails; allocates nothing.
KZ3_LATTIQ_API bool check_IDs(const dense1D<unsigned>& ids, unsigned n);

/// The same for every element of a matrix, with holes anywhere. True where rows * cols is 0.
KZ3_LATTIQ_API bool check_IDs(const dense2D<unsigned>& connectM, unsigned n);

/// Whether a connectivity has the height of its kind, and IDs less than n where the kind has nodes.
///
/// A hole is accepted only where it ends an element of a mixed kind; what stands below it is not
/// looked at.
///
/// @param connectM  one column per element, may be strided; accepted for any kind where rows * cols
///                  is 0
/// @param type      from 0 to 21, not checked. ET_FACE_MIX: 3 or 4 rows, a hole in row 3 ends a
///                  column. ET_SOLID_MIX: 4, 5, 6 or 8 rows, a hole in row 4, 5 or 6 ends one. Any
///                  other: element_type_nodes[type] rows, and no holes
/// @param n         number of nodes
/// @return false for a wrong number of rows or an element that fails. O(rows * cols).
KZ3_LATTIQ_API bool check_IDs(const dense2D<unsigned>& connectM, element_type type, unsigned n);

// ---- core/unique_indices.cpp ----

/// Collects the distinct IDs of a list, in the order in which they first occur.
///
/// @param indices  appended: its content is kept and not consulted, so that an ID that stands there
///                 is appended once more
/// @param ids      IDs; holes (NO_NODE) are not collected
/// @return 0. An ID for which indices finds no memory is left out.
/// std::bad_alloc may leave from the set of the IDs seen; indices then holds a part of the result.
/// Expected O(size), with memory of a bit to a few words per ID besides indices.
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense1D<unsigned>& ids);

/// The same without the IDs of `exclude`, which may hold anything.
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense1D<unsigned>& ids,
                                  const dense1D<unsigned>& exclude);

/// The same for the nodes of a connectivity, column by column.
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense2D<unsigned>& connectM);

/// The same over a range of connectivities, matrix by matrix.
///
/// @return 0, also for an empty range, or
///         -3  first lies above last; indices is untouched
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense2D<unsigned>* first,
                                  const dense2D<unsigned>* last);

// ---- core/count_unique_indices.cpp ----

/// Number of distinct IDs of a connectivity, holes (NO_NODE) not counted.
///
/// std::bad_alloc may leave. Expected O(rows * cols), with memory of a bit to a few words per ID.
KZ3_LATTIQ_API int count_unique_indices(const dense2D<unsigned>& connectM);

/// The same over a range of connectivities together.
///
/// @return the number, 0 for an empty range, or
///         -2  first lies above last (unique_indices gives -3 for that)
KZ3_LATTIQ_API int count_unique_indices(const dense2D<unsigned>* first,
                                        const dense2D<unsigned>* last);

// ---- core/shift_indices.cpp ----

/// Adds a constant to each ID of a list.
///
/// @param ids    in place; holes (NO_NODE) stay. An ID that becomes NO_NODE is a hole from then on
/// @param shift  added modulo 2 to the 32nd, so that a negative one moves down; the result is not
///               checked
/// @return 0. O(size), allocates nothing.
KZ3_LATTIQ_API int shift_indices(dense1D<unsigned>& ids, int shift);

/// The same for a connectivity.
///
/// @param type  holes stay in ET_FACE_MIX and ET_SOLID_MIX. A plain kind has none: there every
///              element is moved, NO_NODE too. Not examined otherwise
KZ3_LATTIQ_API int shift_indices(dense2D<unsigned>& connectM, int shift, element_type type);

// ---- core/change_indices.cpp ----

/// Renumbers a list through a table: each ID e becomes new_ids[e].
///
/// @param ids      in place; IDs beyond the table stay, and so do holes (NO_NODE)
/// @param new_ids  one new ID per old one; NO_NODE makes a hole
/// O(size), allocates nothing.
KZ3_LATTIQ_API void change_indices(dense1D<unsigned>& ids, const dense1D<unsigned>& new_ids);

/// The same for each element of a connectivity.
KZ3_LATTIQ_API void change_indices(dense2D<unsigned>& connectM, const dense1D<unsigned>& new_ids);

// ---- core/permutation.cpp ----

/// Moves each element of a field to its new place: the old values[i] goes to values[perm[i]].
///
/// @param values  in place; places that no entry of perm names keep their element. Unchanged if
///                memory is exhausted
/// @param perm    new places; of several entries that name one place the last wins, where an entry
///                that names its own place does not count. Holes (NO_NODE), places beyond values
///                and entries beyond its size are passed over
/// O(size), with a copy of values. std::bad_alloc may leave, with values unchanged.
KZ3_LATTIQ_API void permutation(dense1D<unsigned>& values, const dense1D<unsigned>& perm);
KZ3_LATTIQ_API void permutation(dense1D<double>& values, const dense1D<unsigned>& perm);
KZ3_LATTIQ_API void permutation(dense1D<float>& values, const dense1D<unsigned>& perm);

// ---- core/get_IDs.cpp ----

/// Finds for each ID of one list where the other list has it.
///
/// @param first            IDs; of a repeated one the last place counts. Holes (NO_NODE) have no
///                         counterpart
/// @param second           IDs
/// @param second_to_first  cleared: for each place of second the place in first, or NO_NODE
/// @param first_to_second  cleared: for each place of first the last place of second that was given
///                         it, or NO_NODE
/// @return 0. An output that cannot be sized is empty, the other one complete.
/// std::bad_alloc may leave; the outputs then hold NO_NODE alone. Expected O(size of both).
KZ3_LATTIQ_API int get_IDs(const dense1D<unsigned>& first, const dense1D<unsigned>& second,
                           dense1D<unsigned>& second_to_first, dense1D<unsigned>& first_to_second);

/// Finds for each column of one connectivity the first column of the other with the same nodes.
///
/// Several columns of second may be given the same column of first. NO_NODE counts as a node.
///
/// @param first, second  one column per element, of the same height
/// @param ordered        true: columns match row by row. false: also as the same cycle of nodes,
///                       begun anywhere and run either way. (A cycle that holds its largest node
///                       more than once is begun at the first of them as its column stands, so that
///                       such columns may fail to match.)
/// @return 0, or
///         -2  first and second differ in rows; both outputs are empty
/// Expected O(rows * cols of both) and the elements compared in columns of the same nodes; columns that
/// share their smallest node with n others are found in O(log n).
KZ3_LATTIQ_API int get_IDs(const dense2D<unsigned>& first, const dense2D<unsigned>& second,
                           dense1D<unsigned>& second_to_first, dense1D<unsigned>& first_to_second,
                           bool ordered);

} // namespace kz3::lattiq
