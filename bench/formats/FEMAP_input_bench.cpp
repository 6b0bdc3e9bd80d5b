#include <vector>

#include "formats/files.h"

using namespace kz3::lattiq;

namespace {

std::string written(const bench::mesh& m)
{
    const kz3::dense1D<unsigned> offsets{0, unsigned(m.elements())};
    const kz3::dense1D<int> types(1, m.type);
    const kz3::dense1D<unsigned> groups(m.elements(), 1);
    const std::string file = bench::file_of("input", m);
    FEMAP_output(file.c_str(), m.pos, m.connectM, offsets, types, groups);
    return file;
}

bench::mesh read_by_us(const std::string& file)
{
    bench::mesh m;
    kz3::dense1D<unsigned> offsets, groups;
    kz3::dense1D<int> types;
    FEMAP_input(file.c_str(), m.pos, m.connectM, offsets, types, groups);
    return m;
}

// A reader by the C runtime, of tetrahedra only and without a look at what else a file may hold.
struct stdio_reader {
    explicit stdio_reader(const std::string& file) : from(std::fopen(file.c_str(), "r"))
    {
        pass_to("403\n");
        read_nodes();
        pass_to("404\n");
        read_elements();
        std::fclose(from);
    }

    bool next() { return std::fgets(line, sizeof line, from) != nullptr; }

    void pass_to(const std::string& title)
    {
        while (next() && line != title) {}
    }

    void read_nodes()
    {
        double x[3];
        while (next() &&
               std::sscanf(line, "%*u,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%lf,%lf,%lf", &x[0],
                           &x[1], &x[2]) == 3)
            pos.insert(pos.end(), x, x + 3);
    }

    void read_elements()
    {
        unsigned group = 0;
        int topology = 0;
        while (next() && std::sscanf(line, "%*u,%u,%*d,%*d,%d", &group, &topology) == 2) {
            unsigned slot[20];
            for (unsigned* s : {slot, slot + 10}) {
                next();
                std::sscanf(line, "%u,%u,%u,%u,%u,%u,%u,%u,%u,%u", s, s + 1, s + 2, s + 3, s + 4,
                            s + 5, s + 6, s + 7, s + 8, s + 9);
            }
            for (const unsigned k : {1, 0, 2, 4}) nodes.push_back(slot[k]);
            groups.push_back(group);
            for (int i = 0; i < 4; ++i) next();
        }
    }

    std::FILE* from;
    char line[256];
    std::vector<double> pos;
    std::vector<unsigned> nodes, groups;
};

void require_same(const bench::mesh& m, const stdio_reader& other)
{
    bool same =
        m.pos.rows * m.pos.cols == other.pos.size() && 4 * m.elements() == other.nodes.size();
    for (size_t i = 0; same && i < other.pos.size(); ++i)
        same = m.pos(i % 3, i / 3) == other.pos[i];
    for (size_t i = 0; same && i < other.nodes.size(); ++i)
        same = m.connectM(i % 4, i / 4) == other.nodes[i];
    if (!same) throw std::runtime_error("meshes read from one file differ");
}

} // namespace

LATTIQ_BENCHMARKS(FEMAP_input)
{
    bench::add_on_meshes("FEMAP_input", "tetra", [](const bench::mesh& m) {
        return [file = written(m)] { return read_by_us(file); };
    });
    bench::add_beside("FEMAP_input", "tetra", "stdio", [](const bench::mesh& m) {
        const std::string file = written(m);
        require_same(read_by_us(file), stdio_reader(file));
        return [file] { return stdio_reader(file); };
    });
}
