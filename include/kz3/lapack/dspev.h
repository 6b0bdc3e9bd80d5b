#pragma once

#include <cstdint>

#include <kz3/lattiq/export.h>

namespace kz3::lapack {

/// Eigenvalues, and eigenvectors if asked for, of a packed symmetric matrix: LAPACK's routine of that
/// name, of whichever library the build found.
///
/// @param jobz  'N' for eigenvalues only, 'V' for eigenvectors too; small letters will do
/// @param uplo  'U' if ap holds the upper triangle, column by column, 'L' for the lower
/// @param n     order of the matrix
/// @param ap    n(n+1)/2 entries; destroyed
/// @param w     replaced: n eigenvalues, ascending
/// @param z     replaced with 'V': n columns of ldz, the eigenvectors; not read or written with 'N'
/// @param ldz   at least 1, and at least n with 'V'
/// @param work  scratch, at least 3n
/// @param info  replaced by the result
/// @return 0, or the first that applies:
///         -1    jobz is none of the above
///         -2    uplo is none of the above
///         -3    n is negative
///         -7    ldz is too small
///         above 0, if the iteration did not converge
/// On a negative result nothing but info is touched. O(n^3), without allocation. Safe on any number of
/// threads as far as the LAPACK found is.
KZ3_LATTIQ_API int dspev(char jobz, char uplo, std::int32_t n, double* ap, double* w, double* z,
                         std::int32_t ldz, double* work, std::int32_t& info);

} // namespace kz3::lapack
