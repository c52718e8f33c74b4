#include "measure.h"

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "bareexport.h"
#include "bareframes.h"
#include "bareloop.h"
#include "bareskeletal.h"
#include "scenefilecase.h"

namespace {

// Apart, because the kernel's share is pages handed out and bytes written, not our code.
struct cputime {
  double user = 0.0;
  double system = 0.0;
};

cputime CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return {seconds(usage.ru_utime), seconds(usage.ru_stime)};
}

// A figure of the process in bytes, as VmRSS (now) or VmHWM (the peak).
double ProcessBytes(const char* name) {
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> status(std::fopen("/proc/self/status", "r"),
                                                           close);
  char line[256];
  while (status && std::fgets(line, sizeof line, status.get()) != nullptr) {
    if (std::strncmp(line, name, std::strlen(name)) == 0) {
      return 1024.0 * std::strtod(line + std::strlen(name) + 1, nullptr);
    }
  }
  return 0.0;
}

// Gives back what is free, and lets the peak start from here: 5 resets it.
void StartPeak() {
  malloc_trim(0);
  if (std::FILE* const reset = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", reset);
    std::fclose(reset);
  }
}

std::size_t WriteBare(const bare::model& model, const benchfile& file) {
  return file.Format() == "mdc" ? WriteBareMdc(model, file.BarePath())
                                : WriteBareMds(model, file.BarePath());
}

// What the bare loop wrote otherwise than the export; empty for nothing.
std::string DifferenceOf(const benchfile& file) {
  if (file.Format() != "mdc") {
    return MdsDifference(file.Path(), file.BarePath());
  }
  // Sums are taken in another order, which may move a coordinate over the edge of a step.
  const int apart = StepsApart(file.Path(), file.BarePath());
  return apart < 0 || apart > 1 ? "vertices" : "";
}

// The one function whose instructions are counted.
extern "C" [[gnu::noinline]] int MeasuredRun(benchhost* host, const benchfile* file,
                                             const bare::model* model, scenefilecase* sceneFile,
                                             measuredrun what) {
  if (sceneFile != nullptr) {
    return sceneFile->Run();
  }
  switch (what) {
    case measuredrun::Export:
      return host->Export(*file);
    case measuredrun::BareExport:
      return WriteBare(*model, *file) > 0 ? 1 : 0;
    case measuredrun::Import:
      return host->Import(*file);
    case measuredrun::Scene:
      return host->WriteScene(*file);
    case measuredrun::BareScene:
      return WriteBareFrames(file->Path(), file->ScenePath()) > 0 ? 1 : 0;
    default:
      return std::isfinite(DecodeBare(file->Path())) ? 1 : 0;
  }
}

const char* NameOf(measuredrun what) {
  return std::ranges::find(kMeasuredRuns, what, [](const auto& each) { return each.second; })
      ->first;
}

}  // namespace

int MeasureCase(const modelsize& size, const std::string& format, measuredrun what) {
  benchhost host(size);
  const benchfile file(format, size.frames);
  // One frame goes first: what a scene prepares once for each vertex, whatever the number of
  // frames, is reported apart from what grows with them.
  StartPeak();
  const double bare = ProcessBytes("VmRSS");
  host.SetFrames(1);
  int result = IsOfSceneFile(what) ? 1 : host.Export(file);
  host.SetFrames(size.frames);
  if (what != measuredrun::Export && !IsOfSceneFile(what) && result == 1) {
    result = host.Export(file);
  }
  std::optional<scenefilecase> sceneFile;
  if (IsOfSceneFile(what)) {
    sceneFile.emplace(host.Scene(), file, what);
  }
  if (what == measuredrun::Scene || what == measuredrun::BareScene) {
    host.SetNormals(file, size.frames);
  }
  const std::optional<bare::model> model =
      what == measuredrun::BareExport ? std::optional(host.Bare()) : std::nullopt;
  malloc_trim(0);
  const double prepared = ProcessBytes("VmRSS");
  StartPeak();
  const auto start = std::chrono::steady_clock::now();
  const cputime before = CpuSeconds();
  if (result == 1) {
    result = MeasuredRun(&host, &file, model ? &*model : nullptr, sceneFile ? &*sceneFile : nullptr,
                         what);
  }
  const cputime after = CpuSeconds();
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  const double peak = ProcessBytes("VmHWM");
  if (const std::string difference = model ? DifferenceOf(file) : ""; !difference.empty()) {
    std::fprintf(stderr, "the bare loop wrote other %s than the export\n", difference.c_str());
    result = 0;
  }
  if (sceneFile && result == 1 && !sceneFile->Agrees()) {
    std::fprintf(stderr, "the bare loop has other data than the scene's file\n");
    result = 0;
  }
  std::printf(
      "{\"format\": \"%s\", \"kind\": \"%s\", \"frames\": %d, \"surfaces\": %d, "
      "\"vertices\": %.0f, \"joints\": %d, \"weights\": %d, \"result\": %d, "
      "\"userSeconds\": %.6f, \"systemSeconds\": %.6f, \"wallSeconds\": %.6f, "
      "\"memoryBytes\": %.0f, "
      "\"preparedBytes\": %.0f, \"sceneBytes\": %.0f}\n",
      format.c_str(), NameOf(what), size.frames, size.surfaces, size.Vertices(), size.joints,
      size.weights, result, after.user - before.user, after.system - before.system, wall.count(),
      peak - prepared, prepared - bare, size.SceneBytes());
  return result == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
