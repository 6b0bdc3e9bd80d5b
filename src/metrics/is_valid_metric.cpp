#include <kz3/lattiq/metrics.h>

#include "metrics/validity.h"

namespace kz3::lattiq {

bool is_valid_metric(const symmetric_fixed<double, 2>& m)
{
    return detail::is_valid(m);
}

bool is_valid_metric(const symmetric_fixed<double, 3>& m)
{
    return detail::is_valid(m);
}

} // namespace kz3::lattiq
