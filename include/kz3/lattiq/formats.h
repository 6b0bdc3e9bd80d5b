#pragma once

#include <cstdio>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- formats/stl.cpp ----

KZ3_LATTIQ_API int STL_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>& connectM, bool ascii);
KZ3_LATTIQ_API int STL_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                             bool ascii);

// ---- formats/medit.cpp ----

KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                                const dense1D<int>& types);
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type);
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type,
                                const dense1D<unsigned>& refs);
KZ3_LATTIQ_API int medit_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM1,
                                const dense2D<unsigned>& connectM2, element_type type1,
                                element_type type2);
KZ3_LATTIQ_API int medit_scalar(const char* file, unsigned dim, const dense1D<double>& values);
KZ3_LATTIQ_API int medit_vector(const char* file, unsigned dim, const dense2D<double>& values);
KZ3_LATTIQ_API int medit_tensor(const char* file, const dense2D<float>& values);

// ---- formats/vtk.cpp ----

KZ3_LATTIQ_API int vtk_convert(const dense2D<unsigned>& connectM, element_type type,
                               unsigned& ncells, dense1D<unsigned>& cells,
                               dense1D<unsigned>& cell_types);
KZ3_LATTIQ_API int vtk_output(std::FILE* stream, const dense2D<double>& pos, unsigned ncells,
                              const dense1D<unsigned>& cells, const dense1D<unsigned>& cell_types);
KZ3_LATTIQ_API int vtk_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                              const dense1D<int>& types);
KZ3_LATTIQ_API int vtk_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>& connectM, element_type type);
KZ3_LATTIQ_API int vtk_output(const char* file, const dense2D<double>& pos,
                              const dense2D<unsigned>& connectM1,
                              const dense2D<unsigned>& connectM2, element_type type1,
                              element_type type2);

// ---- formats/femap.cpp ----

KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, const dense1D<unsigned>& offsets,
                                const dense1D<int>& types, const dense1D<unsigned>& groups);
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM, element_type type);
KZ3_LATTIQ_API int FEMAP_output(const char* file, const dense2D<double>& pos,
                                const dense2D<unsigned>& connectM1,
                                const dense2D<unsigned>& connectM2, element_type type1,
                                element_type type2);
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                               dense1D<unsigned>& offsets, dense1D<int>& types,
                               dense1D<unsigned>& groups);
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM,
                               element_type& type);
KZ3_LATTIQ_API int FEMAP_input(const char* file, dense2D<double>& pos, dense2D<unsigned>& connectM1,
                               dense2D<unsigned>& connectM2, element_type& type1,
                               element_type& type2);

// ---- formats/wavefront_obj.cpp ----

KZ3_LATTIQ_API int WavefrontOBJ_output(const char* file, const dense2D<double>& pos,
                                       const dense2D<double>& normals,
                                       const dense2D<double>& textures,
                                       const dense2D<unsigned>& triangles,
                                       const dense2D<unsigned>& quads);
KZ3_LATTIQ_API int WavefrontOBJ_input(const char* file, dense2D<double>& pos,
                                      dense2D<double>& normals, dense2D<double>& textures,
                                      dense2D<unsigned>& triangles, dense2D<unsigned>& quads);

// ---- formats/ensight.cpp ----

KZ3_LATTIQ_API int ensight_output(const char* file, const dense2D<double>& pos,
                                  const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                                  const dense1D<int>& types);
KZ3_LATTIQ_API int ensight_output(const char* file, const dense2D<double>& pos,
                                  const dense2D<unsigned>& connectM, element_type type);
KZ3_LATTIQ_API int ensight_output(const char* file, const dense2D<double>& pos,
                                  const dense2D<unsigned>& connectM1,
                                  const dense2D<unsigned>& connectM2, element_type type1,
                                  element_type type2);

} // namespace kz3::lattiq
