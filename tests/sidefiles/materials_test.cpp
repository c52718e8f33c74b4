// Materials made from image paths, through the mdc importer: a surface for each shader name.

#include "samples/mdcmodel.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

std::string ImageOf(cmaterial& material) {
  char path[512];
  material.GetImage(0)->GetPathName(path);
  return path;
}

class Materials : public moduletest {
 protected:
  // Imports a model whose surface i has the shaders of shaders[i], one triangle each.
  void ImportShaders(const std::vector<std::vector<std::string>>& shaders,
                     const std::string& name = "game/models/test.mdc") {
    mdcmodel model = SmallMdcModel();
    const mdcmodel::surface triangle = model.surfaces[0];
    model.surfaces.assign(shaders.size(), triangle);
    for (std::size_t s = 0; s < shaders.size(); ++s) {
      model.surfaces[s].shaders = shaders[s];
    }
    ASSERT_EQ(Import(directory.Write(name, model.Write())), 1);
  }
  // The material of the surface at this place among the meshes that were imported last.
  cmaterial* Worn(std::size_t surface, std::size_t surfaces) const {
    return scene->Nodes()[scene->Nodes().size() - surfaces + surface]->GetMaterial();
  }
  // A picture of the given width, which a test can tell it by.
  void WritePicture(const std::string& name, int width) const {
    bytewriter file;
    file.I16(std::array<int, 9>{0, 2, 0, 0, 0, 0, width, 1, 0x2018});
    file.Name("", 3 * static_cast<std::size_t>(width));
    directory.Write(name, file.Content());
  }
  static int WidthOf(const cmaterial& material) {
    const auto& content = material.State().image.State().content;
    return content == nullptr ? 0 : content->width;
  }

  std::string game = directory.Path() + "/game/";
};

TEST_F(Materials, JpgIsTriedBeforeTgaWhateverTheNameSays) {
  WritePicture("game/models/a.jpg", 2);
  WritePicture("game/models/a.tga", 3);
  WritePicture("game/models/b.tga", 4);
  ImportShaders({{"models/a.tga"},
                 {"models/b.jpg"},
                 {"models/c.jpg"},
                 {"models/d"},
                 {""},
                 {"models/v1.2/e"}});
  using look = std::pair<std::string, int>;
  std::vector<look> looks;
  for (std::size_t s = 0; s < 6; ++s) {
    looks.emplace_back(ImageOf(*Worn(s, 6)), WidthOf(*Worn(s, 6)));
  }
  EXPECT_EQ(looks, (std::vector<look>{{game + "models/a.jpg", 2},
                                      {game + "models/b.tga", 4},
                                      {game + "models/c.tga", 0},
                                      {game + "models/d", 0},
                                      {game, 0},
                                      {game + "models/v1.tga", 0}}));  // the last full stop counts
  ImportShaders({{"skin.tga"}}, "elsewhere/test.mdc");
  EXPECT_EQ(ImageOf(*Worn(0, 1)), directory.Path() + "/elsewhere/skin.tga");
}

TEST_F(Materials, OneForEachPathSuffixAside) {
  ImportShaders({{"models/a.tga", "models/a.jpg", "models/lining.tga"},
                 {"models/b.jpg"},
                 {"models/B.jpg"},
                 {},
                 {"models\\a.tga", "models/b.tga"}});
  ASSERT_EQ(scene->Materials().size(), 5U);
  EXPECT_EQ(ImageOf(*Worn(0, 5)), game + "models/a.tga");
  EXPECT_EQ(Worn(1, 5), scene->Materials()[2]);
  EXPECT_EQ(ImageOf(*Worn(2, 5)), game + "models/B.tga");
  EXPECT_EQ(Worn(3, 5), nullptr);
  EXPECT_EQ(ImageOf(*Worn(4, 5)), game + "models\\a.tga");
  // A material that the scene wears is never shared, however equal its image. The lining, which
  // became a material that no surface wears, is free for the next run.
  ImportShaders({{"models/a.tga"}, {"models/a.jpg"}});
  EXPECT_EQ(scene->Materials().size(), 5U);
  EXPECT_EQ(Worn(0, 2), scene->Materials()[1]);
  EXPECT_EQ(Worn(1, 2), Worn(0, 2));
}

TEST_F(Materials, UnusedOnesAreTakenOverInTheirOrder) {
  const char* const names[] = {"worn", "free", "also worn", "worn too", "Material"};
  for (std::size_t i = 0; i < 5; ++i) {
    cmaterial* const material = AddMaterial(names[i], "old.tga");
    material->State().doubleSided = true;
    if (i != 1 && i != 4) {
      AddTriangle("t")->SetMaterial(material);
    }
  }
  ImportShaders({{"models/a.tga"}, {"models/b.tga"}, {"models/c.tga"}});
  const std::vector<cmaterial*>& materials = scene->Materials();
  ASSERT_EQ(materials.size(), 6U);
  const std::size_t places[] = {1, 4, 5};
  for (std::size_t s = 0; s < 3; ++s) {
    cmaterial* const material = Worn(s, 3);
    EXPECT_EQ(material, materials[places[s]]);
    EXPECT_EQ(ImageOf(*material), game + "models/" + "abc"[s] + ".tga");
    EXPECT_FALSE(material->State().doubleSided);
  }
  // The new material's own name is made unique; an equal name stays.
  EXPECT_STRNE(materials[1]->GetName(), "free");
  EXPECT_STRNE(materials[1]->GetName(), "Material");
  EXPECT_STREQ(materials[4]->GetName(), "Material");
  EXPECT_EQ(ImageOf(*materials[2]), "old.tga");
}

}  // namespace
