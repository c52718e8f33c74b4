// From a scene to files and back, by the handlers of the module's registry.

#include "skeletal/exporttest.h"

namespace {

constexpr int kFrames = 6;

class RoundTrip : public exporttest {
 protected:
  // Both ranges and sequences take all frames.
  RoundTrip() {
    SetRange(0, kFrames - 1);
    directory.Write("wolfanim.cfg", std::string("STARTANIMS\nall 0 6 0 20\n"));
    directory.Write("Out.aninc", std::string("all 0 6 0 20\n"));
    desk.scripts[101] = [](desktop::scriptedwindow& window) {
      window.Click(1005);
      window.Ok();
    };
    desk.onOpenFile = desk.onSaveFile = [this](const cfiledialog& /*dialog*/, std::string& path) {
      path = directory.File("Out.MDX");
      return true;
    };
    BuildFigure();
  }

  // A limb of three turning bones with a still tag at its end, in a skin.
  void BuildFigure() {
    std::vector<cnode*> bones{nullptr};
    for (const char* name : {"Bip01", "Bip01 Spine", "Bip01 Neck"}) {
      bones.push_back(AddBone(name, bones.back(), Turning(kFrames - 1, 60.0F, {8, 1, 2})));
    }
    bones[1]->State().track->State().keys[3].pos.x = 3.0F;
    AddStill("tag_head", bones[3], {3, 4, 0}, {10, 20, 30});
    cskin* skin = AddSkin("body", {{1, 2, 3}, {4, 5, 6}, {-3, 2, 1}, {0, 0, 4}},
                          {bones[1], bones[2], bones[3], bones[3]}, {{0, 1, 2}, {2, 1, 3}});
    SetKeys(*skin, {KeyAt(0, {1, 2, 3}, {10, 20, 30}), KeyAt(5, {4, 5, 6}, {50, 0, 70})});
    skin->SetVertWeight(1, 0, {0.5F, {4, 5, 6}, {}, bones[2]});
    skin->SetVertWeight(1, 1, {0.5F, {-4, 1, 2}, {}, bones[3]});
  }
};

// As a host's author would try a module: everything that the registry has.
TEST_F(RoundTrip, EveryHandlerOfTheRegistry) {
  std::vector<cpoint3> want[kFrames];
  for (int frame = 0; frame < kFrames; ++frame) {
    want[frame] = PlacesAt(*NodeNamed("body"), frame);
  }
  const auto path = [&](const module::handler& handler) {
    return directory.File("Out." + handler.extensions[0]);
  };
  desk.scripts[102] = [](desktop::scriptedwindow& window) {
    window.Type(1009, "4");
    window.Ok();
  };
  numbers results;
  for (const module::handler& handler : module->Handlers()) {
    if (handler.exporter != nullptr) {
      results.push_back(handler.exporter->Export(path(handler).c_str()));
    }
  }
  for (const module::handler& handler : module->Handlers()) {
    if (handler.importer == nullptr) {
      continue;
    }
    SCOPED_TRACE(handler.name);
    NewScene();
    results.push_back(handler.importer->Import(path(handler).c_str()));
    const bool whole = handler.name != "RTCW mdc";
    for (int frame = whole ? 0 : 4; frame < (whole ? kFrames : 5); ++frame) {
      const std::vector<cpoint3> vertices = PlacesAt(*NodeNamed("body"), frame);
      ASSERT_EQ(vertices.size(), 4U);
      for (std::size_t v = 0; v < 4; ++v) {
        ExpectPoint(vertices[v], want[frame][v], 1.0F / 64.0F);
      }
    }
  }
  EXPECT_EQ(results, numbers(7, 1));
}

}  // namespace
