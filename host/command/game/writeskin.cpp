#include "command/game/writeskin.h"

#include <cstdint>
#include <vector>

#include "command/finish/openmodel.h"
#include "command/game/gamepath.h"
#include "command/game/newfile.h"
#include "command/wording.h"
#include "mdmmdx/mdmfile.h"
#include "mds/mdsfile.h"

namespace command {

namespace {

struct skintext {
  std::string lines;
  std::int64_t rows = 0;
  std::vector<std::string> bare;  // surfaces without a shader
};

template <class File>
skintext TextOf(const std::string& model, const std::string& quote) {
  skintext text;
  File file;
  LoadAgain(model, model, file);
  for (const skelsurfentry& entry : file.surfaces) {
    const std::string name = NameText(entry.surface->name).data();
    const std::string shader = NameText(entry.surface->shader).data();
    if (NamesNothing(shader)) {
      text.bare.push_back(name);
      continue;
    }
    // The games' readers of these files pass over a line without a suffix.
    text.lines.append(name).append(",").append(quote).append(shader);
    text.lines.append(HasImageSuffix(shader) ? "" : ".tga").append(quote).append("\n");
    ++text.rows;
  }
  return text;
}

}  // namespace

void WriteSkinFile(console& out, const std::string& model, filekind kind, bool force) {
  const std::string path = WithSuffix(model, ".skin");
  const skintext text =
      kind == filekind::Mds ? TextOf<cmdsfile>(model, "") : TextOf<cmdmfile>(model, "\"");
  if (text.rows == 0) {
    out.Warning(path, "is not written: no surface has a shader");
    return;
  }
  if (!WriteNewFile(out, path, {text.lines.begin(), text.lines.end()}, force)) {
    return;
  }
  if (!text.bare.empty()) {
    out.Warning(path, "has no line for surfaces without a shader: " + JoinedFew(text.bare));
  }
  out.Result(path, "written: " + Counted(text.rows, "surface"));
}

}  // namespace command
