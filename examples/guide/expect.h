#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <type_traits>

#include <kz3/lattiq/lattiq.h>

/// The programs of the guide check what its pages say of their lines.
inline void expect(bool holds, const char* what)
{
    if (holds) return;
    std::printf("not so: %s\n", what);
    std::exit(1);
}

template <typename T>
bool holds(const kz3::dense1D<T>& list, std::initializer_list<std::common_type_t<T>> values)
{
    return std::equal(list.begin(), list.end(), values.begin(), values.end());
}

/// Column by column.
template <typename T>
bool holds(const kz3::dense2D<T>& matrix,
           std::initializer_list<std::initializer_list<std::common_type_t<T>>> columns)
{
    if (matrix.cols != columns.size()) return false;
    std::size_t j = 0;
    for (const auto& column : columns) {
        if (matrix.rows != column.size()) return false;
        std::size_t i = 0;
        for (const auto& value : column)
            if (matrix(i++, j) != value) return false;
        ++j;
    }
    return true;
}
