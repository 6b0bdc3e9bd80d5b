// The lines shown in docs/quality.md.

#include "expect.h"

int main()
{
    const auto pos = kz3::columns<double>({{0, 0}, {1, 0}, {0, 1}, {1, 1}});
    const auto tria = kz3::columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    const kz3::dense1D<float> sizes(4, 1.0f);

    kz3::misc::histogram shapes(0.0, 1.0, 10);
    kz3::lattiq::shape_qualities(pos, tria, kz3::lattiq::ET_TRIA3, shapes);
    // shapes.minimum() is the worst triangle, shapes.count(0) how many score below 0.1

    kz3::misc::histogram fit(kz3::dense1D<double>{0.5, 0.7, 1.4, 2.0});
    kz3::lattiq::edge_qualities(pos, tria, kz3::lattiq::ET_TRIA3, sizes, fit);
    // fit.count(1) edges are about as long as desired, fit.above() more than twice as long
    expect(shapes.minimum() > 0.5 && shapes.count(0) == 0, "two fair triangles");
    expect(fit.count(1) == 4 && fit.count(2) == 1 && fit.above() == 0, "four sides, one diagonal");

    kz3::dense1D<double> qualities;
    kz3::lattiq::shape_qualities(pos, tria, kz3::lattiq::ET_TRIA3, qualities);
    kz3::misc::histogram h(0.0, 1.0, 4);                    // 0, 0.25, 0.5, 0.75, 1
    kz3::misc::histogram g(kz3::dense1D<double>{0, 1, 10}); // two bins of unequal width
    h.process(0.3);                                         // one value
    h.process(qualities);                                   // or many
    expect(h.count(1) == 1, "0.3 lies in the second quarter");

    kz3::dense2D<unsigned> edges;
    kz3::lattiq::copy_edges(tria, kz3::lattiq::ET_TRIA3, edges);
    // (1,2) (0,1) (2,0) (1,3) (3,2): the shared edge as the first triangle runs along it
    expect(holds(edges, {{1u, 2u}, {0u, 1u}, {2u, 0u}, {1u, 3u}, {3u, 2u}}), "edges");

    kz3::dense2D<double> lengths;
    kz3::lattiq::edge_lengths(pos, edges, lengths); // lengths(1, j): mean length at node j
    expect(lengths.cols == 4 && lengths(1, 0) == 1.0, "two edges of length 1 at node 0");
}
