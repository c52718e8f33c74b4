#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "core/decode.h"
#include "core/findfile.h"
#include "core/state.h"
#include "samples/gltfmodel.h"
#include "samples/tempdirectory.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace {

namespace fs = std::filesystem;

// What it cannot carry is looked at where scene files are written.
TEST(Image, KeepsTheFileOfWhatASceneFileCanCarry) {
  const tempdirectory directory;
  const unsigned char rgb[] = {1, 2, 3, 10, 11, 12};
  const std::string jpeg = directory.File("a.jpg");
  stbi_write_jpg(jpeg.c_str(), 2, 1, 3, rgb, 90);
  for (const std::string& name : {jpeg, directory.Write("a.png", OnePixelPng())}) {
    cimage image;
    ASSERT_NE(image.Load(name.c_str()), 0);
    const core::pixels& content = *image.State().content;
    EXPECT_TRUE(content.rgba.empty()) << name;
    EXPECT_EQ(content.encoded, ReadBytes(name));
    const auto decoded = core::DecodeImage(content.encoded);
    ASSERT_EQ(decoded->rgba.size(), name == jpeg ? 8U : 4U);
    EXPECT_EQ(decoded->rgba[3], 255);
  }
}

TEST(Image, FindsAGamePathInAnotherCase) {
  const tempdirectory directory;
  directory.Write("Models/Players/Body.TGA", std::string());
  directory.Write("Models/Players/body.tga", std::string());
  const std::pair<const char*, const char*> cases[] = {
      {"models\\players\\BODY.tga", "Models/Players/Body.TGA"},
      {"Models/Players/body.tga", "Models/Players/body.tga"},
      {"models/../models//players/body.tga", "Models/Players/body.tga"},
      {"models/players", nullptr},
      {"models/none/body.tga", nullptr}};
  for (const auto& [asked, expected] : cases) {
    const std::string found = core::FindFile(directory.Path() + "\\" + asked);
    EXPECT_TRUE(expected == nullptr ? found.empty()
                                    : fs::equivalent(found, directory.File(expected)))
        << asked << " gives " << found;
  }
}

TEST(Image, RefusesWhatIsNoImageAndKeepsWhatItHad) {
  const tempdirectory directory;
  std::string huge(21, '\xFF');  // 65535 x 65535
  std::memcpy(huge.data(), "\0\0\2\0\0\0\0\0\0\0\0\0", 12);
  std::memcpy(huge.data() + 16, "\x18\x20", 2);
  cimage image;
  image.SetPathName("kept.tga");
  for (const std::string& content : {huge, std::string(), std::string(100, 'x'),
                                     std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16)}) {
    EXPECT_EQ(image.Load(directory.Write("bad", content).c_str()), 0) << content.size();
  }
  EXPECT_EQ(image.Load(directory.Path().c_str()) + image.Load("/dev/zero"), 0);
  char path[512];
  image.GetPathName(path);
  EXPECT_STREQ(path, "kept.tga");
  image.SetPathName("");  // an image without a name is not one that is not there
  image.GetPathName(path);
  EXPECT_STREQ(path, "");
}

}  // namespace
