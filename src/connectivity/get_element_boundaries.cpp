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

template <element_type Type>
size_t count_faces(const dense2D<unsigned>& connectM)
{
    size_t faces = 0;
    for (size_t e = 0; e < connectM.cols; ++e)
        faces += column_kind<Type>(column(connectM, e)).faces;
    return faces;
}

/// Every element of the boundaries, whose columns stand one behind the other.
template <element_type Type>
void write_faces(const dense2D<unsigned>& connectM, dense2D<unsigned>& boundaries)
{
    unsigned* face = column(boundaries, 0);
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        with_column_kind<Type>(node, [&](auto kind) {
            for_each_face<kind>([&](auto f) {
                write_face<Type, kind, f>(node, face);
                face += find_faced_type(Type)->boundary_rows;
            });
        });
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
        done = boundaries.resize(faced->boundary_rows, count_faces<constant>(connectM));
        if (done) write_faces<constant>(connectM, boundaries);
    });
    return done ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
