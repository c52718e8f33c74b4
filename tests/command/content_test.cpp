// What the check of a written model finds that differs from the scene, whatever damaged it.

#include <functional>
#include <span>

#include "command/files/modelcheck.h"
#include "command/files/posedbox.h"
#include "command/finish/openmodel.h"
#include "skeletal/exporttest.h"

namespace {

using command::Changed;

using field = std::span<const unsigned char>;

template <class... Records>
void Add(std::vector<field>& fields, const Records&... records) {
  (fields.push_back({reinterpret_cast<const unsigned char*>(&records), sizeof records}), ...);
}

class Content : public exporttest {
 protected:
  Content() {
    cbone* hip =
        AddBone("hip", nullptr, {KeyAt(0, {0, 0, 40}, {90, 0, 0}), KeyAt(99, {600, 0, 40})});
    cbone* arm = AddBone("arm", hip, {KeyAt(0, {9, 0, 3}, {0, 0, 90}), KeyAt(99, {0, 3, 9})});
    AddStill("tag_hand", arm, {0, 0, 7}, {10, 20, 30});
    AddSkin("coat", {{2, 0, 0}, {3, 0, 0}, {2, 1, 0}, {5, 5, 5}}, {hip, arm, arm, hip},
            {{0, 1, 2}, {0, 1, 9}, {3, 2, 1}})
        ->SetMaterial(AddMaterial("cloth", "c:/models/players/cloth.tga"));
    AddTriangle("belt")->SetMaterial(AddMaterial("leather", "leather.tga"));
  }

  // Exports the scene's frames from 20 on and finishes the file as the command does.
  command::writtenfrom Write(const std::string& path, int frames) {
    SetRange(20, 19 + frames, "arm");
    EXPECT_EQ(Export(path), 1);
    const command::writtenfrom from{
        *scene, command::framerange{20, frames}, Node("arm")->GetPosAtFrame(0), {true, 1}};
    command::console out;
    command::FinishModel(out, path, path, command::KindOf(path), from.finish, *scene, from.range);
    return from;
  }

  struct damage {
    std::string told;  // of each message, the beginning
    std::function<void()> make;
  };

  // Does one damage after the other to a fresh copy of the file.
  template <class File>
  void ExpectFaults(const std::string& name,
                    const std::function<std::vector<damage>(const File&)>& damages) {
    const std::string path = directory.File(name);
    const command::writtenfrom from = Write(path, 70);
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

  // Changes each word of a file but those of the spare fields, which neither the scene nor a reader
  // knows.
  template <class File>
  void ExpectNoneUnseen(const std::string& name,
                        const std::function<void(const File&, std::vector<field>&)>& addSpare) {
    const std::string path = directory.File(name);
    const command::writtenfrom from = Write(path, 4);
    command::openmodel<File> model;
    ASSERT_TRUE(model.Load(path, path));
    const std::string stored = NameText(model.file.header->name).data();
    const auto fault = [&] {
      command::writtenmodel written;
      return command::FaultOfWritten(path, command::KindOf(path), stored, from, written);
    };
    EXPECT_EQ(fault(), "");
    const bytes whole = ReadBytes(path);
    std::vector<bool> spare(whole.size());
    std::vector<field> fields;
    addSpare(model.file, fields);
    for (const field& each : fields) {
      std::fill_n(spare.begin() + (each.data() - model.block.View().Data()), each.size(), true);
    }
    for (std::size_t at = 0; at < whole.size(); at += 4) {
      bytes damaged = whole;
      for (std::size_t i = at; i < at + 4; ++i) {
        damaged[i] ^= 0x40U;
      }
      directory.Write(name, damaged);
      EXPECT_EQ(fault().empty(), spare[at]) << name << ", byte " << at;
    }
  }

  static std::vector<damage> DamagesOfRig(const skelrig& rig) {
    skelBoneInfo& arm = Changed(rig.bones[1]);
    skelFrame& last = Changed(*rig.frames[69]);
    skelBoneFrame& pose = Changed(skelrig::BoneFrames(&last)[1]);
    return {{"bone 1 (arm): its name is brm", [&] { arm.name[0] = 'b'; }},
            {"bone 1 (arm): its parent is -1 instead of 0", [&] { arm.parent = -1; }},
            {"bone 1 (arm): its distance", [&] { arm.parentDist = arm.parentDist + 0.01F; }},
            {"bone 1 (arm): it follows the torso", [&] { arm.torsoWeight = 0.99F; }},
            {"frame 69: bone 1 (arm) is not rot", [&] { pose.angles[0] = pose.angles[0] + 20; }},
            {"frame 69: bone 1 (arm) is not rot", [&] { pose.angles[2] = pose.angles[2] - 20; }},
            {"frame 69: bone 1 (arm) is not rot", [&] { pose.ofsAngles[1] = -pose.ofsAngles[1]; }},
            {"frame 69: the position", [&] { last.parentOffset[2] = 0.0F; }},
            {"frame 69: its origin", [&] { last.localOrigin[2] = 0.0F; }},
            {"frame 69: its bounds", [&] { last.bounds[0][0] = last.bounds[0][0] - 1.0F; }},
            {"frame 69: its radius", [&] { last.radius = last.radius + 1.0F; }}};
  }

  static std::vector<damage> DamagesOfMesh(const skelmesh& mesh) {
    const skelsurfentry& coat = mesh.surfaces[0];
    cvertexwalk walk = mesh.Vertices(coat);
    walk.Next();
    skelVertex& vertex = Changed(walk.Vertex());
    skelWeight& weight = Changed(*walk.Weights());
    skelSurface& head = Changed(*coat.surface);
    return {{"surface 0 (coat): its name is c", [&] { head.name[1] = '\0'; }},
            {"surface 0 (coat): its shader", [&] { head.shader[1] = 'O'; }},
            {"surface 0 (coat): triangle 1 has", [&] { Changed(coat.triangles[1])[2] = 4; }},
            {"surface 0 (coat): vertex 1 has other tex", [&] { vertex.texCoords[1] = 0.0F; }},
            {"surface 0 (coat): vertex 1 has another normal", [&] { vertex.normal[1] = 1e-6F; }},
            {"surface 0 (coat): vertex 1 has other weights", [&] { weight.boneIndex = 0; }},
            {"surface 0 (coat): vertex 1 has other weights", [&] { weight.boneWeight = 0.99F; }},
            {"surface 0 (coat): vertex 1 has another off", [&] { weight.offset[2] = 1e-6F; }},
            {"surface 0 (coat): its collapse map", [&] { head.ofsCollapseMap = 0; }},
            {"surface 0 (coat): it refers to", [&] { head.numBoneReferences = 1; }}};
  }
  static void AddSpareOfMesh(const skelmesh& mesh, std::vector<field>& fields) {
    const skelSurface& last = *mesh.surfaces.back().surface;
    Add(fields, last.shaderIndex, last.minLod, last.ofsHeader, last.ofsEnd);
  }
  static void AddSpareOfRig(const skelrig& rig, std::vector<field>& fields) {
    for (const skelFrame* frame : rig.frames) {
      Add(fields, skelrig::BoneFrames(frame)->ofsAngles);  // of a bone without a parent
    }
  }
};

TEST_F(Content, Mds) {
  ExpectFaults<cmdsfile>("a.mds", [](const cmdsfile& file) {
    std::vector<damage> damages = DamagesOfRig(file);
    for (damage& each : DamagesOfMesh(file)) {
      damages.push_back(each);
    }
    mdsTag& tag = Changed(file.tags[0]);
    damages.push_back({"tag 0 (tag_hand) is not", [&] { tag.torsoWeight = 0.5F; }});
    damages.push_back({"its torso", [&] { Changed(*file.header).torsoParent = 0; }});
    return damages;
  });
  ExpectNoneUnseen<cmdsfile>("b.mds", [](const cmdsfile& file, std::vector<field>& fields) {
    Add(fields, file.header->lodScale, file.header->lodBias);
    AddSpareOfRig(file, fields);
    AddSpareOfMesh(file, fields);
    cvertexwalk walk = file.Vertices(file.surfaces[0]);
    for (int v = 0; v < file.surfaces[0].numVerts; ++v, walk.Next()) {
      const auto& vertex = reinterpret_cast<const mdsVertex&>(walk.Vertex());
      Add(fields, vertex.fixedParent, vertex.fixedDist);
    }
  });
}

TEST_F(Content, MdmAndMdx) {
  ExpectFaults<cmdxfile>("a.mdx", DamagesOfRig);
  ExpectNoneUnseen<cmdxfile>("b.mdx", AddSpareOfRig);
  ExpectFaults<cmdmfile>("a.mdm", DamagesOfMesh);
  ExpectNoneUnseen<cmdmfile>("b.mdm", [](const cmdmfile& file, std::vector<field>& fields) {
    Add(fields, file.header->lodScale, file.header->lodBias, file.tags.back()->ofsEnd);
    AddSpareOfMesh(file, fields);
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
            {"surface 0 (coat): its shader", [&] { Changed(*coat.shaders).name[0] = 'M'; }},
            {"surface 0 (coat): triangle 1 has", [&] { Changed(coat.triangles[1])[1] = 0; }},
            {"surface 0 (coat): vertex 3 has other tex", [&] { Changed(coat.st[3])[0] = 0.0F; }},
            {"surface 1 (belt): its name is ",
             [&] { Changed(*file.surfaces[1].surface).name[0] = '\0'; }},
            {"frame 69: surface 0 (coat): vertex 3 is", [&] { vertex.xyz[1] = vertex.xyz[1] + 2; }},
            {"frame 69: surface 0 (coat): vertex 3 is", [&] { vertex.xyz[0] = vertex.xyz[0] - 2; }},
            {"frame 69: surface 0 (coat): vertex 3 has", [&] { vertex.normal = 0xABCD; }},
            {"frame 69: its origin", [&] { last.localOrigin[1] = 1.0F; }},
            {"frame 69: its bounds", [&] { last.bounds[1][2] = 0.0F; }},
            {"frame 0: tag 0 (tag_hand) is not", [&] { tag.xyz[2] = tag.xyz[2] + 2; }},
            {"frame 0: tag 0 (tag_hand) is not", [&] { tag.angles[1] = tag.angles[1] + 100; }}};
  });
  ExpectNoneUnseen<cmdcfile>("b.mdc", [](const cmdcfile& file, std::vector<field>& fields) {
    Add(fields, file.header->flags, file.header->numSkins, file.surfaces.back().surface->ofsEnd);
    for (int f = 0; f < file.header->numFrames; ++f) {
      Add(fields, file.frames[f].name);
    }
    for (const cmdcsurfentry& each : file.surfaces) {
      const mdcSurface& head = *each.surface;
      Add(fields, head.ident, head.flags, head.numCompFrames, head.numBaseFrames,
          head.ofsXyzCompressed, each.shaders->shaderIndex);
    }
  });
}

// By which an import tells whether an mdx belongs to an mdm.
TEST_F(Content, ThePosedBoxIsThatOfTheFirstFramesBounds) {
  NewScene();
  cbone* hip = AddStill("hip", nullptr, {1, 2, 3}, {10, 20, 30});
  cbone* arm = AddStill("arm", hip, {9, -4, 3}, {-40, 50, 60});
  AddSkin("coat", {{2, 1, 0}, {3, -7, 5}, {2, 1, 8}}, {hip, arm, arm}, {{0, 1, 2}});
  SetRange(0, 0, "arm");
  const auto mesh = Mdm();
  const auto skeleton = Mdx();
  const command::corners box = command::PosedBox(*mesh, *skeleton);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_NEAR(box[i / 3][i % 3], skeleton->frames[0]->bounds[i / 3][i % 3], 0.01) << i;
  }
}

}  // namespace
