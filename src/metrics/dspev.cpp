#include <kz3/lapack/dspev.h>

#include <cstddef>

// The integer of the LAPACK that the build found; 64 bits in a library built for those.
#if defined(LATTIQ_LAPACK_ILP64)
using lapack_integer = std::int64_t;
#else
using lapack_integer = std::int32_t;
#endif

// Fortran passes the lengths of its character arguments behind all others.
extern "C" void dspev_(const char* jobz, const char* uplo, const lapack_integer* n, double* ap,
                       double* w, double* z, const lapack_integer* ldz, double* work,
                       lapack_integer* info, std::size_t jobz_length, std::size_t uplo_length);

namespace kz3::lapack {
namespace {

bool is_one_of(char c, char upper, char lower)
{
    return c == upper || c == lower;
}

// The place of the first wrong argument, 0 if there is none.
std::int32_t wrong_argument(char jobz, char uplo, std::int32_t n, std::int32_t ldz)
{
    const bool vectors = is_one_of(jobz, 'V', 'v');
    if (!vectors && !is_one_of(jobz, 'N', 'n')) return 1;
    if (!is_one_of(uplo, 'U', 'u') && !is_one_of(uplo, 'L', 'l')) return 2;
    if (n < 0) return 3;
    return ldz < 1 || (vectors && ldz < n) ? 7 : 0;
}

} // namespace

int dspev(char jobz, char uplo, std::int32_t n, double* ap, double* w, double* z, std::int32_t ldz,
          double* work, std::int32_t& info)
{
    // LAPACK's own answer to a wrong argument is a message, and as a rule the end of the program.
    if (const std::int32_t wrong = wrong_argument(jobz, uplo, n, ldz)) return info = -wrong;
    const lapack_integer order = n;
    const lapack_integer stride = ldz;
    lapack_integer result = 0;
    dspev_(&jobz, &uplo, &order, ap, w, z, &stride, work, &result, 1, 1);
    info = static_cast<std::int32_t>(result);
    return info;
}

} // namespace kz3::lapack
