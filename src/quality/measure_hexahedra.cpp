#include "quality/measure_hexahedra.h"

#include "quality/hexahedron_block.h"

namespace kz3::lattiq::detail {
namespace {

inline void measure_blocks(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                           double* quality)
{
    hexahedron_block block;
    size_t e = 0;
    for (; e + block.width <= connectM.cols; e += block.width)
        block.measure(pos, connectM, e, quality + e);
    for (; e < connectM.cols; ++e) {
        const double* p[8];
        for (size_t k = 0; k < 8; ++k) p[k] = column(pos, column(connectM, e)[k]);
        quality[e] = hexahedron_quality<3>(p);
    }
}

#if defined(__GNUC__) && defined(__x86_64__)

// The same loop once more in longer vectors. A lane of these computes what a lane of the others does:
// without the instructions that join a product to a sum (fma) every operation rounds as before.
[[gnu::target("avx2"), gnu::flatten]] void measure_blocks_of_four(const dense2D<double>& pos,
                                                                  const dense2D<unsigned>& connectM,
                                                                  double* quality)
{
    measure_blocks(pos, connectM, quality);
}

bool has_vectors_of_four()
{
    return __builtin_cpu_supports("avx2") != 0;
}

#else

void measure_blocks_of_four(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                            double* quality)
{
    measure_blocks(pos, connectM, quality);
}

bool has_vectors_of_four()
{
    return false;
}

#endif

} // namespace

vectors longest_vectors()
{
    return has_vectors_of_four() ? vectors::of_four : vectors::of_two;
}

void measure_hexahedra(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                       vectors length, double* quality)
{
    if (length == vectors::of_four) return measure_blocks_of_four(pos, connectM, quality);
    measure_blocks(pos, connectM, quality);
}

} // namespace kz3::lattiq::detail
