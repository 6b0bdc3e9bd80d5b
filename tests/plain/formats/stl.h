#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

/// Reader and writer of STL files as straight runs of calls of the C runtime, one per value. They
/// hold for the "C" locale of the process only.
namespace plain {

using kz3::dense1D;
using kz3::dense2D;
using kz3::lattiq::check_IDs;
using kz3::lattiq::merge;
using kz3::lattiq::remove_degenerated;
using kz3::lattiq::simplify;

inline void facet_unit_normal(const double (&x)[3][3], double (&n)[3])
{
    double u[3];
    double v[3];
    for (int d = 0; d < 3; ++d) {
        u[d] = x[1][d] - x[0][d];
        v[d] = x[2][d] - x[0][d];
    }
    n[0] = u[1] * v[2] - u[2] * v[1];
    n[1] = u[2] * v[0] - u[0] * v[2];
    n[2] = u[0] * v[1] - u[1] * v[0];
    const double length = std::sqrt(n[0] * n[0] + n[2] * n[2] + n[1] * n[1]);
    if (length == 0) return;
    const double inverse = 1 / length;
    for (double& value : n) value *= inverse;
}

inline int write_text(std::FILE* out, const dense2D<double>& pos, const dense2D<unsigned>& connectM)
{
    if (std::fprintf(out, "solid KZ3\n") <= 0) return -1;
    for (std::size_t e = 0; e < connectM.cols; ++e) {
        double x[3][3] = {};
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t d = 0; d < pos.rows; ++d) x[k][d] = pos(d, connectM(k, e));
        double n[3];
        facet_unit_normal(x, n);
        if (std::fprintf(out, "   facet normal %le %le %le\n", n[0], n[1], n[2]) <= 0) return -1;
        if (std::fprintf(out, "      outer loop\n") <= 0) return -1;
        for (const auto& c : x)
            if (std::fprintf(out, "         vertex %le %le %le\n", c[0], c[1], c[2]) <= 0)
                return -1;
        if (std::fprintf(out, "      endloop\n") <= 0) return -1;
        if (std::fprintf(out, "   endfacet\n") <= 0) return -1;
    }
    return std::fprintf(out, "endsolid KZ3\n") <= 0 ? -1 : 0;
}

/// For a host whose numbers are little-endian.
inline int write_binary(std::FILE* out, const dense2D<double>& pos,
                        const dense2D<unsigned>& connectM)
{
    char header[80] = "KZ3 STL Binary";
    if (std::fwrite(header, 1, 80, out) != 80) return -1;
    const auto count = std::uint32_t(connectM.cols);
    if (std::fwrite(&count, 4, 1, out) != 1) return -1;
    for (std::size_t e = 0; e < connectM.cols; ++e) {
        double x[3][3] = {};
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t d = 0; d < pos.rows; ++d) x[k][d] = pos(d, connectM(k, e));
        double n[3];
        facet_unit_normal(x, n);
        for (const double value : n) {
            const auto f = float(value);
            if (std::fwrite(&f, 4, 1, out) != 1) return -1;
        }
        for (const auto& corner : x)
            for (const double value : corner) {
                const auto f = float(value);
                if (std::fwrite(&f, 4, 1, out) != 1) return -1;
            }
        const std::uint16_t attribute = 0;
        if (std::fwrite(&attribute, 2, 1, out) != 1) return -1;
    }
    return 0;
}

inline int STL_output(const char* name, const dense2D<double>& pos,
                      const dense2D<unsigned>& connectM, bool ascii)
{
    std::FILE* out = std::fopen(name, ascii ? "wt" : "wb");
    if (out == nullptr) return -1;
    int code = 0;
    if (pos.rows != 2 && pos.rows != 3)
        code = -2;
    else if (!check_IDs(connectM, kz3::lattiq::ET_TRIA3, unsigned(pos.cols)))
        code = -3;
    else
        code = ascii ? write_text(out, pos, connectM) : write_binary(out, pos, connectM);
    return std::fclose(out) == 0 ? code : -1;
}

template <typename T>
bool append_column(dense2D<T>& m, const T (&values)[3])
{
    const bool empty = m.rows * m.cols == 0;
    if (!empty && m.rows != 3) return false;
    const std::size_t n = empty ? 0 : m.cols;
    if (empty || n == m.column_capacity()) m.reserve(3, 2 * n > 4 ? 2 * n : 4);
    if (!m.resize(3, n + 1)) return false;
    for (std::size_t i = 0; i < 3; ++i) m(i, n) = values[i];
    return true;
}

inline double point_line_distance(const double (&x)[3], const double (&p)[3], const double (&q)[3])
{
    double d[3];
    double w[3];
    for (int i = 0; i < 3; ++i) {
        d[i] = q[i] - p[i];
        w[i] = x[i] - p[i];
    }
    const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    if (length != 0) {
        const double inverse = 1 / length;
        for (double& value : d) value *= inverse;
    }
    const double c[3] = {w[1] * d[2] - w[2] * d[1], w[2] * d[0] - w[0] * d[2],
                         w[0] * d[1] - w[1] * d[0]};
    return std::sqrt(c[0] * c[0] + c[1] * c[1] + c[2] * c[2]);
}

struct reader {
    dense2D<double>& pos;
    dense2D<unsigned>& connectM;
    unsigned indices[3] = {0, 1, 2};
    double smallest = 1.7976931348623157e308;

    void add_facet(const double (&x)[3][3])
    {
        double height = point_line_distance(x[0], x[1], x[2]);
        height = std::fmin(height, point_line_distance(x[1], x[2], x[0]));
        height = std::fmin(height, point_line_distance(x[2], x[0], x[1]));
        if (height > 0 && height < smallest) smallest = height;
        append_column(connectM, indices);
        for (unsigned& index : indices) index += 3;
    }

    int finish()
    {
        if (smallest > 0 && smallest < 1.7976931348623157e308) {
            dense1D<unsigned> id_map;
            const int merged = merge(pos, connectM, id_map, 0.05 * smallest, 0);
            if (merged < 0) return merged;
            remove_degenerated(connectM, id_map, true);
            const int removed = simplify(pos, connectM, id_map, 0);
            if (removed < 0) return removed;
        }
        return int(connectM.cols);
    }

    int text(std::FILE* in)
    {
        char line[256];
        if (std::fgets(line, 256, in) == nullptr) return -1;
        double n[3];
        while (std::fscanf(in, "   facet normal %lg %lg %lg\n", &n[0], &n[1], &n[2]) == 3) {
            if (std::fgets(line, 256, in) == nullptr) break;
            double x[3][3];
            int k = 0;
            for (; k < 3; ++k) {
                if (std::fscanf(in, "      vertex %lg %lg %lg\n", &x[k][0], &x[k][1], &x[k][2]) !=
                    3)
                    break;
                append_column(pos, x[k]);
            }
            if (k < 3) break;
            if (std::fgets(line, 256, in) == nullptr) break;
            if (std::fgets(line, 256, in) == nullptr) break;
            add_facet(x);
        }
        return finish();
    }

    static bool read_floats(std::FILE* in, double (&x)[3])
    {
        for (double& value : x) {
            float f = 0;
            if (std::fread(&f, 4, 1, in) != 1) return false;
            value = f;
        }
        return true;
    }

    int binary(std::FILE* in)
    {
        char header[80];
        std::int32_t count = 0;
        if (std::fread(header, 1, 80, in) != 80) return -1;
        if (std::fread(&count, 4, 1, in) != 1) return -1;
        for (std::int32_t i = 0; i < count; ++i) {
            double x[3][3];
            double n[3];
            if (!read_floats(in, n)) break;
            int k = 0;
            for (; k < 3; ++k) {
                if (!read_floats(in, x[k])) break;
                append_column(pos, x[k]);
            }
            if (k < 3 || std::fgetc(in) == EOF || std::fgetc(in) == EOF) break;
            add_facet(x);
        }
        return finish();
    }
};

inline int STL_input(const char* name, dense2D<double>& pos, dense2D<unsigned>& connectM,
                     bool ascii)
{
    pos.clear();
    connectM.clear();
    std::FILE* in = std::fopen(name, ascii ? "rt" : "rb");
    if (in == nullptr) return -1;
    reader r{pos, connectM};
    const int code = ascii ? r.text(in) : r.binary(in);
    std::fclose(in);
    return code;
}

} // namespace plain
