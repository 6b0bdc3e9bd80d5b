#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

#include "connectivity/separate.h"
#include "core/column.h"
#include "core/element_table.h"
#include "core/out_of_memory.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

template <element_type Type>
size_t count_faces(const dense2D<unsigned>& connectM)
{
    size_t faces = 0;
    for (size_t e = 0; e < connectM.cols; ++e)
        faces += column_kind<Type>(column(connectM, e)).faces;
    return faces;
}

/// A triangle in a matrix of 4 rows leaves the last one as it is.
template <element_type Type>
void write_faces(const dense2D<unsigned>& connectM, dense2D<unsigned>& boundaries)
{
    size_t j = 0;
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const element_kind& kind = column_kind<Type>(node);
        for (unsigned f = 0; f < kind.faces; ++f) {
            unsigned* face = column(boundaries, j++);
            for (unsigned k = 0; k < kind.face_nodes[f]; ++k) face[k] = node[kind.face_rows[f][k]];
        }
    }
}

} // namespace

int get_element_boundaries(const dense2D<unsigned>& connectM, element_type type,
                           dense2D<unsigned>& boundaries)
{
    boundaries.clear();
    if (connectM.empty()) return 0;
    if (connectM.rows == 3 && type == ET_FACE_MIX) type = ET_TRIA3;
    if (!in_node_table(type) || !check_IDs(connectM, type, NO_NODE)) return -1; // connectM
    const faced_type* faced = find_faced_type(type);
    if (!faced) return -2;                       // type
    if (connectM.rows != faced->rows) return -1; // connectM: solids of 4, 5 or 6 rows
    if (!separate(boundaries, connectM)) return out_of_memory;

    bool done = false;
    with_faced_type(type, [&](auto constant) {
        done = boundaries.resize(faced->boundary_rows, count_faces<constant>(connectM), NO_NODE);
        if (done) write_faces<constant>(connectM, boundaries);
    });
    return done ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
