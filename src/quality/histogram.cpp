#include <kz3/misc/histogram.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace kz3::misc {
namespace {

constexpr double nothing = std::numeric_limits<double>::quiet_NaN();

} // namespace

histogram::histogram(double lowest, double highest, std::size_t bins)
{
    // More bins than this cannot have distinct boundaries in memory; the sum must not wrap either.
    if (bins == 0 || !(lowest < highest) || bins >= boundaries_.max_size()) return;
    std::vector<double> boundaries(bins + 1);
    for (std::size_t i = 0; i < bins; ++i)
        boundaries[i] = lowest + (highest - lowest) * double(i) / double(bins);
    boundaries[bins] = highest;
    adopt(std::move(boundaries));
}

histogram::histogram(const dense1D<double>& boundaries)
{
    adopt({boundaries.begin(), boundaries.end()});
}

void histogram::adopt(std::vector<double> boundaries)
{
    // "not less" on a NaN is true: it is refused as out of order.
    const auto not_less = [](double a, double b) { return !(a < b); };
    if (boundaries.size() < 2 || !std::isfinite(boundaries.front()) ||
        !std::isfinite(boundaries.back()) ||
        std::adjacent_find(boundaries.begin(), boundaries.end(), not_less) != boundaries.end())
        return;
    counts_.resize(boundaries.size() - 1);
    boundaries_ = std::move(boundaries);
}

void histogram::process(double value)
{
    if (std::isnan(value)) {
        ++not_a_number_;
        return;
    }
    minimum_ = numbers_ == 0 ? value : std::min(minimum_, value);
    maximum_ = numbers_ == 0 ? value : std::max(maximum_, value);
    sum_ += value;
    ++numbers_;

    if (counts_.empty()) return;
    if (value < boundaries_.front()) {
        ++below_;
    } else if (value > boundaries_.back()) {
        ++above_;
    } else {
        // Searched without the last boundary, so that the last bin is closed on both sides.
        const auto next = std::upper_bound(boundaries_.begin(), boundaries_.end() - 1, value);
        ++counts_[std::size_t(next - boundaries_.begin()) - 1];
    }
}

void histogram::process(const dense1D<double>& values)
{
    for (const double value : values) process(value);
}

void histogram::clear()
{
    std::fill(counts_.begin(), counts_.end(), 0);
    below_ = above_ = not_a_number_ = numbers_ = 0;
    sum_ = 0.0;
}

double histogram::minimum() const
{
    return numbers_ == 0 ? nothing : minimum_;
}

double histogram::maximum() const
{
    return numbers_ == 0 ? nothing : maximum_;
}

double histogram::mean() const
{
    return numbers_ == 0 ? nothing : sum_ / double(numbers_);
}

dense1D<double> histogram::boundaries() const
{
    dense1D<double> copy(boundaries_.size());
    std::copy_n(boundaries_.begin(), copy.size, copy.begin());
    return copy;
}

} // namespace kz3::misc
