#pragma once

#include <kz3/dense1D.h>
#include <kz3/lattiq/export.h>

namespace kz3::misc {

class KZ3_LATTIQ_API histogram {
public:
    void process(double value);
    void process(const dense1D<double>& values);
};

} // namespace kz3::misc
