#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>
#include <kz3/misc/histogram.h>

namespace kz3::lattiq {

// ---- quality/shape_qualities.cpp ----

KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                   element_type type, dense1D<double>& qualities);
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                   const dense2D<unsigned>* last, const dense1D<int>& types,
                                   dense1D<double>& qualities);
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                   const dense2D<unsigned>* last, const dense1D<int>& types,
                                   misc::histogram& hist);
KZ3_LATTIQ_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                   element_type type, misc::histogram& hist);

// ---- quality/copy_edges.cpp, edge_lengths.cpp, edge_qualities.cpp ----

KZ3_LATTIQ_API int copy_edges(const dense2D<unsigned>& connectM, element_type type,
                              dense2D<unsigned>& edges);
KZ3_LATTIQ_API int copy_edges(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                              const dense1D<int>& types, dense2D<unsigned>& edges);
KZ3_LATTIQ_API int edge_lengths(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                dense2D<double>& lengths);
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                  element_type type, const dense1D<float>& sizes,
                                  misc::histogram& hist);
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                  const dense2D<unsigned>* last, const dense1D<int>& types,
                                  const dense1D<float>& sizes, misc::histogram& hist);
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                  element_type type, const dense2D<float>& metrics,
                                  misc::histogram& hist);
KZ3_LATTIQ_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                  const dense2D<unsigned>* last, const dense1D<int>& types,
                                  const dense2D<float>& metrics, misc::histogram& hist);

} // namespace kz3::lattiq
