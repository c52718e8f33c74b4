#pragma once

// What the checks of the skeletal formats' contents share, and their halves: mesh and skeleton.

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "command/content/contentcheck.h"
#include "command/files/formats.h"
#include "skeletal/modelfile.h"

namespace command {

// Of an axis of length 1: ten units of an angle.
inline constexpr double kAxis = 1e-3;
// Of lengths and offsets, which stand in the file in single precision.
inline constexpr double kLength = 1e-3;

// The bones of the scene as a format numbers them.
class bonenumbers {
 public:
  bonenumbers(core::scene& scene, filekind kind);

  const std::vector<cnode*>& Bones() const { return bones_; }
  // Parents stand before their children. -1: none of the bones.
  std::int32_t Of(const cnode* node) const;
  std::int32_t OfParent(std::int32_t bone) const {
    return Of(bones_[static_cast<std::size_t>(bone)]->GetParent());
  }
  // Whether Of gives the number; without a look into all of them where it does.
  bool IsNumber(std::int32_t number, const cnode* node) const;

 private:
  std::vector<cnode*> bones_;
  std::unordered_map<const cnode*, std::int32_t> numbers_;
};

// From the parent's space, or the scene's where there is none.
cmatrix4 LocalAt(cnode& node, cnode* parent, int frame, int mask);

// The numbers of bones that a surface or a tag names for the games.
template <class Record>
bool HasReferences(const cmodelfile& file, const Record& record,
                   const std::vector<std::int32_t>& wanted) {
  const little<std::int32_t>* found = nullptr;
  const auto count = static_cast<std::int32_t>(wanted.size());
  return record.numBoneReferences == count &&
         file.Numbers(&record, record.ofsBoneReferences, count, found) &&
         std::equal(wanted.begin(), wanted.end(), found);
}

std::string FaultOfMesh(const cmodelfile& file, const skelmesh& mesh, const bonenumbers& numbers,
                        const writtenfrom& from);
std::string FaultOfRig(const skelrig& rig, std::int32_t torsoParent, const bonenumbers& numbers,
                       const writtenfrom& from);

}  // namespace command
