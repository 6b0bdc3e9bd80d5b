#include <kz3/lattiq/quality.h>

#include <cassert>
#include <cmath>

#include "core/check_range.h"
#include "quality/point.h"
#include "quality/unique_edges.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// Integral of 1/h along an edge of length 1 on which h runs linearly from h1 to h2.
double sizes_along(double h1, double h2)
{
    // One comparison, so that with a NaN each of the two is still taken once, and the result is NaN.
    const bool rises = h1 < h2;
    const double i = 1.0 / (rises ? h2 : h1);
    const double r = i * (rises ? h1 : h2) - 1.0;
    // ln(r + 1) / r loses its digits as r nears 0; there its series takes over.
    const double t =
        r >= -0.01 ? ((0.3333333333333333 - r * 0.25) * r - 0.5) * r + 1.0 : std::log(r + 1.0) / r;
    return i * t;
}

/// d' M d for a packed symmetric M, widened from float.
double form(const arrow<2>& d, const float* m)
{
    const double m00 = m[0], m10 = m[1], m11 = m[2];
    return d[0] * (m00 * d[0] + m10 * d[1]) + d[1] * (m10 * d[0] + m11 * d[1]);
}

double form(const arrow<3>& d, const float* m)
{
    const double m00 = m[0], m10 = m[1], m11 = m[2], m20 = m[3], m21 = m[4], m22 = m[5];
    return d[0] * (m00 * d[0] + m10 * d[1] + m20 * d[2]) +
           d[1] * (m10 * d[0] + m11 * d[1] + m21 * d[2]) +
           d[2] * (m20 * d[0] + m21 * d[1] + m22 * d[2]);
}

/// Whether the field has a value for each of n nodes.
bool covers(const dense1D<float>& sizes, size_t n, size_t)
{
    return sizes.size == n;
}

bool covers(const dense2D<float>& metrics, size_t n, size_t dim)
{
    return metrics.cols == n && metrics.rows >= dim * (dim + 1) / 2;
}

template <unsigned Dim>
double field_length(const arrow<Dim>& d, const dense1D<float>& sizes, const edge& e)
{
    return length(d) * sizes_along(sizes[e[0]], sizes[e[1]]);
}

template <unsigned Dim>
double field_length(const arrow<Dim>& d, const dense2D<float>& metrics, const edge& e)
{
    const double q1 = form(d, column(metrics, e[0]));
    const double q2 = form(d, column(metrics, e[1]));
    if (!(q1 > 0.0 && q2 > 0.0)) return 0.0;
    return sizes_along(std::sqrt(1.0 / q1), std::sqrt(1.0 / q2));
}

template <unsigned Dim, typename Field>
void send_lengths(const dense2D<double>& pos, const std::vector<edge>& edges, const Field& field,
                  misc::histogram& hist)
{
    for (const edge& e : edges) {
        assert(e[0] < pos.cols && e[1] < pos.cols); // check_IDs saw every node of every edge
        hist.process(
            field_length<Dim>(difference<Dim>(column(pos, e[1]), column(pos, e[0])), field, e));
    }
}

template <typename Field>
int measure(const dense2D<double>& pos, const dense2D<unsigned>* first,
            const dense2D<unsigned>* last, const dense1D<int>& types, const Field& field,
            misc::histogram& hist)
{
    if (first == last) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1;                       // pos
    if (size_t(last - first) != types.size) return -4;                   // types
    if (!check_range(first, last, types, unsigned(pos.cols))) return -2; // first
    if (!covers(field, pos.cols, pos.rows)) return 0; // a field of other nodes measures nothing

    unique_edges met({first, last, types});
    std::vector<edge> edges(met.size());
    met.write(edges.data());
    if (pos.rows == 2)
        send_lengths<2>(pos, edges, field, hist);
    else
        send_lengths<3>(pos, edges, field, hist);
    return 0;
}

template <typename Field>
int measure(const dense2D<double>& pos, const dense2D<unsigned>& connectM, element_type type,
            const Field& field, misc::histogram& hist)
{
    if (connectM.empty()) return 0;

    int kind = type;
    const auto types = dense1D<int>::wrap(&kind, 1);
    return measure(pos, &connectM, &connectM + 1, types, field, hist);
}

} // namespace

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM, element_type type,
                   const dense1D<float>& sizes, misc::histogram& hist)
{
    return measure(pos, connectM, type, sizes, hist);
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                   const dense2D<unsigned>* last, const dense1D<int>& types,
                   const dense1D<float>& sizes, misc::histogram& hist)
{
    return measure(pos, first, last, types, sizes, hist);
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM, element_type type,
                   const dense2D<float>& metrics, misc::histogram& hist)
{
    return measure(pos, connectM, type, metrics, hist);
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                   const dense2D<unsigned>* last, const dense1D<int>& types,
                   const dense2D<float>& metrics, misc::histogram& hist)
{
    return measure(pos, first, last, types, metrics, hist);
}

} // namespace kz3::lattiq
