#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

/// One quality at a time, each formula written out for its kind.
namespace plain {

struct point {
    double x, y, z;
};

inline point operator-(point a, point b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline double dot(point a, point b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline point cross(point a, point b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double norm2(point a)
{
    return dot(a, a);
}
inline double norm(point a)
{
    return std::sqrt(norm2(a));
}

inline double lowest(std::vector<double> values)
{
    double low = values[0];
    for (std::size_t i = 1; i < values.size(); ++i)
        if (!(values[i] >= low)) low = values[i];
    return low;
}

inline double within(double x, double low, double high)
{
    if (x < low) return low;
    if (x > high) return high;
    return x;
}

/// Measures in the space of `rows` coordinates; those that pos does not have are 0. With 2 rows faces
/// are measured in the plane, whatever stands in the third.
struct shapes {
    std::size_t rows;

    double triangle(point a, point b, point c) const
    {
        if (rows != 2 && rows != 3) return 0;
        if (rows == 2) a.z = b.z = c.z = 0;
        const double l1 = norm(a - b), l2 = norm(a - c), l3 = norm(b - c);
        const double h = std::max(l1, std::max(l2, l3));
        if (!(h > 0)) return 0;
        if (rows == 2) {
            const double s = (c.y - a.y) * (b.x - a.x) - (b.y - a.y) * (c.x - a.x);
            return within(s / ((l3 + l2 + l1) * h) * 3.4641016151377544, -1, 1);
        }
        const double s = norm(cross(a - c, b - c));
        return std::min(s / ((l3 + l2 + l1) * h) * 3.4641016151377544, 1.0);
    }

    double quadrangle(point p0, point p1, point p2, point p3) const
    {
        if (rows == 2) p0.z = p1.z = p2.z = p3.z = 0;
        const point e0 = p1 - p0, e1 = p2 - p1, e2 = p3 - p2, e3 = p0 - p3;
        const double perimeter = norm(e0) + norm(e1) + norm(e2) + norm(e3);
        const double edge = std::max(std::max(norm(e0), norm(e1)), std::max(norm(e2), norm(e3)));
        const double d1 = norm(p2 - p0), d2 = norm(p3 - p1);
        const double dmin = std::min(d1, d2), dmax = std::max(d1, d2);
        if (rows == 2) {
            const double c0 = e3.x * e0.y - e3.y * e0.x;
            const double c1 = e0.x * e1.y - e0.y * e1.x;
            const double c2 = e1.x * e2.y - e1.y * e2.x;
            const double c3 = e2.x * e3.y - e2.y * e3.x;
            if (!(dmax > 0)) return 0;
            return within(std::sqrt(dmin / dmax) * lowest({c0, c1, c2, c3}) /
                              (std::max(dmax, edge) * perimeter) * 5.656854249492381,
                          -1, 1);
        }
        const point n0 = cross(e3, e0), n1 = cross(e0, e1), n2 = cross(e1, e2), n3 = cross(e2, e3);
        double f = 0;
        if (dmax > 0)
            f = std::min(std::sqrt(dmin / dmax) *
                             std::sqrt(lowest({norm2(n0), norm2(n1), norm2(n2), norm2(n3)})) /
                             (perimeter * std::max(dmax, edge)) * 5.656854249492381,
                         1.0);
        double w = 0;
        if (norm2(n3) * norm2(n1) > 0 && norm2(n0) * norm2(n2) > 0) {
            const double c1 = dot(n3, n1) / std::sqrt(norm2(n3) * norm2(n1));
            const double c2 = dot(n0, n2) / std::sqrt(norm2(n0) * norm2(n2));
            w = (lowest({c1, c2}) + 1) * 0.5;
        }
        return within(f * w, 0, 1);
    }

    static double area(double x, double y, double z)
    {
        return x * y - z * z > 0 ? std::sqrt(x * y - z * z) : 0;
    }

    static double kernel(point a, point b, point c, point d)
    {
        const point u = a - d, v = b - d, w = c - d;
        const double uv2 = norm2(v) + norm2(u) - 2 * dot(u, v);
        const double uw2 = norm2(w) + norm2(u) - 2 * dot(u, w);
        const double vw2 = norm2(w) + norm2(v) - 2 * dot(v, w);
        const double faces = area(norm2(v), norm2(u), dot(u, v)) +
                             area(norm2(w), norm2(u), dot(u, w)) +
                             area(norm2(w), norm2(v), dot(v, w)) +
                             area(uw2, uv2, norm2(u) - dot(u, v) - dot(u, w) + dot(v, w));
        double h2 = norm2(u);
        for (const double square : {norm2(v), norm2(w), uv2, uw2, vw2}) h2 = std::max(h2, square);
        const double scale = std::sqrt(h2) * faces;
        if (!(scale > 0)) return 0;
        return within(dot(cross(u, v), w) * 4.89897948556 / scale, -1, 1);
    }

    static double tetrahedron(point p0, point p1, point p2, point p3)
    {
        double q = kernel(p0, p1, p2, p3);
        if (std::abs(q) >= 1e-9) return q;
        const double others[3] = {-kernel(p1, p2, p3, p0), kernel(p2, p3, p0, p1),
                                  -kernel(p3, p0, p1, p2)};
        for (const double x : others) {
            if (!(x >= 0) && q > 0) q = 0;
            if (x > 0 && !(q >= 0)) q = 0;
            if (!(std::abs(x) >= std::abs(q))) q = x;
        }
        return q;
    }

    double pyramid(point b0, point b1, point b2, point b3, point p) const
    {
        const double m = lowest({1.0, kernel(b0, b2, b1, p), kernel(b1, b3, b2, p),
                                 kernel(b2, b0, b3, p), kernel(b3, b1, b0, p)});
        const point a0 = b0 - p, a1 = b1 - p, a2 = b2 - p, a3 = b3 - p;
        const point ac = a2 - a0, bd = a3 - a1;
        const double x = dot(cross(ac, a1), a3);
        const double y = dot(cross(a0, bd), a2);
        const double n = x < 0 && y < 0 ? -x * y : x * y;
        const double q =
            std::sqrt(norm2(bd) * norm2(ac) * norm2(a3) * norm2(a2) * norm2(a1) * norm2(a0));
        const double t = within(q > 0 ? n / q : n, -1, 1);
        const double r = quadrangle(b0, b1, b2, b3) * t;
        return r > 1e-12 && !(m >= 1e-12) ? m : r;
    }

    static double sine(point d, point a, point b, point c)
    {
        const point w = c - d, n = cross(a - d, b - d);
        const double root = std::sqrt(norm2(w) * norm2(n));
        return root == 0 ? dot(n, w) : dot(n, w) / root;
    }

    double wedge(const std::vector<point>& p) const
    {
        const auto mean = [](double a, double b, double c, double d, double e, double f) {
            return (a + b + c + d + e + f) * 0.16666666666666666;
        };
        const point c{mean(p[0].x, p[1].x, p[2].x, p[3].x, p[4].x, p[5].x),
                      mean(p[0].y, p[1].y, p[2].y, p[3].y, p[4].y, p[5].y),
                      mean(p[0].z, p[1].z, p[2].z, p[3].z, p[4].z, p[5].z)};
        const double v =
            lowest({1.0, -kernel(p[0], p[1], p[2], c), -kernel(p[3], p[5], p[4], c),
                    pyramid(p[2], p[1], p[4], p[5], c), pyramid(p[5], p[3], p[0], p[2], c),
                    pyramid(p[0], p[3], p[4], p[1], c)});
        const double s[6] = {sine(p[0], p[1], p[2], p[3]), -sine(p[3], p[4], p[5], p[0]),
                             sine(p[1], p[2], p[0], p[4]), -sine(p[4], p[5], p[3], p[1]),
                             sine(p[2], p[0], p[1], p[5]), -sine(p[5], p[3], p[4], p[2])};
        double sum = 0;
        for (const double x : s) sum += std::abs(x);
        const double g = lowest({1.0, s[0], s[1], s[2], s[3], s[4], s[5]}) *
                         std::sqrt(0.16666666666666666 * sum);
        const double f =
            lowest({triangle(p[0], p[1], p[2]), triangle(p[3], p[4], p[5]),
                    quadrangle(p[2], p[1], p[4], p[5]), quadrangle(p[5], p[3], p[0], p[2]),
                    quadrangle(p[0], p[3], p[4], p[1])});
        const double r = f * g;
        return r > 1e-12 && !(v >= 1e-12) ? v : r;
    }

    static double corner(point d, point a, point b, point c)
    {
        const point u = a - d, v = b - d, w = c - d;
        const double t = dot(cross(u, v), w);
        const double root = std::sqrt(norm2(w) * norm2(v) * norm2(u));
        return within(root == 0 ? t : t / root, -1, 1);
    }

    double hexahedron(const std::vector<point>& p) const
    {
        point c{0, 0, 0};
        for (int k = 0; k < 8; ++k) {
            c.x += p[k].x;
            c.y += p[k].y;
            c.z += p[k].z;
        }
        c = {c.x * 0.125, c.y * 0.125, c.z * 0.125};
        const double v =
            lowest({1.0, pyramid(p[0], p[3], p[7], p[4], c), pyramid(p[1], p[5], p[6], p[2], c),
                    pyramid(p[0], p[4], p[5], p[1], c), pyramid(p[3], p[2], p[6], p[7], c),
                    pyramid(p[0], p[1], p[2], p[3], c), pyramid(p[4], p[7], p[6], p[5], c)});
        const double k[8] = {corner(p[0], p[1], p[3], p[4]), corner(p[1], p[2], p[0], p[5]),
                             corner(p[2], p[3], p[1], p[6]), corner(p[3], p[0], p[2], p[7]),
                             corner(p[4], p[7], p[5], p[0]), corner(p[5], p[4], p[6], p[1]),
                             corner(p[6], p[5], p[7], p[2]), corner(p[7], p[6], p[4], p[3])};
        double sum = 0;
        for (const double x : k) sum += std::abs(x);
        const double g =
            lowest({1.0, k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]}) * std::sqrt(0.125 * sum);
        const double f =
            lowest({1.0, quadrangle(p[0], p[3], p[7], p[4]), quadrangle(p[1], p[5], p[6], p[2]),
                    quadrangle(p[0], p[4], p[5], p[1]), quadrangle(p[3], p[2], p[6], p[7]),
                    quadrangle(p[0], p[1], p[2], p[3]), quadrangle(p[4], p[7], p[6], p[5])});
        const double r = f * g;
        return r > 1e-12 && !(v >= 1e-12) ? v : r;
    }
};

/// Quality of column e, for the kinds of one element each and for ET_FACE_MIX of 4 rows.
inline double shape_quality(const kz3::dense2D<double>& pos, const kz3::dense2D<unsigned>& connectM,
                            kz3::lattiq::element_type type, std::size_t e)
{
    using namespace kz3::lattiq;
    std::vector<point> p;
    for (std::size_t k = 0; k < connectM.rows && connectM(k, e) != NO_NODE; ++k) {
        const auto at = [&](std::size_t d) { return d < pos.rows ? pos(d, connectM(k, e)) : 0.0; };
        p.push_back({at(0), at(1), at(2)});
    }
    const shapes s{pos.rows};
    switch (type) {
    case ET_BAR2:
        return 1.0;
    case ET_FACE_MIX:
        return p.size() == 3 ? s.triangle(p[0], p[1], p[2]) : s.quadrangle(p[0], p[1], p[2], p[3]);
    case ET_TRIA3:
        return s.triangle(p[0], p[1], p[2]);
    case ET_QUAD4:
        return s.quadrangle(p[0], p[1], p[2], p[3]);
    case ET_TETRA4:
        return s.tetrahedron(p[0], p[1], p[2], p[3]);
    case ET_PYRA5:
        return s.pyramid(p[0], p[1], p[2], p[3], p[4]);
    case ET_PENTA6:
        return s.wedge(p);
    default:
        return s.hexahedron(p);
    }
}

} // namespace plain
