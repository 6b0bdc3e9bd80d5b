#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- geometry/translate.cpp, rotate.cpp, zoom.cpp, inc_bounding_box.cpp ----

KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v,
                             const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v,
                             const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v,
                             const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v,
                             const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center,
                          double angle);
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle,
                          const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle,
                          const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                          const vector_fixed<double, 3>& r);
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                          const vector_fixed<double, 3>& r, const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
                          const vector_fixed<double, 3>& r, const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor,
                        const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor,
                        const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor,
                        const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor,
                        const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 2>& min,
                                    vector_fixed<double, 2>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 3>& min,
                                    vector_fixed<double, 3>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                                    vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                                    vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                    vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
KZ3_LATTIQ_API int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                    vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);

// ---- geometry/copy_mesh.cpp, copy_sym_mesh.cpp ----

KZ3_LATTIQ_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                             const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                             const vector_fixed<double, 2>& translation,
                             const vector_fixed<double, 2>& center, double angle, unsigned copies,
                             const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                             const vector_fixed<double, 3>& translation,
                             const vector_fixed<double, 3>& center,
                             const vector_fixed<double, 3>& r, unsigned copies,
                             const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                                 const vector_fixed<double, 2>& point,
                                 const vector_fixed<double, 2>& normal,
                                 const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                                 const vector_fixed<double, 3>& point,
                                 const vector_fixed<double, 3>& normal,
                                 const dense2D<unsigned>& connectM);

// ---- geometry/clip.cpp ----

KZ3_LATTIQ_API int clip(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                        const vector_fixed<double, 3>& point, const vector_fixed<double, 3>& normal,
                        dense2D<unsigned>& clipped);

} // namespace kz3::lattiq
