#pragma once

#include <cstdint>

#include <kz3/lattiq/export.h>

namespace kz3::lapack {

/// Eigenvalues, and eigenvectors if asked for, of a packed symmetric matrix: LAPACK's routine of that
/// name, of whichever library the build found.
///
/// @param jobz  'N' for eigenvalues only, 'V' for eigenvectors too
/// @param uplo  'U' if ap holds the upper triangle, column by column, 'L' for the lower
/// @param n     order of the matrix
/// @param ap    n(n+1)/2 entries; destroyed
/// @param w     replaced: n eigenvalues, ascending
/// @param z     replaced with 'V': n columns of ldz, the eigenvectors; not read or written with 'N'
/// @param ldz   at least 1, and at least n with 'V'
/// @param work  scratch, at least 3n
/// @param info  replaced: 0; -i if argument i is wrong; above 0 if the iteration did not converge
/// @return info
KZ3_LATTIQ_API int dspev(char jobz, char uplo, std::int32_t n, double* ap, double* w, double* z,
                         std::int32_t ldz, double* work, std::int32_t& info);

} // namespace kz3::lapack
