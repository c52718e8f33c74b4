#include "command/finish/storedname.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <memory>

#include "command/failure.h"
#include "files/disk.h"
#include "mdc/records.h"
#include "mdmmdx/records.h"
#include "mds/records.h"
#include "sampling/storednames.h"

namespace command {

namespace {

using headername = decltype(mdcHeader::name);

// Where the name lies in every kind of model.
constexpr long kNameOffset = offsetof(mdcHeader, name);
static_assert(offsetof(mdsHeader, name) == kNameOffset &&
              offsetof(mdmHeader, name) == kNameOffset && offsetof(mdxHeader, name) == kNameOffset);

headername NameFor(const std::string& path, filekind kind, bool modelsDir) {
  headername name{};
  SetName(name, (IsSkeletal(kind) ? GetModelName(path) : MakeModelsPath(path, modelsDir)).c_str());
  return name;
}

}  // namespace

std::string SetStoredName(const std::string& written, const std::string& target, filekind kind,
                          bool modelsDir) {
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  errno = 0;
  std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(written.c_str(), "r+b"), close);
  headername stored{};
  if (!file || std::fseek(file.get(), kNameOffset, SEEK_SET) != 0 ||
      std::fread(stored.data(), stored.size(), 1, file.get()) != 1) {
    if (errno == 0) {
      return {};  // a write of the run failed: reading the file back tells which
    }
    throw failure(target, "not written: " + files::ErrnoMessage(errno));
  }
  for (const bool used : {modelsDir, !modelsDir}) {
    if (stored != NameFor(written, kind, used)) {
      continue;
    }
    const headername name = NameFor(target, kind, used);
    errno = 0;
    const bool put = std::fseek(file.get(), kNameOffset, SEEK_SET) == 0 &&
                     std::fwrite(name.data(), name.size(), 1, file.get()) == 1;
    if (std::fclose(file.release()) != 0 || !put) {
      throw failure(target, "not written: " + files::ErrnoMessage(errno));
    }
    return NameText(name).data();
  }
  return {};
}

}  // namespace command
