// The pieces of the hot paths, each beside what it is divided by; tools/bench runs it and makes the ratios.
#include <benchmark/benchmark.h>
#include <gst/gst.h>

int main(int argc, char** argv) {
    gst_init(nullptr, nullptr);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
