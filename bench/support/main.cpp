#include <cstdio>

#include <malloc.h>

#include <benchmark/benchmark.h>

namespace {

/// Blocks of any size stay with the program once they are freed, as small ones do by themselves. Else
/// large results would be new pages at each call, which the system clears, and small ones would not:
/// their costs could not be compared.
void keep_freed_memory()
{
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
}

} // namespace

int main(int argc, char** argv)
{
    keep_freed_memory();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (benchmark::RunSpecifiedBenchmarks() == 0) {
        std::fputs("no benchmark of that name\n", stderr);
        return 1;
    }
}
