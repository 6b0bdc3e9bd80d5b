#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- core/version.cpp, core/check_IDs.cpp, core/max_ID.cpp ----

KZ3_LATTIQ_API const char* version();
KZ3_LATTIQ_API unsigned max_ID(const dense1D<unsigned>& ids);
KZ3_LATTIQ_API unsigned max_ID(const dense2D<unsigned>& ids);
KZ3_LATTIQ_API bool check_IDs(const dense1D<unsigned>& ids, unsigned n);
KZ3_LATTIQ_API bool check_IDs(const dense2D<unsigned>& connectM, unsigned n);
KZ3_LATTIQ_API bool check_IDs(const dense2D<unsigned>& connectM, element_type type, unsigned n);

// ---- core/ index utilities ----

KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense1D<unsigned>& ids);
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense1D<unsigned>& ids,
                                  const dense1D<unsigned>& exclude);
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int unique_indices(dense1D<unsigned>& indices, const dense2D<unsigned>* first,
                                  const dense2D<unsigned>* last);
KZ3_LATTIQ_API int count_unique_indices(const dense2D<unsigned>& connectM);
KZ3_LATTIQ_API int count_unique_indices(const dense2D<unsigned>* first,
                                        const dense2D<unsigned>* last);
KZ3_LATTIQ_API int shift_indices(dense1D<unsigned>& ids, int shift);
KZ3_LATTIQ_API int shift_indices(dense2D<unsigned>& connectM, int shift, element_type type);
KZ3_LATTIQ_API void change_indices(dense1D<unsigned>& ids, const dense1D<unsigned>& new_ids);
KZ3_LATTIQ_API void change_indices(dense2D<unsigned>& connectM, const dense1D<unsigned>& new_ids);
KZ3_LATTIQ_API void permutation(dense1D<unsigned>& values, const dense1D<unsigned>& perm);
KZ3_LATTIQ_API void permutation(dense1D<double>& values, const dense1D<unsigned>& perm);
KZ3_LATTIQ_API void permutation(dense1D<float>& values, const dense1D<unsigned>& perm);
KZ3_LATTIQ_API int get_IDs(const dense1D<unsigned>& first, const dense1D<unsigned>& second,
                           dense1D<unsigned>& second_to_first, dense1D<unsigned>& first_to_second);
KZ3_LATTIQ_API int get_IDs(const dense2D<unsigned>& first, const dense2D<unsigned>& second,
                           dense1D<unsigned>& second_to_first, dense1D<unsigned>& first_to_second,
                           bool ordered);

} // namespace kz3::lattiq
