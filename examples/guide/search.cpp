// The lines shown in docs/search.md.

#include "expect.h"

int main()
{
    const auto pos = kz3::columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 5}});
    const auto connectM = kz3::columns<unsigned>({{0, 1, 2}});

    kz3::lattiq::node_detector detector(pos, connectM); // the nodes that connectM uses
    unsigned nearest = detector.find_closest(kz3::vector_fixed<double, 3>{1, 0, 0.5});
    kz3::dense1D<unsigned> inside;
    detector.find_in_box(kz3::vector_fixed<double, 3>{0, 0, 0},
                         kz3::vector_fixed<double, 3>{1, 1, 1}, inside);
    expect(nearest == 1, "the node below");
    std::sort(inside.begin(), inside.end());
    expect(holds(inside, {0u, 1u, 2u}), "the nodes in the box, its sides included");
}
