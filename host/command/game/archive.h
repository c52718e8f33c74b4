#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace command {

// Whether this build reads archives.
bool ReadsArchives();

// A .pk3 archive of a game: a zip whose entries are found by their paths, in any case of letters.
// Entries that lead out of the archive's folder are left out.
class archive {
 public:
  // Bytes that entries of all archives may have together, decompressed.
  using budget = std::uint64_t;
  static constexpr budget kBudget = std::uint64_t{1} << 30;
  static constexpr std::uint64_t kLargestEntry = std::uint64_t{256} << 20;

  // Null, with what is wrong, where the file is no archive or this build reads none.
  static std::unique_ptr<archive> Open(const std::string& path, std::string& fault);
  // The same for a block that the caller keeps alive.
  static std::unique_ptr<archive> Of(std::span<const std::uint8_t> block, std::string& fault);
  ~archive();
  archive(const archive&) = delete;
  archive& operator=(const archive&) = delete;

  // The entry's number; none without one. Of several under one name the last counts.
  std::optional<std::uint64_t> Find(const std::string& path) const;
  // The entry decompressed, and its size taken from the budget. Null, with what is wrong, where its
  // size is above the budget or the limit, or more than its compressed bytes can hold, or where it
  // is damaged. The sizes that the archive claims are tested before anything is decompressed.
  std::optional<std::vector<std::uint8_t>> Read(std::uint64_t entry, budget& left,
                                                std::string& fault) const;

 private:
  struct opened;

  explicit archive(std::unique_ptr<opened> from);

  std::unique_ptr<opened> opened_;
  std::unordered_map<std::string, std::uint64_t> entries_;  // by the path in lower case
};

}  // namespace command
