// Prints what moves in a model: the bones of an mds or mdx file with their parents, the tags of an
// mdc or mdm file. Usage: bones MODEL

#include <cstdio>
#include <string>

#include "mdc/mdcfile.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

namespace {

// Each reader says in Fault() what does not hold; nothing of such a file is to be touched.
template <class File, class Print>
int Show(const std::string& path, Print&& print) {
  File file;
  if (!file.Load(path.c_str())) {
    const std::string cause = file.Fault().empty() ? "cannot be read" : file.Fault();
    std::fprintf(stderr, "%s: %s\n", path.c_str(), cause.c_str());
    return 1;
  }
  print(file);
  return 0;
}

void PrintBones(const skelrig& rig) {
  for (int i = 0; i < rig.numBones; ++i) {
    const int parent = rig.bones[i].parent;  // -1: none
    std::printf("%d %s (parent %d)\n", i, NameText(rig.bones[i].name).data(), parent);
  }
}

void PrintTag(const namefield<64>& name) { std::printf("tag %s\n", NameText(name).data()); }

}  // namespace

int main(int argc, char** argv) {
  const std::string path = argc == 2 ? argv[1] : "";
  if (path.ends_with(".mds")) {
    return Show<cmdsfile>(path, [](const cmdsfile& file) { PrintBones(file); });
  }
  if (path.ends_with(".mdx")) {
    return Show<cmdxfile>(path, [](const cmdxfile& file) { PrintBones(file); });
  }
  if (path.ends_with(".mdc")) {
    return Show<cmdcfile>(path, [](const cmdcfile& file) {
      for (const cmdctagentry& tag : file.tagTable) PrintTag(*tag.name);
    });
  }
  if (path.ends_with(".mdm")) {
    return Show<cmdmfile>(path, [](const cmdmfile& file) {
      for (const mdmTag* tag : file.tags) PrintTag(tag->name);
    });
  }
  std::fputs("usage: bones MODEL.mds|mdx|mdc|mdm\n", stderr);
  return 2;
}
