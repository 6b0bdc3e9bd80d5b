// Reports on triangulated surfaces:  surface_report FILE.stl ...
//
// Reads and welds each file, then finds its free edges, its connected pieces and the quality of its
// triangles. Writes the welded mesh and the free edges as MEDIT files and a picture, all to the
// folder lattiq-report.

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>

#include <kz3/lattiq/lattiq.h>

#include "report.h"
#include "surface_picture.h"

namespace {

using namespace kz3;
using namespace kz3::lattiq;

/// What the file holds before welding, which joins nodes and so hides it.
struct facets {
    bool ascii = false;
    std::size_t count = 0;
    double smallest_height = 0; ///< of the facets that have one; 0 where none has
};

using triangle = std::array<picture::point, 3>;

double height(const triangle& t)
{
    const picture::point u = t[1] - t[0];
    const picture::point v = t[2] - t[0];
    const picture::point w = t[2] - t[1];
    const double longest = std::sqrt(std::max({dot(u, u), dot(v, v), dot(w, w)}));
    const picture::point n = cross(u, v);
    return longest > 0 ? std::sqrt(dot(n, n)) / longest : 0;
}

void add(facets& found, const triangle& t)
{
    ++found.count;
    const double h = height(t);
    if (h > 0 && (found.smallest_height == 0 || h < found.smallest_height))
        found.smallest_height = h;
}

facets scan_text(const std::string& bytes)
{
    facets found;
    found.ascii = true;
    triangle t{};
    std::size_t corner = 0;
    for (std::size_t at = bytes.find("vertex"); at != std::string::npos;
         at = bytes.find("vertex", at + 6)) {
        const char* text = bytes.c_str() + at + 6;
        char* end = nullptr;
        t[corner].x = std::strtod(text, &end);
        t[corner].y = std::strtod(end, &end);
        t[corner].z = std::strtod(end, &end);
        if (++corner == 3) add(found, t);
        corner %= 3;
    }
    return found;
}

facets scan_binary(const std::string& bytes, std::size_t count)
{
    facets found;
    for (std::size_t i = 0; i < std::min(count, (bytes.size() - 84) / 50); ++i) {
        std::array<float, 9> c{};
        std::memcpy(c.data(), bytes.data() + 84 + 50 * i + 12, sizeof c);
        add(found, {{{c[0], c[1], c[2]}, {c[3], c[4], c[5]}, {c[6], c[7], c[8]}}});
    }
    return found;
}

/// A file is binary if its length fits the count it holds, and text if it begins with "solid" and
/// does not: some programs begin binary files with that word.
facets scan(const std::string& bytes)
{
    std::uint32_t count = 0;
    if (bytes.size() >= 84) std::memcpy(&count, bytes.data() + 80, 4);
    const bool fits = bytes.size() >= 84 && bytes.size() == 84 + 50 * std::size_t(count);
    if (!fits && bytes.compare(0, 5, "solid") == 0) return scan_text(bytes);
    return bytes.size() >= 84 ? scan_binary(bytes, count) : facets();
}

/// Runs one step and prints how long it took.
template <typename Step>
auto timed(const char* name, Step step)
{
    const auto start = std::chrono::steady_clock::now();
    const auto result = step();
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    std::printf("  %-22s %9.1f ms\n", name, took.count());
    return result;
}

/// Splits the faces without a neighbour into free edges, which one triangle holds, and the number
/// of edges that more than two hold: those stand here once for each of their triangles.
dense2D<unsigned> free_edges(const dense2D<unsigned>& boundary, std::size_t& shared)
{
    std::multiset<std::pair<unsigned, unsigned>> seen;
    const auto key = [&](std::size_t e) { return std::minmax({boundary(0, e), boundary(1, e)}); };
    for (std::size_t e = 0; e < boundary.cols; ++e) seen.insert(key(e));
    dense2D<unsigned> free;
    shared = 0;
    for (std::size_t e = 0; e < boundary.cols; ++e)
        if (seen.count(key(e)) == 1) free.push_back({boundary(0, e), boundary(1, e)});
    for (auto it = seen.begin(); it != seen.end(); it = seen.upper_bound(*it))
        if (seen.count(*it) > 2) ++shared;
    return free;
}

bool report_on(const std::string& file, const std::string& stem)
{
    std::error_code ignored;
    std::ifstream in(file, std::ios::binary);
    std::ostringstream held;
    if (!in || std::filesystem::is_directory(file, ignored)) {
        std::cerr << file << ": cannot be read\n";
        return false;
    }
    held << in.rdbuf();
    const std::string bytes = held.str();
    if (bytes.empty()) {
        std::cerr << file << ": is empty\n";
        return false;
    }
    const facets found = scan(bytes);

    dense2D<double> pos;
    dense2D<unsigned> triangles;
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundary;
    dense1D<unsigned> order;
    dense1D<unsigned> pieces;
    dense1D<double> qualities;
    misc::histogram hist(0.0, 1.0, 20);

    if (found.count == 0) {
        std::cerr << file << ": holds no facet\n";
        return false;
    }
    std::printf("%s: %s STL, %zu bytes\n", file.c_str(), found.ascii ? "text" : "binary",
                bytes.size());
    if (timed("read and weld",
              [&] { return STL_input(file.c_str(), pos, triangles, found.ascii); }) <= 0) {
        std::cerr << file << ": no triangle is left after welding\n";
        return false;
    }
    timed("neighbours", [&] { return get_neighbors(triangles, ET_TRIA3, false, neighbors); });
    timed("free edges",
          [&] { return get_mesh_boundaries(triangles, neighbors, ET_TRIA3, boundary); });
    timed("pieces", [&] { return get_subdomains(neighbors, order, pieces); });
    timed("qualities", [&] { return shape_qualities(pos, triangles, ET_TRIA3, qualities); });
    hist.process(qualities);
    std::size_t shared = 0;
    const dense2D<unsigned> free = free_edges(boundary, shared);

    std::vector<std::string> written = {report::in_folder(stem + ".mesh")};
    bool ok = timed("write mesh", [&] {
                  return medit_output(written[0].c_str(), pos, triangles, ET_TRIA3);
              }) == 0;
    if (free.cols != 0) {
        written.push_back(report::in_folder(stem + "_free_edges.mesh"));
        ok = medit_output(written.back().c_str(), pos, free, ET_BAR2) == 0 && ok;
    }
    written.push_back(report::in_folder(stem + ".svg"));
    const std::vector<std::string> notes = {
        std::to_string(triangles.cols) + " triangles, " + std::to_string(pos.cols) + " nodes, " +
            std::to_string(pieces.size - 1) + (pieces.size == 2 ? " piece" : " pieces"),
        std::to_string(free.cols) + " free edges"};
    ok = timed("draw",
               [&] {
                   return picture::write(written.back(), stem, notes, pos, triangles, qualities,
                                         free, hist);
               }) &&
         ok;

    std::printf("\n  triangles   %zu in the file, %zu after welding\n", found.count,
                triangles.cols);
    std::printf("  nodes       %zu in the file, %zu after welding\n", 3 * found.count, pos.cols);
    if (found.smallest_height > 0)
        std::printf("  tolerance   %g, a twentieth of the smallest height\n",
                    0.05 * found.smallest_height);
    else
        std::printf("  tolerance   none: no facet has a height, so nothing was welded\n");
    std::printf("  free edges  %zu\n", free.cols);
    std::printf("  edges shared by more than two triangles  %zu\n", shared);
    std::printf("  pieces      %zu:", pieces.size - 1);
    for (std::size_t k = 0; k + 1 < std::min<std::size_t>(pieces.size, 13); ++k)
        std::printf(" %u", pieces[k + 1] - pieces[k]);
    std::printf("%s triangles\n", pieces.size > 13 ? " ..." : "");
    std::printf("  quality     %.4f to %.4f, mean %.4f\n", hist.minimum(), hist.maximum(),
                hist.mean());
    report::print(hist);
    std::printf("  written    ");
    for (const std::string& name : written) std::printf(" %s", name.c_str());
    std::printf("\n\n");
    if (!ok) std::cerr << file << ": not all results could be written\n";
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: surface_report FILE.stl ...\n";
        return 2;
    }
    bool ok = true;
    std::set<std::string> stems;
    for (int i = 1; i < argc; ++i) {
        std::string stem = std::filesystem::path(argv[i]).stem().string();
        while (!stems.insert(stem).second) stem += "_again";
        ok = report_on(argv[i], stem) && ok;
    }
    return ok ? 0 : 1;
}
