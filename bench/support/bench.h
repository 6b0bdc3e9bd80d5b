#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

/// What the benchmarks share: their names, their clock and their count of memory. A benchmark is
/// named operation/input/elements/who, as in get_neighbors/tetra/786432/lattiq: who is "lattiq", a
/// peer ("vtk", "cgal"), or a peer's conversion of the input ("vtk_conversion").
namespace bench {

/// Bytes of heap in use, and the most there were since reset_peak(). The program replaces malloc.
std::size_t heap_bytes();
std::size_t heap_peak();
void reset_peak();

/// Time of the processor spent by this program, user and system, in seconds.
inline double processor_time()
{
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

/// The memory of one call, in bytes: what it keeps (its result), and the most it needed beside.
struct memory {
    double kept = -1.0;
    double scratch = 0.0;
};

/// The loop of one benchmark. `prepare` makes an input that the operation may spoil and is not timed;
/// `run` gets it and returns the result, whose release is not timed either. The first call is for
/// the memory and warms up.
template <typename Prepare, typename Run>
void measure(benchmark::State& state, std::size_t elements, memory& used, Prepare prepare, Run run)
{
    if (used.kept < 0.0) {
        auto input = prepare();
        const std::size_t before = heap_bytes();
        reset_peak();
        const auto result = run(input);
        benchmark::DoNotOptimize(&result);
        const std::size_t after = heap_bytes();
        const double peak = double(heap_peak()) - double(before);
        used.kept = after > before ? double(after - before) : 0.0;
        used.scratch = peak > used.kept ? peak - used.kept : 0.0;
    }
    for (auto _ : state) {
        auto input = prepare();
        const double start = processor_time();
        const auto result = run(input);
        benchmark::DoNotOptimize(&result);
        state.SetIterationTime(processor_time() - start);
    }
    const double n = double(elements);
    state.counters["elements"] = n;
    state.counters["elements_per_second"] =
        benchmark::Counter(n, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["kept"] = used.kept / n;
    state.counters["scratch"] = used.scratch / n;
}

/// Registers operation/input/elements/who. `setup` runs once, before the first timed loop, and
/// returns the call to be timed: a callable without arguments that returns its result. What the call
/// refers to (the input) is captured by it; common inputs come from bench/support/inputs.h.
template <typename Setup>
void add(const std::string& operation, const std::string& input, std::size_t elements,
         const std::string& who, Setup setup)
{
    using call = decltype(setup());
    const auto body = std::make_shared<std::unique_ptr<call>>();
    const auto used = std::make_shared<memory>();
    benchmark::RegisterBenchmark(
        (operation + '/' + input + '/' + std::to_string(elements) + '/' + who).c_str(),
        [=](benchmark::State& state) {
            if (!*body) *body = std::make_unique<call>(setup());
            measure(
                state, elements, *used, [] { return 0; }, [&](int) { return (**body)(); });
        })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

/// The same for an operation that changes its input: `setup` returns a pair of callables, the first
/// makes a fresh input (not timed), the second takes it by reference and returns its result.
template <typename Setup>
void add_in_place(const std::string& operation, const std::string& input, std::size_t elements,
                  const std::string& who, Setup setup)
{
    using calls = decltype(setup());
    const auto body = std::make_shared<std::unique_ptr<calls>>();
    const auto used = std::make_shared<memory>();
    benchmark::RegisterBenchmark(
        (operation + '/' + input + '/' + std::to_string(elements) + '/' + who).c_str(),
        [=](benchmark::State& state) {
            if (!*body) *body = std::make_unique<calls>(setup());
            measure(state, elements, *used, (*body)->first, (*body)->second);
        })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace bench

/// Runs the statements that follow, in braces, before main: each file registers its benchmarks so.
#define LATTIQ_BENCHMARKS(name)                                                                    \
    static void register_##name();                                                                 \
    [[maybe_unused]] static const bool registered_##name = (register_##name(), true);              \
    static void register_##name()
