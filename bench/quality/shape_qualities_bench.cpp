#include <algorithm>
#include <string>

#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

// Debian ships the library of VTK's copy of verdict without its header; these are its symbols.
extern "C" {
double vtkverdict__v_tri_aspect_ratio(int nodes, double coordinates[][3]);
double vtkverdict__v_quad_shape(int nodes, double coordinates[][3]);
double vtkverdict__v_tet_aspect_ratio(int nodes, double coordinates[][3]);
double vtkverdict__v_hex_scaled_jacobian(int nodes, double coordinates[][3]);
}

namespace {

/// The measure of verdict that is nearest to ours: the reciprocal for triangles and tetrahedra, the
/// worst corner of the others, which we weigh with their faces. Its formulas are others, so it is
/// the cost that compares.
struct peer_measure {
    const char* kind;
    double (*call)(int, double (*)[3]);
};

constexpr peer_measure peer_measures[] = {{"tria", vtkverdict__v_tri_aspect_ratio},
                                          {"quad", vtkverdict__v_quad_shape},
                                          {"tetra", vtkverdict__v_tet_aspect_ratio},
                                          {"hexa", vtkverdict__v_hex_scaled_jacobian}};

void add_peer(const peer_measure& peer, size_t n, bench::numbering order)
{
    const std::string kind = peer.kind;
    bench::add("shape_qualities", bench::input_name(kind, order), bench::mesh_size(kind, n),
               "verdict", [=] {
                   const bench::mesh& m = bench::mesh_of(kind, n, order);
                   return [&m, call = peer.call] {
                       dense1D<double> qualities(m.elements());
                       double corners[8][3];
                       for (size_t e = 0; e < m.elements(); ++e) {
                           for (size_t k = 0; k < m.connectM.rows; ++k)
                               std::copy_n(&m.pos(0, m.connectM(k, e)), 3, corners[k]);
                           qualities[e] = call(int(m.connectM.rows), corners);
                       }
                       return qualities;
                   };
               });
}

} // namespace

LATTIQ_BENCHMARKS(shape_qualities)
{
    const auto ours = [](const bench::mesh& m) {
        return [&m] {
            dense1D<double> qualities;
            shape_qualities(m.pos, m.connectM, m.type, qualities);
            return qualities;
        };
    };
    for (const char* kind : {"tria", "quad", "face_mix", "tetra", "hexa"})
        bench::add_on_meshes("shape_qualities", kind, ours);
    // Computing alone, whatever their number: the largest size shows nothing new.
    bench::add_peer_on_meshes("shape_qualities", "wedge", "lattiq", ours);
    for (const peer_measure& peer : peer_measures)
        for (const size_t n : {bench::small_size, bench::usual_size})
            for (const auto order : {bench::numbering::natural, bench::numbering::shuffled})
                add_peer(peer, n, order);
}
