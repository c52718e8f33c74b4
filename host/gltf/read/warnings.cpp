#include "gltf/read/warnings.h"

namespace gltf {

namespace {

// Things of one kind.
struct finding {
  std::size_t count = 0;
  std::string first;

  void Add(const std::string& name) {
    if (count++ == 0) {
      first = name;
    }
  }
};

void Tell(const char* what, const finding& found, std::vector<std::string>& lines) {
  if (found.count == 1) {
    lines.push_back(std::string(what) + ": " + found.first);
  } else if (found.count > 1) {
    lines.push_back(std::string(what) + ": " + std::to_string(found.count) + ", the first is " +
                    found.first);
  }
}

// At most ten names.
std::string Listed(const std::vector<int>& nodes, const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 10;
  std::string text;
  for (std::size_t i = 0; i < nodes.size() && i < kMost; ++i) {
    text += (i == 0 ? "" : ", ") + names[At(nodes[i])];
  }
  return nodes.size() > kMost ? text + " and " + std::to_string(nodes.size() - kMost) + " more"
                              : text;
}

struct findings {
  finding cameras, lights, lines, empty, colours, coordinates;
};

void LookAtPrimitive(const document& doc, const primitive& part, findings& found) {
  if (part.mode < primitivemode::Triangles) {
    found.lines.Add(part.place);
    return;
  }
  if (!HasTriangles(doc, part)) {
    found.empty.Add(part.place);
    return;
  }
  const std::string& used =
      part.material < 0 ? "TEXCOORD_0" : doc.materials[At(part.material)].texCoords;
  bool colours = false;
  bool coordinates = false;
  for (const auto& [name, index] : part.attributes) {
    colours = colours || name.compare(0, 6, "COLOR_") == 0;
    coordinates = coordinates || (name.compare(0, 9, "TEXCOORD_") == 0 && name != used);
  }
  if (colours) {
    found.colours.Add(part.place);
  }
  if (coordinates) {
    found.coordinates.Add(part.place);
  }
}

}  // namespace

std::vector<std::string> NodeNames(const document& doc) {
  std::vector<std::string> names;
  names.reserve(doc.nodes.size());
  for (const node& from : doc.nodes) {
    std::string name = from.name;
    if (name.empty() && from.mesh >= 0) {
      name = doc.meshes[At(from.mesh)].name;
    }
    names.push_back(name.empty() ? "node_" + std::to_string(names.size()) : name);
  }
  return names;
}

std::vector<std::string> LeftOut(const document& doc, const plan& nodes, const poselist& poses,
                                 const std::vector<std::string>& names, const surfacelosses& lost) {
  findings found;
  std::vector<bool> seen(doc.meshes.size());
  for (const int index : nodes.order) {
    const node& from = doc.nodes[At(index)];
    if (from.hasCamera) {
      found.cameras.Add(names[At(index)]);
    }
    if (from.hasLight) {
      found.lights.Add(names[At(index)]);
    }
    if (from.mesh >= 0 && !seen[At(from.mesh)]) {
      seen[At(from.mesh)] = true;
      for (const primitive& part : doc.meshes[At(from.mesh)].primitives) {
        LookAtPrimitive(doc, part, found);
      }
    }
  }
  finding elsewhere;
  for (std::size_t i = 0; i < doc.nodes.size(); ++i) {
    if (!nodes.nodes[i].included) {
      elsewhere.Add(names[i]);
    }
  }
  finding scaled;
  for (const int index : poses.scaled) {
    scaled.Add(names[At(index)]);
  }
  finding bent;
  for (const int index : poses.bent) {
    bent.Add(names[At(index)]);
  }

  std::vector<std::string> lines;
  Tell("nodes outside the default scene are left out", elsewhere, lines);
  Tell("cameras are left out", found.cameras, lines);
  Tell("lights are left out", found.lights, lines);
  Tell("points and lines are left out", found.lines, lines);
  Tell("primitives without vertices are left out", found.empty, lines);
  Tell("vertex colours are left out", found.colours, lines);
  Tell("texture coordinates beyond those of the colour image are left out", found.coordinates,
       lines);
  Tell("animated scale is left out", scaled, lines);
  Tell("rotated nodes under a non-uniform scale keep their shape, which the scale would shear",
       bent, lines);
  if (doc.numOtherTextures > 0) {
    lines.push_back("textures that are no material's colour are left out: " +
                    std::to_string(doc.numOtherTextures));
  }
  if (!lost.unmorphed.empty()) {
    lines.push_back("morph targets that change during a clip are left out: " +
                    Listed(lost.unmorphed, names));
  }
  if (doc.hasOtherAnimation) {
    lines.emplace_back("animations of anything but nodes are left out");
  }
  if (doc.hasInstances) {
    lines.emplace_back("instances of a mesh beyond its node are left out");
  }
  if (lost.numLoose > 0) {
    lines.push_back("vertices of skins without a weight keep still: " +
                    std::to_string(lost.numLoose));
  }
  return lines;
}

}  // namespace gltf
