// Prepares a metric field for a mesh generator:  metric_field
//
// Asks for short edges across a curved front and for small elements near a point, takes the
// stricter of both, repairs and bounds the result, and measures a mesh with it. Writes the mesh and
// the field as MEDIT files to the folder lattiq-report.

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <kz3/lattiq/lattiq.h>

#include "report.h"

namespace {

using namespace kz3;
using namespace kz3::lattiq;
using report::must;

constexpr unsigned cells = 20; // along each side of the unit square

/// The unit square as triangles, two to a cell.
void build(dense2D<double>& pos, dense2D<unsigned>& triangles)
{
    must(pos.resize(2, (cells + 1) * (cells + 1)), "resize");
    must(triangles.resize(3, 2 * cells * cells), "resize");
    const auto node = [](unsigned i, unsigned j) { return j * (cells + 1) + i; };
    unsigned e = 0;
    for (unsigned j = 0; j <= cells; ++j)
        for (unsigned i = 0; i <= cells; ++i) {
            pos(0, node(i, j)) = double(i) / cells;
            pos(1, node(i, j)) = double(j) / cells;
            if (i == cells || j == cells) continue;
            const unsigned corner[4] = {node(i, j), node(i + 1, j), node(i + 1, j + 1),
                                        node(i, j + 1)};
            for (const unsigned k : {0U, 2U}) {
                for (unsigned r = 0; r < 3; ++r) triangles(r, e) = corner[(k + r) % 4];
                ++e;
            }
        }
}

using tensor = symmetric_fixed<double, 2>;

/// Sizes along the radius and across it near the quarter circle of radius 1/2 about the origin.
tensor front(double x, double y)
{
    const double r = std::hypot(x, y);
    const double along = 0.1;
    const double across = std::min(along, 0.01 + 0.3 * std::abs(r - 0.5));
    // At the origin there is no radius, and both sizes are one.
    const double nx = r > 0 ? x / r : 1;
    const double ny = r > 0 ? y / r : 0;
    const double p = 1 / (across * across); // eigenvalues of a metric are inverse squared sizes
    const double q = 1 / (along * along);
    return {p * nx * nx + q * ny * ny, (p - q) * nx * ny, p * ny * ny + q * nx * nx};
}

/// Columns of a field are stored as float and worked on as double.
tensor read(const dense2D<float>& metrics, std::size_t j)
{
    return {metrics(0, j), metrics(1, j), metrics(2, j)};
}

void write(dense2D<float>& metrics, std::size_t j, const tensor& m)
{
    std::transform(m.data, m.data + 3, metrics.col(j).begin(), [](double v) { return float(v); });
}

void print_valid(const char* when, const dense2D<float>& metrics)
{
    std::size_t invalid = 0;
    for (std::size_t j = 0; j < metrics.cols; ++j) invalid += !is_valid_metric(read(metrics, j));
    std::printf("  %-22s %s, %zu invalid\n", when,
                are_valid_metrics(metrics) ? "valid" : "not valid", invalid);
}

/// Prints the larger size at a node, its direction, and the smaller size.
void print_at(const char* when, const dense2D<float>& metrics, std::size_t j)
{
    vector_fixed<double, 2> value{};
    matrix_fixed<double, 2, 2> v{};
    if (!eigen_pairs(read(metrics, j), value, v)) throw std::runtime_error("eigen_pairs");
    std::printf("  %-22s size %.4f along (%.2f, %.2f), %.4f across it\n", when,
                1 / std::sqrt(value[0]), v(0, 0), v(1, 0), 1 / std::sqrt(value[1]));
}

void run()
{
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    build(pos, triangles);
    const unsigned watched = 8 * (cells + 1) + 6; // the node at (0.3, 0.4), on the front
    std::printf("  %zu triangles on %zu nodes\n", triangles.cols, pos.cols);

    dense2D<float> metrics;
    dense1D<float> sizes;
    must(metrics.resize(3, pos.cols), "resize");
    must(sizes.resize(pos.cols), "resize");
    for (std::size_t j = 0; j < pos.cols; ++j) {
        write(metrics, j, front(pos(0, j), pos(1, j)));
        sizes[j] = float(0.04 + 0.2 * std::hypot(pos(0, j) - 0.3, pos(1, j) - 0.4));
    }
    print_at("front", metrics, watched);

    // The minimum asks for the smaller size of both, direction by direction.
    dense2D<float> second;
    metrics_iso_to_aniso2d(sizes, second);
    must(second.cols == pos.cols, "metrics_iso_to_aniso2d");
    for (std::size_t j = 0; j < pos.cols; ++j) {
        tensor m = read(metrics, j);
        minimum_metric(m, read(second, j), m);
        write(metrics, j, m);
    }
    print_at("with the sizes", metrics, watched);

    // What a field from elsewhere may hold: nothing, a size that is imaginary, and no number.
    write(metrics, 0, {0, 0, 0});
    write(metrics, cells, {1, 2, 1});
    write(metrics, pos.cols - 1, {std::numeric_limits<double>::quiet_NaN(), 0, 1});
    print_valid("three broken", metrics);

    // Repaired ahead of bounding, which would pass an invalid tensor off as a large size.
    must(overwrite_invalid_metrics(metrics, sizes), "overwrite_invalid_metrics");
    print_valid("repaired", metrics);
    print_at("repaired origin", metrics, 0);
    must(bound_metrics(metrics, 0.02, 0.08), "bound_metrics");
    print_valid("bounded", metrics);
    print_at("bounded origin", metrics, 0);
    print_at("bounded front", metrics, watched);

    // 1 is the length asked for. A generator splits edges far above it and collapses those below.
    misc::histogram lengths(dense1D<double>{0.5, 0.7, 1.0, 1.4, 2.0, 2.8, 4.0});
    must(edge_qualities(pos, triangles, ET_TRIA3, metrics, lengths), "edge_qualities");
    std::printf("  %zu edges, length in the metric %.3f to %.3f\n", std::size_t(lengths.total()),
                lengths.minimum(), lengths.maximum());
    report::print(lengths);

    const std::string mesh = report::in_folder("front.mesh");
    const std::string field = report::in_folder("front.sol");
    must(medit_output(mesh.c_str(), pos, triangles, ET_TRIA3), "medit_output");
    must(medit_tensor(field.c_str(), metrics), "medit_tensor");
    std::printf("  written %s %s\n", mesh.c_str(), field.c_str());
}

} // namespace

int main()
{
    return report::guarded("metric_field", run);
}
