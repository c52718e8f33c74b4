#pragma once

// What a run may hold in memory: --max-memory.

#include <cstdint>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace command {

inline constexpr char kNoMemory[] =
    "there is not enough memory; --max-memory sets how much a run may take";

class memorylimit {
 public:
  void Define(CLI::App& app);

  // Holds this process, which already has some memory, to its share of the limit: what asks for
  // more gets std::bad_alloc. Nothing where the system has no such limit.
  void Hold(unsigned processes) const;

  // What a piece of the work may take, in bytes, and the words for it: the limit, but without the
  // option no more than `honest`, what the input can need.
  struct share {
    std::uint64_t bytes = 0;
    std::string words;  // "--max-memory of 2.0 GB"
  };
  share Share(std::uint64_t honest) const;
  // Fails when `bytes` are more than the share: "needs 3.1 GB for WHAT, more than ...".
  void Require(const std::string& path, const std::string& what, std::uint64_t bytes,
               std::uint64_t honest) const;

 private:
  std::uint64_t given_ = 0;  // 0: half of the machine's
};

// "3.1 GB", of 10^9 bytes
std::string SizeText(std::uint64_t bytes);

// Of the system. Bytes of main memory, and a limit for those that this process holds.
std::uint64_t MachineMemory();
void LimitProcess(std::uint64_t bytes);

}  // namespace command
