// The lines shown in docs/core.md.

#include "expect.h"

using namespace kz3::lattiq;

int main()
{
    const auto faces = kz3::columns<unsigned>({{0, 1, 2, NO_NODE}, {0, 2, 3, 4}}); // one of each
    check_IDs(faces, ET_FACE_MIX, 5);                                              // true
    expect(check_IDs(faces, ET_FACE_MIX, 5), "IDs below 5");
    expect(!check_IDs(faces, ET_FACE_MIX, 4), "node 4 is not below 4");

    kz3::dense1D<unsigned> indices{2};
    unique_indices(indices, kz3::dense1D<unsigned>{4, 2, 4, NO_NODE, 7}); // indices: 2, 4, 2, 7
    expect(holds(indices, {2u, 4u, 2u, 7u}), "appended, distinct among themselves");

    kz3::dense1D<unsigned> border{0, 3, 9};
    const kz3::dense1D<unsigned> id_map{5, 1, 2, 0};
    change_indices(border, id_map);
    expect(holds(border, {5u, 0u, 9u}), "changed where the table reaches");

    kz3::dense1D<double> values{10, 20, 30};
    permutation(values, kz3::dense1D<unsigned>{2, 0, 1}); // 20, 30, 10
    expect(holds(values, {20.0, 30.0, 10.0}), "permuted");

    kz3::dense1D<unsigned> second_to_first, first_to_second;
    const auto first = kz3::columns<unsigned>({{1, 2, 3}});
    const auto second = kz3::columns<unsigned>({{2, 1, 3}});
    get_IDs(first, second, second_to_first, first_to_second, true);  // no match
    get_IDs(first, second, second_to_first, first_to_second, false); // a match: run the other way
    expect(holds(second_to_first, {0u}) && holds(first_to_second, {0u}), "the same triangle");
    get_IDs(first, second, second_to_first, first_to_second, true);
    expect(holds(second_to_first, {NO_NODE}), "not node by node");
}
