#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/formats.h>

#include "core/column.h"
#include "formats/append_column.h"
#include "formats/file.h"
#include "formats/line_reader.h"
#include "formats/text_number.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// ---- writing ----

// A line per column, with 0 for the rows up to `values` that the matrix lacks.
void write_values(block_writer& out, std::string_view keyword, const dense2D<double>& m,
                  size_t values)
{
    if (m.empty()) return;
    for (size_t j = 0; j < m.cols && out.ok(); ++j) {
        const double* value = column(m, j);
        out.print([=, rows = m.rows](char* to) {
            to = print_text(to, keyword);
            for (size_t k = 0; k < values; ++k)
                to = print_character(print_scientific<8>(to, k < rows ? value[k] : 0.0), ' ');
            return print_character(to, '\n');
        });
    }
}

char* print_corner(char* to, unsigned number, bool texture, bool normal)
{
    char* const first = to;
    to = print_integer(to, number);
    const std::string_view digits(first, size_t(to - first));
    to = print_character(to, '/');
    if (texture) to = print_text(to, digits);
    to = print_character(to, '/');
    return normal ? print_text(to, digits) : to;
}

// The blank comes behind the last corner only: corners run together, and are not to be told apart.
void write_faces(block_writer& out, const dense2D<unsigned>& faces, bool textures, bool normals)
{
    if (faces.empty()) return;
    for (size_t e = 0; e < faces.cols && out.ok(); ++e) {
        const unsigned* node = column(faces, e);
        out.print([=, rows = faces.rows](char* to) {
            to = print_text(to, " f ");
            for (size_t k = 0; k < rows; ++k) to = print_corner(to, node[k] + 1, textures, normals);
            return print_text(to, " \n");
        });
    }
}

// ---- reading ----

std::string_view skip_word(std::string_view text)
{
    size_t n = 0;
    while (n < text.size() && !is_space(text[n])) ++n;
    return text.substr(n);
}

// Passes the first word of a line; empty where there is none.
std::string_view take_word(std::string_view& line)
{
    const std::string_view text = skip_space(line);
    line = skip_word(text);
    return text.substr(0, text.size() - line.size());
}

// The longest beginning of a text that a stream of the standard library takes for one double: a sign,
// digits with a point among them, an exponent. It may turn out to be none, as "1e" or "-.".
size_t double_length(std::string_view text)
{
    bool digit = false;
    bool point = false;
    bool exponent = false;
    const auto is_sign = [&](size_t n) {
        return n < text.size() && (text[n] == '-' || text[n] == '+');
    };
    size_t n = is_sign(0) ? 1 : 0;
    for (; n < text.size(); ++n) {
        const char c = text[n];
        if (is_digit(c)) {
            digit = true;
        } else if (c == '.' && !point && !exponent) {
            point = true;
        } else if ((c == 'e' || c == 'E') && digit && !exponent) {
            exponent = true;
            if (is_sign(n + 1)) ++n;
        } else {
            break;
        }
    }
    return n;
}

// Passes a double as a stream does, so neither hexadecimal, "inf" and "nan" nor what is too large.
bool take_any_double(std::string_view& text, double& value)
{
    const std::string_view number = text.substr(0, double_length(text));
    if (number.empty()) return false;
    const char* first = number.data() + (number[0] == '-' || number[0] == '+');
    const char* last = number.data() + number.size();
    double magnitude = 0;
    const auto [next, error] = std::from_chars(first, last, magnitude);
    if (error == std::errc::result_out_of_range)
        magnitude = std::abs(runtime_double(number)); // too small is a number, too large is none
    else if (error != std::errc())
        return false;
    if (next != last || std::isinf(magnitude)) return false;
    value = number[0] == '-' ? -magnitude : magnitude;
    text.remove_prefix(number.size());
    return true;
}

// The same. Behind a number that the standard library takes, a stream could only take an exponent that
// has no digits, or a second one; all other texts are left to the long way.
bool take_double(std::string_view& text, double& value)
{
    text = skip_space(text);
    const bool negative = !text.empty() && text[0] == '-';
    const char* const first = text.data() + (negative ? 1 : 0);
    const char* const last = text.data() + text.size();
    if (first == last || !(is_digit(*first) || *first == '.')) return take_any_double(text, value);
    const auto [next, error] = std::from_chars(first, last, value);
    if (error != std::errc() || (next != last && (*next == 'e' || *next == 'E')))
        return take_any_double(text, value);
    if (negative) value = -value;
    text.remove_prefix(size_t(next - text.data()));
    return true;
}

// Passes an unsigned number as a stream does: a sign is taken, and of a negative one the value that
// 2^32 more gives; out of range is no number.
bool take_unsigned(std::string_view& text, unsigned& value)
{
    std::uint32_t plain = 0;
    const char* const end = pass_eight_digits(text.data(), text.data() + text.size(), plain);
    if (end != text.data() && (end == text.data() + text.size() || !is_digit(*end))) {
        value = plain;
        text.remove_prefix(size_t(end - text.data()));
        return true;
    }
    const bool negative = text[0] == '-';
    const char* first = text.data() + (negative || text[0] == '+');
    unsigned magnitude = 0;
    const auto [next, error] = std::from_chars(first, text.data() + text.size(), magnitude);
    if (error != std::errc()) return false;
    value = negative ? 0 - magnitude : magnitude;
    text.remove_prefix(size_t(next - text.data()));
    return true;
}

struct face {
    std::array<unsigned, 4> nodes{}; // the first of its positions, counted from 1
    std::array<size_t, 3> found{};   // number of its positions, textures and normals
};

// The indices of the corner that a text begins with, of which it takes away what it has read; false
// where a number runs into something other than a slash. What is no number ends the corner without
// fault.
bool read_corner(std::string_view& text, face& f)
{
    const auto at_end = [&] { return text.empty() || is_space(text[0]); };
    for (size_t list = 0; list < 3 && !at_end(); ++list) {
        if (text[0] != '/') {
            unsigned index = 0;
            if (!take_unsigned(text, index)) return true;
            if (list == 0 && f.found[0] < f.nodes.size()) f.nodes[f.found[0]] = index;
            ++f.found[list];
            if (at_end()) return true;
            if (text[0] != '/') return false;
        }
        text.remove_prefix(1);
    }
    return true;
}

class obj_reader {
public:
    obj_reader(std::FILE* stream, dense2D<double>& nodes, dense2D<double>& normal_list,
               dense2D<double>& texture_list, dense2D<unsigned>& triangle_list,
               dense2D<unsigned>& quad_list)
        : in(stream),
          pos(nodes),
          normals(normal_list),
          textures(texture_list),
          triangles(triangle_list),
          quads(quad_list)
    {
    }

    // False at the first bad line. Columns that find memory exhausted are left out without a word.
    bool read()
    {
        std::string_view line;
        while (in.next(line)) {
            const std::string_view word = take_word(line);
            if (word == "v" || word == "vn" || word == "vt" || word == "f") {
                if (line.empty()) return false;
                if (!(word == "f" ? read_face(line) : read_values(word, line))) return false;
            }
        }
        return true;
    }

private:
    bool read_values(std::string_view keyword, std::string_view text)
    {
        std::array<double, 4> value;
        size_t n = 0;
        while (n < value.size() && take_double(text, value[n])) ++n;
        if (keyword == "v") {
            if (n < 3) return false;
            append_column(pos, value.data(), 3);
        } else if (keyword == "vn") {
            seen_normal = true;
            if (n != 3) return false;
            append_column(normals, value.data(), 3);
        } else {
            seen_texture = true;
            if (n > 3) return false;
            // A column of another height is refused and lost; one of none would hold nothing.
            if (n != 0) append_column(textures, value.data(), n);
        }
        return true;
    }

    bool read_face(std::string_view text)
    {
        face f;
        for (text = skip_space(text); !text.empty(); text = skip_space(skip_word(text)))
            if (!read_corner(text, f)) return false;
        if (f.found[1] != 0 && !seen_texture) return false;
        if (f.found[2] != 0 && !seen_normal) return false;
        // With the end of the file met, a face is no longer stored, though a node is.
        if (!in.at_end()) store(f);
        return true;
    }

    void store(face& f)
    {
        for (unsigned& node : f.nodes) node = node != 0 ? node - 1 : unsigned(pos.cols);
        if (f.found[0] == 3) append_column(triangles, f.nodes.data(), 3);
        if (f.found[0] == 4) append_column(quads, f.nodes.data(), 4);
    }

    line_reader in;
    dense2D<double>& pos;
    dense2D<double>& normals;
    dense2D<double>& textures;
    dense2D<unsigned>& triangles;
    dense2D<unsigned>& quads;
    bool seen_normal = false;
    bool seen_texture = false;
};

// Whether a matrix of values per node has entries and other than this shape.
bool misfits(const dense2D<double>& m, size_t rows, size_t cols)
{
    return !m.empty() && (m.rows != rows || m.cols != cols);
}

} // namespace

int WavefrontOBJ_output(const char* file, const dense2D<double>& pos,
                        const dense2D<double>& normals, const dense2D<double>& textures,
                        const dense2D<unsigned>& triangles, const dense2D<unsigned>& quads)
{
    const detail::file stream(file, "w"); // ahead of the checks: a refused call empties the file
    if (!stream) return -1;               // file
    if (pos.rows != 2 && pos.rows != 3) return -2;           // pos
    if (misfits(normals, 3, pos.cols)) return -3;            // normals
    if (misfits(textures, 2, pos.cols)) return -4;           // textures
    if (!check_IDs(triangles, ET_TRIA3, NO_NODE)) return -5; // triangles
    if (!check_IDs(quads, ET_QUAD4, NO_NODE)) return -6;     // quads

    block_writer out(stream);
    write_values(out, " v ", pos, 3);
    write_values(out, " vt ", textures, 2);
    write_values(out, " vn ", normals, 3);
    write_faces(out, triangles, !textures.empty(), !normals.empty());
    write_faces(out, quads, !textures.empty(), !normals.empty());
    return 0;
}

int WavefrontOBJ_input(const char* file, dense2D<double>& pos, dense2D<double>& normals,
                       dense2D<double>& textures, dense2D<unsigned>& triangles,
                       dense2D<unsigned>& quads)
{
    pos.clear();
    normals.clear();
    textures.clear();
    triangles.clear();
    quads.clear();
    const detail::file stream(file, "r");
    if (!stream) return -1; // file
    return obj_reader(stream.get(), pos, normals, textures, triangles, quads).read() ? 0 : -1;
}

} // namespace kz3::lattiq
