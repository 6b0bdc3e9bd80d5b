#pragma once

#include <fstream>
#include <ios>
#include <sstream>
#include <string>
#include <vector>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

/// Reader and writer of Wavefront OBJ files on the standard library's streams, one step after the
/// other. They hold for the "C" locale of the streams only.
namespace plain {

using kz3::dense2D;

inline int WavefrontOBJ_output(const char* name, const dense2D<double>& pos,
                               const dense2D<double>& normals, const dense2D<double>& textures,
                               const dense2D<unsigned>& triangles, const dense2D<unsigned>& quads)
{
    const auto entries = [](const auto& m) { return m.rows * m.cols != 0; };
    const auto fits = [&](const auto& m, std::size_t rows) {
        return !entries(m) || (m.rows == rows && m.cols == pos.cols);
    };
    std::ofstream out(name);
    if (!out) return -1;
    if (pos.rows != 2 && pos.rows != 3) return -2;
    if (!fits(normals, 3)) return -3;
    if (!fits(textures, 2)) return -4;
    if (!kz3::lattiq::check_IDs(triangles, kz3::lattiq::ET_TRIA3, 0xFFFFFFFF)) return -5;
    if (!kz3::lattiq::check_IDs(quads, kz3::lattiq::ET_QUAD4, 0xFFFFFFFF)) return -6;

    out.flags(std::ios::scientific);
    out.precision(8);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        out << " v ";
        for (std::size_t i = 0; i < 3; ++i) out << (i < pos.rows ? pos(i, j) : 0.0) << " ";
        out << std::endl;
    }
    for (std::size_t j = 0; entries(textures) && j < pos.cols; ++j)
        out << " vt " << textures(0, j) << " " << textures(1, j) << " " << std::endl;
    for (std::size_t j = 0; entries(normals) && j < pos.cols; ++j)
        out << " vn " << normals(0, j) << " " << normals(1, j) << " " << normals(2, j) << " "
            << std::endl;
    for (const auto* faces : {&triangles, &quads})
        for (std::size_t e = 0; entries(*faces) && e < faces->cols; ++e) {
            out << " f ";
            for (std::size_t k = 0; k < faces->rows; ++k) {
                const unsigned n = (*faces)(k, e) + 1;
                out << n << "/";
                if (entries(textures)) out << n;
                out << "/";
                if (entries(normals)) out << n;
            }
            out << " " << std::endl;
        }
    return 0;
}

struct obj_input {
    dense2D<double>& pos;
    dense2D<double>& normals;
    dense2D<double>& textures;
    dense2D<unsigned>& triangles;
    dense2D<unsigned>& quads;
    bool seen_vn = false;
    bool seen_vt = false;

    template <typename T>
    static void append(dense2D<T>& m, const std::vector<T>& values, std::size_t n)
    {
        const bool empty = m.rows * m.cols == 0;
        if (n == 0 || (!empty && m.rows != n)) return;
        const std::size_t cols = empty ? 0 : m.cols;
        if (!m.resize(n, cols + 1)) return;
        for (std::size_t i = 0; i < n; ++i) m(i, cols) = values[i];
    }

    static std::vector<double> values_of(const std::string& text)
    {
        std::istringstream in(text);
        std::vector<double> values;
        double value = 0;
        while (in >> value) values.push_back(value);
        return values;
    }

    bool face(const std::string& text, bool any_bit)
    {
        std::vector<unsigned> list[3];
        std::istringstream in(text);
        std::string token;
        while (in >> token) {
            std::istringstream corner(token);
            for (auto& indices : list) {
                char c = 0;
                if (!(corner >> c) || c == '/') continue;
                corner.putback(c);
                unsigned index = 0;
                if (!(corner >> index)) continue;
                indices.push_back(index);
                if (corner >> c && c != '/') return false;
            }
        }
        if (!list[1].empty() && !seen_vt) return false;
        if (!list[2].empty() && !seen_vn) return false;
        if (any_bit) return true;
        for (unsigned& index : list[0]) {
            if (index > 0)
                --index;
            else
                index = unsigned(pos.cols);
        }
        if (list[0].size() == 3) append(triangles, list[0], 3);
        if (list[0].size() == 4) append(quads, list[0], 4);
        return true;
    }

    bool read(std::istream& file)
    {
        std::string line;
        while (std::getline(file, line)) {
            std::istringstream in(line);
            std::string word;
            std::string rest;
            if (!(in >> word)) continue;
            if (word != "v" && word != "vn" && word != "vt" && word != "f") continue;
            if (word == "vn") seen_vn = true;
            if (word == "vt") seen_vt = true;
            if (!std::getline(in, rest)) return false;
            if (word == "f") {
                if (!face(rest, !file.good())) return false;
                continue;
            }
            const auto values = values_of(rest);
            if (word == "v" && values.size() < 3) return false;
            if (word == "vn" && values.size() != 3) return false;
            if (word == "vt" && values.size() > 3) return false;
            if (word == "v") append(pos, values, 3);
            if (word == "vn") append(normals, values, 3);
            if (word == "vt") append(textures, values, values.size());
        }
        return true;
    }
};

inline int WavefrontOBJ_input(const char* name, dense2D<double>& pos, dense2D<double>& normals,
                              dense2D<double>& textures, dense2D<unsigned>& triangles,
                              dense2D<unsigned>& quads)
{
    std::ifstream in(name);
    pos.clear();
    normals.clear();
    textures.clear();
    triangles.clear();
    quads.clear();
    if (!in) return -1;
    return obj_input{pos, normals, textures, triangles, quads}.read(in) ? 0 : -1;
}

} // namespace plain
