#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

#include "core/column.h"
#include "core/stop.h"
#include "formats/femap_topology.h"
#include "formats/line_reader.h"
#include "formats/text_number.h"

namespace kz3::lattiq::detail {

using femap_point = std::array<double, 3>;
using femap_node_slots = std::array<unsigned, femap_slots>;

/// Whether the line without its blanks is the text. A tab is no blank.
inline bool equals_without_blanks(std::string_view line, std::string_view text)
{
    size_t matched = 0;
    for (const char c : line) {
        if (c == ' ') continue;
        if (matched == text.size() || c != text[matched]) return false;
        ++matched;
    }
    return matched == text.size();
}

/// Takes the fields of a line one after the other. What no comma ends is no field, and asking for one
/// that the line has not ends the process.
class femap_fields {
public:
    explicit femap_fields(std::string_view line) : at(line.data()), last(at + line.size()) {}

    std::string_view text()
    {
        const char* const first = at;
        while (at != last && *at != ',') ++at;
        if (at == last) stop();
        ++at;
        return {first, size_t(at - first) - 1};
    }

    /// As atoi. Most are a single digit.
    int whole()
    {
        if (last - at < 2 || at[1] != ',' || !is_digit(at[0])) return long_whole();
        at += 2;
        return at[-2] - '0';
    }

    /// As atof.
    double real()
    {
        const bool negative = at != last && *at == '-';
        const char* const first = at + (negative ? 1 : 0);
        if (first == last || !is_digit(*first)) return text_to_double(text());
        double magnitude = 0;
        const auto [end, error] = std::from_chars(first, last, magnitude);
        if (error != std::errc() || end == last || *end != ',') return text_to_double(text());
        at = end + 1;
        return negative ? -magnitude : magnitude;
    }

    void skip(unsigned n)
    {
        while (n-- > 0) text();
    }

private:
    int long_whole()
    {
        std::uint32_t digits = 0;
        const char* const end = pass_eight_digits(at, last, digits);
        if (end == last || *end != ',') return text_to_int(text());
        at = end + 1;
        return int(digits);
    }

    const char* at;
    const char* last;
};

/// Nodes, each in the column that its identifier names.
///
/// An identifier decides how many columns there are, so a single line may ask for the columns of four
/// thousand million nodes. Only storage that is written to takes up memory, as a rule. The nodes of
/// such columns therefore wait until all are known: the columns are sized once, as copying would write
/// to them, and those that no line names are left as the storage held them.
class femap_nodes {
public:
    /// @param nodes    empty
    /// @param at_hand  columns that are filled whatever the number of lines
    explicit femap_nodes(dense2D<double>& nodes, size_t at_hand = size_t(1) << 24)
        : pos(nodes), fewest(at_hand)
    {
    }

    /// A later node of the same identifier takes the place of an earlier one.
    void add(unsigned id, const femap_point& x)
    {
        ++lines;
        if (id < pos.cols || (far.empty() && id < near_columns()))
            store({id, x});
        else
            far.push_back({id, x});
    }

    /// Places the nodes that wait.
    void finish()
    {
        if (far.empty()) return;
        const auto by_id = [](const node& a, const node& b) { return a.id < b.id; };
        pos.reserve(3, size_t(std::max_element(far.begin(), far.end(), by_id)->id) + 1);
        for (const node& waiting : far) store(waiting);
    }

private:
    struct node {
        unsigned id;
        femap_point x;
    };

    // Columns for the lines read so far whose memory is worth being filled.
    size_t near_columns() const { return std::max(fewest, 16 * lines); }

    // A node whose column cannot be had is left out.
    void store(const node& n)
    {
        if (n.id < pos.cols || extend(size_t(n.id) + 1))
            std::copy(n.x.begin(), n.x.end(), column(pos, n.id));
    }

    bool extend(size_t cols)
    {
        const size_t held = pos.cols;
        if (held == 0 || cols > pos.column_capacity())
            pos.reserve(3, std::max<size_t>({cols, 2 * held, 4}));
        if (!pos.resize(3, cols)) return false;
        if (cols <= near_columns())
            for (size_t j = held; j < cols; ++j) std::fill_n(column(pos, j), 3, 0.0);
        return true;
    }

    dense2D<double>& pos;
    size_t fewest;
    std::vector<node> far;
    size_t lines = 0;
};

/// Elements in the order of the file, cut into runs of one type. One for which memory is exhausted is
/// left out whole, so that the outputs go on to fit each other.
class femap_elements {
public:
    femap_elements(dense2D<unsigned>& elements, dense1D<unsigned>& run_offsets,
                   dense1D<int>& run_types, dense1D<unsigned>& element_groups)
        : connectM(elements), offsets(run_offsets), types(run_types), groups(element_groups)
    {
        offsets.push_back(0);
    }

    void add(const femap_topology& topology, unsigned group, const femap_node_slots& slots)
    {
        const size_t nodes = element_type_nodes[topology.type];
        if (!has_room() || !append_holes(nodes)) return;
        unsigned* node = column(connectM, count);
        for (size_t k = 0; k < nodes; ++k) node[k] = slots[topology.slot[k]];
        groups.push_back(group);
        ++count;
        follow(topology.type);
    }

    /// An element of no known type. It has no column and yet ends the run of those before it, one
    /// element too early.
    void pass_over()
    {
        if (has_room()) follow(ET_NONE);
    }

    void finish() { offsets.push_back(count); }

private:
    // Whether all lists can take an element and the last bound.
    bool has_room()
    {
        return offsets.size != 0 && offsets.reserve(offsets.size + 2, 2) &&
               types.reserve(types.size + 1, 2) && groups.reserve(groups.size + 1, 2);
    }

    bool append_holes(size_t nodes)
    {
        const size_t rows = std::max(connectM.rows, nodes);
        if (count == 0 || rows > connectM.rows || count == connectM.column_capacity())
            connectM.reserve(rows, std::max<size_t>(2 * size_t(count), 4));
        return connectM.resize(rows, size_t(count) + 1, NO_NODE);
    }

    void follow(element_type type)
    {
        if (previous == ET_NONE) {
            types.push_back(type);
        } else if (previous != type) {
            types.push_back(type);
            offsets.push_back(count - 1);
        }
        previous = type;
    }

    dense2D<unsigned>& connectM;
    dense1D<unsigned>& offsets;
    dense1D<int>& types;
    dense1D<unsigned>& groups;
    unsigned count = 0;
    element_type previous = ET_NONE;
};

/// Walks the lines of a neutral file: takes the node and the element block, and passes over all others.
class femap_reader {
public:
    femap_reader(std::FILE* stream, femap_nodes& node_list, femap_elements& element_list)
        : in(stream), nodes(node_list), elements(element_list)
    {
    }

    void read()
    {
        std::string_view line;
        while (in.next(line)) {
            if (block == outside)
                block = block_of(line);
            else if (equals_without_blanks(line, "-1"))
                block = outside;
            else if (block == node_block)
                read_node(line);
            else
                read_element(line);
        }
    }

private:
    enum block_kind : std::uint8_t { outside, node_block, element_block };

    static block_kind block_of(std::string_view line)
    {
        if (equals_without_blanks(line, "403")) return node_block;
        return equals_without_blanks(line, "404") ? element_block : outside;
    }

    void read_node(std::string_view line)
    {
        femap_fields fields(line);
        const auto id = unsigned(fields.whole());
        fields.skip(10);
        const double x = fields.real();
        const double y = fields.real();
        const double z = fields.real();
        nodes.add(id, {x, y, z});
    }

    void read_element(std::string_view line)
    {
        femap_fields fields(line);
        fields.skip(1);
        const auto group = unsigned(fields.whole());
        fields.skip(2);
        const femap_topology* topology = find_femap_topology(fields.whole());
        if (topology == nullptr) {
            skip_lines(6);
            elements.pass_over();
            return;
        }
        femap_node_slots slots;
        read_slots(slots.data());
        read_slots(slots.data() + 10);
        skip_lines(4);
        elements.add(*topology, group, slots);
    }

    // A line that the file no longer has is one without fields.
    void read_slots(unsigned* slot)
    {
        std::string_view line;
        if (!in.next(line)) stop();
        femap_fields fields(line);
        for (int k = 0; k < 10; ++k) slot[k] = unsigned(fields.whole());
    }

    void skip_lines(int n)
    {
        std::string_view line;
        while (n-- > 0) in.next(line);
    }

    line_reader in;
    femap_nodes& nodes;
    femap_elements& elements;
    block_kind block = outside;
};

} // namespace kz3::lattiq::detail
