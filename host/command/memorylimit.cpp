#include "command/memorylimit.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "command/failure.h"

namespace command {

namespace {

// Below it not even the module is loaded.
constexpr std::uint64_t kSmallest = std::uint64_t{16} << 20;

}  // namespace

void memorylimit::Define(CLI::App& app) {
  app.add_option("--max-memory", given_,
                 "Memory that the run may take, as 512MB or 4GB; what is known to need more is "
                 "refused at once (default: half of the machine's, and less where the input is "
                 "too small to need it)")
      ->option_text("SIZE")
      ->transform(CLI::AsSizeValue(true))
      ->check(CLI::Range(kSmallest, std::uint64_t{1} << 62));
}

void memorylimit::Hold(unsigned processes) const {
  LimitProcess(Share(UINT64_MAX).bytes / std::max(processes, 1U));
}

memorylimit::share memorylimit::Share(std::uint64_t honest) const {
  if (given_ > 0) {
    return {given_, "--max-memory of " + SizeText(given_)};
  }
  const std::uint64_t half = MachineMemory() / 2;
  return honest < half ? share{honest, "the " + SizeText(honest) +
                                           " that the input can need (--max-memory allows others)"}
                       : share{half, "--max-memory of " + SizeText(half) +
                                         ", by default half of the machine's"};
}

void memorylimit::Require(const std::string& path, const std::string& what, std::uint64_t bytes,
                          std::uint64_t honest) const {
  if (const share most = Share(honest); bytes > most.bytes) {
    throw failure(path, "needs " + SizeText(bytes) + " for " + what + ", more than " + most.words);
  }
}

std::string SizeText(std::uint64_t bytes) {
  constexpr double kThousand = 1000.0;
  const char* const units[] = {"KB", "MB", "GB", "TB"};
  double size = static_cast<double>(bytes) / kThousand;
  std::size_t unit = 0;
  while (size >= kThousand && unit + 1 < std::size(units)) {
    size /= kThousand;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, size < 10.0 ? "%.1f %s" : "%.0f %s", size, units[unit]);
  return text;
}

}  // namespace command
