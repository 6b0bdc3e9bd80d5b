#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- cleaning/merge.cpp ----

/// Decides for nodes that lie within a tolerance of each other which one stands for them all.
///
/// Each node of indices2 is scanned, in the order of the list, for nodes of indices1 no further away
/// than tol. The pairs found are applied in order of their distance, as a float; equal distances keep
/// the order of the scan. A pair is applied while both its nodes still stand for themselves: the
/// scanned one then stands for the other. It may be absorbed in turn by a pair that comes later, so
/// that clusters chain, and a node may end up with a representative further than tol away.
///
/// No node is removed: simplify and remove_degenerated do that.
///
/// @param pos       2 or 3 rows, one column per node
/// @param indices1  nodes that may be absorbed; repeats and NO_NODE are ignored
/// @param indices2  nodes that may absorb; repeats and NO_NODE are ignored
/// @param id_map    replaced: for each column of pos the node that now stands for it, itself for a
///                  node that took no part. A representative always maps to itself.
/// @param tol       largest distance, compared as a double; 0 merges coincident nodes
/// @return the number of nodes absorbed, or the first that applies:
///         0     pos has no columns
///         -1    pos has neither 2 nor 3 rows
///         -2    indices1 fails check_IDs
///         -3    indices2 fails check_IDs
///         -4    tol is not at or above 0
///         0     indices1 or indices2 is empty
///         -199  id_map could not be sized
/// In these cases id_map is empty. Other containers that find no memory are not reported: what they
/// have no room for is left unmerged. A list that finds none throws std::bad_alloc; id_map is then
/// unspecified.
///
/// Linear in the nodes where few lie within tol of each other; n pairs cost n log n, except that k
/// nodes all within tol of each other cost k squared at most.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, const dense1D<unsigned>& indices1,
                         const dense1D<unsigned>& indices2, dense1D<unsigned>& id_map, double tol);
/// The same with indices as both lists: of two nodes at one place the one listed first stays.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, const dense1D<unsigned>& indices,
                         dense1D<unsigned>& id_map, double tol);

/// Merges the nodes of connectivities and renumbers these.
///
/// @param first   first connectivity of a range, in place: every node is replaced by the one that
///                stands for it. NO_NODE is left alone.
/// @param last    behind its last
/// @param id_map  replaced, as above
/// @param tol     largest distance; compared with a double in mode 0, with a float in modes 1 and 2
/// @param mode    0: any two nodes of the connectivities, scanned in order of first appearance
///                1: two nodes of one element only, scanned by element and row
///                2: as 1, again and again on the renumbered elements until nothing merges
/// @return the number of nodes absorbed, over all passes, or the first that applies:
///         0     pos has no columns, or the range is empty
///         -1    pos has neither 2 nor 3 rows
///         -3    last lies before first
///         -5    tol is not at or above 0
///         -6    mode is above 2
///         0     the connectivities name no node
///         -2    a connectivity fails check_IDs
///         -199  id_map could not be sized
/// In these cases id_map is empty and the connectivities are unchanged. Exhausted memory elsewhere as
/// above; after std::bad_alloc in mode 2 earlier passes stand. Mode 0 is linear in
/// the nodes where few lie within tol of each other; the others cost rows squared for each element and
/// pass.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>* first,
                         dense2D<unsigned>* last, dense1D<unsigned>& id_map, double tol,
                         unsigned mode);
/// On one connectivity.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM,
                         dense1D<unsigned>& id_map, double tol, unsigned mode);
/// On two connectivities, which may be one and the same.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1,
                         dense2D<unsigned>& connectM2, dense1D<unsigned>& id_map, double tol,
                         unsigned mode);
/// The same three without a map.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>* first,
                         dense2D<unsigned>* last, double tol, unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM, double tol,
                         unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1,
                         dense2D<unsigned>& connectM2, double tol, unsigned mode);
/// With a tolerance of 1e-6 and mode 0, on one connectivity and on two.
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1,
                         dense2D<unsigned>& connectM2);

/// Merges all columns of pos as one list, and moves each onto the node that stands for it.
///
/// @param pos     replaced: as many columns as before, each with the coordinates of its
///                representative. Other views of the old storage keep the old ones.
/// @param id_map  replaced, as above
/// @param tol     as for lists
/// @return the number of nodes absorbed, or the first that applies:
///         0     pos has no columns
///         -1    pos has neither 2 nor 3 rows
///         -3    tol is not at or above 0
///         -199  the new coordinates, the list of nodes or id_map could not be sized
/// In these cases pos is unchanged and id_map is empty. Exhausted memory elsewhere as for lists; pos
/// is unchanged after std::bad_alloc.
KZ3_LATTIQ_API int merge(dense2D<double>& pos, dense1D<unsigned>& id_map, double tol);
/// The same without a map.
KZ3_LATTIQ_API int merge(dense2D<double>& pos, double tol);

// ---- cleaning/simplify.cpp ----

/// Removes the nodes that no connectivity uses, and renumbers the rest in their order.
///
/// @param pos     any number of rows, one column per node; in place, the columns used move together
/// @param first   first connectivity of a range, in place: renumbered. NO_NODE is left alone.
/// @param last    behind its last
/// @param id_map  replaced: for each old node its new number, NO_NODE for a node removed
/// @param start   first node that may be removed; those below stay, used or not
/// @return the number of nodes removed, or the first that applies:
///         0     the range is empty
///         -3    last lies before first
///         -2    a connectivity fails check_IDs
///         0     pos is empty
///         0     start is not below the number of nodes
///         -199  id_map could not be sized
/// In these cases id_map is empty and all else unchanged; a call that finds every node used returns 0
/// with the identity. O(nodes + entries of the connectivities).
KZ3_LATTIQ_API int simplify(dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last,
                            dense1D<unsigned>& id_map, unsigned start);
/// On one connectivity.
KZ3_LATTIQ_API int simplify(dense2D<double>& pos, dense2D<unsigned>& connectM,
                            dense1D<unsigned>& id_map, unsigned start);
/// On one connectivity, from node 0 on and without a map.
KZ3_LATTIQ_API int simplify(dense2D<double>& pos, dense2D<unsigned>& connectM);

// ---- cleaning/remove_degenerated.cpp ----

/// Removes the elements that name a node twice.
///
/// Nothing but the numbers counts: an element without area whose nodes differ stays.
///
/// @param connectM  one column per element, in place: the elements kept move together in their order
/// @param id_map    replaced: for each old element its new number, NO_NODE for one removed
/// @param strict    whether NO_NODE twice counts too, as several short elements of a mixed matrix have
/// @return the number of elements removed; there is no other result. Without memory for id_map it is
///         left empty, and the elements are removed all the same.
/// O(rows squared) per element of up to 16 rows, O(rows log rows) above; only there a list of one
/// column is allocated. Nothing has changed after std::bad_alloc.
KZ3_LATTIQ_API int remove_degenerated(dense2D<unsigned>& connectM, dense1D<unsigned>& id_map,
                                      bool strict);

} // namespace kz3::lattiq
