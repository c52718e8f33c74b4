#include "gltf/viewer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using nlohmann::json;

namespace {

// Entry of a list by an index of the document.
const json& Entry(const json& list, int index) { return list[static_cast<std::size_t>(index)]; }

double Number(const std::uint8_t* at, int type) {
  std::uint16_t whole = 0;
  float fraction = 0.0F;
  switch (type) {
    case 5121:
      return *at;
    case 5123:
      std::memcpy(&whole, at, sizeof(whole));
      return whole;
    default:
      std::memcpy(&fraction, at, sizeof(fraction));
      return static_cast<double>(fraction);
  }
}

std::vector<double> Slerp(const std::vector<double>& a, std::vector<double> b, double t) {
  double cosine = 0.0;
  for (std::size_t i = 0; i < 4; ++i) {
    cosine += a[i] * b[i];
  }
  if (cosine < 0.0) {
    cosine = -cosine;
    std::transform(b.begin(), b.end(), b.begin(), [](double x) { return -x; });
  }
  const double arc = std::acos(std::min(cosine, 1.0));
  std::vector<double> result(4);
  for (std::size_t i = 0; i < 4; ++i) {
    result[i] = arc < 1e-6
                    ? a[i] + (b[i] - a[i]) * t
                    : (std::sin((1.0 - t) * arc) * a[i] + std::sin(t * arc) * b[i]) / std::sin(arc);
  }
  return result;
}

}  // namespace

viewer::matrix viewer::Product(const matrix& a, const matrix& b) {
  matrix result{};
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      for (std::size_t k = 0; k < 4; ++k) {
        result[i][j] += a[i][k] * b[k][j];
      }
    }
  }
  return result;
}

viewer::point viewer::Apply(const matrix& m, const point& p) {
  point result{};
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = m[i][0] * p[0] + m[i][1] * p[1] + m[i][2] * p[2] + m[i][3];
  }
  return result;
}

viewer::matrix viewer::FromParts(const std::vector<double>& move, const std::vector<double>& q,
                                 const std::vector<double>& scale) {
  const double n = 2.0 / (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  const double x = q[0];
  const double y = q[1];
  const double z = q[2];
  const double w = q[3];
  matrix m{{{1 - n * (y * y + z * z), n * (x * y - w * z), n * (x * z + w * y), move[0]},
            {n * (x * y + w * z), 1 - n * (x * x + z * z), n * (y * z - w * x), move[1]},
            {n * (x * z - w * y), n * (y * z + w * x), 1 - n * (x * x + y * y), move[2]},
            {0, 0, 0, 1}}};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      m[i][j] *= scale[j];
    }
  }
  return m;
}

std::vector<std::vector<double>> viewer::Values(int accessor) const {
  const json& from = Entry(doc_["accessors"], accessor);
  const json& view = Entry(doc_["bufferViews"], from["bufferView"]);
  const std::string type = from["type"];
  const std::size_t each = type == "SCALAR" ? 1
                           : type == "MAT4" ? 16
                                            : static_cast<std::size_t>(type.back() - '0');
  const int component = from["componentType"];
  const std::size_t size = component == 5121 ? 1 : component == 5123 ? 2 : 4;
  std::vector<std::vector<double>> values(from["count"], std::vector<double>(each));
  std::size_t at = view["byteOffset"];
  for (std::vector<double>& value : values) {
    for (double& number : value) {
      number = Number(&buffer_[at], component);
      at += size;
    }
  }
  return values;
}

double viewer::Length(int clip) const {
  double length = 0.0;
  for (const json& sampler : Entry(doc_["animations"], clip)["samplers"]) {
    length = std::max(length, Values(sampler["input"]).back()[0]);
  }
  return length;
}

std::vector<double> viewer::Part(int node, const char* path, std::vector<double> missing, int clip,
                                 double time) const {
  const json& from = Entry(doc_["nodes"], node);
  std::vector<double> value = from.value(path, std::move(missing));
  if (clip < 0) {
    return value;
  }
  const json& animation = Entry(doc_["animations"], clip);
  for (const json& channel : animation["channels"]) {
    if (channel["target"]["node"] != node || channel["target"]["path"] != path) {
      continue;
    }
    const json& sampler = Entry(animation["samplers"], channel["sampler"]);
    const auto times = Values(sampler["input"]);
    const auto keys = Values(sampler["output"]);
    const std::string way = sampler["interpolation"];
    const std::size_t each = way == "CUBICSPLINE" ? 3 : 1;
    std::size_t k = 0;
    while (k + 1 < times.size() && times[k + 1][0] <= time) {
      ++k;
    }
    value = keys[each * k + each / 2];
    if (way == "STEP" || k + 1 == times.size() || time <= times[0][0]) {
      continue;
    }
    const double span = times[k + 1][0] - times[k][0];
    const double t = (time - times[k][0]) / span;
    const std::vector<double> next = keys[each * (k + 1) + each / 2];
    if (way == "LINEAR" && value.size() == 4) {
      value = Slerp(value, next, t);
      continue;
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
      if (way == "LINEAR") {
        value[i] += (next[i] - value[i]) * t;
      } else {
        const double out = keys[3 * k + 2][i] * span;
        const double in = keys[3 * k + 3][i] * span;
        value[i] = (2 * t * t * t - 3 * t * t + 1) * value[i] + (t * t * t - 2 * t * t + t) * out +
                   (3 * t * t - 2 * t * t * t) * next[i] + (t * t * t - t * t) * in;
      }
    }
  }
  return value;
}

viewer::matrix viewer::World(int node, int clip, double time) const {
  const json& from = Entry(doc_["nodes"], node);
  matrix local{};
  if (from.contains("matrix")) {
    for (std::size_t i = 0; i < 16; ++i) {
      local[i % 4][i / 4] = from["matrix"][i];
    }
  } else {
    local = FromParts(Part(node, "translation", {0, 0, 0}, clip, time),
                      Part(node, "rotation", {0, 0, 0, 1}, clip, time),
                      Part(node, "scale", {1, 1, 1}, clip, time));
  }
  for (std::size_t i = 0; i < doc_["nodes"].size(); ++i) {
    const json children = doc_["nodes"][i].value("children", json::array());
    if (std::find(children.begin(), children.end(), json(node)) != children.end()) {
      return Product(World(static_cast<int>(i), clip, time), local);
    }
  }
  return local;
}

std::vector<viewer::point> viewer::Places(int node, int primitive, int clip, double time) const {
  const json& from = Entry(doc_["nodes"], node);
  const json& attributes =
      Entry(Entry(doc_["meshes"], from["mesh"])["primitives"], primitive)["attributes"];
  std::vector<point> places;
  for (const std::vector<double>& v : Values(attributes["POSITION"])) {
    places.push_back({v[0], v[1], v[2]});
  }
  if (!from.contains("skin") || !attributes.contains("JOINTS_0")) {
    const matrix world = World(node, clip, time);
    for (point& place : places) {
      place = Apply(world, place);
    }
    return places;
  }
  const json& skin = Entry(doc_["skins"], from["skin"]);
  std::vector<matrix> joints;
  for (const json& joint : skin["joints"]) {
    joints.push_back(World(joint, clip, time));
    if (skin.contains("inverseBindMatrices")) {
      const std::vector<double> m = Values(skin["inverseBindMatrices"])[joints.size() - 1];
      matrix inverse{};
      for (std::size_t i = 0; i < 16; ++i) {
        inverse[i % 4][i / 4] = m[i];
      }
      joints.back() = Product(joints.back(), inverse);
    }
  }
  const auto indices = Values(attributes["JOINTS_0"]);
  const auto weights = Values(attributes["WEIGHTS_0"]);
  for (std::size_t v = 0; v < places.size(); ++v) {
    point sum{};
    for (std::size_t c = 0; c < 4; ++c) {
      const point moved = Apply(joints[static_cast<std::size_t>(indices[v][c])], places[v]);
      for (std::size_t i = 0; i < 3; ++i) {
        sum[i] += weights[v][c] * moved[i];
      }
    }
    places[v] = sum;
  }
  return places;
}
