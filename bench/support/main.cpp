#include <cstdio>

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (benchmark::RunSpecifiedBenchmarks() == 0) {
        std::fputs("no benchmark of that name\n", stderr);
        return 1;
    }
}
