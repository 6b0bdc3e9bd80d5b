#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// A metric says how long a unit of length is at a node, by direction: the length of x is the square
// root of x' m x (Frey and George, Mesh Generation). An isotropic one is given as a size h, the edge
// length desired there; it is the tensor with 1/h^2 on the diagonal, and every eigenvalue of a tensor
// is an inverse squared size. A field of sizes has one float per node. A field of tensors has one
// column of floats per node, packed as in symmetric_fixed: 3 rows (m00, m01, m11) in 2-D, 6 rows
// (m00, m01, m11, m02, m12, m22) in 3-D. Fields are computed on in double and narrowed when stored.

// ---- metrics/is_valid_metric.cpp ----

/// Whether a tensor is a metric: its smallest eigenvalue is above 0 and above 1e-24 of its largest,
/// so that no size is more than 1e12 times another.
///
/// False if an entry is infinite or NaN, but for m01 in 2-D: NaN there alone leaves two eigenvalues
/// of half the trace. In 2-D the eigenvalues are those of eigen_pairs, in closed form, in 3-D those of
/// LAPACK, which is not called where elimination shows already that they pass. O(1), without
/// allocation.
KZ3_LATTIQ_API bool is_valid_metric(const symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API bool is_valid_metric(const symmetric_fixed<double, 3>& m);

// ---- metrics/are_valid_metrics.cpp ----

/// Whether every size of a field is above 0 and finite; true for an empty one.
///
/// Stops at the first that is not. O(size), without allocation.
KZ3_LATTIQ_API bool are_valid_metrics(const dense1D<float>& sizes);

/// The same for the nodes listed. False also if one of them has no size, NO_NODE included; true if
/// none is listed. O(ids.size).
KZ3_LATTIQ_API bool are_valid_metrics(const dense1D<unsigned>& ids, const dense1D<float>& sizes);

/// Whether every column passes is_valid_metric.
///
/// @param metrics  3 or 6 rows, may be strided; false with any other number of rows, for an empty
///                 matrix too, true with 3 or 6 rows and no columns
/// Stops at the first that does not pass. O(cols), without allocation.
KZ3_LATTIQ_API bool are_valid_metrics(const dense2D<float>& metrics);

/// The same for the nodes listed. False also if one of them has no column, NO_NODE included. Where
/// none is listed, true if metrics is empty, whatever its rows, or has 3 or 6 of them. O(ids.size).
KZ3_LATTIQ_API bool are_valid_metrics(const dense1D<unsigned>& ids, const dense2D<float>& metrics);

// ---- metrics/eigen_pairs.cpp ----

/// Eigenvalues and eigenvectors of a symmetric tensor.
///
/// In 2-D in closed form, from trace and determinant; an eigenvalue below 1e-12 of the other, which
/// the subtraction would spoil, is the determinant over the trace (Press et al., Numerical Recipes,
/// on quadratic equations).
///
/// @param m        any tensor; NaN as m01 alone gives half the trace twice, and the axes
/// @param values   replaced: the smaller first
/// @param vectors  replaced: column i is the vector of values[i], of length 1. Column 1 is column 0
///                 turned by +90 degrees. A tensor that is diagonal for practical purposes has
///                 the axes: (1, 0) first, or (0, 1) if m00 > m11.
/// @return false if a value is not finite; vectors is then unchanged, values is as computed.
/// O(1), without allocation.
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 2>& m,
                                vector_fixed<double, 2>& values,
                                matrix_fixed<double, 2, 2>& vectors);

/// The same in 3-D, by LAPACK's dspev.
///
/// @param values   replaced: ascending
/// @param vectors  replaced: column i is the vector of values[i], of length 1
/// @return false if the iteration did not converge; values and vectors are then what it left. A
///         tensor with NaN or an infinity may give true and NaN.
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 3>& m,
                                vector_fixed<double, 3>& values,
                                matrix_fixed<double, 3, 3>& vectors);

/// Eigenvalues and eigenvectors of a pair: b x = value * a x.
///
/// By the factor L of a = L L', which turns the problem into that of one tensor (Golub and Van Loan,
/// Matrix Computations, on symmetric-definite problems). The vectors are orthogonal in the metric a;
/// in that sense they are a basis in which both tensors are diagonal.
///
/// @param a        positive definite
/// @param b        any tensor
/// @param values   replaced: the smaller first
/// @param vectors  replaced: column i is the vector of values[i], scaled to length 1, or as it is if
///                 its length is 0 or NaN
/// @return false, the first that applies:
///         a is not positive definite; values and vectors are unchanged
///         a value is not finite; vectors is unchanged, values is as computed
/// O(1), without allocation.
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 2>& a,
                                const symmetric_fixed<double, 2>& b,
                                vector_fixed<double, 2>& values,
                                matrix_fixed<double, 2, 2>& vectors);

/// The same in 3-D, where b is factored too and so has to be positive or zero.
///
/// @param a        positive definite. The last pivot of its factor may be 0; what comes of that is
///                 not finite, or a failed iteration.
/// @param b        positive definite too, its last pivot may be 0; or without an entry above or below
///                 0, so that NaN in all of them counts as zero
/// @param values   replaced: ascending
/// @return false, the first that applies:
///         a, or b, is not as above; values and vectors are unchanged
///         the iteration did not converge; values is what it left, vectors is zero
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 3>& a,
                                const symmetric_fixed<double, 3>& b,
                                vector_fixed<double, 3>& values,
                                matrix_fixed<double, 3, 3>& vectors);

// ---- metrics/metric_iso_to_aniso.cpp: also metrics_iso_to_aniso2d, metrics_iso_to_aniso3d and
// metric_iso_to_aniso2d ----

/// The tensor of a size: 1/h^2 on the diagonal.
///
/// @param h  a size; one that is not above 0, NaN included, gives the zero tensor, which
///           is_valid_metric refuses. An infinite h gives it too, one below 1e-154 infinity.
/// @param m  replaced
/// O(1), without allocation.
KZ3_LATTIQ_API void metric_iso_to_aniso(double h, symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API void metric_iso_to_aniso(double h, symmetric_fixed<double, 3>& m);

/// The tensors of a field of sizes.
///
/// @param sizes    one per node
/// @param metrics  cleared and filled: 3 rows, one column per size, zero where the size is not above
///                 0. It may share storage with sizes, which is then copied first. Empty, without an
///                 error, if it could not be sized.
/// O(size); allocates only metrics.
KZ3_LATTIQ_API void metrics_iso_to_aniso2d(const dense1D<float>& sizes, dense2D<float>& metrics);

/// The same in 3-D: 6 rows.
KZ3_LATTIQ_API void metrics_iso_to_aniso3d(const dense1D<float>& sizes, dense2D<float>& metrics);

/// The 3-D tensor of a size, seen in a plane: 1/h^2 times the scalar products of the plane's basis.
///
/// @param h      a size
/// @param basis  two vectors of space that span the plane, of any length and angle
/// @param m      replaced: (m00, m01, m11) in coordinates of that basis; zero if h is not above 0, or
///               so large that 1/h^2 is 0
/// O(1), without allocation.
KZ3_LATTIQ_API void metric_iso_to_aniso2d(double h, const matrix_fixed<double, 3, 2>& basis,
                                          symmetric_fixed<double, 2>& m);

/// The same for a field.
///
/// @param sizes    one per node
/// @param bases    6 rows, one column per size: one vector in rows 0 to 2, the other in rows 3 to 5;
///                 may be strided
/// @param metrics  cleared and filled: 3 rows, one column per size. It may share storage with sizes,
///                 which is then copied first. Empty, with the result 0, if it could not be sized.
/// @return 0, or
///         -2    bases does not have 6 rows and one column per size; metrics is unchanged
/// O(size); allocates only metrics.
KZ3_LATTIQ_API int metrics_iso_to_aniso2d(const dense1D<float>& sizes, const dense2D<double>& bases,
                                          dense2D<float>& metrics);

// ---- metrics/metric_aniso3d_to_aniso2d.cpp: also metrics_aniso3d_to_aniso2d ----

/// A 3-D tensor seen in a plane: entry (i, j) is the form of m3 on vectors i and j of the basis.
///
/// @param m3     any tensor; whether it is valid is not asked
/// @param basis  two vectors of space that span the plane, of any length and angle
/// @param m2     replaced: (m00, m01, m11) in coordinates of that basis
/// O(1), without allocation.
KZ3_LATTIQ_API void metric_aniso3d_to_aniso2d(const symmetric_fixed<double, 3>& m3,
                                              const matrix_fixed<double, 3, 2>& basis,
                                              symmetric_fixed<double, 2>& m2);

/// The same for a field.
///
/// @param metrics3d  6 rows, may be strided
/// @param bases      6 rows, one column per column of metrics3d: one vector in rows 0 to 2, the other
///                   in rows 3 to 5; may be strided
/// @param metrics2d  cleared and filled: 3 rows, as many columns. It may be metrics3d or share its
///                   storage; the tensors are then copied first. Empty, with the result 0, if it could
///                   not be sized.
/// @return 0, or the first that applies:
///         -1    metrics3d does not have 6 rows
///         -2    bases does not have 6 rows, or another number of columns
/// On a negative result metrics2d is unchanged. O(cols); allocates only metrics2d.
KZ3_LATTIQ_API int metrics_aniso3d_to_aniso2d(const dense2D<float>& metrics3d,
                                              const dense2D<double>& bases,
                                              dense2D<float>& metrics2d);

// ---- metrics/minimum_metric.cpp ----

/// The tensor that asks for the smaller of the sizes of both, in each direction in which both are
/// diagonal. Its unit ball lies within those of both: the intersection of the two metrics, by their
/// simultaneous reduction (Frey and George, Mesh Generation).
///
/// @param m1  positive definite, otherwise m is zero, which is_valid_metric refuses
/// @param m2  in 2-D any tensor: where it is negative, m1 counts. In 3-D positive or zero, otherwise
///            m is zero.
/// @param m   replaced; may be m1 or m2
/// O(1), without allocation.
KZ3_LATTIQ_API void minimum_metric(const symmetric_fixed<double, 2>& m1,
                                   const symmetric_fixed<double, 2>& m2,
                                   symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API void minimum_metric(const symmetric_fixed<double, 3>& m1,
                                   const symmetric_fixed<double, 3>& m2,
                                   symmetric_fixed<double, 3>& m);

// ---- metrics/maximum_metric.cpp ----

/// The tensor that asks for the larger of the sizes of both, in each direction in which both are
/// diagonal: the dual of minimum_metric. Its unit ball contains those of both.
///
/// @param m1  positive definite, otherwise m is zero, which is_valid_metric refuses
/// @param m2  in 2-D any tensor: where it is negative, so is m. In 3-D positive or zero, otherwise m
///            is zero.
/// @param m   replaced; may be m1 or m2
/// O(1), without allocation.
KZ3_LATTIQ_API void maximum_metric(const symmetric_fixed<double, 2>& m1,
                                   const symmetric_fixed<double, 2>& m2,
                                   symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API void maximum_metric(const symmetric_fixed<double, 3>& m1,
                                   const symmetric_fixed<double, 3>& m2,
                                   symmetric_fixed<double, 3>& m);

// ---- metrics/bound_metrics.cpp ----

/// Forces sizes into a range.
///
/// @param sizes  written in place. NaN becomes h_min.
/// @param h_min  least size; with NaN all sizes become NaN
/// @param h_max  greatest size; applied last, so that it wins where it is below h_min
/// @return 0. O(size), without allocation.
KZ3_LATTIQ_API int bound_metrics(dense1D<float>& sizes, double h_min, double h_max);

/// The same for the sizes that each tensor has along its eigenvectors.
///
/// The eigenvalues are brought into [1/h_max^2, 1/h_min^2] and the tensor is summed up again from
/// them, so that one within the bounds may change by rounding too. Negative eigenvalues rise to the
/// lower limit.
///
/// @param metrics  written in place: 3 or 6 rows, may be strided. A column with NaN or an infinity
///                 may come out invalid.
/// @param h_min    0, below, or NaN: no upper limit but the largest double
/// @param h_max    0, below, or NaN, or from 1.34e154 on, the root of the largest double: the lower
///                 limit is 0. It wins where it is below h_min.
/// @return 0, or the first that applies:
///         0     metrics is empty, or neither bound is 0 or above; metrics is unchanged
///         -1    metrics has neither 3 nor 6 rows; metrics is unchanged
/// O(cols), without allocation.
KZ3_LATTIQ_API int bound_metrics(dense2D<float>& metrics, double h_min, double h_max);

// ---- metrics/overwrite_invalid_metrics.cpp ----

/// Replaces sizes that are 0 or negative by those of a second field.
///
/// NaN and infinity stay, unlike what are_valid_metrics refuses.
///
/// @param sizes     written in place
/// @param fallback  sizes; where it is not above 0, or has no entry, the other stays
/// @return 0. O(size), without allocation.
KZ3_LATTIQ_API int overwrite_invalid_metrics(dense1D<float>& sizes, const dense1D<float>& fallback);

/// Replaces tensors that fail is_valid_metric by those of a field of sizes.
///
/// @param metrics   written in place: 3 or 6 rows, may be strided
/// @param fallback  sizes; where it is not above 0, or has no entry, the tensor stays. A size too
///                  large or small for a float of 1/h^2 replaces the tensor too, by an invalid one.
/// @return 0, or the first that applies:
///         0     metrics is empty
///         -1    metrics has neither 3 nor 6 rows; it is unchanged
/// A tensor that stays invalid is not reported: ask are_valid_metrics. O(cols), without allocation.
KZ3_LATTIQ_API int overwrite_invalid_metrics(dense2D<float>& metrics,
                                             const dense1D<float>& fallback);

/// The same by those of a second field of tensors.
///
/// @param fallback  as many rows as metrics, may be strided; where its column is invalid, or is
///                  missing, the tensor stays
/// @return 0, or the first that applies:
///         0     metrics is empty
///         -1    metrics has neither 3 nor 6 rows
///         -2    fallback has neither 3 nor 6 rows, or other rows than metrics
/// On a negative result metrics is unchanged.
KZ3_LATTIQ_API int overwrite_invalid_metrics(dense2D<float>& metrics,
                                             const dense2D<float>& fallback);

} // namespace kz3::lattiq
