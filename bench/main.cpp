// SPDX-License-Identifier: Apache-2.0
// Speed of the blocks, beside plain loops of the same rules and other libraries in the same run: the ratios count, not
// the nanoseconds of some machine. bench/compare runs it and prints tables.
//
//   vantoro_bench --benchmark_filter=equaliser
#include "measure.h"

int main(int argc, char** argv)
{
    bench::register_kernels();
    bench::register_peers();
#if defined(BENCH_LONG_FIR)
    bench::register_long_fir();
#endif
    bench::register_pcm();
    bench::register_blocks();
    bench::register_engine();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
