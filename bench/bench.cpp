// The handlers over growing models. Without arguments of its own it is a Google Benchmark
// program; with --case it measures one case alone:
//   --case FORMAT KIND FRAMES SURFACES VERTS-PER-SURFACE JOINTS WEIGHTS
// where KIND is export, import, scene or the bare loop of one: bareexport, bare, barescene; or, of
// the scene as a .glb, FORMAT being glb: read, write, replace, bareread or barewrite.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "benchscene.h"
#include "measure.h"

namespace {

constexpr int kVertsPerSurface = 500;
constexpr int kJoints = 30;

int Number(const char* text) { return static_cast<int>(std::strtol(text, nullptr, 10)); }

template <class Run>
void Measure(benchmark::State& state, const char* format, const Run& run) {
  const modelsize size{static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                       kVertsPerSurface, kJoints};
  benchhost host(size);
  const benchfile file(format, size.frames);
  if (host.Export(file) != 1) {
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

void Export(benchmark::State& state, const char* format) {
  Measure(state, format, [](benchhost& host, const benchfile& file) { return host.Export(file); });
}

void Import(benchmark::State& state, const char* format) {
  Measure(state, format, [](benchhost& host, const benchfile& file) { return host.Import(file); });
}

void Sizes(benchmark::internal::Benchmark* series) {
  series->ArgNames({"frames", "surfaces"})
      ->Args({10, 20})
      ->Args({100, 20})
      ->Args({1000, 20})
      ->Args({100, 1})
      ->Args({100, 200})
      ->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(Export, mdc, "mdc")->Apply(Sizes);
BENCHMARK_CAPTURE(Import, mdc, "mdc")->Apply(Sizes);
BENCHMARK_CAPTURE(Export, mds, "mds")->Apply(Sizes);
BENCHMARK_CAPTURE(Import, mds, "mds")->Apply(Sizes);
BENCHMARK_CAPTURE(Export, mdm, "mdm")->Apply(Sizes);
BENCHMARK_CAPTURE(Import, mdm, "mdm")->Apply(Sizes);

int RunCase(char** arguments) {
  const std::string format = arguments[0];
  const std::string kind = arguments[1];
  const modelsize size{Number(arguments[2]), Number(arguments[3]), Number(arguments[4]),
                       Number(arguments[5]), Number(arguments[6])};
  if (size.frames < 1 || size.surfaces < 1 || size.vertsPerSurface < 20 || size.joints < 1 ||
      size.weights < 1) {
    std::fprintf(stderr,
                 "a case has at least 1 frame, 1 surface, 20 vertices, 1 joint and 1 weight\n");
    return EXIT_FAILURE;
  }
  for (const auto& [name, what] : kMeasuredRuns) {
    if (kind == name) {
      return MeasureCase(size, format, what);
    }
  }
  std::fprintf(stderr, "no kind of run: %s\n", arguments[1]);
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 9 && std::strcmp(argv[1], "--case") == 0) {
    return RunCase(argv + 2);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return EXIT_FAILURE;
  }
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}
