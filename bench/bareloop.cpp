#include "bareloop.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "binary/loadfile.h"
#include "mds/records.h"
#include "skeletal/angles.h"

namespace {

struct rotation {
  float m[3][3];
};

struct pose {
  rotation turn;
  float position[3];
};

struct key {
  int frame;
  float position[3];
  float quaternion[4];
  float scale[3];
};

struct turn {
  float cosine;
  float sine;
};

turn TurnOf(std::int16_t unit) {
  const double radians = -DecodeAngle(unit) * (std::numbers::pi / 180.0);
  return {static_cast<float>(std::cos(radians)), static_cast<float>(std::sin(radians))};
}

rotation AboutX(turn t) { return {{{1, 0, 0}, {0, t.cosine, -t.sine}, {0, t.sine, t.cosine}}}; }
rotation AboutY(turn t) { return {{{t.cosine, 0, t.sine}, {0, 1, 0}, {-t.sine, 0, t.cosine}}}; }
rotation AboutZ(turn t) { return {{{t.cosine, -t.sine, 0}, {t.sine, t.cosine, 0}, {0, 0, 1}}}; }

rotation Multiply(const rotation& a, const rotation& b) {
  rotation result{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      result.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
    }
  }
  return result;
}

rotation Transposed(const rotation& a) {
  rotation result{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      result.m[i][j] = a.m[j][i];
    }
  }
  return result;
}

void ToQuaternion(const rotation& r, float* q) {
  const float trace = r.m[0][0] + r.m[1][1] + r.m[2][2];
  if (trace > 0.0F) {
    const float s = std::sqrt(trace + 1.0F) * 2.0F;
    q[3] = 0.25F * s;
    q[0] = (r.m[1][2] - r.m[2][1]) / s;
    q[1] = (r.m[2][0] - r.m[0][2]) / s;
    q[2] = (r.m[0][1] - r.m[1][0]) / s;
    return;
  }
  int i = r.m[1][1] > r.m[0][0] ? 1 : 0;
  i = r.m[2][2] > r.m[i][i] ? 2 : i;
  const int j = (i + 1) % 3;
  const int k = (i + 2) % 3;
  const float s = std::sqrt(1.0F + r.m[i][i] - r.m[j][j] - r.m[k][k]) * 2.0F;
  q[i] = 0.25F * s;
  q[3] = (r.m[j][k] - r.m[k][j]) / s;
  q[j] = (r.m[j][i] + r.m[i][j]) / s;
  q[k] = (r.m[k][i] + r.m[i][k]) / s;
}

template <class T>
const T* At(const unsigned char* bytes, std::int64_t offset) {
  return reinterpret_cast<const T*>(bytes + offset);
}

void DecodeFrame(const mdsFrame& frame, const mdsBoneInfo* bones, std::vector<pose>& poses) {
  const auto* packed = reinterpret_cast<const mdsBoneFrame*>(&frame + 1);
  for (std::size_t i = 0; i < poses.size(); ++i) {
    const auto& angles = packed[i].angles;
    const rotation r = Multiply(Multiply(AboutX(TurnOf(angles[2])), AboutY(TurnOf(angles[0]))),
                                AboutZ(TurnOf(angles[1])));
    const rotation offset =
        Multiply(AboutY(TurnOf(packed[i].ofsAngles[0])), AboutZ(TurnOf(packed[i].ofsAngles[1])));
    const std::int32_t parent = bones[i].parent;
    poses[i].turn = Transposed(r);
    for (std::size_t c = 0; c < 3; ++c) {
      const float from = parent < 0 ? float{frame.parentOffset[c]}
                                    : poses[static_cast<std::size_t>(parent)].position[c];
      poses[i].position[c] = from + bones[i].parentDist * offset.m[0][c];
    }
  }
}

key KeyOf(const std::vector<pose>& poses, const mdsBoneInfo* bones, std::size_t i, int frame) {
  const pose& own = poses[i];
  key made{frame, {own.position[0], own.position[1], own.position[2]}, {}, {1, 1, 1}};
  rotation relative = own.turn;
  if (const std::int32_t parent = bones[i].parent; parent >= 0) {
    const pose& above = poses[static_cast<std::size_t>(parent)];
    const rotation back = Transposed(above.turn);
    relative = Multiply(own.turn, back);
    float apart[3];
    for (int c = 0; c < 3; ++c) {
      apart[c] = own.position[c] - above.position[c];
    }
    for (int c = 0; c < 3; ++c) {
      made.position[c] =
          apart[0] * back.m[0][c] + apart[1] * back.m[1][c] + apart[2] * back.m[2][c];
    }
  }
  ToQuaternion(relative, made.quaternion);
  return made;
}

double SumVertices(const unsigned char* bytes, const mdsHeader& header,
                   const std::vector<pose>& poses) {
  double sum = 0.0;
  std::int64_t at = header.ofsSurfaces;
  for (std::int32_t s = 0; s < header.numSurfaces; ++s) {
    const auto* surface = At<mdsSurface>(bytes, at);
    std::int64_t place = at + surface->ofsVerts;
    for (std::int32_t v = 0; v < surface->numVerts; ++v) {
      const auto* vertex = At<mdsVertex>(bytes, place);
      const auto* weights = reinterpret_cast<const mdsWeight*>(vertex + 1);
      float position[3] = {};
      for (std::int32_t w = 0; w < vertex->numWeights; ++w) {
        const pose& bone = poses[static_cast<std::size_t>(weights[w].boneIndex)];
        for (int c = 0; c < 3; ++c) {
          position[c] +=
              weights[w].boneWeight *
              (weights[w].offset[0] * bone.turn.m[0][c] + weights[w].offset[1] * bone.turn.m[1][c] +
               weights[w].offset[2] * bone.turn.m[2][c] + bone.position[c]);
        }
      }
      sum += position[0] + position[1] + position[2];
      place += static_cast<std::int64_t>(sizeof(mdsVertex)) +
               vertex->numWeights * static_cast<std::int64_t>(sizeof(mdsWeight));
    }
    at += surface->ofsEnd;
  }
  return sum;
}

}  // namespace

double DecodeBare(const std::string& path) {
  loadedfile file;
  if (!LoadWholeFile(path.c_str(), file)) {
    std::perror(path.c_str());
    std::exit(EXIT_FAILURE);
  }
  const unsigned char* const bytes = file.data.get();
  const auto& header = *At<mdsHeader>(bytes, 0);
  const auto* bones = At<mdsBoneInfo>(bytes, header.ofsBones);
  const auto numBones = static_cast<std::size_t>(header.numBones);
  const auto numFrames = static_cast<std::size_t>(header.numFrames);
  std::vector<pose> poses(numBones);
  std::vector<std::vector<key>> tracks(numBones, std::vector<key>(numFrames));
  const std::int64_t frameSize =
      static_cast<std::int64_t>(sizeof(mdsFrame) + numBones * sizeof(mdsBoneFrame));
  for (std::size_t f = 0; f < numFrames; ++f) {
    DecodeFrame(*At<mdsFrame>(bytes, header.ofsFrames + static_cast<std::int64_t>(f) * frameSize),
                bones, poses);
    for (std::size_t i = 0; i < numBones; ++i) {
      tracks[i][f] = KeyOf(poses, bones, i, static_cast<int>(f));
    }
  }
  double sum = SumVertices(bytes, header, poses);
  for (const std::vector<key>& track : tracks) {
    sum += track.back().position[0] + track.back().quaternion[3];
  }
  return sum;
}
