#pragma once

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

/// Reader and writer of FEMAP neutral files on the standard library's streams, one step after the
/// other. They hold for the "C" locale of the process only, and the writer for runs within the columns.
namespace plain {

using kz3::dense1D;
using kz3::dense2D;
using kz3::lattiq::element_type;

/// Where a line lacks a field the reader ends the process; this one throws.
struct stopped : std::runtime_error {
    stopped() : std::runtime_error("a field past the end of a line") {}
};

/// A node's identifier asks for more columns than a comparison is worth.
struct too_many_columns : std::runtime_error {
    too_many_columns() : std::runtime_error("a high node identifier") {}
};
inline constexpr unsigned most_columns = 100000;

/// Code of a type, and for each of its rows the slot that holds it; the code is -1 for most types.
struct femap_slots {
    int code = -1;
    std::vector<unsigned> slots; // in the order in which the rows below stand in them
    std::vector<unsigned> rows;
};

inline std::vector<unsigned> first_numbers(unsigned n)
{
    std::vector<unsigned> numbers;
    for (unsigned k = 0; k < n; ++k) numbers.push_back(k);
    return numbers;
}

inline femap_slots femap_slots_of(int type)
{
    using namespace kz3::lattiq;
    switch (type) {
    case ET_NODE:
        return {9, {0}, {0}};
    case ET_BAR2:
        return {0, first_numbers(2), first_numbers(2)};
    case ET_BAR3:
        return {1, first_numbers(3), first_numbers(3)};
    case ET_TRIA3:
        return {2, first_numbers(3), first_numbers(3)};
    case ET_TRIA6:
        return {3, first_numbers(6), {0, 1, 2, 5, 3, 4}};
    case ET_QUAD4:
        return {4, first_numbers(4), first_numbers(4)};
    case ET_QUAD8:
        return {5, first_numbers(8), first_numbers(8)};
    case ET_TETRA4:
        return {6, {0, 1, 2, 4}, {1, 0, 2, 3}};
    case ET_PENTA6:
        return {7, {0, 1, 2, 4, 5, 6}, first_numbers(6)};
    case ET_HEXA8:
        return {8, first_numbers(8), first_numbers(8)};
    case ET_TETRA10:
        return {10, {0, 1, 2, 4, 8, 9, 10, 12, 13, 14}, {0, 2, 1, 3, 5, 4, 6, 7, 9, 8}};
    case ET_HEXA20:
        return {12, first_numbers(20), first_numbers(20)};
    default:
        return {};
    }
}

inline int FEMAP_output(const char* name, const dense2D<double>& pos,
                        const dense2D<unsigned>& connectM, const dense1D<unsigned>& offsets,
                        const dense1D<int>& types, const dense1D<unsigned>& groups)
{
    using namespace kz3::lattiq;
    std::ofstream out(name);
    if (connectM.rows * connectM.cols == 0) return 0;
    if (!out) return -1;
    if (pos.rows != 3) return -2;
    if (offsets.size != types.size + 1) return -5;
    if (groups.size != connectM.cols) return -6;
    for (std::size_t g = 0; g < types.size; ++g) {
        std::size_t rows = element_type_nodes[types[g]];
        if (types[g] == ET_FACE_MIX) rows = std::min<std::size_t>(connectM.rows, 4);
        if (types[g] == ET_SOLID_MIX) rows = std::min<std::size_t>(connectM.rows, 20);
        const auto run = connectM.sub_matrix(0, offsets[g], rows, offsets[g + 1] - offsets[g]);
        if (!check_IDs(run, element_type(types[g]), 0xFFFFFFFF)) return -3;
    }

    out << "*********************************" << std::endl;
    out << "*********** NODES ***************" << std::endl;
    out << "*********************************" << std::endl;
    out << "-1" << std::endl;
    out << "403" << std::endl;
    for (std::size_t j = 0; j < pos.cols; ++j)
        out << j << ",0,0,1,0,0,0,0,0,0,0," << pos(0, j) << "," << pos(1, j) << "," << pos(2, j)
            << ",0," << std::endl;
    out << "-1" << std::endl;
    out << "*********************************" << std::endl;
    out << "********* ELEMENTS **************" << std::endl;
    out << "*********************************" << std::endl;
    out << "-1" << std::endl;
    out << "404" << std::endl;
    for (std::size_t g = 0; g < types.size; ++g) {
        int type = types[g];
        const std::size_t first = offsets[g];
        const auto hole = [&](std::size_t row) {
            return row >= connectM.rows || connectM(row, first) == NO_NODE;
        };
        if (offsets[g] == offsets[g + 1]) continue;
        if (type == ET_FACE_MIX) {
            type = hole(3) ? ET_TRIA3 : ET_QUAD4;
        } else if (type == ET_SOLID_MIX) {
            if (hole(4))
                type = ET_TETRA4;
            else if (hole(5))
                type = ET_PYRA5;
            else
                type = hole(6) ? ET_PENTA6 : ET_HEXA8;
        }
        const femap_slots record = femap_slots_of(type);
        if (record.code < 0) continue;
        for (std::size_t e = first; e < offsets[g + 1]; ++e) {
            unsigned slots[20] = {};
            for (std::size_t k = 0; k < record.slots.size(); ++k)
                slots[record.slots[k]] = connectM(record.rows[k], e);
            out << e << "," << groups[e] << ",0,32," << record.code << ",1,0,0,0,0,0,0,0,"
                << std::endl;
            for (int k = 0; k < 10; ++k) out << slots[k] << ",";
            out << std::endl;
            for (int k = 10; k < 20; ++k) out << slots[k] << ",";
            out << std::endl;
            out << "0.,0.,0.,0,0,0,0,0,0," << std::endl;
            out << "0.,0.,0.," << std::endl;
            out << "0.,0.,0.," << std::endl;
            out << "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0," << std::endl;
        }
    }
    out << "-1" << std::endl;
    return 0;
}

struct femap_input {
    dense2D<double>& pos;
    dense2D<unsigned>& connectM;
    dense1D<unsigned>& offsets;
    dense1D<int>& types;
    dense1D<unsigned>& groups;
    unsigned count = 0;
    int previous = 0;

    static std::string without_blanks(std::string line)
    {
        line.erase(std::remove(line.begin(), line.end(), ' '), line.end());
        return line;
    }

    static std::vector<std::string> split(const std::string& line)
    {
        std::vector<std::string> fields;
        std::istringstream in(line);
        std::string token;
        while (std::getline(in, token, ',') && !in.eof()) fields.push_back(token);
        return fields;
    }

    static const std::string& field(const std::vector<std::string>& fields, std::size_t i)
    {
        if (i >= fields.size()) throw stopped();
        return fields[i];
    }

    static std::string line_of(std::istream& in)
    {
        std::string line;
        std::getline(in, line);
        return line;
    }

    void node(const std::vector<std::string>& fields)
    {
        const auto j = unsigned(std::atoi(field(fields, 0).c_str()));
        double x[3];
        for (std::size_t d = 0; d < 3; ++d) x[d] = std::atof(field(fields, 11 + d).c_str());
        if (j >= most_columns) throw too_many_columns();
        if (j >= pos.cols && !pos.resize(3, std::size_t(j) + 1, 0.0)) return;
        for (std::size_t d = 0; d < 3; ++d) pos(d, j) = x[d];
    }

    void element(const std::vector<std::string>& fields, std::istream& in)
    {
        const auto group = unsigned(std::atoi(field(fields, 1).c_str()));
        const int code = std::atoi(field(fields, 4).c_str());
        int type = 0;
        for (int t = 1; t < 21; ++t)
            if (code >= 0 && femap_slots_of(t).code == code) type = t;
        if (type == 0) {
            for (int i = 0; i < 6; ++i) line_of(in);
        } else {
            unsigned slots[20];
            for (std::size_t line = 0; line < 20; line += 10) {
                const auto values = split(line_of(in));
                for (std::size_t k = 0; k < 10; ++k)
                    slots[line + k] = unsigned(std::atoi(field(values, k).c_str()));
            }
            const std::size_t nodes = kz3::lattiq::element_type_nodes[type];
            connectM.resize(std::max(nodes, connectM.rows), connectM.cols + 1,
                            kz3::lattiq::NO_NODE);
            const femap_slots record = femap_slots_of(type);
            for (std::size_t k = 0; k < nodes; ++k)
                connectM(record.rows[k], connectM.cols - 1) = slots[record.slots[k]];
            for (int i = 0; i < 4; ++i) line_of(in);
            groups.push_back(group);
            ++count;
        }
        if (previous == 0) {
            types.push_back(type);
        } else if (previous != type) {
            types.push_back(type);
            offsets.push_back(count - 1);
        }
        previous = type;
    }

    int read(std::istream& in)
    {
        bool in_block = false;
        std::string block;
        offsets.push_back(0);
        std::string line;
        while (std::getline(in, line)) {
            const std::string text = without_blanks(line);
            if (!in_block) {
                in_block = text == "403" || text == "404";
                block = text;
            } else if (text == "-1") {
                in_block = false;
            } else if (block == "403") {
                node(split(line));
            } else {
                element(split(line), in);
            }
        }
        offsets.push_back(count);
        return pos.rows * pos.cols == 0 || connectM.rows * connectM.cols == 0 ? -1 : 0;
    }
};

/// @throws stopped, too_many_columns
inline int FEMAP_input(const char* name, dense2D<double>& pos, dense2D<unsigned>& connectM,
                       dense1D<unsigned>& offsets, dense1D<int>& types, dense1D<unsigned>& groups)
{
    std::ifstream in(name);
    pos.clear();
    connectM.clear();
    offsets.clear();
    types.clear();
    groups.clear();
    if (!in) return -1;
    return femap_input{pos, connectM, offsets, types, groups}.read(in);
}

} // namespace plain
