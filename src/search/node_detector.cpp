#include <algorithm>
#include <memory>
#include <numeric>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/search.h>

#include "core/column.h"
#include "search/kd_tree.h"
#include "search/mersenne_generator.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

template <unsigned Dim>
std::uint32_t insert_all(node_kd_tree<Dim>& tree, const dense1D<unsigned>& indices)
{
    return tree.insert_nodes({indices.begin(), indices.size});
}

template <unsigned Dim>
std::uint32_t closest_other(const node_kd_tree<Dim>& tree, unsigned node)
{
    if (node >= tree.coords->cols) return NO_NODE;
    vector_fixed<double, Dim> p;
    std::copy_n(column(*tree.coords, node), Dim, p.data);
    return tree.closest_node(p, node_filter{node});
}

template <unsigned Dim>
std::unique_ptr<node_kd_tree<Dim>> new_tree(const dense2D<double>& pos, size_t n)
{
    auto tree = std::make_unique<node_kd_tree<Dim>>(pos);
    tree->reserve(n);
    return tree;
}

template <unsigned Dim>
std::unique_ptr<node_kd_tree<Dim>> copy_tree(const std::unique_ptr<node_kd_tree<Dim>>& other)
{
    if (!other) return nullptr;
    auto tree = std::make_unique<node_kd_tree<Dim>>();
    tree->copy(*other);
    return tree;
}

vector_fixed<double, 2> flat(const vector_fixed<double, 3>& p)
{
    return {p[0], p[1]};
}

vector_fixed<double, 3> at_zero_height(const vector_fixed<double, 2>& p)
{
    return {p[0], p[1], 0.0};
}

} // namespace

node_detector::node_detector() = default;
node_detector::~node_detector() = default;

node_detector::node_detector(const node_detector& other)
    : tree2(copy_tree(other.tree2)), tree3(copy_tree(other.tree3))
{
}

node_detector::node_detector(const dense2D<double>& pos)
{
    reinit(pos);
}

node_detector::node_detector(const dense2D<double>& pos, const dense1D<unsigned>& indices)
{
    reinit(pos, indices);
}

node_detector::node_detector(const dense2D<double>& pos, const dense2D<unsigned>& connectM)
{
    reinit(pos, connectM);
}

node_detector::node_detector(const dense2D<double>& pos, const dense2D<unsigned>* first,
                             const dense2D<unsigned>* last)
{
    reinit(pos, first, last);
}

node_detector& node_detector::operator=(const node_detector& other)
{
    if (this == &other) return *this;
    clear();
    tree2 = copy_tree(other.tree2);
    tree3 = copy_tree(other.tree3);
    return *this;
}

void node_detector::clear()
{
    tree2.reset();
    tree3.reset();
}

int node_detector::reinit(const dense2D<double>& pos)
{
    clear();
    if (pos.rows != 2 && pos.rows != 3) return -1; // pos

    start(pos, pos.cols);
    dense1D<unsigned> indices(pos.cols);
    std::iota(indices.begin(), indices.end(), 0u);
    insert(indices);
    return 0;
}

int node_detector::reinit(const dense2D<double>& pos, const dense1D<unsigned>& indices)
{
    if (pos.rows != 2 && pos.rows != 3) return -1;          // pos
    if (!check_IDs(indices, unsigned(pos.cols))) return -2; // indices

    clear();
    start(pos, indices.size);
    insert(indices);
    return 0;
}

int node_detector::reinit(const dense2D<double>& pos, const dense2D<unsigned>& connectM)
{
    return reinit(pos, &connectM, &connectM + 1);
}

int node_detector::reinit(const dense2D<double>& pos, const dense2D<unsigned>* first,
                          const dense2D<unsigned>* last)
{
    dense1D<unsigned> indices;
    if (const int failure = unique_indices(indices, first, last)) return failure; // first, last
    return reinit(pos, indices);
}

void node_detector::start(const dense2D<double>& pos, std::size_t n)
{
    if (pos.rows == 2)
        tree2 = new_tree<2>(pos, n);
    else
        tree3 = new_tree<3>(pos, n);
}

std::uint32_t node_detector::insert(const dense1D<unsigned>& indices)
{
    dense1D<unsigned> shuffled;
    if (!shuffled.copy(indices)) return 0;
    mersenne_generator generator;
    shuffle_indices(shuffled.begin(), shuffled.end(), generator);
    if (tree2) return insert_all(*tree2, shuffled);
    return tree3 ? insert_all(*tree3, shuffled) : 0;
}

std::uint32_t node_detector::insert(const dense2D<unsigned>& connectM)
{
    dense1D<unsigned> indices;
    unique_indices(indices, connectM);
    return insert(indices);
}

std::uint32_t node_detector::find_closest(const vector_fixed<double, 2>& p) const
{
    if (tree2) return tree2->closest_node(p, {});
    return tree3 ? tree3->closest_node(at_zero_height(p), {}) : NO_NODE;
}

std::uint32_t node_detector::find_closest(const vector_fixed<double, 3>& p) const
{
    if (tree2) return tree2->closest_node(flat(p), {});
    return tree3 ? tree3->closest_node(p, {}) : NO_NODE;
}

std::uint32_t node_detector::find_closest(unsigned node) const
{
    if (tree2) return closest_other(*tree2, node);
    return tree3 ? closest_other(*tree3, node) : NO_NODE;
}

void node_detector::find_in_box(const vector_fixed<double, 2>& lo,
                                const vector_fixed<double, 2>& hi, dense1D<unsigned>& out) const
{
    if (tree2) tree2->nodes_in_box(lo, hi, out);
    if (tree3) tree3->nodes_in_box(at_zero_height(lo), at_zero_height(hi), out);
}

void node_detector::find_in_box(const vector_fixed<double, 3>& lo,
                                const vector_fixed<double, 3>& hi, dense1D<unsigned>& out) const
{
    if (tree2) tree2->nodes_in_box(flat(lo), flat(hi), out);
    if (tree3) tree3->nodes_in_box(lo, hi, out);
}

std::uint32_t node_detector::size() const
{
    if (tree2) return tree2->size();
    return tree3 ? tree3->size() : 0;
}

} // namespace kz3::lattiq
