// write_files FOLDER: writes one sample mesh of each kind in each format, and expected.json with what
// a reader must find in them.

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <kz3/lattiq/lattiq.h>

namespace {

using namespace kz3;
using namespace kz3::lattiq;

using point = std::array<double, 3>;
using element = std::vector<unsigned>;

/// Elements that fill a box of 2 by 1 by 3, or its 2 by 1 face, or go round that face. Their volume,
/// area or length is thus 6, 2 or 6.
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

/// The way round the face.
sample bars(unsigned n)
{
    sample s{ET_BAR2, {}, {}};
    const point corners[5] = {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {0, 1, 0}, {0, 0, 0}};
    for (std::size_t side = 0; side < 4; ++side)
        for (unsigned i = 0; i < n; ++i) {
            point p{};
            for (std::size_t d = 0; d < 2; ++d)
                p[d] = corners[side][d] + (corners[side + 1][d] - corners[side][d]) * i / n;
            s.add(p);
        }
    for (unsigned k = 0; k < 4 * n; ++k) s.elements.push_back({k, (k + 1) % (4 * n)});
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

sample moved(sample s, const point& by)
{
    for (point& p : s.nodes)
        for (std::size_t d = 0; d < 3; ++d) p[d] += by[d];
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
    s["bar2"] = bars(5);
    s["bar3"] = raise(bars(3), ET_BAR3, {{0, 1}});
    s["quad4"] = face(12);
    s["tria3"] = split(face(12), ET_TRIA3, triangles);
    s["face_mix"] = split(face(12), ET_FACE_MIX, every_other);
    s["hexa8"] = box(5, 6);
    s["tetra4"] = split(box(5, 6), ET_TETRA4, tetrahedra);
    s["pyra5"] = split(box(3, 3), ET_PYRA5, pyramids);
    s["penta6"] = split(box(4, 4), ET_PENTA6, wedges);
    s["solid_mix"] = split(box(5, 6), ET_SOLID_MIX, some_of_each);
    s["moved_mix"] = moved(s["solid_mix"], {-100, 2000, -30000});
    s["moved_hexa8"] = moved(s["hexa8"], {-100, 2000, -30000});
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

/// Corners of a second-order kind, 0 for the others.
std::size_t corners_of_higher(element_type type)
{
    static const std::map<element_type, std::size_t> corners = {
        {ET_BAR3, 2},   {ET_TRIA6, 3},   {ET_QUAD8, 4},  {ET_QUAD9, 4}, {ET_TETRA10, 4},
        {ET_PYRA14, 5}, {ET_PENTA18, 6}, {ET_HEXA20, 8}, {ET_HEXA27, 8}};
    const auto found = corners.find(type);
    return found == corners.end() ? 0 : found->second;
}

/// What a reader must find: elements by the first-order kind of their corners, and the box.
bool describe(std::ostream& out, const std::string& name, const sample& s)
{
    const unsigned dim = s.type < ET_FACE_MIX ? 1 : s.type < ET_SOLID_MIX ? 2 : 3;
    static const std::map<std::size_t, const char*> names[3] = {
        {{2, "bar"}},
        {{3, "tria"}, {4, "quad"}},
        {{4, "tetra"}, {5, "pyra"}, {6, "penta"}, {8, "hexa"}}};
    const std::size_t corners = corners_of_higher(s.type);
    std::map<std::string, std::size_t> by_kind;
    for (const element& e : s.elements) ++by_kind[names[dim - 1].at(corners ? corners : e.size())];
    const double far = std::numeric_limits<double>::max();
    vector_fixed<double, 3> low{far, far, far};
    vector_fixed<double, 3> high{-far, -far, -far};
    const int result = inc_bounding_box(s.pos(), low, high);
    out << "  \"" << name << "\": {\"dim\": " << dim
        << ", \"higher\": " << (corners ? "true" : "false") << ", \"nodes\": " << s.nodes.size()
        << ", \"elements\": {";
    const char* comma = "";
    for (const auto& [kind, count] : by_kind) {
        out << comma << '"' << kind << "\": " << count;
        comma = ", ";
    }
    out << "}, \"low\": [" << low[0] << ", " << low[1] << ", " << low[2] << "], \"high\": ["
        << high[0] << ", " << high[1] << ", " << high[2]
        << "], \"measure\": " << (dim == 2 ? 2.0 : 6.0) << '}';
    return written(result, name);
}

bool write_surface(const std::string& base, const sample& s)
{
    const auto pos = s.pos();
    const auto connectM = s.connectM();
    return written(STL_output((base + ".text.stl").c_str(), pos, connectM, true), base) &&
           written(STL_output((base + ".binary.stl").c_str(), pos, connectM, false), base);
}

/// The columns with their rows in another order.
dense2D<unsigned> reordered(const dense2D<unsigned>& connectM, const std::vector<unsigned>& rows)
{
    dense2D<unsigned> m(rows.size(), connectM.cols, NO_NODE);
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t k = 0; k < m.rows; ++k) m(k, j) = connectM(rows[k], j);
    return m;
}

/// The boundary of a solid is closed: its STL file has a volume. Once as it is, once turned round.
bool write_boundary(const std::string& folder, const sample& s)
{
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundary;
    const auto pos = s.pos();
    const auto connectM = s.connectM();
    if (get_neighbors(connectM, s.type, false, neighbors) != 0) return written(-1, "neighbors");
    if (get_mesh_boundaries(connectM, neighbors, s.type, boundary) != 0)
        return written(-1, "boundary");
    const auto turned = reordered(boundary, {0, 2, 1});
    const auto stl = [&](const char* name, const dense2D<unsigned>& tria, bool ascii) {
        return written(STL_output((folder + name).c_str(), pos, tria, ascii), name);
    };
    return stl("/closed.text.stl", boundary, true) && stl("/closed.binary.stl", boundary, false) &&
           stl("/turned.text.stl", turned, true) && stl("/turned.binary.stl", turned, false);
}

/// Our own measure: first-order elements of the samples are the right way round.
bool is_positive(const std::string& name, const sample& s)
{
    if (corners_of_higher(s.type) != 0 || s.type == ET_SOLID_MIX) return true; // which have none
    dense1D<double> qualities;
    const int result = shape_qualities(s.pos(), s.connectM(), s.type, qualities);
    if (result != 0) return written(result, name);
    for (std::size_t j = 0; j < qualities.size; ++j)
        if (!(qualities[j] > 0)) return written(-1, name + " is inverted");
    return true;
}

using samples = std::map<std::string, sample>;

/// The face of the box with its nodes changed, in all four formats.
template <typename Change>
bool write_changed(const std::string& base, sample s, Change change)
{
    for (point& p : s.nodes) change(p);
    const auto pos = s.pos();
    const auto tria = s.connectM();
    return written(vtk_output((base + ".vtk").c_str(), pos, tria, ET_TRIA3), base) &&
           written(medit_output((base + ".mesh").c_str(), pos, tria, ET_TRIA3), base) &&
           written(ensight_output((base + ".geo").c_str(), pos, tria, ET_TRIA3), base) &&
           write_surface(base, s);
}

/// Coordinates that the formats make hard.
bool write_hard_coordinates(const std::string& folder, const sample& tria)
{
    bool ok = true;
    // Far from the origin a fixed number of digits leaves little of the shape.
    for (const int digits : {5, 6, 7, 8})
        ok = write_changed(folder + "/far" + std::to_string(digits), tria,
                           [&](point& p) { p[1] += std::pow(10, digits); }) &&
             ok;
    ok = write_changed(folder + "/small", tria,
                       [](point& p) {
                           for (double& x : p) x *= 1e-7;
                       }) &&
         ok;
    // A sign and an exponent of three digits take one place more than the field has.
    ok = write_changed(folder + "/tiny", tria, [](point& p) { p = {-1e-120, p[1] + 5, 7}; }) && ok;
    ok = write_changed(folder + "/huge", tria, [](point& p) { p[0] *= -1e300; }) && ok;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return write_changed(folder + "/nan", tria,
                         [&](point& p) {
                             if (p[0] == 0) p[0] = nan;
                         }) &&
           ok;
}

/// pos of one and two rows, elements that share a heading, references, and parts with a gap.
bool write_special(const std::string& folder, const samples& s)
{
    const auto path = [&](const char* name) { return folder + "/" + name; };
    const sample& tria = s.at("tria3");
    const sample& six = s.at("tria6");
    const auto connectM = tria.connectM();
    const auto corners = six.connectM().sub_matrix(0, 0, 3, six.elements.size());
    const auto flat = tria.pos(2);
    const auto line = s.at("bar2").pos(1);
    const auto bar = s.at("bar2").connectM();
    dense1D<unsigned> refs(connectM.cols);
    for (std::size_t j = 0; j < refs.size; ++j) refs[j] = j < 10 ? 7 : 3;
    const dense2D<unsigned> parts[3] = {connectM, dense2D<unsigned>(), bar};
    dense1D<int> types(3, ET_TRIA3);
    types[2] = ET_BAR2;
    const dense2D<double> none;
    return written(vtk_output(path("flat.vtk").c_str(), flat, connectM, ET_TRIA3), "flat.vtk") &&
           written(medit_output(path("flat.mesh").c_str(), flat, connectM, ET_TRIA3),
                   "flat.mesh") &&
           written(ensight_output(path("flat.geo").c_str(), flat, connectM, ET_TRIA3),
                   "flat.geo") &&
           written(medit_output(path("line.mesh").c_str(), line, bar, ET_BAR2), "line.mesh") &&
           written(medit_output(path("two_sections.mesh").c_str(), six.pos(), corners,
                                six.connectM(), ET_TRIA3, ET_TRIA6),
                   "two_sections.mesh") &&
           written(medit_output(path("refs.mesh").c_str(), tria.pos(), connectM, ET_TRIA3, refs),
                   "refs.mesh") &&
           written(ensight_output(path("gap.geo").c_str(), tria.pos(), parts, parts + 3, types),
                   "gap.geo") &&
           written(WavefrontOBJ_output(path("ours.obj").c_str(), tria.pos(), none, none, connectM,
                                       s.at("quad4").connectM()),
                   "ours.obj") &&
           written(vtk_output(path("empty.vtk").c_str(), tria.pos(), dense2D<unsigned>(), ET_TRIA3),
                   "empty.vtk") &&
           written(STL_output(path("empty.stl").c_str(), tria.pos(), dense2D<unsigned>(), true),
                   "empty.stl");
}

/// What docs/formats.md tells a user to write instead.
bool write_remedies(const std::string& folder, const samples& s)
{
    const auto path = [&](const char* name) { return folder + "/" + name; };
    const sample& penta = s.at("penta6");
    const sample& tetra = s.at("tetra4");
    const sample& hexa = s.at("hexa27");
    const sample& bar = s.at("bar3");
    return written(vtk_output(path("turned_penta6.vtk").c_str(), penta.pos(),
                              reordered(penta.connectM(), {3, 4, 5, 0, 1, 2}), ET_PENTA6),
                   "turned_penta6.vtk") &&
           written(medit_output(path("turned_tetra4.mesh").c_str(), tetra.pos(),
                                reordered(tetra.connectM(), {0, 1, 3, 2}), ET_TETRA4),
                   "turned_tetra4.mesh") &&
           written(vtk_output(path("corners_hexa27.vtk").c_str(), hexa.pos(),
                              hexa.connectM().sub_matrix(0, 0, 8, hexa.elements.size()), ET_HEXA8),
                   "corners_hexa27.vtk") &&
           written(ensight_output(path("turned_bar3.geo").c_str(), bar.pos(),
                                  reordered(bar.connectM(), {0, 2, 1}), ET_BAR3),
                   "turned_bar3.geo");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    const std::string folder = argv[1];
    const samples all = all_samples();
    std::ofstream json(folder + "/expected.json");
    json.precision(17);
    json << "{\n";
    const char* comma = "";
    bool ok = true;
    for (const auto& [name, s] : all) {
        const std::string base = std::string(folder).append("/").append(name);
        const auto pos = s.pos();
        const auto connectM = s.connectM();
        json << comma;
        comma = ",\n";
        ok = describe(json, name, s) && ok;
        ok = is_positive(name, s) && ok;
        ok = written(vtk_output((base + ".vtk").c_str(), pos, connectM, s.type), base) && ok;
        ok = written(medit_output((base + ".mesh").c_str(), pos, connectM, s.type), base) && ok;
        ok = written(ensight_output((base + ".geo").c_str(), pos, connectM, s.type), base) && ok;
    }
    json << "\n}\n";
    ok = write_surface(folder + "/tria3", all.at("tria3")) && ok;
    ok = write_boundary(folder, all.at("tetra4")) && ok;
    ok = write_hard_coordinates(folder, all.at("tria3")) && ok;
    ok = write_special(folder, all) && ok;
    ok = write_remedies(folder, all) && ok;
    return ok && json.flush() ? 0 : 1;
}
