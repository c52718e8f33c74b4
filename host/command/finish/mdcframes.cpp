#include "command/finish/mdcframes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string_view>
#include <tuple>
#include <unordered_map>

#include "command/failure.h"
#include "command/finish/normals.h"
#include "core/smooth.h"
#include "core/state.h"
#include "mdc/mdcfile.h"
#include "plugin/host/scene.h"

namespace command {

namespace {

cpoint3 Point(const std::array<float, 3>& p) { return MakePt3(p[0], p[1], p[2]); }

// A frame's vertices in the file.
struct frameshape {
  std::vector<cpoint3> verts;
  std::vector<cpoint3> normals;

  std::size_t Hash() const {
    const auto bytes = [](const std::vector<cpoint3>& points) {
      return std::string_view(reinterpret_cast<const char*>(points.data()),
                              points.size() * sizeof(cpoint3));
    };
    return std::hash<std::string_view>{}(bytes(verts)) * 31 +
           std::hash<std::string_view>{}(bytes(normals));
  }
};

bool Same(const std::vector<cpoint3>& a, const std::vector<cpoint3>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(cpoint3)) == 0);
}

// The frames of one surface as targets of its mesh.
class surfaceframes {
 public:
  surfaceframes(const cmdcfile& file, const cmdcsurfentry& entry, const core::meshstate& mesh)
      : file_(file), entry_(entry) {
    scratch_.faces = mesh.faces;
  }

  // The mesh at rest is the first frame added.
  void Add(int frame) {
    const auto f = static_cast<std::size_t>(frame);
    const auto& origin = file_.frames[frame].localOrigin;
    const sourcekey key{entry_.baseByFrame[f], entry_.compByFrame[f], float{origin[0]},
                        float{origin[1]}, float{origin[2]}};
    const auto [place, fresh] = bySource_.try_emplace(key, shapes_.size());
    if (fresh) {
      place->second = Find(Decode(frame));
    }
    byFrame_.push_back(place->second);
  }

  bool Changes() const { return shapes_.size() > 1; }
  frameshape& Rest() { return shapes_.front(); }

  // Targets and weights into the mesh, which stands at rest. With normals the first target takes
  // away those at rest, and is there in each frame that has another target: the others then hold
  // whole normals, which fit into bytes as the differences of two directions do not.
  void Fill(core::meshstate& mesh, int first, bool withNormals) {
    if (withNormals) {
      core::morphtarget& none = mesh.targets.emplace_back();
      none.name = "normals";
      none.normals = Difference(std::vector<cpoint3>(mesh.normals.size()), mesh.normals);
    }
    const std::size_t before = mesh.targets.size();
    std::vector<int> frames(shapes_.size(), -1);
    auto weights = std::make_shared<core::morphweights>();
    weights->starts.push_back(0);
    for (std::size_t f = 0; f < byFrame_.size(); ++f) {
      const std::size_t shape = byFrame_[f];
      if (frames[shape] < 0) {
        frames[shape] = first + static_cast<int>(f);
      }
      if (shape != 0) {
        if (withNormals) {
          weights->entries.push_back({0, 1.0F});
        }
        weights->entries.push_back({static_cast<std::uint32_t>(before + shape - 1), 1.0F});
      }
      weights->starts.push_back(weights->entries.size());
    }
    mesh.targets.reserve(before + shapes_.size() - 1);
    for (std::size_t s = 1; s < shapes_.size(); ++s) {
      core::morphtarget& target = mesh.targets.emplace_back();
      target.name = "frame " + std::to_string(frames[s]);
      target.positions = Difference(std::move(shapes_[s].verts), mesh.verts);
      if (withNormals) {
        target.normals = std::move(shapes_[s].normals);
      }
    }
    mesh.morph = std::move(weights);
  }

 private:
  using sourcekey = std::tuple<const mdcXyzNormal*, const mdcXyzCompressed*, float, float, float>;

  static std::vector<cpoint3> Difference(std::vector<cpoint3> from,
                                         const std::vector<cpoint3>& rest) {
    for (std::size_t v = 0; v < from.size(); ++v) {
      from[v] = from[v] - rest[v];
    }
    return from;
  }

  frameshape Decode(int frame) {
    frameshape made;
    made.verts.reserve(static_cast<std::size_t>(entry_.numVerts));
    for (std::int32_t v = 0; v < entry_.numVerts; ++v) {
      made.verts.push_back(Point(file_.VertexPosition(entry_, frame, v)));
    }
    const auto f = static_cast<std::size_t>(frame);
    const mdcXyzNormal* const base = entry_.baseByFrame[f];
    if (entry_.compByFrame[f] == nullptr &&
        std::any_of(base, base + entry_.numVerts,
                    [](const mdcXyzNormal& each) { return each.normal != 0; })) {
      made.normals.reserve(made.verts.size());
      for (std::int32_t v = 0; v < entry_.numVerts; ++v) {
        made.normals.push_back(MdcDirection(base[v].normal));
      }
    } else {
      scratch_.verts = made.verts;
      core::SmoothNormals(scratch_, kSmoothingAngle);
      made.normals = scratch_.normals;
    }
    return made;
  }

  std::size_t Find(frameshape made) {
    const std::size_t hash = made.Hash();
    const auto [begin, end] = byHash_.equal_range(hash);
    for (auto each = begin; each != end; ++each) {
      if (Same(shapes_[each->second].verts, made.verts) &&
          Same(shapes_[each->second].normals, made.normals)) {
        return each->second;
      }
    }
    byHash_.emplace(hash, shapes_.size());
    shapes_.push_back(std::move(made));
    return shapes_.size() - 1;
  }

  const cmdcfile& file_;
  const cmdcsurfentry& entry_;
  core::meshstate scratch_;  // to smooth a frame in
  std::vector<frameshape> shapes_;
  std::vector<std::size_t> byFrame_;
  std::map<sourcekey, std::size_t> bySource_;
  std::unordered_multimap<std::size_t, std::size_t> byHash_;
};

}  // namespace

mdcframes::mdcframes(const std::string& path) : path_(path) {
  if (!file_.Load(path.c_str())) {
    throw failure(path, (file_.Fault().empty() ? "cannot be read" : file_.Fault()));
  }
  last_ = file_.header->numFrames - 1;
}

void mdcframes::RequireFrames(const char* option, const framestretch& asked, int first,
                              int last) const {
  if (asked.first < first || asked.last > last) {
    throw failure(path_, std::string(option) + " " + (asked.name.empty() ? "" : asked.name + "=") +
                             std::to_string(asked.first) + "-" + std::to_string(asked.last) +
                             " is not within the frames " + std::to_string(first) + " to " +
                             std::to_string(last));
  }
}

void mdcframes::Choose(const importchoices& choices) {
  if (choices.frame) {
    first_ = last_ = std::clamp(*choices.frame, 0, last_);
  } else if (!choices.frames.IsAll()) {
    RequireFrames("--frames", choices.frames, 0, last_);
    first_ = choices.frames.first;
    last_ = choices.frames.last;
  }
  clips_ = choices.clips;
  morphNormals_ = choices.morphNormals;
  for (const framestretch& clip : clips_) {
    RequireFrames("--clip", clip, first_, last_);
  }
  for (int frame = first_; frame <= last_; ++frame) {
    if (std::string fault; !file_.HoldsFrame(frame, fault)) {
      throw failure(path_, fault + (first_ < last_ ? "; --frame or --frames takes others" : ""));
    }
  }
}

void mdcframes::TakeTag(const cmdctagentry& tag, cnode& node) const {
  std::vector<ckey> keys;
  keys.reserve(static_cast<std::size_t>(last_) - static_cast<std::size_t>(first_) + 1);
  bool moves = false;
  for (int frame = first_; frame <= last_; ++frame) {
    ckey key;
    key.frame = frame - first_;
    key.pos = Point(file_.TagPosition(tag, frame));
    key.rot = EulerToQuat(Point(cmdcfile::TagAngles(tag, frame)));
    if (!keys.empty()) {
      const cquat& last = keys.back().rot;
      if (key.rot.x * last.x + key.rot.y * last.y + key.rot.z * last.z + key.rot.w * last.w < 0) {
        key.rot.x = -key.rot.x;
        key.rot.y = -key.rot.y;
        key.rot.z = -key.rot.z;
        key.rot.w = -key.rot.w;
      }
      moves = moves || std::memcmp(&tag.poses[frame], &tag.poses[first_], sizeof(mdcTag)) != 0 ||
              std::memcmp(&file_.frames[frame].localOrigin, &file_.frames[first_].localOrigin,
                          sizeof file_.frames[frame].localOrigin) != 0;
    }
    keys.push_back(key);
  }
  if (!moves) {
    keys.resize(1);
  }
  core::SetKeys(node, std::move(keys));
}

void mdcframes::TakeSurface(const cmdcsurfentry& entry, bool shapes, core::scene& scene,
                            cmesh& mesh) const {
  if (entry.numVerts == 0) {
    return;
  }
  surfaceframes frames(file_, entry, mesh.Mesh());
  for (int frame = first_; frame <= (shapes ? last_ : first_); ++frame) {
    frames.Add(frame);
  }
  mesh.Mesh().verts = frames.Rest().verts;
  mesh.Mesh().normals = frames.Rest().normals;
  if (!frames.Changes()) {
    return;
  }
  frames.Fill(mesh.Mesh(), first_, morphNormals_);
  cskin* const skin = CreateNewSkin();
  if (skin == nullptr) {
    throw std::bad_alloc();
  }
  skin->Init(&mesh);
  scene.Replace(&mesh, skin);
}

void mdcframes::Take(core::scene& scene, bool shapes) const {
  const std::vector<cnode*> nodes = scene.Nodes();
  const std::size_t numTags = file_.tagTable.size();
  if (nodes.size() != numTags + file_.surfaces.size()) {
    throw failure(path_, "the handler did not bring all of its tags and surfaces");
  }
  for (std::size_t t = 0; t < numTags; ++t) {
    TakeTag(file_.tagTable[t], *nodes[t]);
  }
  for (std::size_t s = 0; s < file_.surfaces.size(); ++s) {
    TakeSurface(file_.surfaces[s], shapes, scene, *static_cast<cmesh*>(nodes[numTags + s]));
  }
  // The importer keeps the path that it tried last; the file's own has the right suffix.
  for (std::size_t s = 0; s < file_.surfaces.size(); ++s) {
    cmaterial* const material = scene.Nodes()[numTags + s]->GetMaterial();
    if (material != nullptr && file_.surfaces[s].numShaders > 0) {
      const std::string path = NameText(file_.surfaces[s].shaders[0].name).data();
      material->State().gamePath = path;
      if (material->GetImage(0)->State().content == nullptr) {
        material->GetImage(0)->SetPathName(path.c_str());
      }
    }
  }
  scene.animStart = 0;
  scene.animEnd = last_ - first_;
  // Clips of a scene file are laid one behind the other, and frames are in their order then.
  const int end = clips_.empty() ? last_ : first_ - 1;
  for (int frame = first_; frame <= end; ++frame) {
    const mdcFrame& from = file_.frames[frame];
    core::scene::box& box = scene.frameBounds.emplace_back();
    for (std::size_t c = 0; c < 3; ++c) {
      box[c] = float{from.bounds[0][c]} + float{from.localOrigin[c]};
      box[c + 3] = float{from.bounds[1][c]} + float{from.localOrigin[c]};
    }
  }
  for (const framestretch& clip : clips_) {
    scene.clips.push_back({clip.name, clip.first - first_, clip.last - clip.first + 1});
  }
  if (scene.clips.empty() && first_ < last_) {
    scene.clips.push_back({"all", 0, last_ - first_ + 1});
  }
}

}  // namespace command
