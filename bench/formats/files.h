#pragma once

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/on_meshes.h"

/// Files of the benchmarks of formats.
namespace bench {

/// A stream for writing, closed at the end.
class output {
public:
    explicit output(const std::string& name) : stream(std::fopen(name.c_str(), "w"))
    {
        if (stream == nullptr) throw std::runtime_error("cannot write " + name);
    }
    ~output() { std::fclose(stream); }
    output(const output&) = delete;
    output& operator=(const output&) = delete;
    operator std::FILE*() const { return stream; }

private:
    std::FILE* stream;
};

/// Stops the program where two files differ: programs that are compared for their speed do the same.
inline void require_same(const std::string& one, const std::string& other)
{
    std::ifstream first(one, std::ios::binary);
    std::ifstream second(other, std::ios::binary);
    std::istreambuf_iterator<char> a(first);
    std::istreambuf_iterator<char> b(second);
    const std::istreambuf_iterator<char> end;
    for (; a != end && b != end && *a == *b; ++a) ++b;
    if (!first.is_open() || !second.is_open() || a != end || b != end)
        throw std::runtime_error(one + " and " + other + " differ");
}

/// Registers another program on the meshes that add_on_meshes runs lattiq on, but for the large one.
template <typename Prepare>
void add_beside(const std::string& operation, const std::string& kind, const std::string& who,
                Prepare prepare)
{
    for (const size_t n : {small_size, usual_size})
        for (const numbering order : {numbering::natural, numbering::shuffled})
            add(operation, input_name(kind, order), mesh_size(kind, n), who,
                [=] { return prepare(mesh_of(kind, n, order)); });
}

/// A scratch file of a program for meshes of this size.
inline std::string file_of(const std::string& who, const mesh& m)
{
    return scratch_file(who + '_' + std::to_string(m.elements()));
}

/// Registers a writer on a mesh. `prepare(mesh)` gives the call, which takes the name of a file. Each
/// call gets a new file: to empty one takes the system time, and to write it anew more than at first.
template <typename Prepare>
void add_writer(const std::string& operation, const std::string& kind, size_t n, numbering order,
                const std::string& who, Prepare prepare)
{
    add_in_place(operation, input_name(kind, order), mesh_size(kind, n), who, [=] {
        const mesh& m = mesh_of(kind, n, order);
        const auto remove_file = [file = file_of(who, m)] {
            std::remove(file.c_str());
            return file;
        };
        return std::pair(remove_file, prepare(m));
    });
}

/// Registers a writer on meshes of a kind: that of lattiq at all sizes, others at the first two.
template <typename Prepare>
void add_writers(const std::string& operation, const std::string& kind, const std::string& who,
                 Prepare prepare)
{
    for (const size_t n : {small_size, usual_size})
        for (const numbering order : {numbering::natural, numbering::shuffled})
            add_writer(operation, kind, n, order, who, prepare);
    if (who == "lattiq") add_writer(operation, kind, large_size, numbering::natural, who, prepare);
}

/// Registers the writer of lattiq and one by the C runtime that has to write the same file.
template <typename Ours, typename Plain>
void add_beside_stdio(const std::string& operation, const std::string& kind, Ours ours, Plain plain)
{
    add_writers(operation, kind, "lattiq", ours);
    add_writers(operation, kind, "stdio", [=](const mesh& m) {
        const std::string file = file_of("stdio", m);
        const std::string other = file_of("lattiq", m);
        ours(m)(other);
        plain(m)(file);
        require_same(other, file);
        return plain(m);
    });
}

} // namespace bench
