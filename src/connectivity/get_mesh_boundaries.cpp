#include <algorithm>

#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

#include "connectivity/separate.h"
#include "core/column.h"
#include "core/element_table.h"
#include "core/out_of_memory.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

constexpr unsigned no_neighbor = 0xFFFFFFFF;

/// Rows that the kind of a mixed column does not use hold no_neighbor too, and are not looked at.
template <element_type Type>
size_t count_free_faces(const dense2D<unsigned>& connectM, const dense2D<unsigned>& neighbors)
{
    size_t faces = 0;
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* neighbor = column(neighbors, e);
        const element_kind& kind = column_kind<Type>(column(connectM, e));
        faces += size_t(std::count(neighbor, neighbor + kind.faces, no_neighbor));
    }
    return faces;
}

/// A triangle in a matrix of 4 rows leaves the last one as it is.
template <element_type Type>
void write_free_faces(const dense2D<unsigned>& connectM, const dense2D<unsigned>& neighbors,
                      dense2D<unsigned>& boundaries)
{
    size_t j = 0;
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const unsigned* neighbor = column(neighbors, e);
        const element_kind& kind = column_kind<Type>(node);
        for (unsigned f = 0; f < kind.faces; ++f) {
            if (neighbor[f] != no_neighbor) continue;
            unsigned* face = column(boundaries, j++);
            for (unsigned k = 0; k < kind.face_nodes[f]; ++k) face[k] = node[kind.face_rows[f][k]];
        }
    }
}

} // namespace

int get_mesh_boundaries(const dense2D<unsigned>& connectM, const dense2D<unsigned>& neighbors,
                        element_type type, dense2D<unsigned>& boundaries)
{
    boundaries.clear();
    if (connectM.empty()) return 0;
    if (connectM.rows == 3 && type == ET_FACE_MIX) type = ET_TRIA3;
    if (!in_node_table(type) || !check_IDs(connectM, type, NO_NODE)) return -1; // connectM
    const faced_type* faced = find_faced_type(type);
    if (!faced) return -2;                       // type
    if (connectM.rows != faced->rows) return -1; // connectM: solids of 4, 5 or 6 rows
    if (neighbors.cols != connectM.cols || neighbors.rows != faced->face_rows) return -2;
    if (!separate(boundaries, connectM) || !separate(boundaries, neighbors)) return out_of_memory;

    bool done = false;
    with_faced_type(type, [&](auto constant) {
        const size_t faces = count_free_faces<constant>(connectM, neighbors);
        done = boundaries.resize(faced->boundary_rows, faces, NO_NODE);
        if (done) write_free_faces<constant>(connectM, neighbors, boundaries);
    });
    return done ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
