#include "gltf/bind/bindpose.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace {

using core::affine;
using core::vec3;

// A rotation about an axis, then a move.
affine Motion(const vec3& axis, double degrees, const vec3& move) {
  const vec3 u = core::Unit(axis);
  const double c = std::cos(degrees * std::numbers::pi / 180.0);
  const double s = std::sin(degrees * std::numbers::pi / 180.0);
  affine result;
  for (vec3& row : result.row) {
    row = row * c + core::Cross(u, row) * s + u * (core::Dot(u, row) * (1.0 - c));
  }
  result.translation = move;
  return result;
}

vec3 Apply(const vec3& p, const affine& m) { return core::TransformVector(p, m) + m.translation; }

double Distance(const vec3& a, const vec3& b) { return std::sqrt(core::Dot(a - b, a - b)); }

affine Inverted(affine m) {
  core::InvertInPlace(m);
  return m;
}

// Joints in a hidden bind pose, posed in another way, and vertices whose offsets come from the
// bind pose in single precision, as a file has them.
struct rig {
  std::vector<affine> binds;
  std::vector<affine> pose;
  gltf::bindvertices vertices;
  std::mt19937 random{20};

  double Number(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  vec3 Point(double size) {
    return {Number(-size, size), Number(-size, size), Number(-size, size)};
  }
  affine AnyMotion(double reach) { return Motion(Point(1.0), Number(-180.0, 180.0), Point(reach)); }

  void AddJoints(std::size_t count) {
    for (std::size_t j = 0; j < count; ++j) {
      binds.push_back(AnyMotion(40.0));
      pose.push_back(AnyMotion(60.0));
    }
  }
  void AddVertex(const vec3& place, const std::vector<std::pair<std::uint32_t, double>>& weights) {
    for (const auto& [joint, weight] : weights) {
      const vec3 offset = Apply(place, Inverted(binds[joint]));
      vertices.weights.push_back({joint, weight, core::ToVec(core::ToPoint(offset))});
    }
    vertices.starts.push_back(vertices.weights.size());
  }

  // How far a viewer's blend of the recovered rest places is from the blend of the offsets, over
  // all vertices, in a pose that is neither the bind pose nor the first one.
  double WorstBlend() {
    const std::vector<affine> found = gltf::RecoverBinds(vertices, pose);
    std::vector<affine> posed;
    std::vector<affine> fromRest;
    for (const affine& bind : found) {
      posed.push_back(AnyMotion(60.0));
      fromRest.push_back(Inverted(bind) * posed.back());
    }
    double worst = 0.0;
    for (std::size_t v = 0; v + 1 < vertices.starts.size(); ++v) {
      const vec3 rest = gltf::RestPlace(vertices, v, found);
      vec3 viewer;
      vec3 file;
      for (std::size_t i = vertices.starts[v]; i < vertices.starts[v + 1]; ++i) {
        const gltf::bindweight& in = vertices.weights[i];
        viewer = viewer + Apply(rest, fromRest[in.joint]) * in.weight;
        file = file + Apply(in.offset, posed[in.joint]) * in.weight;
      }
      worst = std::max(worst, Distance(viewer, file));
    }
    return worst;
  }
};

constexpr double kSize = 64.0;
constexpr double kRounding = 5e-5;  // of offsets in single precision, through a few joints

TEST(BindPose, VerticesThatLeaveTheRotationOpenStillAgree) {
  struct {
    const char* what;
    std::vector<vec3> shared;
  } const cases[] = {
      {"one vertex", {{3.0, 4.0, 5.0}}},
      {"two vertices", {{3.0, 4.0, 5.0}, {-7.0, 1.0, 2.0}}},
      {"a line", {{0.0, 0.0, 0.0}, {1.0, 2.0, 3.0}, {2.0, 4.0, 6.0}, {-1.5, -3.0, -4.5}}},
      {"nearly a line", {{0.0, 0.0, 0.0}, {10.0, 0.0, 1e-4}, {20.0, 0.0, 0.0}, {30.0, 1e-4, 0.0}}},
      {"one place", {{9.0, 9.0, 9.0}, {9.0, 9.0, 9.0}, {9.0, 9.0, 9.0}}},
      {"a plane", {{0.0, 0.0, 7.0}, {10.0, 0.0, 7.0}, {0.0, 10.0, 7.0}, {6.0, 5.0, 7.0}}},
  };
  for (const auto& each : cases) {
    rig r;
    r.AddJoints(3);
    for (const vec3& place : each.shared) {
      r.AddVertex(place, {{0, 0.5}, {1, 0.5}});
      r.AddVertex(place + vec3{0.0, 20.0, 0.0}, {{1, 0.7}, {2, 0.3}});
    }
    for (int n = 0; n < 10; ++n) {
      r.AddVertex(r.Point(kSize), {{static_cast<std::uint32_t>(n % 3), 1.0}});
    }
    EXPECT_LT(r.WorstBlend(), kRounding) << each.what;
  }
}

// Joints that only hang together by single vertices, each of which decides nothing by itself.
TEST(BindPose, SingleVerticesDecideTogether) {
  rig r;
  r.AddJoints(6);
  for (std::uint32_t a = 0; a < 6; ++a) {
    for (std::uint32_t b = a + 1; b < 6; ++b) {
      r.AddVertex(r.Point(kSize), {{a, 0.5}, {b, 0.5}});
    }
  }
  EXPECT_LT(r.WorstBlend(), kRounding);
}

TEST(BindPose, JointsThatShareNothingKeepThePoseTheyAreGiven) {
  rig r;
  r.AddJoints(3);  // the third has no vertex at all
  for (int n = 0; n < 5; ++n) {
    r.AddVertex(r.Point(kSize), {{0, 1.0}});
    r.AddVertex(r.Point(kSize), {{1, 1.0}});
  }
  const std::vector<affine> found = gltf::RecoverBinds(r.vertices, r.pose);
  for (std::size_t j = 0; j < 3; ++j) {
    for (const vec3& p : {vec3{}, vec3{1, 0, 0}, vec3{0, 1, 0}, vec3{0, 0, 1}}) {
      EXPECT_LT(Distance(Apply(p, found[j]), Apply(p, r.pose[j])), 1e-4);
    }
  }
}

// How far vertices rest from where the given pose has them.
double AwayFromPose(const gltf::bindvertices& vertices, const std::vector<affine>& binds,
                    const std::vector<affine>& pose) {
  double sum = 0.0;
  for (const gltf::bindweight& in : vertices.weights) {
    const vec3 apart = Apply(in.offset, binds[in.joint]) - Apply(in.offset, pose[in.joint]);
    sum += in.weight * core::Dot(apart, apart);
  }
  return sum;
}

// The bind pose as a whole goes where the first frame has the vertices; no motion of the whole
// takes it closer.
TEST(BindPose, TheRestPoseStandsWhereTheFirstFrameDoes) {
  rig r;
  r.AddJoints(4);
  const affine whole = r.AnyMotion(500.0);
  for (std::size_t j = 0; j < 4; ++j) {
    r.pose[j] = r.binds[j] * Motion(r.Point(1.0), j == 0 ? 90.0 : 10.0, r.Point(5.0)) * whole;
  }
  for (int n = 0; n < 40; ++n) {
    const auto j = static_cast<std::uint32_t>(n % 4);
    r.AddVertex(r.Point(kSize), {{j, 0.6}, {(j + 1) % 4, 0.4}});
  }
  const std::vector<affine> found = gltf::RecoverBinds(r.vertices, r.pose);
  const double least = AwayFromPose(r.vertices, found, r.pose);
  for (int n = 0; n < 40; ++n) {
    const affine back = Motion({}, 0.0, r.pose[0].translation * -1.0);
    const affine nudge = back * Motion(r.Point(1.0), r.Number(-1.0, 1.0), r.Point(0.2)) *
                         Motion({}, 0.0, r.pose[0].translation);
    std::vector<affine> moved = found;
    for (affine& bind : moved) {
      bind = bind * nudge;
    }
    EXPECT_GT(AwayFromPose(r.vertices, moved, r.pose), least);
  }
}

}  // namespace
