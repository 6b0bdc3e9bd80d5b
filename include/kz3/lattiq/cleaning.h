#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- cleaning/merge.cpp ----

KZ3_LATTIQ_API int merge(const dense2D<double>& pos, const dense1D<unsigned>& indices1,
                         const dense1D<unsigned>& indices2, dense1D<unsigned>& id_map, double tol);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, const dense1D<unsigned>& indices,
                         dense1D<unsigned>& id_map, double tol);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>* first,
                         dense2D<unsigned>* last, dense1D<unsigned>& id_map, double tol,
                         unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM,
                         dense1D<unsigned>& id_map, double tol, unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1,
                         dense2D<unsigned>& connectM2, dense1D<unsigned>& id_map, double tol,
                         unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>* first,
                         dense2D<unsigned>* last, double tol, unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM, double tol,
                         unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1,
                         dense2D<unsigned>& connectM2, double tol, unsigned mode);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1,
                         dense2D<unsigned>& connectM2);
KZ3_LATTIQ_API int merge(dense2D<double>& pos, dense1D<unsigned>& id_map, double tol);
KZ3_LATTIQ_API int merge(dense2D<double>& pos, double tol);

// ---- cleaning/simplify.cpp, cleaning/remove_degenerated.cpp ----

KZ3_LATTIQ_API int simplify(dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last,
                            dense1D<unsigned>& id_map, unsigned start);
KZ3_LATTIQ_API int simplify(dense2D<double>& pos, dense2D<unsigned>& connectM,
                            dense1D<unsigned>& id_map, unsigned start);
KZ3_LATTIQ_API int simplify(dense2D<double>& pos, dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int remove_degenerated(dense2D<unsigned>& connectM, dense1D<unsigned>& id_map,
                                      bool strict);

} // namespace kz3::lattiq
