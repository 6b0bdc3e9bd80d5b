#pragma once

#include <utility>

#include "core/column.h"
#include "quality/hexahedron.h"

namespace kz3::lattiq::detail {

/// Hexahedra side by side, each step done for all of them in one loop without branches, which a
/// compiler turns into vector operations. Inside an element the order of operations is that of
/// hexahedron_quality, so its quality is the same to the bit.
///
/// Three things make it cheap besides. Edges are measured once, not once for each of their two faces:
/// the length of a - b is that of b - a to the bit. The inner check is not computed where it is sure
/// to be passed, and only the elements that remain are measured one by one.
class hexahedron_block {
public:
    static constexpr size_t width = 16;

    /// Measures the elements of `width` columns from e on; pos has three rows at least.
    void measure(const dense2D<double>& pos, const dense2D<unsigned>& connectM, size_t e,
                 double* quality)
    {
        load(pos, connectM, e);
        measure_edges();
        start_inner_check();
        for (double& f : face_) f = 1.0;
        measure_faces(std::make_index_sequence<6>());
        measure_corners();
        for (size_t l = 0; l < width; ++l) {
            quality[l] = face_[l] * (lowest_corner_[l] * std::sqrt(0.125 * corner_sum_[l]));
            settled_[l] = quality[l] > 1e-12 ? passed_[l] : 1.0;
        }
        for (size_t l = 0; l < width; ++l) {
            if (settled_[l] != 0.0) continue;
            const double* p[8];
            for (size_t k = 0; k < 8; ++k) p[k] = column(pos, column(connectM, e + l)[k]);
            quality[l] = hexahedron_quality<3>(p);
        }
    }

private:
    static constexpr const element_kind& kind = kind_of<ET_HEXA8>;

    arrow<3> node(unsigned k, size_t l) const { return {at_[k][0][l], at_[k][1][l], at_[k][2][l]}; }
    arrow<3> ray(unsigned k, size_t l) const
    {
        return {ray_[k][0][l], ray_[k][1][l], ray_[k][2][l]};
    }

    void load(const dense2D<double>& pos, const dense2D<unsigned>& connectM, size_t e)
    {
        for (size_t l = 0; l < width; ++l) {
            const unsigned* nodes = column(connectM, e + l);
            for (unsigned k = 0; k < 8; ++k) {
                const double* p = column(pos, nodes[k]);
                for (unsigned d = 0; d < 3; ++d) at_[k][d][l] = p[d];
            }
        }
    }

    using pairs = double[8][8][width]; // a value of the nodes a < b of an edge

    static const double* of_pair(const pairs& values, unsigned a, unsigned b)
    {
        return a < b ? values[a][b] : values[b][a];
    }

    // The edges proper: each node's neighbours of higher number.
    void measure_edges()
    {
        for (unsigned a = 0; a < 8; ++a)
            for (const unsigned b : hexahedron_neighbors[a]) {
                if (b < a) continue;
                for (size_t l = 0; l < width; ++l) {
                    const arrow<3> edge = difference<3>(node(a, l).data, node(b, l).data);
                    square_[a][b][l] = dot(edge, edge);
                    length_[a][b][l] = std::sqrt(square_[a][b][l]);
                }
            }
    }

    void measure_corners()
    {
        for (double& lowest : lowest_corner_) lowest = 1.0;
        for (double& sum : corner_sum_) sum = 0.0;
        for (unsigned k = 0; k < 8; ++k) measure_corner(k, hexahedron_neighbors[k]);
    }

    void measure_corner(unsigned k, const unsigned* n)
    {
        const double* uu = of_pair(square_, k, n[0]);
        const double* vv = of_pair(square_, k, n[1]);
        const double* ww = of_pair(square_, k, n[2]);
        double corner[width];
        for (size_t l = 0; l < width; ++l) {
            const arrow<3> d = node(k, l);
            const arrow<3> u = difference<3>(node(n[0], l).data, d.data);
            const arrow<3> v = difference<3>(node(n[1], l).data, d.data);
            const arrow<3> w = difference<3>(node(n[2], l).data, d.data);
            corner[l] = hexahedron_corner(dot(cross(u, v), w), uu[l], vv[l], ww[l]);
        }
        for (size_t l = 0; l < width; ++l) {
            double lowest = lowest_corner_[l];
            take_lowest(lowest, corner[l]);
            lowest_corner_[l] = lowest;
            corner_sum_[l] += std::abs(corner[l]);
        }
    }

    // Rays from the centre to the nodes, and the square of the longest.
    void start_inner_check()
    {
        for (size_t l = 0; l < width; ++l) {
            double center[3];
            for (unsigned d = 0; d < 3; ++d) {
                center[d] = at_[0][d][l];
                for (unsigned k = 1; k < 8; ++k) center[d] += at_[k][d][l];
                center[d] *= 0.125;
            }
            double most = 0.0;
            for (unsigned k = 0; k < 8; ++k) {
                for (unsigned d = 0; d < 3; ++d) ray_[k][d][l] = at_[k][d][l] - center[d];
                most = largest(most, dot(ray(k, l), ray(k, l)));
            }
            cube_[l] = most * std::sqrt(most);
            passed_[l] = is_sure_size(most) ? 1.0 : 0.0;
        }
    }

    template <size_t... F>
    void measure_faces(std::index_sequence<F...>)
    {
        (measure_face<F>(), ...);
    }

    template <size_t F>
    void measure_face()
    {
        constexpr unsigned a = kind.face_rows[F][0];
        constexpr unsigned b = kind.face_rows[F][1];
        constexpr unsigned c = kind.face_rows[F][2];
        constexpr unsigned d = kind.face_rows[F][3];
        const double* ab = of_pair(length_, a, b);
        const double* bc = of_pair(length_, b, c);
        const double* cd = of_pair(length_, c, d);
        const double* da = of_pair(length_, d, a);
        // The roots of the diagonals take their time while the products are found.
        double ac[width];
        double bd[width];
        double twist[width];
        for (size_t l = 0; l < width; ++l) {
            ac[l] = length(difference<3>(node(c, l).data, node(a, l).data));
            bd[l] = length(difference<3>(node(d, l).data, node(b, l).data));
            twist[l] = sure_twist(ray(a, l), ray(b, l), ray(c, l), ray(d, l), cube_[l]);
        }
        double quality[width];
        for (size_t l = 0; l < width; ++l) {
            const arrow<3> n[4] = {node(a, l), node(b, l), node(c, l), node(d, l)};
            const double* const p[4] = {n[0].data, n[1].data, n[2].data, n[3].data};
            const double lengths[4] = {ab[l], bc[l], cd[l], da[l]};
            quality[l] = warped_quadrangle_quality(quadrangle<3>(p, lengths, ac[l], bd[l]));
        }
        for (size_t l = 0; l < width; ++l) {
            double lowest = face_[l];
            take_lowest(lowest, quality[l]);
            face_[l] = lowest;
            passed_[l] = quality[l] * twist[l] > sure_product(cube_[l]) ? passed_[l] : 0.0;
        }
    }

    double at_[8][3][width];
    double ray_[8][3][width];
    pairs square_;
    pairs length_;
    double cube_[width];
    double passed_[width]; // 1 while the inner check is sure to be passed, else 0
    double settled_[width];
    double face_[width];
    double lowest_corner_[width];
    double corner_sum_[width];
};

} // namespace kz3::lattiq::detail
