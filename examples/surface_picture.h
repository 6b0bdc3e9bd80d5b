#pragma once

// Draws a triangulated surface as one SVG file: seen from above and aside, coloured by quality, its
// free edges on it, and the histogram of the qualities beside it.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/misc/histogram.h>

namespace picture {

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
inline point unit(point a)
{
    const double length = std::sqrt(dot(a, a));
    return length > 0 ? point{a.x / length, a.y / length, a.z / length} : a;
}

inline constexpr int width = 820;  // of the drawing, in SVG units
inline constexpr int height = 640; // of the drawing and of the picture
inline constexpr int panel = 300;  // width of the histogram beside it
inline constexpr int shades = 6;
inline constexpr int tones = 20;
inline constexpr int fine = 2; // pixels per SVG unit where visibility is decided

using colour = std::array<double, 3>;

/// From red at 0 through yellow to teal at 1.
inline colour tone(double quality)
{
    static constexpr std::array<colour, 5> ramp = {
        {{178, 24, 43}, {239, 138, 98}, {253, 219, 125}, {143, 208, 164}, {43, 138, 140}}};
    const double place = std::clamp(quality, 0.0, 1.0) * (ramp.size() - 1);
    const auto i = std::min<std::size_t>(static_cast<std::size_t>(place), ramp.size() - 2);
    const double t = place - static_cast<double>(i);
    colour c{};
    for (std::size_t k = 0; k < 3; ++k) c[k] = ramp[i][k] * (1 - t) + ramp[i + 1][k] * t;
    return c;
}

inline std::string css(colour c, double light)
{
    std::array<char, 8> text{};
    const auto channel = [&](std::size_t k) {
        return static_cast<unsigned>(std::clamp(c[k] * light, 0.0, 255.0));
    };
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", channel(0), channel(1), channel(2));
    return text.data();
}

/// The surface as the eye sees it: x to the right and y down in SVG units, z towards the eye.
class view {
public:
    view(const kz3::dense2D<double>& pos, const kz3::dense2D<unsigned>& triangles)
    {
        const point eye = unit({0.86, -0.74, 0.62});
        const point right = unit(cross({0, 0, 1}, eye));
        const point up = cross(eye, right);
        for (std::size_t j = 0; j < pos.cols; ++j) {
            const point p{pos(0, j), pos(1, j), pos(2, j)};
            nodes.push_back({dot(p, right), -dot(p, up), dot(p, eye)});
        }
        fit();
        show(triangles);
    }

    /// Whether nothing lies before this place.
    bool sees(point p) const
    {
        const auto x = static_cast<long>(p.x * fine);
        const auto y = static_cast<long>(p.y * fine);
        if (x < 0 || y < 0 || x >= columns || y >= rows) return false;
        return p.z >= depth[static_cast<std::size_t>(y * columns + x)] - slack;
    }

    std::vector<point> nodes;
    std::vector<unsigned> visible; ///< triangles that own a pixel, the farthest first

private:
    static constexpr long columns = width * fine;
    static constexpr long rows = height * fine;

    void fit()
    {
        point lo{1e300, 1e300, 1e300};
        point hi{-1e300, -1e300, -1e300};
        for (const point& p : nodes) {
            lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
            hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
        }
        const double extent =
            std::max((hi.x - lo.x) / (width - 60), (hi.y - lo.y) / (height - 100));
        const double scale = extent > 0 ? 1 / extent : 1;
        const double left = (width - (hi.x - lo.x) * scale) / 2;
        const double top = 30 + (height - (hi.y - lo.y) * scale) / 2;
        for (point& p : nodes)
            p = {(p.x - lo.x) * scale + left, (p.y - lo.y) * scale + top, p.z * scale};
        slack = 2;
    }

    void show(const kz3::dense2D<unsigned>& triangles)
    {
        depth.assign(static_cast<std::size_t>(columns * rows), -1e300);
        std::vector<unsigned> owner(depth.size(), ~0U);
        for (std::size_t e = 0; e < triangles.cols; ++e) paint(triangles, e, owner);

        std::vector<bool> owns(triangles.cols, false);
        for (const unsigned e : owner)
            if (e != ~0U) owns[e] = true;
        for (unsigned e = 0; e < triangles.cols; ++e)
            if (owns[e]) visible.push_back(e);
        const auto far = [&](unsigned e) {
            return nodes[triangles(0, e)].z + nodes[triangles(1, e)].z + nodes[triangles(2, e)].z;
        };
        std::stable_sort(visible.begin(), visible.end(),
                         [&](unsigned a, unsigned b) { return far(a) < far(b); });
    }

    void paint(const kz3::dense2D<unsigned>& triangles, std::size_t e, std::vector<unsigned>& owner)
    {
        const point a = nodes[triangles(0, e)];
        const point b = nodes[triangles(1, e)];
        const point c = nodes[triangles(2, e)];
        const double area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
        if (!(std::abs(area) > 1e-12)) return;
        const auto first = [](double v) { return std::max(0L, std::lround(std::floor(v * fine))); };
        const long x1 = std::min(columns - 1, std::lround(std::max({a.x, b.x, c.x}) * fine));
        const long y1 = std::min(rows - 1, std::lround(std::max({a.y, b.y, c.y}) * fine));
        for (long y = first(std::min({a.y, b.y, c.y})); y <= y1; ++y) {
            for (long x = first(std::min({a.x, b.x, c.x})); x <= x1; ++x) {
                const double px = (static_cast<double>(x) + 0.5) / fine;
                const double py = (static_cast<double>(y) + 0.5) / fine;
                const double v = ((px - a.x) * (c.y - a.y) - (py - a.y) * (c.x - a.x)) / area;
                const double w = ((b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x)) / area;
                if (v < 0 || w < 0 || v + w > 1) continue;
                const double z = a.z + v * (b.z - a.z) + w * (c.z - a.z);
                const auto place = static_cast<std::size_t>(y * columns + x);
                if (z > depth[place]) {
                    depth[place] = z;
                    owner[place] = static_cast<unsigned>(e);
                }
            }
        }
    }

    std::vector<double> depth;
    double slack = 0;
};

inline void draw_triangles(std::ostream& out, const view& seen,
                           const kz3::dense2D<unsigned>& triangles,
                           const kz3::dense1D<double>& qualities)
{
    const point light = unit({-0.35, -0.65, 1});
    for (int t = 0; t <= tones; ++t)
        for (int s = 0; s < shades; ++s) {
            const double strength = 0.52 + 0.52 * s / (shades - 1);
            const colour c = t < tones ? tone((t + 0.5) / tones) : colour{120, 126, 148};
            out << ".t" << t * shades + s << "{fill:" << css(c, strength)
                << ";stroke:" << css(c, strength * 0.84) << "}\n";
        }
    out << "</style>\n<g transform=\"scale(.1)\" stroke-width=\"2.5\" stroke-linejoin=\"round\">\n";
    int open = -1;
    for (const unsigned e : seen.visible) {
        std::array<point, 3> p{};
        for (std::size_t k = 0; k < 3; ++k) p[k] = seen.nodes[triangles(k, e)];
        // y points down here, which turns the direction round.
        const point normal = unit(cross(p[2] - p[0], p[1] - p[0]));
        const bool inside_out = normal.z < 0;
        const double bright = std::abs(dot(normal, light));
        const int t = inside_out ? tones : std::clamp(int(qualities[e] * tones), 0, tones - 1);
        const int look = t * shades + std::min(int(bright * shades), shades - 1);
        if (look != open)
            out << (open < 0 ? "" : "\"/>\n") << "<path class=\"t" << look << "\" d=\"";
        open = look;
        std::array<long, 6> at{};
        for (std::size_t k = 0; k < 3; ++k) {
            at[2 * k] = std::lround(p[k].x * 10);
            at[2 * k + 1] = std::lround(p[k].y * 10);
        }
        out << 'M' << at[0] << ' ' << at[1] << 'l' << at[2] - at[0] << ' ' << at[3] - at[1] << ' '
            << at[4] - at[2] << ' ' << at[5] - at[3] << 'z';
    }
    out << (open < 0 ? "" : "\"/>\n") << "</g>\n";
}

inline void draw_edges(std::ostream& out, const view& seen, const kz3::dense2D<unsigned>& edges)
{
    for (const bool front : {false, true}) {
        out << "<path class=\"" << (front ? "free" : "hidden") << "\" d=\"";
        for (std::size_t e = 0; e < edges.cols; ++e) {
            const point a = seen.nodes[edges(0, e)];
            const point b = seen.nodes[edges(1, e)];
            if (seen.sees({(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2}) != front) continue;
            out << 'M' << std::round(a.x * 10) / 10 << ' ' << std::round(a.y * 10) / 10 << 'L'
                << std::round(b.x * 10) / 10 << ' ' << std::round(b.y * 10) / 10;
        }
        out << "\"/>\n";
    }
}

inline void draw_histogram(std::ostream& out, const kz3::misc::histogram& hist)
{
    const int left = width + 40;
    const int top = 110;
    const double step = 420.0 / static_cast<double>(hist.bins());
    const kz3::dense1D<double> bounds = hist.boundaries();
    std::uint64_t most = 1;
    for (std::size_t i = 0; i < hist.bins(); ++i) most = std::max(most, hist.count(i));
    for (std::size_t i = 0; i < hist.bins(); ++i) {
        const double low = bounds[i];
        const double middle = (low + bounds[i + 1]) / 2;
        const double length =
            190.0 * static_cast<double>(hist.count(i)) / static_cast<double>(most);
        const double y = top + 420 - static_cast<double>(i + 1) * step;
        out << "<rect x=\"" << left << "\" y=\"" << y << "\" width=\"" << length << "\" height=\""
            << step - 1 << "\" fill=\"" << css(tone(middle), 1) << "\"/>\n";
        if (hist.count(i) != 0)
            out << "<text class=\"n\" x=\"" << left + 5 + length << "\" y=\"" << y + step / 2 + 4
                << "\">" << hist.count(i) << "</text>\n";
    }
    for (int i = 0; i <= 10; i += 2)
        out << "<text class=\"n\" text-anchor=\"end\" x=\"" << left - 6 << "\" y=\""
            << top + 424 - 42 * i << "\">" << i / 10.0 << "</text>\n";
    out << "<text x=\"" << left << "\" y=\"" << top - 14 << "\">quality of the triangles</text>\n";
}

/// Writes the picture; false if the file could not be written.
inline bool write(const std::string& file, const std::string& title,
                  const std::vector<std::string>& notes, const kz3::dense2D<double>& pos,
                  const kz3::dense2D<unsigned>& triangles, const kz3::dense1D<double>& qualities,
                  const kz3::dense2D<unsigned>& free_edges, const kz3::misc::histogram& hist)
{
    std::ofstream out(file);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width + panel << ' '
        << height
        << "\" font-family=\"Helvetica,Arial,sans-serif\" font-size=\"15\" fill=\"#333\">\n"
        << "<style>\n.n{font-size:11px;fill:#666}\n"
        << ".free{fill:none;stroke:#d6006c;stroke-width:3;stroke-linecap:round}\n"
        << ".hidden{fill:none;stroke:#d6006c;stroke-width:1;stroke-dasharray:2 3}\n";
    const view seen(pos, triangles);
    std::ostringstream surface;
    draw_triangles(surface, seen, triangles, qualities);
    const std::string drawn = surface.str();
    const std::size_t end = drawn.find("</style>") + 9;
    out << drawn.substr(0, end) << "<rect width=\"" << width + panel << "\" height=\"" << height
        << "\" rx=\"8\" fill=\"#fbfaf7\"/>\n"
        << drawn.substr(end);
    draw_edges(out, seen, free_edges);
    out << "<text x=\"24\" y=\"40\" font-size=\"22\" font-weight=\"bold\">" << title << "</text>\n";
    for (std::size_t i = 0; i < notes.size(); ++i)
        out << "<text x=\"24\" y=\"" << 64 + 20 * i << "\" fill=\"#555\">" << notes[i]
            << "</text>\n";
    draw_histogram(out, hist);
    out << "</svg>\n";
    return bool(out.flush());
}

} // namespace picture
