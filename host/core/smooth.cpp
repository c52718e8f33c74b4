#include "core/smooth.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>
#include <unordered_map>

#include "core/affine.h"
#include "plugin/host/scene.h"

namespace core {

namespace {

// A place where more faces than this meet has its faces gathered by direction first, so that a
// mesh with all its vertices in one place costs no more than any other.
constexpr std::size_t kCrowd = 256;
// Directions along one edge of the cube that they are gathered on: some 5 degrees each.
constexpr int kGrid = 16;
constexpr std::size_t kDirections = std::size_t{6} * kGrid * kGrid;

using placekey = std::array<std::uint32_t, 3>;

struct placehash {
  std::size_t operator()(const placekey& key) const {
    std::uint64_t h = key[0];
    h = (h ^ (h >> 15)) * 0x9E3779B97F4A7C15ULL + key[1];
    h = (h ^ (h >> 29)) * 0x9E3779B97F4A7C15ULL + key[2];
    h = (h ^ (h >> 32)) * 0x9E3779B97F4A7C15ULL;
    return static_cast<std::size_t>(h ^ (h >> 29));
  }
};

// Adding zero makes -0 the same place as 0.
placekey KeyOf(const cpoint3& p) {
  return {std::bit_cast<std::uint32_t>(p.x + 0.0F), std::bit_cast<std::uint32_t>(p.y + 0.0F),
          std::bit_cast<std::uint32_t>(p.z + 0.0F)};
}

std::vector<std::uint32_t> PlacesOf(const std::vector<cpoint3>& verts, std::size_t& numPlaces) {
  std::unordered_map<placekey, std::uint32_t, placehash> places;
  places.reserve(verts.size());
  std::vector<std::uint32_t> placeOf(verts.size());
  for (std::size_t i = 0; i < verts.size(); ++i) {
    const auto next = static_cast<std::uint32_t>(places.size());
    placeOf[i] = places.try_emplace(KeyOf(verts[i]), next).first->second;
  }
  numPlaces = places.size();
  return placeOf;
}

// The normal of a face, which runs clockwise seen from its front, at the length of twice its area;
// zero where it has none.
vec3 AreaNormal(const meshstate& mesh, const cface& face) {
  for (const std::int32_t v : face.v) {
    if (v < 0 || static_cast<std::size_t>(v) >= mesh.verts.size()) {
      return {};
    }
  }
  const vec3 a = ToVec(mesh.verts[static_cast<std::size_t>(face.v[0])]);
  const vec3 b = ToVec(mesh.verts[static_cast<std::size_t>(face.v[1])]);
  const vec3 c = ToVec(mesh.verts[static_cast<std::size_t>(face.v[2])]);
  const vec3 normal = Cross(c - a, b - a);
  return std::isfinite(Dot(normal, normal)) ? normal : vec3{};
}

std::size_t DirectionOf(const vec3& v) {
  const double part[3] = {v.x, v.y, v.z};
  std::size_t axis = std::abs(v.y) > std::abs(v.x) ? 1 : 0;
  if (std::abs(v.z) > std::abs(part[axis])) {
    axis = 2;
  }
  const double scale = 1.0 / std::abs(part[axis]);
  const auto cell = [scale](double x) {
    return static_cast<std::size_t>(
        std::clamp(static_cast<int>((x * scale + 1.0) * 0.5 * kGrid), 0, kGrid - 1));
  };
  const std::size_t side = 2 * axis + (part[axis] < 0.0 ? 1 : 0);
  return (side * kGrid + cell(part[(axis + 1) % 3])) * kGrid + cell(part[(axis + 2) % 3]);
}

// Sums of the normals that lie in the same direction, in place of the normals.
void GatherByDirection(std::vector<vec3>& normals, std::vector<vec3>& sums) {
  sums.assign(kDirections, vec3{});
  for (const vec3& normal : normals) {
    vec3& sum = sums[DirectionOf(normal)];
    sum = sum + normal;
  }
  normals.clear();
  for (const vec3& sum : sums) {
    if (!IsZero(sum)) {
      normals.push_back(sum);
    }
  }
}

// Entries of a list by a key below `numKeys`, as stretches of one list.
struct grouping {
  std::vector<std::uint32_t> starts;
  std::vector<std::uint32_t> members;

  explicit grouping(std::size_t numKeys) : starts(numKeys + 1) {}
  void Count(std::uint32_t key) { ++starts[key]; }
  // Between the last Count and the first Add, which go over the same keys.
  void Close() {
    std::uint32_t sum = 0;
    for (std::uint32_t& start : starts) {
      sum += start;
      start = sum;
    }
    members.resize(sum);
  }
  void Add(std::uint32_t key, std::uint32_t member) { members[--starts[key]] = member; }
};

}  // namespace

void SmoothNormals(meshstate& mesh, float angle) {
  std::size_t numPlaces = 0;
  const std::vector<std::uint32_t> placeOf = PlacesOf(mesh.verts, numPlaces);
  std::vector<vec3> faceNormals(mesh.faces.size());
  std::vector<vec3> own(mesh.verts.size());
  grouping facesAt(numPlaces);
  grouping vertsAt(numPlaces);

  for (std::size_t f = 0; f < mesh.faces.size(); ++f) {
    faceNormals[f] = AreaNormal(mesh, mesh.faces[f]);
    if (!IsZero(Unit(faceNormals[f]))) {
      for (const std::int32_t v : mesh.faces[f].v) {
        own[static_cast<std::size_t>(v)] = own[static_cast<std::size_t>(v)] + faceNormals[f];
        facesAt.Count(placeOf[static_cast<std::size_t>(v)]);
      }
    }
  }
  facesAt.Close();
  for (std::size_t f = 0; f < mesh.faces.size(); ++f) {
    if (!IsZero(Unit(faceNormals[f]))) {
      for (const std::int32_t v : mesh.faces[f].v) {
        facesAt.Add(placeOf[static_cast<std::size_t>(v)], static_cast<std::uint32_t>(f));
      }
    }
  }
  for (const std::uint32_t place : placeOf) {
    vertsAt.Count(place);
  }
  vertsAt.Close();
  for (std::size_t v = 0; v < placeOf.size(); ++v) {
    vertsAt.Add(placeOf[v], static_cast<std::uint32_t>(v));
  }

  // A hair's breadth more, so that faces at exactly the angle are within it.
  const double limit =
      std::cos(std::clamp(static_cast<double>(angle), 0.0, 180.0) * (std::numbers::pi / 180.0)) -
      1e-6;
  std::vector<cpoint3> normals(mesh.verts.size());
  std::vector<vec3> around;
  std::vector<vec3> sums;
  for (std::size_t place = 0; place < numPlaces; ++place) {
    around.clear();
    for (std::uint32_t i = facesAt.starts[place]; i < facesAt.starts[place + 1]; ++i) {
      around.push_back(faceNormals[facesAt.members[i]]);
    }
    if (around.size() > kCrowd) {
      GatherByDirection(around, sums);
    }
    for (std::uint32_t i = vertsAt.starts[place]; i < vertsAt.starts[place + 1]; ++i) {
      const std::uint32_t v = vertsAt.members[i];
      const vec3 mean = Unit(own[v]);
      vec3 sum;
      for (const vec3& normal : around) {
        if (Dot(normal, mean) >= limit * std::sqrt(Dot(normal, normal))) {
          sum = sum + normal;
        }
      }
      vec3 normal = IsZero(mean) ? mean : Unit(sum);
      if (IsZero(normal)) {
        normal = mean;
      }
      if (IsZero(normal)) {
        normal = {0.0, 0.0, 1.0};
      }
      normals[v] = ToPoint(normal);
    }
  }
  mesh.normals = std::move(normals);
}

void SmoothTargets(meshstate& mesh, float angle) {
  const auto lacks = [](const morphtarget& target) {
    return target.normals.empty() && !target.positions.empty();
  };
  if (std::ranges::none_of(mesh.targets, lacks)) {
    return;
  }
  meshstate shape;
  shape.faces = mesh.faces;
  shape.verts = mesh.verts;
  SmoothNormals(shape, angle);
  const std::vector<cpoint3> rest = shape.normals;
  const auto combine = [](const std::vector<cpoint3>& a, const std::vector<cpoint3>& b, float sign,
                          std::vector<cpoint3>& to) {
    to.resize(a.size());
    for (std::size_t v = 0; v < a.size(); ++v) {
      to[v] = MakePt3(a[v].x + sign * b[v].x, a[v].y + sign * b[v].y, a[v].z + sign * b[v].z);
    }
  };
  for (morphtarget& target : mesh.targets) {
    if (lacks(target)) {
      combine(mesh.verts, target.positions, 1.0F, shape.verts);
      SmoothNormals(shape, angle);
      combine(shape.normals, rest, -1.0F, target.normals);
    }
  }
}

}  // namespace core
