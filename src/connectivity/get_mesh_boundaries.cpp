#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

#include "connectivity/separate.h"
#include "connectivity/write_face.h"
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
        with_column_kind<Type>(column(connectM, e), [&](auto kind) {
            for_each_face<kind>([&](auto f) { faces += neighbor[f] == no_neighbor; });
        });
    }
    return faces;
}

/// Every element of the boundaries, whose columns stand one behind the other.
template <element_type Type>
void write_free_faces(const dense2D<unsigned>& connectM, const dense2D<unsigned>& neighbors,
                      dense2D<unsigned>& boundaries)
{
    if (boundaries.cols == 0) return;
    unsigned* face = column(boundaries, 0);
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const unsigned* neighbor = column(neighbors, e);
        with_column_kind<Type>(node, [&](auto kind) {
            for_each_face<kind>([&](auto f) {
                if (neighbor[f] != no_neighbor) return;
                write_face<Type, kind, f>(node, face);
                face += find_faced_type(Type)->boundary_rows;
            });
        });
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
        done = boundaries.resize(faced->boundary_rows, faces);
        if (done) write_free_faces<constant>(connectM, neighbors, boundaries);
    });
    return done ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
