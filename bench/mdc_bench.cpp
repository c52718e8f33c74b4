// The mdc handlers over growing models. Without arguments of its own it is a Google Benchmark
// program; with --case FRAMES SURFACES VERTS JOINTS [import] it measures one case alone.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "mdcscene.h"
#include "measure.h"

namespace {

constexpr int kVertsPerSurface = 500;
constexpr int kJoints = 30;

int Number(const char* text) { return static_cast<int>(std::strtol(text, nullptr, 10)); }

modelsize SizeOf(const benchmark::State& state) {
  return {static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), kVertsPerSurface,
          kJoints};
}

template <class Run>
void Measure(benchmark::State& state, const Run& run) {
  const modelsize size = SizeOf(state);
  benchhost host(size);
  const benchfile file;
  if (host.Export(file.Path()) != 1) {
    state.SkipWithError("the export failed");
  }
  for ([[maybe_unused]] const auto unused : state) {
    if (run(host, file) != 1) {
      state.SkipWithError("the run failed");
      break;
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(size.VertexFrames()) *
                          static_cast<std::int64_t>(state.iterations()));
}

void ExportMdc(benchmark::State& state) {
  Measure(state, [](benchhost& host, const benchfile& file) { return host.Export(file.Path()); });
}

void ImportMdc(benchmark::State& state) {
  Measure(state, [](benchhost& host, const benchfile& file) { return host.Import(file.Path()); });
}

BENCHMARK(ExportMdc)
    ->ArgNames({"frames", "surfaces"})
    ->Args({10, 20})
    ->Args({100, 20})
    ->Args({1000, 20})
    ->Args({100, 1})
    ->Args({100, 200})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ImportMdc)
    ->ArgNames({"frames", "surfaces"})
    ->Args({10, 20})
    ->Args({100, 20})
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 6 && std::strcmp(argv[1], "--case") == 0) {
    const modelsize size{Number(argv[2]), Number(argv[3]), Number(argv[4]), Number(argv[5])};
    if (size.frames < 1 || size.surfaces < 1 || size.vertsPerSurface < 20 || size.joints < 1) {
      std::fprintf(stderr, "a case has at least 1 frame, 1 surface, 20 vertices and 1 joint\n");
      return EXIT_FAILURE;
    }
    return MeasureCase(size, argc > 6 && std::strcmp(argv[6], "import") == 0);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return EXIT_FAILURE;
  }
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}
