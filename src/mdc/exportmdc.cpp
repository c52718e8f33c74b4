#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "binary/filewriter.h"
#include "desktop/currentdesktop.h"
#include "dialogs/options.h"
#include "mdc/records.h"
#include "plugin/handlers.h"
#include "plugin/host/scene.h"
#include "plugin/run/allocation.h"
#include "plugin/run/progress.h"
#include "plugin/run/run.h"
#include "sampling/exportrange.h"
#include "sampling/framebox.h"
#include "sampling/names.h"
#include "sampling/steps.h"
#include "sampling/triangles.h"

namespace {

constexpr char kSource[] = "ExportMDC";

struct mdctagrec {
  namefield<64> name;  // in lower case
  std::vector<mdcTag> lpTagFrames;
  cnode* node = nullptr;
};

struct mdcsurfrec {
  mdcSurface header{};
  mdcShader shader{};
  std::vector<mdcTriangle> triangles;
  std::vector<mdcSt> st;
  // numVerts entries for each frame, frame by frame.
  std::vector<mdcXyzNormal> xyzNormals;
  std::vector<little<std::uint16_t>> frameBaseFrames;
  std::vector<little<std::uint16_t>> frameCompFrames;
};

struct exportrun {
  std::vector<mdctagrec> Tags;
  std::vector<mdcFrame> BorderFrames;
  std::vector<std::unique_ptr<mdcsurfrec>> Surfaces;
  int usemodels;
  cpoint3 origin;
  // Outlives the other data: the window waits until those are released.
  cprogress* progress;

  exportrun(int models, cprogress& window) : usemodels(models), progress(&window) {}
};

std::optional<exportrun> run;

std::array<little<float>, 3> Stored(const cpoint3& point) { return {point.x, point.y, point.z}; }

// A world position in steps from the frame's origin. Written where it stays: a copy of numbers
// that were stored one by one would wait for each of them.
void StoreSteps(const cpoint3& position, cpoint3 origin,
                std::array<little<std::int16_t>, 3>& stored) {
  const auto steps = [](float value) { return TruncateToSteps(double{value} * kMdcStepsPerUnit); };
  stored[0] = steps(position.x - origin.x);
  stored[1] = steps(position.y - origin.y);
  stored[2] = steps(position.z - origin.z);
}

std::array<little<std::int16_t>, 3> StoredAngles(const cpoint3& degrees) {
  const auto steps = [](float angle) { return TruncateToSteps(angle / kMdcDegreesPerStep); };
  return {steps(degrees.x), steps(degrees.y), steps(degrees.z)};
}

void CalcBorderFrames(const exportrange& range) {
  const int count = range.NumFrames();
  AllocateNamed(run->BorderFrames, static_cast<std::size_t>(count), {"BorderFrames", kSource});
  run->progress->SetRange(count);
  run->progress->SetPosition(0);
  run->origin = CalcOrigin(range.originname);
  const std::vector<cnode*> nodes = SurfaceNodes();
  for (int i = 0; i < count; ++i) {
    run->progress->SetText("Calculating Frame: %d of %d\n", i, count);
    run->progress->SetPosition(i);
    const framebox box = MeasureFrame(nodes, range.start + i, run->origin);
    mdcFrame& frame = run->BorderFrames[static_cast<std::size_t>(i)];
    frame.bounds = {Stored(box.minimum), Stored(box.maximum)};
    frame.localOrigin = Stored(run->origin);
    frame.radius = box.radius;
    SetName(frame.name, "(from QMTK)");
  }
}

void CalcTagFrames(const exportrange& range) {
  std::vector<cnode*> nodes;
  const int numNodes = Interface::NumNodes();
  for (int i = 0; i < numNodes; ++i) {
    cnode* node = Interface::GetNodeAt(i);
    if (IsTagName(node->GetName())) {
      nodes.push_back(node);
    }
  }
  if (nodes.empty()) {
    return;
  }
  const int count = range.NumFrames();
  AllocateNamed(run->Tags, nodes.size(), {"Tags", kSource});
  for (std::size_t t = 0; t < nodes.size(); ++t) {
    mdctagrec& tag = run->Tags[t];
    SetName(tag.name, LowerCase(nodes[t]->GetName()).c_str());
    tag.node = nodes[t];
    AllocateNamed(tag.lpTagFrames, static_cast<std::size_t>(count),
                  {"Tags[ntags].lpTagFrames", kSource});
  }
  run->progress->SetRange(count);
  run->progress->SetPosition(0);
  for (int i = 0; i < count; ++i) {
    run->progress->SetText("Calculating Tag Frame: %d of %d\n", i, count);
    run->progress->SetPosition(i);
    for (mdctagrec& tag : run->Tags) {
      mdcTag& record = tag.lpTagFrames[static_cast<std::size_t>(i)];
      StoreSteps(tag.node->GetPosAtFrame(range.start + i), run->origin, record.xyz);
      record.angles = StoredAngles(QuatToEuler(tag.node->GetRotAtFrame(range.start + i)));
    }
  }
}

void BuildTriangles(mdcsurfrec& surface, const cexpmesh& mesh, std::int32_t sourceFaces) {
  surface.triangles.reserve(static_cast<std::size_t>(std::max(mesh.numFaces, 0)));
  ForEachTriangle(mesh, sourceFaces, [&](std::int32_t a, std::int32_t b, std::int32_t c) {
    surface.triangles.push_back({a, b, c});
  });
  surface.header.numTriangles = static_cast<std::int32_t>(surface.triangles.size());
}

void BuildTextureCoordinates(mdcsurfrec& surface, const cexpmesh& mesh) {
  surface.st.reserve(static_cast<std::size_t>(mesh.numVerts));
  for (std::int32_t v = 0; v < mesh.numVerts; ++v) {
    array_assert(static_cast<int>(v < mesh.vertsBound));
    surface.st.push_back({mesh.verts[v].u, mesh.verts[v].v});
  }
}

// Fills what a mesh and a skin have in common. deform(frame) puts the mesh's vertices into the
// frame's shape, in the node's local space.
template <class Deform>
void BuildSurface(mdcsurfrec& surface, cnode& node, cexpmesh& mesh, std::int32_t sourceFaces,
                  const exportrange& range, Deform&& deform) {
  const int count = range.NumFrames();
  surface.header.numCompFrames = 0;
  surface.header.numBaseFrames = count;
  surface.header.numVerts = mesh.numVerts;
  BuildTriangles(surface, mesh, sourceFaces);
  BuildTextureCoordinates(surface, mesh);

  const auto numFrames = static_cast<std::size_t>(count);
  surface.frameCompFrames.assign(numFrames, kMdcNoCompressedFrame);
  surface.frameBaseFrames.reserve(numFrames);
  surface.xyzNormals.resize(static_cast<std::size_t>(mesh.numVerts) * numFrames);
  array_assert(static_cast<int>(mesh.numVerts <= mesh.vertsBound));
  mdcXyzNormal* stored = surface.xyzNormals.data();
  // Stored bytes could be anything's for all that the compiler knows: these are read once.
  const cpoint3 origin = run->origin;
  const cexpvert* const verts = mesh.verts;
  const std::int32_t numVerts = mesh.numVerts;
  for (int i = 0; i < count; ++i) {
    const int frame = range.start + i;
    deform(frame);
    const cmatrix4 matrix = node.GetTMAtFrame(frame, kWholeTransform);
    for (std::int32_t v = 0; v < numVerts; ++v) {
      StoreSteps(matrix * verts[v].pos, origin, stored++->xyz);
    }
    surface.frameBaseFrames.emplace_back(static_cast<std::uint16_t>(i));
  }
}

void BuildMeshSurface(mdcsurfrec& surface, cmesh& source, const exportrange& range) {
  cexpmesh mesh;
  mesh.BuildFromMesh(&source, 2);
  BuildSurface(surface, source, mesh, source.numFaces, range, [](int /*frame*/) {});
}

void BuildSkinSurface(mdcsurfrec& surface, cskin& source, const exportrange& range) {
  cexpmesh mesh;
  mesh.BuildFromSkin(&source, 2);
  BuildSurface(surface, source, mesh, source.numFaces, range,
               [&](int frame) { mesh.CalcSkinVertsAtFrame(frame, 1, 1); });
}

void AddSurface(cnode* node, const exportrange& range) {
  MakeRoom(run->Surfaces, {"Surfaces", kSource}, {"surfs", kSource});
  auto surface = std::make_unique<mdcsurfrec>();
  SetName(surface->header.name, node->GetName());
  surface->header.ident = kMdcSurfaceIdent;
  if (cmaterial* material = node->GetMaterial(); material != nullptr) {
    const auto path = ImagePath(*material);
    if (!IsNoImage(path.data())) {
      surface->header.numShaders = 1;
      SetName(surface->shader.name, MakeModelsPath(path.data(), run->usemodels != 0).c_str());
    }
  }
  if (node->GetType() == kNodeMesh) {
    BuildMeshSurface(*surface, *static_cast<cmesh*>(node), range);
  } else {
    BuildSkinSurface(*surface, *static_cast<cskin*>(node), range);
  }
  run->Surfaces.push_back(std::move(surface));
}

void CalcSurfaceFrames(const exportrange& range) {
  const int numNodes = Interface::NumNodes();
  run->progress->SetRange(numNodes);
  run->progress->SetPosition(0);
  for (int i = 0; i < numNodes; ++i) {
    cnode* node = Interface::GetNodeAt(i);
    const int type = node->GetType();
    if (type == kNodeMesh || type == kNodeSkin) {
      run->progress->SetText("Creating Surface Frames: %s\n", node->GetName());
      run->progress->SetPosition(i);
      AddSurface(node, range);
    }
  }
}

void WriteSurface(filewriter& file, mdcsurfrec& surface) {
  mdcSurface& header = surface.header;
  const std::int32_t start = file.Position();
  const auto here = [&] { return file.Position() - start; };
  file.Put(header);
  header.ofsShaders = here();
  if (header.numShaders != 0) {
    file.Put(surface.shader);
  }
  header.ofsTriangles = here();
  file.PutAll(surface.triangles);
  header.ofsSt = here();
  file.PutAll(surface.st);
  header.ofsFrameBaseFrames = here();
  file.PutAll(surface.frameBaseFrames);
  header.ofsFrameCompFrames = here();
  file.PutAll(surface.frameCompFrames);
  header.ofsXyzNormals = here();
  file.PutAll(surface.xyzNormals);
  header.ofsXyzCompressed = here();
  header.ofsEnd = here();
  const std::int32_t end = file.Position();
  file.Seek(start);
  file.Put(header);
  file.Seek(end);
}

void WriteFile(filewriter& file, const char* path) {
  mdcHeader header{};
  std::ranges::copy(kMdcIdent, header.ident.begin());
  header.version = kMdcVersion;
  SetName(header.name, MakeModelsPath(path, run->usemodels != 0).c_str());
  header.numFrames = static_cast<std::int32_t>(run->BorderFrames.size());
  header.numTags = static_cast<std::int32_t>(run->Tags.size());
  header.numSurfaces = static_cast<std::int32_t>(run->Surfaces.size());
  file.Put(header);
  header.ofsFrames = file.Position();
  file.PutAll(run->BorderFrames);
  header.ofsTagNames = file.Position();
  for (const mdctagrec& tag : run->Tags) {
    file.Put(tag.name);
  }
  header.ofsTags = file.Position();
  for (const mdctagrec& tag : run->Tags) {
    file.PutAll(tag.lpTagFrames);
  }
  header.ofsSurfaces = file.Position();
  for (const auto& surface : run->Surfaces) {
    WriteSurface(file, *surface);
  }
  header.ofsEnd = file.Position();
  file.Seek(0);
  file.Put(header);
  file.Close();
}

int ExportMdc(const char* path) {
  if (Interface::NumNodes() == 0) {
    CurrentDesktop().ShowMessage("No objects in scene!", "Export MDC", kMessageExclamation);
    return kRunNothing;
  }
  exportrange range{Interface::GetAnimStart(), Interface::GetAnimEnd(), {}};
  int usemodels = 0;
  if (ShowExportOptions(&range.start, &range.end, &usemodels, range.originname, 1) == 0) {
    return kRunNothing;
  }
  filewriter file;
  if (!file.Open(path)) {
    return kRunFailed;
  }
  cprogress progress;
  progress.Open("Exporting MDC - Please wait...");
  {
    const runscope scope(run, usemodels, progress);
    CalcBorderFrames(range);
    CalcTagFrames(range);
    CalcSurfaceFrames(range);
    WriteFile(file, path);
  }
  progress.Finish();
  return kRunDone;
}

}  // namespace

int cexpmdc::Export(const char* path) {
  return RunToEdge([&] { return ExportMdc(path); });
}
