#pragma once

#include <cstdint>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- search/node_detector.cpp ----

} // namespace kz3::lattiq
