// The module in the host of examples/host, which offers what a module needs and nothing else. What
// this program defines takes the place of that host's own: nodes and lists that count, and a
// desktop where a test sets one.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "host.h"
#include "module/module.h"
#include "plugin/platform/desktop.h"
#include "samples/mdcmodel.h"
#include "samples/named.h"
#include "samples/skelmodel.h"
#include "samples/tempdirectory.h"

namespace {

// Calls that reached an override, by the node's type and the operation's name.
std::map<std::pair<int, std::string>, int> calls;

template <class Node>
class counted final : public Node {
 public:
  void Destroy() override { delete this; }
  void SetName(const char* name) override {
    Count("SetName");
    Node::SetName(name);
  }
  void SetMaterial(cmaterial* material) override {
    Count("SetMaterial");
    Node::SetMaterial(material);
  }
  int AttachChild(cnode* child, int mode) override {
    Count("AttachChild");
    return Node::AttachChild(child, mode);
  }
  cmatrix4 GetTMAtFrame(int frame, int mask) override {
    Count("GetTMAtFrame");
    return Node::GetTMAtFrame(frame, mask);
  }
  void UpdateAnim() override {
    Count("UpdateAnim");
    Node::UpdateAnim();
  }

 private:
  void Count(const char* operation) { ++calls[{this->GetType(), operation}]; }
};

int Calls(int type, const char* operation) { return calls[{type, operation}]; }

std::vector<const culongarray*> madeLists;
int destroyedLists = 0;
std::set<const culongarray*> readLists;
int destroyedFlags = 0;

// What MarrowDesktop gives, and what it was asked with.
cdesktop* desktopOfHost = nullptr;
int askedVersion = 0;
cdesktop* desktopOfModule = nullptr;

}  // namespace

cbone* CreateNewBone() { return new counted<cbone>; }
cmesh* CreateNewMesh() { return new counted<cmesh>; }
cskin* CreateNewSkin() { return new counted<cskin>; }

culongarray::culongarray() { madeLists.push_back(this); }
culongarray::~culongarray() {
  delete[] elements_;
  ++destroyedLists;
}
unsigned long culongarray::operator[](int index) const {
  readLists.insert(this);
  return elements_[index];
}
cbooleanarray::~cbooleanarray() {
  delete[] elements_;
  ++destroyedFlags;
}

extern "C" cdesktop* MarrowDesktop(int version, cdesktop* own) {
  askedVersion = version;
  desktopOfModule = own;
  return desktopOfHost;
}

namespace {

// Leaves the dialogs to the module and waits for nobody.
class watchingdesktop final : public cdesktop {
 public:
  std::vector<std::string> events;
  int flagsAtSleep = 0;  // destroyedFlags when the run waited

  int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) override {
    events.push_back("dialog " + std::to_string(dialog.id));
    return desktopOfModule->RunDialog(dialog, rules, owner);
  }
  cdialogwindow* OpenDialog(const cdialogtemplate& /*dialog*/, cdialogrules& /*rules*/,
                            const char* caption) override {
    events.emplace_back(caption);
    return nullptr;
  }
  void CloseDialog(cdialogwindow* /*window*/) override { ADD_FAILURE() << "nothing was opened"; }
  void ShowMessage(const char* text, const char* /*caption*/, int /*style*/) override {
    events.emplace_back(text);
  }
  int AskOpenFile(const cfiledialog& dialog, char* path, int size) override {
    events.push_back("open for " + std::string(dialog.model));
    return desktopOfModule->AskOpenFile(dialog, path, size);
  }
  int AskSaveFile(const cfiledialog& dialog, char* /*path*/, int /*size*/) override {
    events.push_back("save for " + std::string(dialog.model));
    return 0;
  }
  void* SetWaitCursor() override { return this; }
  void RestoreCursor(void* cursor) override { EXPECT_EQ(cursor, this); }
  void SleepMilliseconds(int milliseconds) override {
    events.push_back("sleep " + std::to_string(milliseconds));
    flagsAtSleep = destroyedFlags;
  }
};

cnode* Named(const std::string& name) { return NodeNamed(Scene().nodes, name); }

class SmallestHost : public testing::Test {
 protected:
  SmallestHost() : lists_(madeLists.size()), destroyed_(destroyedLists) {
    std::string error;
    module_ = module::library::Load(MARROW_MODULE_PATH, error);
    EXPECT_NE(module_, nullptr) << error;
    calls.clear();
  }
  ~SmallestHost() override {
    desktopOfHost = nullptr;
    Scene().Clear();
  }

  // A function of the module by its name in the file.
  template <class Function>
  Function* Entry(const char* name) const {
    auto* const entry = reinterpret_cast<Function*>(module_->Symbol(name));
    EXPECT_NE(entry, nullptr) << name;
    return entry;
  }

  int Export(const std::string& path) {
    calls.clear();
    return module_->FindExporter(path.substr(path.size() - 3))->exporter->Export(path.c_str());
  }
  // Into an empty scene.
  int Import(const std::string& path) {
    Scene().Clear();
    calls.clear();
    return Add(path);
  }
  int Add(const std::string& path) {
    return module_->FindImporter(path.substr(path.size() - 3))->importer->Import(path.c_str());
  }

  // What two files bring: two bones with a tag at their end, two skins and two meshes; the spine
  // turns.
  void BuildScene() {
    watchingdesktop desktop;
    cdesktop* const desktopOfTest = std::exchange(desktopOfHost, &desktop);
    skelmodel figure = SmallSkelModel();
    figure.surfaces[0].verts[3].weights[0].bone = 1;  // a tag of an mdm carries nothing
    EXPECT_EQ(Add(directory_.Write("built/a.mds", figure.WriteMds())), kRunDone);
    mdcmodel props = SmallMdcModel();
    props.tags.clear();
    props.surfaces[0].name = "crate";
    EXPECT_EQ(Add(directory_.Write("built/a.mdc", props.Write())), kRunDone);
    desktopOfHost = desktopOfTest;
    ckey turned;
    turned.frame = 2;
    turned.rot = EulerToQuat(MakePt3(0, 90, 0));
    canim& track = static_cast<cbone*>(Named("Spine"))->anim;
    track.SetNumKeys(2, 0);
    track.SetKeyAt(1, turned, 0);
    Interface::SetAnimStart(0);
    Interface::SetAnimEnd(2);
  }

  std::size_t lists_;  // made and destroyed before the module was loaded
  int destroyed_;
  std::unique_ptr<module::library> module_;
  tempdirectory directory_;
};

std::vector<std::string> Names(int type) {
  std::vector<std::string> names;
  for (cnode* node : Scene().nodes) {
    if (node->GetType() == type) {
      names.emplace_back(node->GetName());
    }
  }
  return names;
}

void ExpectNear(const cpoint3& a, const cpoint3& b, float error) {
  EXPECT_LT((a - b).Length(), error)
      << a.x << ' ' << a.y << ' ' << a.z << " is not " << b.x << ' ' << b.y << ' ' << b.z;
}

using names = std::vector<std::string>;

}  // namespace

TEST_F(SmallestHost, RunsAllSevenHandlers) {
  BuildScene();
  auto* const built = static_cast<cskin*>(Named("body"));
  const std::vector<cpoint3> shape = Deformed(*built, 0);
  const std::vector<cpoint3> turnedShape = Deformed(*built, 2);
  ASSERT_GT((shape[1] - turnedShape[1]).Length(), 1);
  const cpoint3 head = Named("tag_head")->GetPosAtFrame(0);
  const std::string mdc = directory_.File("models/players/a.mdc");
  const std::string mds = directory_.File("models/players/a.mds");
  const std::string mdm = directory_.File("mdm/models/a.mdm");
  const std::string mdx = directory_.File("alone.mdx");
  for (const std::string& path : {mdc, mds, mdm, mdx}) {
    ASSERT_EQ(Export(path), kRunDone) << path;
    // A frame's box takes in every shape, of whatever format.
    for (const int type : {kNodeBone, kNodeMesh, kNodeSkin}) {
      EXPECT_GT(Calls(type, "GetTMAtFrame"), 0) << path << ", type " << type;
    }
  }
  // The mdx file beside the mdm file is what the question for it gets.
  EXPECT_EQ(ReadBytes(directory_.File("mdm/models/a.mdx")).size(), ReadBytes(mdx).size());

  ASSERT_EQ(Import(mdc), kRunDone);
  EXPECT_EQ(Names(kNodeBone), names{"tag_head"});
  EXPECT_EQ(Names(kNodeMesh), (names{"body", "hat", "crate", "cape"}));
  EXPECT_EQ(Calls(kNodeBone, "SetName"), 1);
  EXPECT_EQ(Calls(kNodeBone, "UpdateAnim"), 1);
  EXPECT_EQ(Calls(kNodeMesh, "SetName"), 4);
  EXPECT_EQ(Calls(kNodeMesh, "SetMaterial"), 2);
  ExpectNear(Named("tag_head")->GetPosAtFrame(0), head, 0.02F);
  for (std::size_t v = 0; v < shape.size(); ++v) {
    ExpectNear(static_cast<cmesh*>(Named("body"))->Mesh().verts[v], shape[v], 0.03F);
  }

  // The first skin file beside the model is the dialog's choice.
  directory_.Write("models/players/body.skin", "body,models/players/body.tga\n");
  directory_.Write("mdm/models/body.skin", "body,\"models/body.tga\"\n");
  for (const std::string& path : {mds, mdm}) {
    ASSERT_EQ(Import(path), kRunDone) << path;
    EXPECT_EQ(Names(kNodeBone), (names{"Pelvis", "Spine", "tag_head"}));
    EXPECT_EQ(Names(kNodeSkin), (names{"body", "hat"}));
    EXPECT_EQ(Calls(kNodeBone, "SetName"), 3);
    EXPECT_EQ(Calls(kNodeBone, "AttachChild"), 2);
    EXPECT_EQ(Calls(kNodeBone, "UpdateAnim"), path == mds ? 3 : 2);  // a tag of an mdm has one key
    EXPECT_EQ(Calls(kNodeMesh, "SetMaterial"), 1);
    EXPECT_GT(Calls(kNodeSkin, "SetName") + Calls(kNodeMesh, "SetName"), 0);
    EXPECT_EQ(Named("tag_head")->GetParent(), Named("Spine"));
    ExpectNear(Named("tag_head")->GetPosAtFrame(0), head, 0.05F);
    auto* const skin = static_cast<cskin*>(Named("body"));
    ASSERT_NE(skin->GetMaterial(), nullptr);
    EXPECT_TRUE(skin->GetMaterial()->GetImage(0)->State().path.ends_with("body.tga"));
    for (std::size_t v = 0; v < shape.size(); ++v) {
      ExpectNear(Deformed(*skin, 0)[v], shape[v], 0.05F);
    }
    EXPECT_NE(Scene().notes.find("Num Bones:    "), std::string::npos);
  }
}

TEST_F(SmallestHost, DialogsWithoutAUserGetTheirDefaults) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Export(directory_.File("a.mds")), kRunNothing);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Export MDS: No objects in scene!\n");
  BuildScene();
  const std::string mdm = directory_.File("a.b/model");
  ASSERT_EQ(module_->FindExporter("mdm")->exporter->Export(mdm.c_str()), kRunDone);
  EXPECT_FALSE(ReadBytes(directory_.File("a.b/model.mdx")).empty());

  // Nothing is there to open: as if the dialog were cancelled.
  directory_.Write("only.mdm", ReadBytes(mdm));
  EXPECT_EQ(Import(directory_.File("only.mdm")), kRunNothing);
  EXPECT_TRUE(Scene().nodes.empty());
}

TEST_F(SmallestHost, AHostsDesktopIsFoundByItsName) {
  watchingdesktop desktop;
  desktopOfHost = &desktop;
  const std::string mds = directory_.File("a.mds");
  const std::string mdm = directory_.File("a.mdm");
  EXPECT_EQ(Export(mds), kRunNothing);
  EXPECT_EQ(askedVersion, kDesktopVersion);
  BuildScene();
  EXPECT_EQ(Export(mds), kRunDone);
  EXPECT_EQ(Export(mdm), kRunDone);
  EXPECT_EQ(
      desktop.events,
      (names{"No objects in scene!", "dialog 103", "Exporting MDS - Please wait...", "sleep 500",
             "dialog 105", "Exporting MDM - Please wait...", "save for " + mdm, "sleep 500"}));

  desktop.events.clear();
  destroyedFlags = 0;
  EXPECT_EQ(Import(mds), kRunDone);
  // The list of unused materials is one of the run's tables, which are released before the wait.
  EXPECT_EQ(desktop.flagsAtSleep, 1);
  EXPECT_EQ(destroyedFlags, 1);
  EXPECT_EQ(Import(mdm), kRunNothing);
  EXPECT_EQ(desktop.events,
            (names{"dialog 101", "Importing - Please wait...", "sleep 500", "open for " + mdm}));
}

TEST_F(SmallestHost, TheHierarchyListsLiveAsLongAsTheModule) {
  ASSERT_EQ(madeLists.size(), lists_ + 2);
  const culongarray* const mdmList = madeLists[lists_];
  const culongarray* const mdsList = madeLists[lists_ + 1];
  BuildScene();
  watchingdesktop desktop;
  desktopOfHost = &desktop;
  for (const char* name : {"a.mdx", "a.mds", "a.mdm"}) {
    readLists.clear();
    ASSERT_EQ(Export(directory_.File(name)), kRunDone);
    const bool mds = name == std::string("a.mds");
    EXPECT_EQ(readLists.contains(mdmList), !mds) << name;
    EXPECT_EQ(readLists.contains(mdsList), mds) << name;
  }
  const int temporary = static_cast<int>(madeLists.size() - lists_ - 2);
  EXPECT_EQ(destroyedLists, destroyed_ + temporary);
  module_.reset();
  EXPECT_EQ(destroyedLists, destroyed_ + temporary + 2);
}

// Whoever links the module can call a step where no run has begun.
TEST_F(SmallestHost, AStepOutsideARunDoesNothing) {
  void* const mds = Entry<void>("impmds");
  void* const mdm = Entry<void>("impmdmmdx");
  using text = const char*;
  EXPECT_FALSE(
      Entry<bool(void*, void*, unsigned long)>("_ZN7cimpmds13CalcBoneFrameEPvm")(mds, nullptr, 0));
  EXPECT_FALSE(Entry<bool(void*, void*, void*, unsigned long)>(
      "_ZN10cimpmdmmdx13CalcBoneFrameEPvS0_m")(mdm, nullptr, nullptr, 0));
  EXPECT_FALSE(Entry<bool(void*)>("_ZN7cimpmds14LoadAnimConfigEv")(mds));
  EXPECT_FALSE(Entry<bool(void*, text)>("_ZN10cimpmdmmdx14LoadAnimConfigEPKc")(mdm, "a.mdx"));
  for (const auto& [handler, type] : {std::pair(mds, "7cimpmds"), std::pair(mdm, "10cimpmdmmdx")}) {
    const std::string prefix = std::string("_ZN") + type;
    const auto name = [&prefix](const char* member) { return prefix + member; };
    Entry<void(void*)>(name("14CacheSkinFilesEv").c_str())(handler);
    EXPECT_FALSE(Entry<bool(void*, text)>(name("12LoadSkinFileEPKc").c_str())(handler, "a.skin"));
    Entry<void(void*)>(name("19CreateSurfMaterialsEv").c_str())(handler);
    EXPECT_EQ(Entry<cmaterial*(void*, text)>(name("16FindMatBySurfaceEPKc").c_str())(handler, "a"),
              nullptr);
  }
  EXPECT_TRUE(Scene().materials.empty());
}
