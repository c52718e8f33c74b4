#include <gtest/gtest.h>

#include <unistd.h>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/findfile.h"
#include "core/state.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace {

namespace fs = std::filesystem;

// A folder of files for the test, gone with it.
class Image : public testing::Test {
 protected:
  Image() : root(fs::temp_directory_path() / ("marrow-image-" + std::to_string(getpid()))) {
    fs::create_directories(root / "Models" / "Players");
  }
  ~Image() override { fs::remove_all(root); }

  std::string At(const char* name) const { return (root / name).string(); }
  static void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  static std::string Tga(int width, int height, const std::string& pixels) {
    std::string file(18, '\0');
    file[2] = 2;
    file[12] = static_cast<char>(width & 255);
    file[13] = static_cast<char>(width >> 8);
    file[14] = static_cast<char>(height & 255);
    file[15] = static_cast<char>(height >> 8);
    file[16] = 24;
    file[17] = 0x20;
    return file + pixels;
  }

  fs::path root;
};

TEST_F(Image, LoadsTheThreeKindsAndKeepsWhatASceneFileCanCarry) {
  const std::string rgb = {'\x01', '\x02', '\x03', '\x0A', '\x0B', '\x0C'};
  Write(At("a.tga"), Tga(2, 1, rgb));
  stbi_write_png(At("a.png").c_str(), 2, 1, 3, rgb.data(), 6);
  stbi_write_jpg(At("a.jpg").c_str(), 2, 1, 3, rgb.data(), 90);
  for (const char* name : {"a.tga", "a.png", "a.jpg"}) {
    SCOPED_TRACE(name);
    cimage image;
    ASSERT_NE(image.Load(At(name).c_str()), 0);
    const cimage copy = image;
    const core::pixels& content = *copy.State().content;
    EXPECT_EQ(content.width * 10 + content.height, 21);
    ASSERT_EQ(content.rgba.size(), 8U);
    EXPECT_EQ(content.rgba[3], 255);
    const bool carried = std::strcmp(name, "a.tga") != 0;
    EXPECT_EQ(content.encoded.size(), carried ? fs::file_size(At(name)) : 0U);
    if (std::strcmp(name, "a.jpg") != 0) {
      EXPECT_EQ(content.rgba[0], carried ? 1 : 3);  // a TGA has blue first
      EXPECT_EQ(content.rgba[5], 11);
    }
  }
}

TEST_F(Image, FindsAGamePathInAnotherCase) {
  Write(At("Models/Players/Body.TGA"), "");
  Write(At("Models/Players/body.tga"), "");
  const struct {
    const char* asked;
    const char* found;
  } cases[] = {{"models\\players\\BODY.tga", "Models/Players/Body.TGA"},
               {"Models/Players/body.tga", "Models/Players/body.tga"},
               {"MODELS//players/body.tga", "Models/Players/body.tga"},
               {"models/../models/players/body.tga", "Models/Players/body.tga"},
               {"models/players", nullptr},
               {"models/players/body.tg", nullptr},
               {"models/none/body.tga", nullptr},
               {"", nullptr}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.asked);
    const std::string found = core::FindFile(root.string() + "\\" + c.asked);
    EXPECT_EQ(found.empty(), c.found == nullptr);
    if (c.found != nullptr) {
      EXPECT_TRUE(fs::equivalent(found, root / c.found)) << found;
    }
  }
}

TEST_F(Image, RefusesWhatIsNoImageAndKeepsWhatItHad) {
  Write(At("huge.tga"), Tga(65535, 65535, "abc"));
  Write(At("empty.png"), "");
  Write(At("text.jpg"), std::string(100, 'x'));
  Write(At("cut.png"), std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
  cimage image;
  image.SetPathName("kept.tga");
  for (const char* name : {"huge.tga", "empty.png", "text.jpg", "cut.png", "none.tga", "Models"}) {
    EXPECT_EQ(image.Load(At(name).c_str()), 0) << name;
  }
  EXPECT_EQ(image.Load("/dev/zero"), 0);
  char path[512];
  image.GetPathName(path);
  EXPECT_STREQ(path, "kept.tga");
  image.SetPathName(std::string(2000, 'p').c_str());
  image.GetPathName(path);
  EXPECT_EQ(std::strlen(path), 511U);
  cimage().GetPathName(path);
  EXPECT_STREQ(path, kNoImagePath);
}

}  // namespace
