#pragma once

#include <string>
#include <vector>

#include "core/scene.h"
#include "gltf/convention.h"
#include "gltf/gltf.h"
#include "gltf/read/geometry.h"
#include "gltf/read/morphs.h"
#include "gltf/read/ownednode.h"
#include "gltf/read/plan.h"
#include "gltf/read/poses.h"

namespace gltf {

// What surfaces are made from.
struct surfacesource {
  const document& doc;
  const plan& nodes;
  const poselist& poses;
  const std::vector<nodemorph>& morphs;
  const std::vector<cnode*>& bones;  // by node of the document; null for a node that is none
  const std::vector<cmaterial*>& materials;
  const options& how;
};

// Makes the surfaces of a scene, one for each primitive of a node. Throws badfile.
class surfacemaker {
 public:
  surfacemaker(const surfacesource& from, valuereader& values);

  // A mesh that stands in its node, the node's scale in its points; a skin without joints where
  // its points change over the frames.
  ownednode<cnode> MakeMesh(int index, const primitive& part);
  // A skin at the scene's origin, moved by the node's own skin, or as a whole by the bone that
  // carries the node.
  ownednode<cskin> MakeSkin(int index, const primitive& part);

  // Vertices of skins that no joint moves.
  std::size_t numLoose = 0;
  // Nodes whose morph targets change and were left as they are without a clip.
  std::vector<int> unmorphed;

 private:
  // A joint as the points of one primitive are brought into its space.
  struct binding {
    cnode* bone = nullptr;
    core::affine offset;  // points of the primitive into the joint's space
    core::affine normal;  // rest normals into the joint's space, of any length
  };

  geometry Read(int index, const primitive& part, bool skinned);
  // Fills an empty mesh with what the file has, brought to rest by the transform.
  void Fill(cmesh& mesh, const geometry& from, const primitive& part, const core::affine& toRest,
            bool mirrored);
  void AddTargets(cmesh& mesh, const geometry& from, int index, const core::affine& toRest);
  // Of a node at the first frame.
  bool IsMirrored(int index) const;
  std::vector<binding> BindingsOf(int index, bool skinned);
  void SetWeights(cskin& skin, const geometry& from, const std::vector<binding>& joints,
                  const primitive& part);
  core::vec3 Position(const geometry& from, std::size_t vertex) const;

  const surfacesource from_;
  const axismap axes_;
  valuereader& values_;
  std::vector<int> uses_;  // of each accessor as POSITION
  std::int64_t room_;      // vertices and faces that the scene may still have
};

}  // namespace gltf
