// write_files FOLDER: writes one sample mesh of each kind in each format, and expected.json with what
// a reader must find in them.

#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <kz3/lattiq/lattiq.h>

namespace {

using namespace kz3;
using namespace kz3::lattiq;

using point = std::array<double, 3>;
using element = std::vector<unsigned>;

/// Elements that fill a box of 2 by 1 by 3, or its 2 by 1 face, so that their volume or area is 6 or 2.
struct sample {
    element_type type = ET_NONE;
    std::vector<point> nodes;
    std::vector<element> elements;

    unsigned add(const point& p)
    {
        nodes.push_back(p);
        return unsigned(nodes.size() - 1);
    }

    unsigned add_mean(const element& of)
    {
        point mean{};
        for (const unsigned k : of)
            for (std::size_t d = 0; d < 3; ++d) mean[d] += nodes[k][d] / double(of.size());
        return add(mean);
    }

    dense2D<double> pos(std::size_t rows = 3) const
    {
        dense2D<double> m(rows, nodes.size());
        for (std::size_t j = 0; j < nodes.size(); ++j)
            for (std::size_t d = 0; d < rows; ++d) m(d, j) = nodes[j][d];
        return m;
    }

    dense2D<unsigned> connectM() const
    {
        std::size_t rows = 0;
        for (const element& e : elements) rows = std::max(rows, e.size());
        dense2D<unsigned> m(rows, elements.size(), NO_NODE);
        for (std::size_t j = 0; j < elements.size(); ++j)
            for (std::size_t k = 0; k < elements[j].size(); ++k) m(k, j) = elements[j][k];
        return m;
    }
};

/// The nodes of a box of n by n by m cells, and a hexahedron each.
sample box(unsigned n, unsigned m)
{
    sample s{ET_HEXA8, {}, {}};
    for (unsigned k = 0; k <= m; ++k)
        for (unsigned j = 0; j <= n; ++j)
            for (unsigned i = 0; i <= n; ++i) s.add({2.0 * i / n, 1.0 * j / n, 3.0 * k / m});
    const auto at = [&](unsigned i, unsigned j, unsigned k) {
        return (k * (n + 1) + j) * (n + 1) + i;
    };
    for (unsigned k = 0; k < m; ++k)
        for (unsigned j = 0; j < n; ++j)
            for (unsigned i = 0; i < n; ++i)
                s.elements.push_back({at(i, j, k), at(i + 1, j, k), at(i + 1, j + 1, k),
                                      at(i, j + 1, k), at(i, j, k + 1), at(i + 1, j, k + 1),
                                      at(i + 1, j + 1, k + 1), at(i, j + 1, k + 1)});
    return s;
}

/// Replaces each hexahedron by parts(sample, hexahedron).
template <typename Parts>
sample split(sample s, element_type type, Parts parts)
{
    std::vector<element> split_up;
    for (const element& h : s.elements)
        for (const element& e : parts(s, h)) split_up.push_back(e);
    s.elements = split_up;
    s.type = type;
    return s;
}

/// Counted so that shape_qualities finds them positive: node 3 sees 0, 1, 2 turn the right way.
std::vector<element> tetrahedra(sample&, const element& h)
{
    std::vector<element> t;
    // Around the diagonal from 0 to 6.
    const unsigned ring[6] = {1, 2, 3, 7, 4, 5};
    for (unsigned k = 0; k < 6; ++k) t.push_back({h[0], h[ring[(k + 1) % 6]], h[ring[k]], h[6]});
    return t;
}

std::vector<element> pyramids(sample& s, const element& h)
{
    const unsigned center = s.add_mean(h);
    std::vector<element> p;
    // Bases counter-clockwise as seen from the apex.
    const unsigned bases[6][4] = {{0, 1, 2, 3}, {4, 7, 6, 5}, {0, 4, 5, 1},
                                  {1, 5, 6, 2}, {2, 6, 7, 3}, {3, 7, 4, 0}};
    for (const auto& b : bases) p.push_back({h[b[0]], h[b[1]], h[b[2]], h[b[3]], center});
    return p;
}

std::vector<element> wedges(sample&, const element& h)
{
    return {{h[0], h[1], h[2], h[4], h[5], h[6]}, {h[0], h[2], h[3], h[4], h[6], h[7]}};
}

std::vector<element> some_of_each(sample& s, const element& h)
{
    switch (h[0] % 4) {
    case 0:
        return {h};
    case 1:
        return wedges(s, h);
    case 2:
        return pyramids(s, h);
    default:
        return tetrahedra(s, h);
    }
}

/// The face z = 0 of the box as quadrangles.
sample face(unsigned n)
{
    sample s = box(n, 1);
    s.type = ET_QUAD4;
    s.nodes.resize(std::size_t(n + 1) * (n + 1));
    for (element& e : s.elements) e.resize(4);
    return s;
}

std::vector<element> triangles(sample&, const element& q)
{
    return {{q[0], q[1], q[2]}, {q[0], q[2], q[3]}};
}

std::vector<element> every_other(sample& s, const element& q)
{
    return q[0] % 2 == 0 ? std::vector<element>{q} : triangles(s, q);
}

/// Adds nodes in the middle of groups of corners, not shared between elements.
sample raise(sample s, element_type type, const std::vector<element>& middles)
{
    s.type = type;
    for (element& e : s.elements) {
        const element corners = e;
        for (const element& rows : middles) {
            element of;
            for (const unsigned r : rows) of.push_back(corners[r]);
            e.push_back(s.add_mean(of));
        }
    }
    return s;
}

const std::vector<element> tria_edges = {{0, 1}, {1, 2}, {2, 0}};
const std::vector<element> quad_edges = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
const std::vector<element> tetra_edges = {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}};
const std::vector<element> pyra_more = {{0, 1}, {1, 2}, {2, 3}, {3, 0},      {0, 4},
                                        {1, 4}, {2, 4}, {3, 4}, {0, 1, 2, 3}};
const std::vector<element> penta_more = {{0, 1}, {1, 2},       {2, 0},       {0, 3},
                                         {1, 4}, {2, 5},       {3, 4},       {4, 5},
                                         {5, 3}, {0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}};
const std::vector<element> hexa_edges = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 5},
                                         {2, 6}, {3, 7}, {4, 5}, {5, 6}, {6, 7}, {7, 4}};

std::vector<element> with(std::vector<element> a, const std::vector<element>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::map<std::string, sample> all_samples()
{
    std::map<std::string, sample> s;
    s["quad4"] = face(12);
    s["tria3"] = split(face(12), ET_TRIA3, triangles);
    s["face_mix"] = split(face(12), ET_FACE_MIX, every_other);
    s["hexa8"] = box(5, 6);
    s["tetra4"] = split(box(5, 6), ET_TETRA4, tetrahedra);
    s["pyra5"] = split(box(3, 3), ET_PYRA5, pyramids);
    s["penta6"] = split(box(4, 4), ET_PENTA6, wedges);
    s["solid_mix"] = split(box(5, 6), ET_SOLID_MIX, some_of_each);
    s["many_tetra4"] = split(box(15, 15), ET_TETRA4, tetrahedra);
    s["tria6"] = raise(split(face(4), ET_TRIA3, triangles), ET_TRIA6, tria_edges);
    s["quad8"] = raise(face(4), ET_QUAD8, quad_edges);
    s["quad9"] = raise(face(4), ET_QUAD9, with(quad_edges, {{0, 1, 2, 3}}));
    s["tetra10"] = raise(split(box(2, 2), ET_TETRA4, tetrahedra), ET_TETRA10, tetra_edges);
    s["pyra14"] = raise(split(box(2, 2), ET_PYRA5, pyramids), ET_PYRA14, pyra_more);
    s["penta18"] = raise(split(box(2, 2), ET_PENTA6, wedges), ET_PENTA18, penta_more);
    s["hexa20"] = raise(box(2, 2), ET_HEXA20, hexa_edges);
    s["hexa27"] = raise(box(2, 2), ET_HEXA27,
                        with(hexa_edges, {{0, 3, 7, 4},
                                          {1, 2, 6, 5},
                                          {0, 1, 5, 4},
                                          {3, 2, 6, 7},
                                          {0, 1, 2, 3},
                                          {4, 5, 6, 7},
                                          {0, 1, 2, 3, 4, 5, 6, 7}}));
    return s;
}

bool written(int result, const std::string& file)
{
    if (result != 0) std::cerr << file << ": " << result << '\n';
    return result == 0;
}

/// Elements by their number of rows, and the box.
void describe(std::ostream& out, const std::string& name, const sample& s)
{
    std::map<std::size_t, std::size_t> by_rows;
    for (const element& e : s.elements) ++by_rows[e.size()];
    point lo = s.nodes[0];
    point hi = s.nodes[0];
    for (const point& p : s.nodes)
        for (std::size_t d = 0; d < 3; ++d) {
            lo[d] = std::min(lo[d], p[d]);
            hi[d] = std::max(hi[d], p[d]);
        }
    out << "  \"" << name << "\": {\"type\": " << s.type << ", \"nodes\": " << s.nodes.size()
        << ", \"elements\": {";
    const char* comma = "";
    for (const auto& [rows, count] : by_rows) {
        out << comma << '"' << rows << "\": " << count;
        comma = ", ";
    }
    out << "}, \"low\": [" << lo[0] << ", " << lo[1] << ", " << lo[2] << "], \"high\": [" << hi[0]
        << ", " << hi[1] << ", " << hi[2] << "], \"solid\": " << (s.type >= ET_SOLID_MIX) << "}";
}

bool write_surface(const std::string& base, const sample& s)
{
    const auto pos = s.pos();
    const auto connectM = s.connectM();
    return written(STL_output((base + ".text.stl").c_str(), pos, connectM, true), base) &&
           written(STL_output((base + ".binary.stl").c_str(), pos, connectM, false), base);
}

/// The boundary of a solid is closed: its STL file has a volume.
bool write_boundary(const std::string& folder, const sample& s)
{
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundary;
    const auto connectM = s.connectM();
    if (get_neighbors(connectM, s.type, false, neighbors) != 0) return false;
    if (get_mesh_boundaries(connectM, neighbors, s.type, boundary) != 0) return false;
    return written(STL_output((folder + "/closed.text.stl").c_str(), s.pos(), boundary, true),
                   "closed") &&
           written(STL_output((folder + "/closed.binary.stl").c_str(), s.pos(), boundary, false),
                   "closed");
}

/// Our own measure: first-order elements of the samples are the right way round.
bool is_positive(const std::string& name, const sample& s)
{
    dense1D<double> qualities;
    const int result = shape_qualities(s.pos(), s.connectM(), s.type, qualities);
    if (result == -2 || result == -3) return true; // mixed solids and second-order kinds have none
    for (const double q : qualities)
        if (result != 0 || !(q > 0)) return written(-1, name + " is inverted");
    return true;
}

/// Meshes that show what the formats make hard.
bool write_hard_cases(const std::string& folder, const std::map<std::string, sample>& samples)
{
    const auto path = [&](const char* name) { return folder + "/" + name; };
    // Far from the origin a fixed number of digits leaves little of the shape.
    dense2D<double> far = samples.at("tria3").pos();
    for (std::size_t j = 0; j < far.cols; ++j) far(0, j) = 1e7 + 1e-7 * far(0, j);
    const auto tria = samples.at("tria3").connectM();
    // An exponent of three digits fills its field and one place more.
    dense2D<double> tiny = samples.at("tria3").pos();
    for (std::size_t j = 0; j < tiny.cols; ++j) tiny(1, j) = -1e-120 * (tiny(1, j) + 1);
    // Two kinds under one heading.
    const sample& six = samples.at("tria6");
    auto first_order = six.connectM().sub_matrix(0, 0, 3, six.elements.size());
    const auto flat = samples.at("tria3").pos(2);
    const dense2D<double> none;
    return written(WavefrontOBJ_output(path("ours.obj").c_str(), samples.at("tria3").pos(), none,
                                       none, tria, dense2D<unsigned>()),
                   "ours.obj") &&
           written(vtk_output(path("far.vtk").c_str(), far, tria, ET_TRIA3), "far.vtk") &&
           written(medit_output(path("far.mesh").c_str(), far, tria, ET_TRIA3), "far.mesh") &&
           written(ensight_output(path("far.geo").c_str(), far, tria, ET_TRIA3), "far.geo") &&
           written(ensight_output(path("tiny.geo").c_str(), tiny, tria, ET_TRIA3), "tiny.geo") &&
           written(medit_output(path("two_sections.mesh").c_str(), six.pos(), first_order,
                                six.connectM(), ET_TRIA3, ET_TRIA6),
                   "two_sections.mesh") &&
           written(vtk_output(path("flat.vtk").c_str(), flat, tria, ET_TRIA3), "flat.vtk") &&
           written(medit_output(path("flat.mesh").c_str(), flat, tria, ET_TRIA3), "flat.mesh") &&
           written(ensight_output(path("flat.geo").c_str(), flat, tria, ET_TRIA3), "flat.geo");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    const std::string folder = argv[1];
    const auto samples = all_samples();
    std::ofstream json(folder + "/expected.json");
    json << "{\n";
    const char* comma = "";
    bool ok = true;
    for (const auto& [name, s] : samples) {
        const std::string base = folder + "/" + name;
        const auto pos = s.pos();
        const auto connectM = s.connectM();
        json << comma;
        comma = ",\n";
        describe(json, name, s);
        ok = is_positive(name, s) && ok;
        ok = written(vtk_output((base + ".vtk").c_str(), pos, connectM, s.type), base) && ok;
        ok = written(medit_output((base + ".mesh").c_str(), pos, connectM, s.type), base) && ok;
        ok = written(ensight_output((base + ".geo").c_str(), pos, connectM, s.type), base) && ok;
    }
    json << "\n}\n";
    ok = write_surface(folder + "/tria3", samples.at("tria3")) && ok;
    ok = write_boundary(folder, samples.at("tetra4")) && ok;
    ok = write_hard_cases(folder, samples) && ok;
    return ok && json.flush() ? 0 : 1;
}
