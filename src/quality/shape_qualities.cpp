#include <kz3/lattiq/core.h>
#include <kz3/lattiq/quality.h>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/prefetch.h"
#include "quality/hexahedron.h"
#include "quality/measure_hexahedra.h"
#include "quality/wedge.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// The coordinates of an element's first N nodes.
template <unsigned N>
struct corners {
    const double* p[N];

    corners(const dense2D<double>& pos, const unsigned* node)
    {
        for (unsigned k = 0; k < N; ++k) p[k] = column(pos, node[k]);
    }
};

double measure_bar(const dense2D<double>&, const unsigned*)
{
    return 1.0;
}

template <unsigned Dim>
double measure_triangle(const dense2D<double>& pos, const unsigned* node)
{
    const corners<3> c(pos, node);
    return triangle_quality<Dim>(c.p[0], c.p[1], c.p[2]);
}

template <unsigned N, double (*Quality)(const double* const*)>
double measure(const dense2D<double>& pos, const unsigned* node)
{
    return Quality(corners<N>(pos, node).p);
}

template <unsigned Dim>
double measure_face(const dense2D<double>& pos, const unsigned* node)
{
    return node[3] == NO_NODE ? measure_triangle<Dim>(pos, node)
                              : measure<4, quadrangle_quality<Dim>>(pos, node);
}

template <unsigned N, double (*Measure)(const dense2D<double>&, const unsigned*)>
int fill(const dense2D<double>& pos, const dense2D<unsigned>& connectM, element_type type,
         dense1D<double>& qualities)
{
    if (!check_IDs(connectM, type, unsigned(pos.cols))) return -2; // connectM

    double* quality = qualities.begin();
    // Columns of no rows have no nodes to look at: their values stay 0.
    const size_t n = connectM.empty() ? 0 : connectM.cols;
    constexpr size_t ahead = 16; // where nodes lie in no order, they are most of the wait
    for (size_t e = 0; e < n; ++e) {
        if (e + ahead < n) prefetch_columns<N>(pos, column(connectM, e + ahead));
        quality[e] = Measure(pos, column(connectM, e));
    }
    return 0;
}

template <unsigned Dim>
int fill_hexahedra(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                   dense1D<double>& qualities)
{
    // In two rows of coordinates faces have another formula.
    if (Dim == 2)
        return fill<8, measure<8, hexahedron_quality<2>>>(pos, connectM, ET_HEXA8, qualities);
    if (!check_IDs(connectM, ET_HEXA8, unsigned(pos.cols))) return -2; // connectM
    if (!connectM.empty()) measure_hexahedra(pos, connectM, longest_vectors(), qualities.begin());
    return 0;
}

/// The kind that all columns of a mixed matrix have by its number of rows alone. An 8-row solid
/// matrix counts as hexahedra, so one with shorter elements in it is refused.
element_type kind_by_rows(element_type type, size_t rows)
{
    if (type == ET_FACE_MIX) return rows == 3 ? ET_TRIA3 : ET_FACE_MIX;
    if (type != ET_SOLID_MIX) return type;
    return rows == 4 ? ET_TETRA4 : rows == 5 ? ET_PYRA5 : rows == 6 ? ET_PENTA6 : ET_HEXA8;
}

/// Dim is 2 or 3, or 0 for coordinates of any other number of rows.
template <unsigned Dim>
int fill_by_kind(const dense2D<double>& pos, const dense2D<unsigned>& connectM, element_type type,
                 dense1D<double>& qualities)
{
    const element_type kind = kind_by_rows(type, connectM.rows);
    switch (kind) {
    case ET_BAR2:
        return fill<0, measure_bar>(pos, connectM, kind, qualities);
    case ET_FACE_MIX:
        return fill<4, measure_face<Dim>>(pos, connectM, kind, qualities);
    case ET_TRIA3:
        return fill<3, measure_triangle<Dim>>(pos, connectM, kind, qualities);
    case ET_QUAD4:
        return fill<4, measure<4, quadrangle_quality<Dim>>>(pos, connectM, kind, qualities);
    case ET_TETRA4:
        return fill<4, measure<4, tetrahedron_quality>>(pos, connectM, kind, qualities);
    case ET_PYRA5:
        return fill<5, measure<5, pyramid_quality<Dim>>>(pos, connectM, kind, qualities);
    case ET_PENTA6:
        return fill<6, measure<6, wedge_quality<Dim>>>(pos, connectM, kind, qualities);
    case ET_HEXA8:
        return fill_hexahedra<Dim>(pos, connectM, qualities);
    default:
        return -3; // type
    }
}

bool set_to_zeros(dense1D<double>& qualities, size_t n)
{
    if (!qualities.resize(n)) return false;
    qualities = 0.0;
    return true;
}

} // namespace

int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                    element_type type, dense1D<double>& qualities)
{
    int result = out_of_memory;
    if (set_to_zeros(qualities, connectM.cols))
        result = pos.rows == 2   ? fill_by_kind<2>(pos, connectM, type, qualities)
                 : pos.rows == 3 ? fill_by_kind<3>(pos, connectM, type, qualities)
                                 : fill_by_kind<0>(pos, connectM, type, qualities);
    if (result != 0) qualities.clear();
    return result;
}

int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                    const dense2D<unsigned>* last, const dense1D<int>& types,
                    dense1D<double>& qualities)
{
    qualities.clear();
    if (last < first) return -3;                       // last
    if (size_t(last - first) != types.size) return -4; // types

    size_t total = 0;
    for (const auto* m = first; m != last; ++m) total += m->cols;
    int result = set_to_zeros(qualities, total) ? 0 : out_of_memory;
    size_t begin = 0;
    for (size_t i = 0; result == 0 && i < types.size; ++i) {
        if (first[i].empty()) continue; // whatever its type
        dense1D<double> part = qualities.sub_vector(begin, first[i].cols);
        result = shape_qualities(pos, first[i], element_type(types[i]), part);
        begin += first[i].cols;
    }
    if (result != 0) qualities.clear();
    return result;
}

int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                    const dense2D<unsigned>* last, const dense1D<int>& types, misc::histogram& hist)
{
    dense1D<double> qualities;
    const int result = shape_qualities(pos, first, last, types, qualities);
    if (result == 0) hist.process(qualities);
    return result;
}

int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                    element_type type, misc::histogram& hist)
{
    int kind = type;
    const auto types = dense1D<int>::wrap(&kind, 1);
    return shape_qualities(pos, &connectM, &connectM + 1, types, hist);
}

} // namespace kz3::lattiq
