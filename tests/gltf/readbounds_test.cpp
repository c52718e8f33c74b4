#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "gltf/readtest.h"

namespace {

using nlohmann::json;

class ReadBounds : public readtest {
 protected:
  // Reads in a process of its own that has 600 MB beyond the present one's and 30 seconds of work,
  // and expects the fault there.
  void ExpectWithin(const gltfmodel& model, const std::string& fault) {
    const std::string path = files.Write("m.glb", model.Binary());
    EXPECT_EXIT(ReadLimited(path), testing::ExitedWithCode(0), fault);
  }

 private:
  [[noreturn]] void ReadLimited(const std::string& path) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
    long pages = 0;
    std::FILE* const sizes = std::fopen("/proc/self/statm", "r");
    const bool known = sizes != nullptr && std::fscanf(sizes, "%ld", &pages) == 1;
    const rlim_t most = static_cast<rlim_t>(pages) * 4096 + (rlim_t{600} << 20);
    const rlimit memory{most, most};
    if (!known || setrlimit(RLIMIT_AS, &memory) != 0) {
      _exit(2);
    }
#endif
    const rlimit time{30, 30};
    setrlimit(RLIMIT_CPU, &time);
    gltf::report report;
    const bool read = gltf::ReadScene(path, how, scene, report);
    std::fprintf(stderr, "%s", read ? "read" : report.fault.c_str());
    _exit(0);
  }
};

TEST_F(ReadBounds, SetsOfJoints) {
  gltfmodel model;
  json part = {{"attributes", {{"POSITION", model.Floats("VEC3", {0, 0, 0})}}}};
  const int floats = model.Floats("VEC4", {0, 0, 0, 0});
  const int joints = model.Bytes("VEC4", {0, 0, 0, 0});
  for (json& accessor : model.Accessors()) {
    accessor["count"] = 300000;
    accessor.erase("bufferView");
  }
  for (int set = 0; set < 1800; ++set) {
    part["attributes"]["JOINTS_" + std::to_string(set)] = joints;
    part["attributes"]["WEIGHTS_" + std::to_string(set)] = floats;
  }
  model.doc["skins"] = json::parse(R"([{"joints": [0]}])");
  model.Node({{"mesh", model.Mesh(part)}, {"skin", 0}});
  ExpectWithin(model, "has more values than the file can have");
}

TEST_F(ReadBounds, RepeatedChannels) {
  gltfmodel model;
  const int node = model.Node({{"name", "a"}});
  model.Channel(0, node, "translation", {0, 50000}, {0, 0, 0, 1, 0, 0});
  json& channels = model.doc["animations"][0]["channels"];
  channels.get_ref<json::array_t&>().resize(1700, json(channels[0]));
  ExpectWithin(model, "read");
}

TEST_F(ReadBounds, FramesOfManyNodes) {
  gltfmodel model;
  for (int i = 0; i < 16; ++i) {
    model.Channel(0, model.Node(json::object()), "translation", {0, 50000}, {0, 0, 0, 1, 0, 0});
  }
  ExpectWithin(model, "frames for 16 nodes, which is more than a scene can hold");
}

TEST_F(ReadBounds, NamesThatCollide) {
  gltfmodel model;
  const int mesh = model.Triangle();
  model.doc["meshes"][0]["primitives"].push_back(model.doc["meshes"][0]["primitives"][0]);
  for (int i = 0; i < 10000; ++i) {
    model.Node({{"name", "a"}, {"mesh", mesh}});
  }
  ExpectWithin(model, "read");
}

}  // namespace
