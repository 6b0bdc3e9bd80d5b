#include "formats/split_connectivities.h"

#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/element_type.h>

#include "core/column.h"
#include "core/out_of_memory.h"

namespace kz3::lattiq::detail {
namespace {

// The kind of an element in a mixed matrix, by its node count; ET_NONE where there is none.
element_type kind_of_count(int mixed_type, unsigned nodes)
{
    switch (nodes) {
    case 3:
        return mixed_type == ET_FACE_MIX ? ET_TRIA3 : ET_NONE;
    case 4:
        return mixed_type == ET_FACE_MIX ? ET_QUAD4 : ET_TETRA4;
    case 5:
        return mixed_type == ET_FACE_MIX ? ET_NONE : ET_PYRA5;
    case 6:
        return mixed_type == ET_FACE_MIX ? ET_NONE : ET_PENTA6;
    case 8:
        return mixed_type == ET_FACE_MIX ? ET_NONE : ET_HEXA8;
    default:
        return ET_NONE;
    }
}

struct split {
    std::vector<dense2D<unsigned>>& matrices;
    dense1D<unsigned>& kinds;
    dense1D<unsigned>& origins;

    bool append(const dense2D<unsigned>& m, int type, size_t origin)
    {
        matrices.push_back(m);
        return kinds.push_back(unsigned(type)) && origins.push_back(unsigned(origin));
    }

    bool append_groups(const dense2D<unsigned>& mixed, int type, size_t origin)
    {
        dense2D<unsigned> sorted;
        dense1D<unsigned> group_nodes, group_ends, new_indices;
        if (!sorted.copy(mixed)) return false;
        if (sort_elfes(sorted, group_nodes, group_ends, new_indices) != 0) return false;

        size_t begin = 0;
        for (size_t g = 0; g < group_nodes.size; ++g) {
            const size_t end = group_ends[g];
            const element_type kind = kind_of_count(type, group_nodes[g]);
            if (kind != ET_NONE && end != begin &&
                !append(sorted.sub_matrix(0, begin, group_nodes[g], end - begin), kind, origin))
                return false;
            begin = end;
        }
        return true;
    }
};

} // namespace

int split_connectivities(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                         const dense1D<int>& types, std::vector<dense2D<unsigned>>& matrices,
                         dense1D<unsigned>& kinds, dense1D<unsigned>& origins)
{
    matrices.clear();
    kinds.clear();
    origins.clear();

    split result{matrices, kinds, origins};
    for (size_t i = 0; first + i != last; ++i) {
        if (first[i].empty()) continue;
        const bool mixed = types[i] == ET_FACE_MIX || types[i] == ET_SOLID_MIX;
        if (mixed ? !result.append_groups(first[i], types[i], i)
                  : !result.append(first[i], types[i], i))
            return out_of_memory;
    }
    return 0;
}

} // namespace kz3::lattiq::detail
