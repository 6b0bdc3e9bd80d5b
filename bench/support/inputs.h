#pragma once

#include <cstddef>
#include <string>

#include <kz3/lattiq/lattiq.h>

/// Seeded inputs, made on first use and kept until the program ends: the same for lattiq and peers.
namespace bench {

/// How nodes and elements are numbered. Locality decides much: `natural` runs along the grid,
/// `shuffled` has nodes and elements in random order.
enum class numbering { natural, shuffled };

/// "tetra" or "tetra_shuffled", as it stands in the name of a benchmark.
std::string input_name(const std::string& kind, numbering order);

struct mesh {
    kz3::dense2D<double> pos;
    kz3::dense2D<unsigned> connectM;
    kz3::lattiq::element_type type = kz3::lattiq::ET_NONE;
    size_t elements() const { return connectM.cols; }
};

/// A mesh of about n elements over the unit square (3 rows, z a gentle wave) or in the unit cube.
/// kind: "tria", "quad", "face_mix", "tetra" (six per cube), "hexa", "wedge" or "solid_mix" (layers
/// of hexahedra, wedges, pyramids and tetrahedra that meet face to face). Nodes are moved a little
/// at random, so that no two lengths agree.
const mesh& mesh_of(const std::string& kind, size_t n, numbering order = numbering::natural);

/// The number of elements of mesh_of(kind, n), which the name of a benchmark states.
size_t mesh_size(const std::string& kind, size_t n);

/// n points, 3 x n. kind: "uniform" in the unit cube, "clustered" (a thousand Gaussian clusters of
/// very different widths), "grid" (a cubic lattice, in random order), "surface" (on a sphere),
/// "ordered" (uniform, but numbered along the rows of a grid).
const kz3::dense2D<double>& points_of(const std::string& kind, size_t n);

/// n random places to ask about the points of that kind: near them, but not on them.
const kz3::dense2D<double>& queries_of(const std::string& kind, size_t n);

/// About n facets of a sphere as triangles with their own three nodes each, what an STL file holds: row
/// by row along the sphere, or in random order. Coordinates are floats held as doubles. Shared nodes
/// have equal coordinates.
const mesh& soup_of(size_t n, numbering order);

/// The number of facets in soup_of(n, order).
size_t soup_size(size_t n);

/// The least height of a facet of soup_of(n, order).
double soup_height(size_t n, numbering order);

/// The soup with each corner moved by up to `distance` in each direction.
const mesh& jittered_soup(size_t n, double distance, numbering order);

/// n valid tensors of 2 or 3 dimensions, 3 or 6 rows, with eigenvalues spread over six decades and
/// random axes.
const kz3::dense2D<float>& tensors_of(unsigned dimension, size_t n);

/// A file of that name in the directory for temporary files, removed at the end of the program.
std::string scratch_file(const std::string& name);

} // namespace bench
