#include "gltf/read/geometry.h"

#include <cmath>
#include <numeric>

#include "gltf/read/badfile.h"

namespace gltf {

namespace {

using triangle = std::array<std::uint32_t, 3>;

std::vector<std::uint32_t> CornersOf(const primitive& part, std::size_t count,
                                     valuereader& values) {
  std::vector<std::uint32_t> corners;
  if (part.indices < 0) {
    corners.resize(count);
    std::iota(corners.begin(), corners.end(), 0U);
    return corners;
  }
  corners = values.Indices(part.indices, shape::Scalar, part.place + ": its indices");
  for (std::size_t i = 0; i < corners.size(); ++i) {
    if (corners[i] >= count) {
      throw badfile(part.place + ": index " + std::to_string(i) + " is vertex " +
                    std::to_string(corners[i]) + " of " + std::to_string(count));
    }
  }
  return corners;
}

// Strips repeat a corner to turn round; such triangles have no face.
void AddFace(std::vector<triangle>& faces, const triangle& face) {
  if (face[0] != face[1] && face[1] != face[2] && face[0] != face[2]) {
    faces.push_back(face);
  }
}

std::vector<triangle> FacesOf(const primitive& part, std::size_t count, valuereader& values) {
  const std::vector<std::uint32_t> corners = CornersOf(part, count, values);
  std::vector<triangle> faces;
  if (part.mode == primitivemode::Triangles) {
    if (corners.size() % 3 != 0) {
      throw badfile(part.place + ": " + std::to_string(corners.size()) +
                    " indices do not make whole triangles");
    }
    faces.reserve(corners.size() / 3);
    for (std::size_t i = 0; i < corners.size(); i += 3) {
      faces.push_back({corners[i], corners[i + 1], corners[i + 2]});
    }
    return faces;
  }
  for (std::size_t i = 0; i + 2 < corners.size(); ++i) {
    if (part.mode == primitivemode::Fan) {
      AddFace(faces, {corners[i + 1], corners[i + 2], corners[0]});
    } else {
      AddFace(faces, {corners[i], corners[i + 1 + i % 2], corners[i + 2 - i % 2]});
    }
  }
  return faces;
}

// Empty for accessor -1.
std::vector<float> PerVertex(int accessor, const std::string& place, shape form, std::size_t each,
                             std::size_t count, valuereader& values) {
  if (accessor < 0) {
    return {};
  }
  std::vector<float> made = values.Floats(accessor, form, place);
  if (made.size() != each * count) {
    throw badfile(place + " has " + std::to_string(made.size() / each) + " entries for " +
                  std::to_string(count) + " vertices");
  }
  return made;
}

std::vector<float> Attribute(const primitive& part, const std::string& name, shape form,
                             std::size_t each, std::size_t count, valuereader& values) {
  return PerVertex(part.Attribute(name), part.place + ": " + name, form, each, count, values);
}

void ReadTargets(const primitive& part, valuereader& values, geometry& made) {
  made.targets.reserve(part.targets.size());
  for (std::size_t t = 0; t < part.targets.size(); ++t) {
    const std::string place = part.place + ", morph target " + std::to_string(t) + ": ";
    made.targets.push_back(
        {PerVertex(part.targets[t].positions, place + "POSITION", shape::Vec3, 3, made.count,
                   values),
         PerVertex(part.targets[t].normals, place + "NORMAL", shape::Vec3, 3, made.count, values)});
  }
}

// Weights that stand for integers were rounded one by one; together they are 1 again.
void UndoRounding(std::vector<std::vector<float>>& weights, std::size_t count, double step) {
  for (std::size_t v = 0; v < count; ++v) {
    double sum = 0.0;
    for (const std::vector<float>& set : weights) {
      for (std::size_t c = 0; c < 4; ++c) {
        sum += set[4 * v + c];
      }
    }
    if (std::abs(sum - 1.0) > 0.5 * step * 4.0 * static_cast<double>(weights.size())) {
      continue;
    }
    for (std::vector<float>& set : weights) {
      for (std::size_t c = 0; c < 4; ++c) {
        set[4 * v + c] = static_cast<float>(set[4 * v + c] / sum);
      }
    }
  }
}

// Step of a component that stands for a fraction; 0 for floats.
double StepOf(component type) {
  if (type == component::Float) {
    return 0.0;
  }
  return type == component::Uint8 ? 1.0 / 255.0 : 1.0 / 65535.0;
}

void ReadWeights(const document& doc, const primitive& part, valuereader& values, geometry& made) {
  double step = 0.0;
  for (int set = 0;; ++set) {
    const std::string joints = "JOINTS_" + std::to_string(set);
    const std::string weights = "WEIGHTS_" + std::to_string(set);
    const int index = part.Attribute(joints);
    const int from = part.Attribute(weights);
    if (index < 0 || from < 0) {
      break;
    }
    made.joints.push_back(values.Indices(index, shape::Vec4, part.place + ": " + joints));
    if (made.joints.back().size() != 4 * made.count) {
      throw badfile(part.place + ": " + joints + " has another number of entries than POSITION");
    }
    made.weights.push_back(Attribute(part, weights, shape::Vec4, 4, made.count, values));
    step = std::max(step, StepOf(doc.accessors[static_cast<std::size_t>(from)].type));
  }
  if (step > 0.0) {
    UndoRounding(made.weights, made.count, step);
  }
}

template <class T>
void Keep(std::vector<T>& list, std::size_t each, const std::vector<std::uint32_t>& kept) {
  if (list.empty()) {
    return;
  }
  std::vector<T> made;
  made.reserve(each * kept.size());
  for (const std::uint32_t vertex : kept) {
    const auto first = list.begin() + static_cast<std::ptrdiff_t>(each * vertex);
    made.insert(made.end(), first, first + static_cast<std::ptrdiff_t>(each));
  }
  list = std::move(made);
}

void DropUnused(geometry& made) {
  std::vector<bool> used(made.count);
  for (const triangle& face : made.faces) {
    for (const std::uint32_t vertex : face) {
      used[vertex] = true;
    }
  }
  std::vector<std::uint32_t> kept;
  std::vector<std::uint32_t> place(made.count);
  for (std::uint32_t v = 0; v < made.count; ++v) {
    place[v] = static_cast<std::uint32_t>(kept.size());
    if (used[v]) {
      kept.push_back(v);
    }
  }
  if (2 * kept.size() >= made.count) {
    return;
  }
  for (triangle& face : made.faces) {
    for (std::uint32_t& vertex : face) {
      vertex = place[vertex];
    }
  }
  made.count = kept.size();
  Keep(made.positions, 3, kept);
  Keep(made.normals, 3, kept);
  Keep(made.coordinates, 2, kept);
  for (std::size_t set = 0; set < made.joints.size(); ++set) {
    Keep(made.joints[set], 4, kept);
    Keep(made.weights[set], 4, kept);
  }
  for (targetvalues& target : made.targets) {
    Keep(target.positions, 3, kept);
    Keep(target.normals, 3, kept);
  }
}

}  // namespace

geometry ReadGeometry(const document& doc, const primitive& part, const wantedparts& wanted,
                      valuereader& values) {
  geometry made;
  made.positions =
      values.Floats(part.Attribute("POSITION"), shape::Vec3, part.place + ": POSITION");
  made.count = made.positions.size() / 3;
  made.faces = FacesOf(part, made.count, values);
  made.normals = Attribute(part, "NORMAL", shape::Vec3, 3, made.count, values);
  made.coordinates = Attribute(part, wanted.coordinates, shape::Vec2, 2, made.count, values);
  if (wanted.joints) {
    ReadWeights(doc, part, values, made);
  }
  if (wanted.targets) {
    ReadTargets(part, values, made);
  }
  if (wanted.usedOnly) {
    DropUnused(made);
  }
  return made;
}

}  // namespace gltf
