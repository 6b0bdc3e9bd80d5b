// The lines shown in docs/metrics.md.

#include <cmath>

#include "expect.h"

using namespace kz3::lattiq;

namespace {

const auto bases = kz3::columns<double>({{1, 0, 0, 0, 1, 0}, {0, 1, 0, 0, 0, 1}});

void from_sizes_to_a_field(const kz3::dense1D<float>& sizes)
{
    kz3::dense2D<float> metrics;
    metrics_iso_to_aniso2d(sizes, metrics);    // tensors of a field of sizes
    bound_metrics(metrics, 0.01, 10.0);        // no edge below 0.01, none above 10
    overwrite_invalid_metrics(metrics, sizes); // repair what is no metric
    if (!are_valid_metrics(metrics)) return;   // what could not be repaired
    expect(metrics.rows == 3 && metrics.cols == sizes.size, "a tensor per size");
    expect(metrics(0, 0) == 4.0f && metrics(1, 0) == 0.0f && metrics(2, 0) == 4.0f, "1/h^2");
}

void validity(const kz3::dense1D<float>& sizes)
{
    kz3::dense2D<float> metrics(3, 9, 0.0f);
    metrics(0, 3) = metrics(2, 3) = metrics(0, 8) = metrics(2, 8) = 1.0f;
    is_valid_metric(kz3::symmetric_fixed<double, 2>{1, 0, 4}); // true
    are_valid_metrics(sizes);
    are_valid_metrics(kz3::dense1D<unsigned>{3, 8}, metrics); // nodes 3 and 8 only
    expect(is_valid_metric(kz3::symmetric_fixed<double, 2>{1, 0, 4}), "positive eigenvalues");
    expect(are_valid_metrics(sizes), "sizes above 0");
    expect(are_valid_metrics(kz3::dense1D<unsigned>{3, 8}, metrics), "nodes 3 and 8");
    expect(!are_valid_metrics(metrics), "not all nodes");
}

void pairs()
{
    kz3::vector_fixed<double, 2> values;
    kz3::matrix_fixed<double, 2, 2> vectors;
    eigen_pairs(kz3::symmetric_fixed<double, 2>{2, 0, 1}, values, vectors);
    // values 1, 2; vectors(0, 0), vectors(1, 0): 0, 1
    expect(values[0] == 1 && values[1] == 2, "eigenvalues, the smaller first");
    expect(vectors(0, 0) == 0 && std::fabs(vectors(1, 0)) == 1, "the vector of the first");
}

void conversions(const kz3::dense1D<float>& sizes)
{
    kz3::dense2D<float> metrics;
    kz3::symmetric_fixed<double, 2> m;
    metric_iso_to_aniso(0.5, m);            // 4, 0, 4
    metrics_iso_to_aniso3d(sizes, metrics); // 6 rows
    metrics_iso_to_aniso2d(sizes, bases, metrics);
    expect(m(0, 0) == 4 && m(0, 1) == 0 && m(1, 1) == 4, "1/h^2 on the diagonal");
    expect(metrics.rows == 3 && metrics.cols == sizes.size, "in the planes of the bases");

    kz3::dense2D<float> metrics3d, metrics2d;
    metrics_iso_to_aniso3d(sizes, metrics3d);
    metrics_aniso3d_to_aniso2d(metrics3d, bases, metrics2d);
    expect(metrics2d.rows == 3 && metrics2d(0, 0) == 4.0f, "seen in the planes");
}

void of_two()
{
    const kz3::symmetric_fixed<double, 2> m1{1, 0, 4}, m2{4, 0, 1};
    kz3::symmetric_fixed<double, 2> finer, coarser;
    minimum_metric(m1, m2, finer);   // (1, 0, 4) and (4, 0, 1) give (4, 0, 4)
    maximum_metric(m1, m2, coarser); // (1, 0, 1)
    expect(finer(0, 0) == 4 && finer(0, 1) == 0 && finer(1, 1) == 4, "the shorter sizes of both");
    expect(coarser(0, 0) == 1 && coarser(0, 1) == 0 && coarser(1, 1) == 1, "the longer ones");
}

void repairs()
{
    kz3::dense1D<float> sizes{0.5f, 5.0f, NAN};
    auto metrics = kz3::columns<float>({{16, 0, 0.01f}});
    bound_metrics(sizes, 1.0, 2.0);   // 0.5, 5, NaN become 1, 2, 1
    bound_metrics(metrics, 0.5, 5.0); // (16, 0, 0.01) becomes (4, 0, 0.04)
    expect(holds(sizes, {1.0f, 2.0f, 1.0f}), "sizes between the bounds");
    expect(holds(metrics, {{4.0f, 0.0f, 0.04f}}), "and tensors");

    const kz3::dense1D<float> fallback{3.0f};
    const auto tensors = kz3::columns<float>({{1, 0, 4}});
    sizes = kz3::dense1D<float>{0.0f};
    metrics = kz3::columns<float>({{0, 0, 0}});
    auto others = kz3::columns<float>({{0, 0, 0}});
    overwrite_invalid_metrics(sizes, fallback); // sizes of 0 or below
    overwrite_invalid_metrics(metrics, sizes);  // invalid tensors, by those of sizes
    overwrite_invalid_metrics(others, tensors); // invalid tensors, by those of a second field
    expect(holds(sizes, {3.0f}), "a size from the fallback");
    expect(metrics(0, 0) == float(1.0 / 9.0), "a tensor from the sizes");
    expect(holds(others, {{1.0f, 0.0f, 4.0f}}), "a tensor from the second field");
}

} // namespace

int main()
{
    const kz3::dense1D<float> sizes{0.5f, 2.0f};
    from_sizes_to_a_field(sizes);
    validity(sizes);
    pairs();
    conversions(sizes);
    of_two();
    repairs();
}
