#include "support/inputs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <numeric>
#include <random>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

#include <unistd.h>

namespace bench {

using namespace kz3;
using namespace kz3::lattiq;

namespace {

using random_engine = std::mt19937_64;

/// Uniform in [0, 1). The standard distributions may differ between libraries, this does not.
double uniform(random_engine& engine)
{
    return double(engine() >> 11) * 0x1p-53;
}

double normal(random_engine& engine)
{
    const double radius = std::sqrt(-2.0 * std::log(1.0 - uniform(engine)));
    return radius * std::cos(6.283185307179586 * uniform(engine));
}

std::vector<unsigned> random_order(size_t n, random_engine& engine)
{
    std::vector<unsigned> order(n);
    std::iota(order.begin(), order.end(), 0u);
    for (size_t i = n; i > 1; --i) std::swap(order[i - 1], order[engine() % i]);
    return order;
}

/// Makes an input on first use.
template <typename Value, typename Key, typename Make>
const Value& once(const Key& key, Make make)
{
    static std::map<Key, Value> made;
    const auto found = made.find(key);
    return found != made.end() ? found->second : made.emplace(key, make()).first->second;
}

// ---- meshes on a grid of cells ----

enum class cell { tria, quad, tetra, hexa, wedge, pyramids, to_wedge, from_wedge };

/// Layers in z of a kind of mesh, repeated.
struct grid_kind {
    const char* name;
    element_type type;
    unsigned rows;
    bool solid;
    std::vector<cell> layers;
};

const std::vector<grid_kind>& grid_kinds()
{
    static const std::vector<grid_kind> kinds = {
        {"tria", ET_TRIA3, 3, false, {cell::tria}},
        {"quad", ET_QUAD4, 4, false, {cell::quad}},
        {"face_mix", ET_FACE_MIX, 4, false, {cell::quad, cell::tria}},
        {"tetra", ET_TETRA4, 4, true, {cell::tetra}},
        {"hexa", ET_HEXA8, 8, true, {cell::hexa}},
        {"wedge", ET_PENTA6, 6, true, {cell::wedge}},
        {"solid_mix",
         ET_SOLID_MIX,
         8,
         true,
         {cell::hexa, cell::pyramids, cell::to_wedge, cell::wedge, cell::from_wedge}},
    };
    return kinds;
}

const grid_kind& find_grid_kind(const std::string& name)
{
    for (const grid_kind& kind : grid_kinds())
        if (kind.name == name) return kind;
    throw std::invalid_argument("no kind of mesh " + name);
}

/// A node outside 0 to 7 is the centre of the cell.
constexpr unsigned centre = 8;
constexpr unsigned hole = 9;
using element = std::array<unsigned, 8>;

/// The elements of a cell. Corner k of a cell is (k & 1, k >> 1 & 1, k >> 2); faces with z fixed that
/// are cut are cut from corner 0 (or 4) to corner 3 (or 7). Every element has a positive quality.
const std::vector<element>& elements_of(cell kind)
{
    constexpr unsigned c = centre;
    constexpr unsigned o = hole;
    // Bottom, top and sides of a cell as quadrangles seen from its centre.
    static const std::vector<element> pyramids = {
        {0, 1, 3, 2, c, o, o, o}, {4, 6, 7, 5, c, o, o, o}, {0, 4, 5, 1, c, o, o, o},
        {2, 3, 7, 6, c, o, o, o}, {0, 2, 6, 4, c, o, o, o}, {1, 5, 7, 3, c, o, o, o}};
    static const std::map<cell, std::vector<element>> table = {
        {cell::tria, {{0, 1, 3, o, o, o, o, o}, {0, 3, 2, o, o, o, o, o}}},
        {cell::quad, {{0, 1, 3, 2, o, o, o, o}}},
        {cell::tetra,
         {{1, 0, 3, 7, o, o, o, o},
          {3, 0, 2, 7, o, o, o, o},
          {2, 0, 6, 7, o, o, o, o},
          {6, 0, 4, 7, o, o, o, o},
          {4, 0, 5, 7, o, o, o, o},
          {5, 0, 1, 7, o, o, o, o}}},
        {cell::hexa, {{0, 1, 3, 2, 4, 5, 7, 6}}},
        {cell::wedge, {{0, 1, 3, 4, 5, 7, o, o}, {0, 3, 2, 4, 7, 6, o, o}}},
        {cell::pyramids, pyramids},
        {cell::to_wedge,
         {pyramids[0],
          pyramids[2],
          pyramids[3],
          pyramids[4],
          pyramids[5],
          {7, 4, 5, c, o, o, o, o},
          {6, 4, 7, c, o, o, o, o}}},
        {cell::from_wedge,
         {pyramids[1],
          pyramids[2],
          pyramids[3],
          pyramids[4],
          pyramids[5],
          {1, 0, 3, c, o, o, o, o},
          {3, 0, 2, c, o, o, o, o}}},
    };
    return table.at(kind);
}

bool has_centre(cell kind)
{
    return kind == cell::pyramids || kind == cell::to_wedge || kind == cell::from_wedge;
}

/// A grid of edge x edge x depth cells; the layers run along z, or along y in a surface.
struct grid {
    const grid_kind& kind;
    size_t edge;
    size_t depth;

    cell layer(size_t j) const { return kind.layers[j % kind.layers.size()]; }

    size_t elements() const
    {
        size_t n = 0;
        for (size_t j = 0; j < depth; ++j)
            n += elements_of(layer(j)).size() * edge * (kind.solid ? edge : 1);
        return n;
    }
};

grid grid_of(const std::string& name, size_t n)
{
    const grid_kind& kind = find_grid_kind(name);
    double per_cell = 0.0;
    for (const cell each : kind.layers) per_cell += double(elements_of(each).size());
    const double cells = double(n) * double(kind.layers.size()) / per_cell;
    const auto edge = size_t(std::lround(kind.solid ? std::cbrt(cells) : std::sqrt(cells)));
    return {kind, std::max<size_t>(edge, 1), std::max<size_t>(edge, 1)};
}

/// Corners of the grid in order, then the centres of cells, moved at random by up to a tenth.
void place_nodes(const grid& g, size_t centres, dense2D<double>& pos)
{
    const size_t across = g.edge + 1;
    const size_t up = g.kind.solid ? g.depth + 1 : 1;
    const double step = 1.0 / double(g.edge);
    random_engine engine(1);
    const auto moved = [&](double at) { return step * (at + 0.2 * (uniform(engine) - 0.5)); };
    pos.resize(3, across * across * up + centres);
    double* at = pos.vec->data;
    for (size_t z = 0; z < up; ++z)
        for (size_t y = 0; y < across; ++y)
            for (size_t x = 0; x < across; ++x, at += 3) {
                at[0] = moved(double(x));
                at[1] = moved(double(y));
                at[2] = g.kind.solid ? moved(double(z)) : 0.1 * std::sin(6.0 * at[0]);
            }
    for (size_t z = 0; centres != 0 && z < g.depth; ++z) {
        if (!has_centre(g.layer(z))) continue;
        for (size_t y = 0; y < g.edge; ++y)
            for (size_t x = 0; x < g.edge; ++x, at += 3) {
                at[0] = moved(double(x) + 0.5);
                at[1] = moved(double(y) + 0.5);
                at[2] = moved(double(z) + 0.5);
            }
    }
}

mesh make_mesh(const std::string& name, size_t n)
{
    const grid g = grid_of(name, n);
    const size_t across = g.edge + 1;
    const size_t plane = g.kind.solid ? across * across : 0;
    size_t centres = 0;
    for (size_t z = 0; g.kind.solid && z < g.depth; ++z)
        if (has_centre(g.layer(z))) centres += g.edge * g.edge;

    mesh made;
    made.type = g.kind.type;
    place_nodes(g, centres, made.pos);
    made.connectM.resize(g.kind.rows, g.elements());
    unsigned* to = made.connectM.vec->data;
    auto next_centre = unsigned(made.pos.cols - centres);
    for (size_t z = 0; z < (g.kind.solid ? g.depth : 1); ++z)
        for (size_t y = 0; y < g.edge; ++y)
            for (size_t x = 0; x < g.edge; ++x) {
                const cell kind = g.layer(g.kind.solid ? z : y);
                const size_t first = (z * across + y) * across + x;
                for (const element& each : elements_of(kind))
                    for (unsigned k = 0; k < g.kind.rows; ++k)
                        *to++ = each[k] == hole     ? NO_NODE
                                : each[k] == centre ? next_centre
                                                    : unsigned(first + (each[k] & 1u) +
                                                               (each[k] >> 1 & 1u) * across +
                                                               (each[k] >> 2) * plane);
                next_centre += has_centre(kind);
            }
    return made;
}

mesh shuffle(const mesh& from)
{
    random_engine engine(2);
    const std::vector<unsigned> node = random_order(from.pos.cols, engine);
    const std::vector<unsigned> place = random_order(from.connectM.cols, engine);
    mesh made;
    made.type = from.type;
    made.pos.resize(from.pos.rows, from.pos.cols);
    made.connectM.resize(from.connectM.rows, from.connectM.cols);
    for (size_t i = 0; i < node.size(); ++i)
        for (size_t d = 0; d < from.pos.rows; ++d) made.pos(d, node[i]) = from.pos(d, i);
    for (size_t e = 0; e < place.size(); ++e)
        for (size_t k = 0; k < from.connectM.rows; ++k) {
            const unsigned id = from.connectM(k, e);
            made.connectM(k, place[e]) = id == NO_NODE ? NO_NODE : node[id];
        }
    return made;
}

// ---- points ----

void random_direction(random_engine& engine, double* at)
{
    double length = 0.0;
    while (length < 1e-3) {
        for (unsigned d = 0; d < 3; ++d) at[d] = normal(engine);
        length = std::hypot(at[0], at[1], at[2]);
    }
    for (unsigned d = 0; d < 3; ++d) at[d] /= length;
}

/// Centres and widths of the clusters are seeded apart, so that queries fall into the same ones.
void clustered_points(random_engine& engine, dense2D<double>& pos)
{
    constexpr size_t clusters = 1000;
    random_engine layout(3);
    std::vector<std::array<double, 4>> cluster(clusters);
    for (auto& each : cluster) {
        for (unsigned d = 0; d < 3; ++d) each[d] = uniform(layout);
        each[3] = std::pow(10.0, -1.0 - 4.0 * uniform(layout));
    }
    for (size_t j = 0; j < pos.cols; ++j) {
        const auto& in = cluster[engine() % clusters];
        for (unsigned d = 0; d < 3; ++d) pos(d, j) = in[d] + in[3] * normal(engine);
    }
}

void grid_points(random_engine& engine, dense2D<double>& pos)
{
    const auto edge = size_t(std::ceil(std::cbrt(double(pos.cols))));
    const std::vector<unsigned> order = random_order(pos.cols, engine);
    for (size_t j = 0; j < pos.cols; ++j) {
        pos(0, j) = double(order[j] % edge) / double(edge);
        pos(1, j) = double(order[j] / edge % edge) / double(edge);
        pos(2, j) = double(order[j] / edge / edge) / double(edge);
    }
}

/// Anywhere, but numbered as a mesh generator would: along the rows of a grid with a point per cell.
void ordered_points(random_engine& engine, dense2D<double>& pos)
{
    const double edge = std::ceil(std::cbrt(double(pos.cols)));
    using numbered_place = std::pair<double, std::array<double, 3>>;
    std::vector<numbered_place> places(pos.cols);
    for (auto& [number, p] : places) {
        for (double& x : p) x = uniform(engine);
        number = (std::floor(p[2] * edge) * edge + std::floor(p[1] * edge)) * edge + p[0] * edge;
    }
    std::sort(places.begin(), places.end());
    for (size_t j = 0; j < pos.cols; ++j)
        for (unsigned d = 0; d < 3; ++d) pos(d, j) = places[j].second[d];
}

dense2D<double> make_points(const std::string& kind, size_t n, std::uint64_t seed)
{
    random_engine engine(seed);
    dense2D<double> pos(3, n);
    if (kind == "clustered") {
        clustered_points(engine, pos);
    } else if (kind == "grid") {
        grid_points(engine, pos);
    } else if (kind == "surface") {
        for (size_t j = 0; j < n; ++j) random_direction(engine, &pos(0, j));
    } else if (kind == "ordered") {
        ordered_points(engine, pos);
    } else if (kind == "uniform") {
        for (size_t j = 0; j < n; ++j)
            for (unsigned d = 0; d < 3; ++d) pos(d, j) = uniform(engine);
    } else {
        throw std::invalid_argument("no kind of points " + kind);
    }
    return pos;
}

// ---- soups ----

using place = std::array<double, 3>;

/// The corners and faces of an icosahedron.
struct icosahedron {
    std::array<place, 12> corner{};
    std::array<std::array<unsigned, 3>, 20> face{};

    icosahedron()
    {
        const double golden = 0.5 * (1.0 + std::sqrt(5.0));
        for (unsigned i = 0; i < 12; ++i) {
            const unsigned axis = i / 4;
            corner[i][axis] = i & 1 ? -1.0 : 1.0;
            corner[i][(axis + 1) % 3] = i & 2 ? -golden : golden;
        }
        size_t n = 0;
        for (unsigned a = 0; a < 12; ++a)
            for (unsigned b = a + 1; b < 12; ++b)
                for (unsigned c = b + 1; c < 12; ++c)
                    if (adjacent(a, b) && adjacent(b, c) && adjacent(a, c)) {
                        face[n++] = outward(a, b, c) ? std::array{a, b, c} : std::array{a, c, b};
                    }
    }

    bool adjacent(unsigned a, unsigned b) const
    {
        double square = 0.0;
        for (unsigned d = 0; d < 3; ++d)
            square += (corner[a][d] - corner[b][d]) * (corner[a][d] - corner[b][d]);
        return square < 4.1;
    }

    bool outward(unsigned a, unsigned b, unsigned c) const
    {
        const place &p = corner[a], &q = corner[b], &r = corner[c];
        return p[0] * (q[1] * r[2] - q[2] * r[1]) + p[1] * (q[2] * r[0] - q[0] * r[2]) +
                   p[2] * (q[0] * r[1] - q[1] * r[0]) >
               0.0;
    }
};

/// Edges of the icosahedron are cut into so many, for about n facets.
size_t frequency(size_t n)
{
    return std::max<size_t>(1, size_t(std::lround(std::sqrt(double(n) / 20.0))));
}

/// The node of the sphere with these weights on three corners. Summed in the order of the corners and
/// without those of weight 0, so that facets on both sides of an edge get the same node to the bit.
void sphere_node(const icosahedron& solid, std::array<std::pair<unsigned, size_t>, 3> weights,
                 double* at)
{
    std::sort(weights.begin(), weights.end());
    place sum{};
    for (const auto& [corner, weight] : weights)
        for (unsigned d = 0; weight != 0 && d < 3; ++d)
            sum[d] += double(weight) * solid.corner[corner][d];
    const double length = std::hypot(sum[0], sum[1], sum[2]);
    for (unsigned d = 0; d < 3; ++d) at[d] = double(float(sum[d] / length));
}

mesh make_soup(size_t n, numbering order)
{
    const icosahedron solid;
    const size_t f = frequency(n);
    const size_t facets = 20 * f * f;
    random_engine engine(4);
    std::vector<unsigned> place_of;
    if (order == numbering::shuffled) place_of = random_order(facets, engine);
    mesh made;
    made.type = ET_TRIA3;
    made.pos.resize(3, 3 * facets);
    made.connectM.resize(3, facets);
    std::iota(made.connectM.vec->data, made.connectM.vec->data + 3 * facets, 0u);

    size_t passed = 0;
    const auto next = [&] {
        const size_t e = passed++;
        return &made.pos(0, 3 * (place_of.empty() ? e : size_t(place_of[e])));
    };
    for (const auto& [a, b, c] : solid.face) {
        const auto put = [&, a = a, b = b, c = c](size_t i, size_t j, double* at) {
            sphere_node(solid, {{{a, f - i - j}, {b, i}, {c, j}}}, at);
        };
        for (size_t i = 0; i < f; ++i)
            for (size_t j = 0; i + j < f; ++j) {
                double* at = next();
                put(i, j, at);
                put(i + 1, j, at + 3);
                put(i, j + 1, at + 6);
                if (i + j + 1 == f) continue;
                at = next();
                put(i + 1, j, at);
                put(i + 1, j + 1, at + 3);
                put(i, j + 1, at + 6);
            }
    }
    return made;
}

double least_height(const mesh& soup)
{
    double least = 1.0;
    for (size_t e = 0; e < soup.elements(); ++e) {
        const double* p = &soup.pos(0, 3 * e);
        double longest = 0.0;
        for (unsigned k = 0; k < 3; ++k) {
            const double *q = p + 3 * k, *r = p + 3 * ((k + 1) % 3);
            longest = std::max(longest, std::hypot(q[0] - r[0], q[1] - r[1], q[2] - r[2]));
        }
        const place u{p[3] - p[0], p[4] - p[1], p[5] - p[2]};
        const place v{p[6] - p[0], p[7] - p[1], p[8] - p[2]};
        const double area = std::hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                                       u[0] * v[1] - u[1] * v[0]);
        least = std::min(least, area / longest);
    }
    return least;
}

// ---- tensors ----

dense2D<float> make_tensors(unsigned dimension, size_t n)
{
    random_engine engine(5);
    dense2D<float> made(dimension == 2 ? 3 : 6, n);
    for (size_t j = 0; j < n; ++j) {
        double axis[3][3] = {};
        const double angle = 6.283185307179586 * uniform(engine);
        double* x = axis[0];
        double* y = axis[1];
        if (dimension == 2) {
            x[0] = y[1] = std::cos(angle);
            x[1] = std::sin(angle);
            y[0] = -x[1];
        } else {
            double other[3];
            random_direction(engine, axis[2]);
            random_direction(engine, other);
            const double* z = axis[2];
            for (unsigned d = 0; d < 3; ++d)
                x[d] = z[(d + 1) % 3] * other[(d + 2) % 3] - z[(d + 2) % 3] * other[(d + 1) % 3];
            const double length = std::hypot(x[0], x[1], x[2]);
            for (unsigned d = 0; d < 3; ++d) x[d] /= length;
            for (unsigned d = 0; d < 3; ++d)
                y[d] = z[(d + 1) % 3] * x[(d + 2) % 3] - z[(d + 2) % 3] * x[(d + 1) % 3];
        }
        double value[3];
        for (double& each : value) each = std::pow(10.0, 6.0 * uniform(engine) - 2.0);
        size_t row = 0;
        for (unsigned b = 0; b < dimension; ++b)
            for (unsigned a = 0; a <= b; ++a) {
                double sum = 0.0;
                for (unsigned i = 0; i < dimension; ++i) sum += value[i] * axis[i][a] * axis[i][b];
                made(row++, j) = float(sum);
            }
    }
    return made;
}

} // namespace

std::string input_name(const std::string& kind, numbering order)
{
    return order == numbering::natural ? kind : kind + "_shuffled";
}

const mesh& mesh_of(const std::string& kind, size_t n, numbering order)
{
    return once<mesh>(std::tuple(kind, n, order), [&] {
        return order == numbering::natural ? make_mesh(kind, n)
                                           : shuffle(mesh_of(kind, n, numbering::natural));
    });
}

size_t mesh_size(const std::string& kind, size_t n)
{
    return grid_of(kind, n).elements();
}

const dense2D<double>& points_of(const std::string& kind, size_t n)
{
    return once<dense2D<double>>(std::tuple(kind, n, 'p'), [&] { return make_points(kind, n, 6); });
}

const dense2D<double>& queries_of(const std::string& kind, size_t n)
{
    // A place that is no point of the lattice is as likely anywhere in it.
    return once<dense2D<double>>(std::tuple(kind, n, 'q'), [&] {
        return make_points(kind == "grid" ? "uniform" : kind, n, 7);
    });
}

const mesh& soup_of(size_t n, numbering order)
{
    return once<mesh>(std::tuple(n, order), [&] { return make_soup(n, order); });
}

size_t soup_size(size_t n)
{
    return 20 * frequency(n) * frequency(n);
}

double soup_height(size_t n, numbering order)
{
    return once<double>(std::tuple(n, order), [&] { return least_height(soup_of(n, order)); });
}

const mesh& jittered_soup(size_t n, double distance, numbering order)
{
    return once<mesh>(std::tuple(n, distance, order), [&] {
        const mesh& from = soup_of(n, order);
        random_engine engine(8);
        mesh made = from;
        made.pos.copy(from.pos);
        double* at = made.pos.vec->data;
        for (size_t i = 0; i < 3 * made.pos.cols; ++i)
            at[i] += distance * (2.0 * uniform(engine) - 1.0);
        return made;
    });
}

const dense2D<float>& tensors_of(unsigned dimension, size_t n)
{
    return once<dense2D<float>>(std::tuple(dimension, n),
                                [&] { return make_tensors(dimension, n); });
}

namespace {

/// Removes the directory of scratch files at the end of the program.
struct scratch_directory {
    std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("lattiq_bench_" + std::to_string(getpid()));
    scratch_directory() { std::filesystem::create_directories(path); }
    ~scratch_directory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

} // namespace

std::string scratch_file(const std::string& name)
{
    static const scratch_directory directory;
    return (directory.path / name).string();
}

} // namespace bench
