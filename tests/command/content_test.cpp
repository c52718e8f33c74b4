// What the check of a written model finds that differs from the scene, whatever damaged it.

#include <functional>

#include "command/content/contentcheck.h"
#include "command/finish/openmodel.h"
#include "skeletal/exporttest.h"

namespace {

using command::Changed;

class Content : public exporttest {
 protected:
  Content() {
    cbone* hip =
        AddBone("hip", nullptr, {KeyAt(0, {0, 0, 40}, {90, 0, 0}), KeyAt(99, {600, 0, 40})});
    cbone* arm = AddBone("arm", hip, {KeyAt(0, {9, 0, 3}, {0, 0, 90}), KeyAt(99, {0, 3, 9})});
    AddStill("tag_hand", arm, {0, 0, 7}, {10, 20, 30});
    AddSkin("coat", {{2, 0, 0}, {3, 0, 0}, {2, 1, 0}, {5, 5, 5}}, {hip, arm, arm, hip},
            {{0, 1, 2}, {0, 1, 9}, {3, 2, 1}});
    AddTriangle("belt");
    SetRange(20, 89, "arm");
  }

  struct damage {
    std::string told;  // of each message, the beginning
    std::function<void()> make;
  };

  // Exports the scene, then does one damage after the other to a fresh copy of the file.
  template <class File>
  void ExpectFaults(const std::string& name,
                    const std::function<std::vector<damage>(const File&)>& damages) {
    const std::string path = directory.File(name);
    ASSERT_EQ(Export(path), 1);
    const command::writtenfrom from{*scene, command::framerange{20, 70},
                                    NodeNamed("arm")->GetPosAtFrame(0)};
    std::size_t count = 1;
    for (std::size_t i = 0; i < count; ++i) {
      command::openmodel<File> model;
      ASSERT_TRUE(model.Load(path, path)) << model.file.Fault();
      EXPECT_EQ(command::ContentFault(model.file, from), "");
      const std::vector<damage> each = damages(model.file);
      count = each.size();
      each[i].make();
      EXPECT_EQ(command::ContentFault(model.file, from).substr(0, each[i].told.size()),
                each[i].told);
    }
  }

  static std::vector<damage> DamagesOfRig(const skelrig& rig) {
    skelBoneInfo& arm = Changed(rig.bones[1]);
    skelFrame& last = Changed(*rig.frames[69]);
    skelBoneFrame& pose = Changed(skelrig::BoneFrames(&last)[1]);
    return {{"bone 1 (arm): its name is brm", [&] { arm.name[0] = 'b'; }},
            {"bone 1 (arm): its parent is -1 instead of 0", [&] { arm.parent = -1; }},
            {"bone 1 (arm): its distance", [&] { arm.parentDist = arm.parentDist + 0.01F; }},
            {"frame 69: bone 1 (arm) is not rot", [&] { pose.angles[0] = pose.angles[0] + 20; }},
            {"frame 69: bone 1 (arm) is not rot", [&] { pose.angles[2] = pose.angles[2] - 20; }},
            {"frame 69: bone 1 (arm) is not rot", [&] { pose.ofsAngles[1] = -pose.ofsAngles[1]; }},
            {"frame 69: the position", [&] { last.parentOffset[2] = 0.0F; }},
            {"frame 69: its origin", [&] { last.localOrigin[2] = 0.0F; }},
            {"frame 69: its bounds", [&] { last.bounds[0][0] = last.bounds[0][0] - 1.0F; }}};
  }

  static std::vector<damage> DamagesOfMesh(const skelmesh& mesh) {
    const skelsurfentry& coat = mesh.surfaces[0];
    cvertexwalk walk = mesh.Vertices(coat);
    walk.Next();
    skelVertex& vertex = Changed(walk.Vertex());
    skelWeight& weight = Changed(*walk.Weights());
    skelTriangle& triangle = Changed(coat.triangles[1]);
    return {{"surface 0 (coat): its name is c", [&] { Changed(*coat.surface).name[1] = '\0'; }},
            {"surface 0 (coat): triangle 1 has", [&] { triangle[1] = 0; }},
            {"surface 0 (coat): triangle 1 names vertex 4 of 4", [&] { triangle[2] = 4; }},
            {"surface 0 (coat): vertex 1 has other tex", [&] { vertex.texCoords[1] = 0.0F; }},
            {"surface 0 (coat): vertex 1 has other weights", [&] { weight.boneIndex = 0; }},
            {"surface 0 (coat): vertex 1 has other weights", [&] { weight.boneWeight = 0.99F; }},
            {"surface 0 (coat): vertex 1 has another off", [&] { weight.offset[2] = 1e-6F; }}};
  }
};

TEST_F(Content, Mds) {
  ExpectFaults<cmdsfile>("a.mds", [](const cmdsfile& file) {
    std::vector<damage> damages = DamagesOfRig(file);
    for (damage& each : DamagesOfMesh(file)) {
      damages.push_back(each);
    }
    return damages;
  });
}

TEST_F(Content, MdmAndMdx) {
  ExpectFaults<cmdxfile>("a.mdx", DamagesOfRig);
  ExpectFaults<cmdmfile>("a.mdm", [](const cmdmfile& file) {
    std::vector<damage> damages = DamagesOfMesh(file);
    mdmTag& tag = Changed(*file.tags[0]);
    damages.push_back({"tag 0 (tag_hand) is not", [&] { tag.boneIndex = 0; }});
    damages.push_back({"tag 0 (tag_hand) is not", [&] { tag.offset[0] = 0.1F; }});
    damages.push_back({"tag 0 (tag_hand) is not", [&] { tag.axis[1][2] = 0.0F; }});
    return damages;
  });
}

// The scene reaches beyond 512 units, where an mdc's coordinates are cut off, which is no damage.
TEST_F(Content, Mdc) {
  ExpectFaults<cmdcfile>("a.mdc", [](const cmdcfile& file) -> std::vector<damage> {
    const cmdcsurfentry& coat = file.surfaces[0];
    mdcXyzNormal& vertex = Changed(coat.baseByFrame[69][3]);
    mdcFrame& last = Changed(file.frames[69]);
    mdcTag& tag = Changed(file.tagTable[0].poses[0]);
    return {{"it does not begin", [&] { Changed(*file.header).ident[3] = 'S'; }},
            {"surface 0 (coat): triangle 1 has", [&] { Changed(coat.triangles[1])[1] = 0; }},
            {"surface 0 (coat): vertex 3 has other tex", [&] { Changed(coat.st[3])[0] = 0.0F; }},
            {"surface 1 (belt): its name is ",
             [&] { Changed(*file.surfaces[1].surface).name[0] = '\0'; }},
            {"frame 69: surface 0 (coat): vertex 3 is", [&] { vertex.xyz[1] = vertex.xyz[1] + 2; }},
            {"frame 69: surface 0 (coat): vertex 3 is", [&] { vertex.xyz[0] = vertex.xyz[0] - 2; }},
            {"frame 69: its origin", [&] { last.localOrigin[1] = 1.0F; }},
            {"frame 69: its bounds", [&] { last.bounds[1][2] = 0.0F; }},
            {"frame 0: tag 0 (tag_hand) is not", [&] { tag.xyz[2] = tag.xyz[2] + 2; }},
            {"frame 0: tag 0 (tag_hand) is not", [&] { tag.angles[1] = tag.angles[1] + 100; }}};
  });
}

}  // namespace
