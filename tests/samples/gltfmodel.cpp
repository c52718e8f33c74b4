#include "samples/gltfmodel.h"

using nlohmann::json;

namespace {

std::string Base64(const bytes& content) {
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < content.size(); i += 3) {
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (i + k < content.size() ? content[i + k] : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k > content.size() - i ? '=' : kDigits[bits >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

int Place(json& list, json entry) {
  list.push_back(std::move(entry));
  return static_cast<int>(list.size()) - 1;
}

}  // namespace

gltfmodel::gltfmodel() {
  doc = json::parse(R"({"asset": {"version": "2.0"}, "scenes": [{"nodes": []}]})");
}

int gltfmodel::Node(json node, int parent) {
  const int place = Place(doc["nodes"], std::move(node));
  (parent < 0 ? doc["scenes"][0]["nodes"]
              : doc["nodes"][static_cast<std::size_t>(parent)]["children"])
      .push_back(place);
  return place;
}

int gltfmodel::View(const bytes& content) {
  buffer_.resize((buffer_.size() + 3) / 4 * 4);
  const std::size_t offset = buffer_.size();
  buffer_.insert(buffer_.end(), content.begin(), content.end());
  return Place(doc["bufferViews"],
               {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", content.size()}});
}

int gltfmodel::Accessor(const std::string& type, int componentType, const bytes& content) {
  const std::size_t each = type == "SCALAR" ? 1
                           : type == "MAT4" ? 16
                                            : static_cast<std::size_t>(type.back() - '0');
  const std::size_t size = componentType < 5122 ? 1 : componentType < 5124 ? 2 : 4;
  return Place(doc["accessors"], {{"bufferView", View(content)},
                                  {"componentType", componentType},
                                  {"count", content.size() / (each * size)},
                                  {"type", type}});
}

int gltfmodel::Floats(const std::string& type, const std::vector<float>& values) {
  bytewriter content;
  content.F32(values);
  return Accessor(type, 5126, content.Content());
}

int gltfmodel::Bytes(const std::string& type, const std::vector<int>& values) {
  return Accessor(type, 5121, bytes(values.begin(), values.end()));
}

int gltfmodel::Shorts(const std::string& type, const std::vector<int>& values) {
  bytewriter content;
  content.I16(values);
  return Accessor(type, 5123, content.Content());
}

int gltfmodel::Mesh(json primitive) {
  return Place(doc["meshes"], {{"primitives", json::array({std::move(primitive)})}});
}

int gltfmodel::Triangle(const std::vector<float>& corners) {
  return Mesh({{"attributes", {{"POSITION", Floats("VEC3", corners)}}}});
}

void gltfmodel::Channel(std::size_t animation, int node, const std::string& path,
                        const std::vector<float>& times, const std::vector<float>& values,
                        const std::string& interpolation) {
  json& clip = doc["animations"][animation];
  const int input = Floats("SCALAR", times);
  const int output = Floats(path == "rotation"  ? "VEC4"
                            : path == "weights" ? "SCALAR"
                                                : "VEC3",
                            values);
  const int sampler = Place(
      clip["samplers"], {{"input", input}, {"output", output}, {"interpolation", interpolation}});
  clip["channels"].push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
}

json gltfmodel::BuffersWith(json own) const {
  json buffers = doc.value("buffers", json::array());
  buffers.insert(buffers.begin(), std::move(own));
  return buffers;
}

bytes gltfmodel::Binary() const {
  json whole = doc;
  whole["buffers"] = BuffersWith({{"byteLength", buffer_.size()}});
  std::string text = whole.dump();
  text.resize((text.size() + 3) / 4 * 4, ' ');
  bytes binary = buffer_;
  binary.resize((binary.size() + 3) / 4 * 4);
  bytewriter file;
  file.I32({0x46546C67, 2, std::ssize(text) + std::ssize(binary) + 28});
  file.I32({std::ssize(text), 0x4E4F534A});
  file.I8(text);
  file.I32({std::ssize(binary), 0x004E4942});
  file.I8(binary);
  return file.Content();
}

std::string gltfmodel::Text(const std::string& uri) const {
  json whole = doc;
  whole["buffers"] = BuffersWith(
      {{"byteLength", buffer_.size()},
       {"uri", uri.empty() ? "data:application/octet-stream;base64," + Base64(buffer_) : uri}});
  return whole.dump();
}

bytes OnePixelPng() {
  return {0x89, 'P',  'N',  'G',  0x0D, 0x0A, 0x1A, 0x0A, 0,   0,    0,    13,   'I',  'H',
          'D',  'R',  0,    0,    0,    1,    0,    0,    0,   1,    8,    2,    0,    0,
          0,    0x90, 0x77, 0x53, 0xDE, 0,    0,    0,    12,  'I',  'D',  'A',  'T',  0x78,
          0x9C, 0x63, 0xF8, 0xCF, 0xC0, 0,    0,    3,    1,   1,    0,    0xC9, 0xFE, 0x92,
          0xEF, 0,    0,    0,    0,    'I',  'E',  'N',  'D', 0xAE, 0x42, 0x60, 0x82};
}

gltfmodel SmallGltf() {
  gltfmodel model;
  const int root = model.Node({{"name", "root"}, {"scale", {2, 2, 2}}});
  const int hip = model.Node({{"name", "hip"}, {"translation", {0, 1, 0}}}, root);
  const int knee = model.Node({{"name", "knee"}, {"rotation", {0, 0, 0.6, 0.8}}}, hip);
  model.Node({{"name", "tag_foot"}, {"extras", {{"bone", true}}}}, knee);
  model.doc["images"] = json::array(
      {{{"bufferView", model.View(OnePixelPng())}, {"mimeType", "image/png"}, {"name", "skin"}}});
  model.doc["textures"] = json::parse(R"([{"source": 0}])");
  model.doc["materials"] = json::parse(R"([{"name": "m", "extras": {"game_path": "models/m.tga"},
      "pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "texCoord": 0}}}])");
  const int places = model.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
  model.Accessors()[static_cast<std::size_t>(places)]["sparse"] = {
      {"count", 1},
      {"indices", {{"bufferView", model.View({2})}, {"componentType", 5121}}},
      {"values", {{"bufferView", model.View(bytes(12, 0x3E))}}}};
  const int body = model.Mesh(
      {{"attributes",
        {{"POSITION", places},
         {"NORMAL", model.Floats("VEC3", {0, 0, 1, 0, 0, 1, 0, 0, 1, 0.6F, 0, 0.8F})},
         {"TEXCOORD_0", model.Floats("VEC2", {0, 0, 1, 0, 0, 1, 1, 1})},
         {"JOINTS_0", model.Bytes("VEC4", {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0})},
         {"WEIGHTS_0",
          model.Floats("VEC4", {0.5F, 0.5F, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0})}}},
       {"indices", model.Shorts("SCALAR", {0, 1, 2, 2, 1, 3})},
       {"material", 0}});
  model.doc["skins"] =
      json::array({{{"joints", {hip, knee}},
                    {"inverseBindMatrices",
                     model.Floats("MAT4", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1,
                                           1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -2, 0, 1})}}});
  model.Node({{"name", "body"}, {"mesh", body}, {"skin", 0}});
  const int strip = model.Mesh({{"attributes", {{"POSITION", places}}},
                                {"mode", 5},
                                {"targets", {{{"POSITION", places}}, {{"NORMAL", places}}}}});
  const int plate = model.Node({{"name", "plate"}, {"mesh", strip}, {"weights", {0.5, 0}}}, knee);
  model.Channel(0, hip, "translation", {0, 0.25F}, {0, 1, 0, 0, 2, 0});
  model.Channel(0, knee, "rotation", {0.05F, 0.1F}, {0, 0, 0, 1, 0, 1, 0, 0}, "STEP");
  model.Channel(1, knee, "rotation", {0, 0.2F},
                {0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0},
                "CUBICSPLINE");
  model.Channel(0, plate, "weights", {0, 0.2F}, {0, 1, 1, 0.5F});
  model.Channel(1, hip, "scale", {0, 0.1F}, {1, 1, 1, 1, 3, 2});
  model.doc["scenes"][0]["extras"] = {{"notes", "made for a test"},
                                      {"frame_bounds", {{0, 0, 0, 1, 1, 1}}}};
  return model;
}
