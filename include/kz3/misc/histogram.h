#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/lattiq/export.h>

namespace kz3::misc {

// ---- quality/histogram.cpp ----

/// Counts of values by bin, with their minimum, maximum and mean.
///
/// Bin i holds the values from boundary i on up to, and without, boundary i + 1; the last bin also
/// holds its upper boundary. Values outside are counted as below or above, the infinities among
/// them; NaN is counted apart. So total() is the sum of all bins, below(), above() and
/// not_a_number().
///
/// A histogram keeps its own copy of its boundaries, and a copy of it counts on its own. Adding
/// values never allocates and never fails. Not to be used by two threads at once while one adds.
class KZ3_LATTIQ_API histogram {
public:
    /// No bins: values count only in total(), not_a_number(), minimum(), maximum() and mean().
    histogram() = default;

    /// Bins of equal width from `lowest` to `highest`.
    ///
    /// @param lowest   first boundary
    /// @param highest  last boundary
    /// @param bins     number of bins; boundary i is lowest + (highest - lowest) * i / bins
    /// Limits that are not finite or not in ascending order, 0 bins, and bins so many or a range so
    /// wide that the boundaries are not finite and distinct give a histogram without bins. Throws
    /// std::bad_alloc if memory is exhausted.
    histogram(double lowest, double highest, std::size_t bins);

    /// Bins between the boundaries given.
    ///
    /// @param boundaries  at least 2, finite, each above the one before; copied
    /// Any other list gives a histogram without bins. Throws std::bad_alloc if memory is exhausted.
    explicit histogram(const dense1D<double>& boundaries);

    /// Adds one value. O(log bins).
    void process(double value);

    /// Adds all values, in order. O(size * log bins).
    void process(const dense1D<double>& values);

    /// Forgets all values; the bins stay.
    void clear();

    /// Number of bins; 0 where the constructor's arguments gave none.
    std::size_t bins() const { return counts_.size(); }

    /// Values in a bin; 0 for a bin that does not exist.
    std::uint64_t count(std::size_t bin) const { return bin < bins() ? counts_[bin] : 0; }

    /// Values below the first boundary; 0 without bins.
    std::uint64_t below() const { return below_; }

    /// Values above the last boundary; 0 without bins.
    std::uint64_t above() const { return above_; }

    /// Values that are not a number.
    std::uint64_t not_a_number() const { return not_a_number_; }

    /// All values added, NaN included.
    std::uint64_t total() const { return numbers_ + not_a_number_; }

    /// The least, the greatest and the mean of the values that are numbers, inside the bins or not.
    ///
    /// NaN if there are none. An infinity takes part: the mean is then infinite, and NaN where both
    /// infinities were added. The mean is the plain sum in the order of adding over the number of
    /// values.
    double minimum() const;
    double maximum() const;
    double mean() const;

    /// The boundaries in ascending order, one more than bins, or none: a copy. Empty if memory is
    /// exhausted.
    dense1D<double> boundaries() const;

private:
    void adopt(std::vector<double> boundaries);

    std::vector<double> boundaries_;
    std::vector<std::uint64_t> counts_;
    std::uint64_t below_ = 0;
    std::uint64_t above_ = 0;
    std::uint64_t not_a_number_ = 0;
    std::uint64_t numbers_ = 0;
    double minimum_ = 0.0; // of no meaning while numbers_ is 0
    double maximum_ = 0.0;
    double sum_ = 0.0;
};

} // namespace kz3::misc
