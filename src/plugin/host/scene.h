#pragma once

#include "plugin/host/api.h"
#include "plugin/host/arrays.h"
#include "plugin/host/exportmesh.h"
#include "plugin/host/materials.h"
#include "plugin/host/nodes.h"
#include "plugin/host/values.h"

// Static operations on the host's current scene.
class CORE_API Interface {
 public:
  static int NumNodes();
  static cnode* GetNodeAt(int index);
  // One node index for each node, parents before their children.
  static int GetNodesHierarchy(culongarray& indices);
  // The animation range; both ends are inclusive.
  static int GetAnimStart();
  static int GetAnimEnd();
  static void SetAnimStart(int frame);
  static void SetAnimEnd(int frame);
  static void SetAnimTime(int frame);
  // Ticks per frame; a tick is a millisecond.
  static void SetAnimTPF(int ticks);
  // The scene takes ownership. The second argument is always 0.
  static void AddToScene(cnode* node, int mode);
  static void AddToScene(cmaterial* material, int mode);
  // Adds the text behind the notes that the scene has. length does not count the final zero.
  static void AddNotes(const char* text, int length);
  static void* GetMainHWND();
  static cmaterial* GetMaterialAt(int index);
  // One entry for each material of the scene, nonzero where no node uses it.
  static void GetUnusedMaterials(cbooleanarray& unused);
  // The node picker. 0: nothing was picked.
  static int PickFromList(unsigned first, unsigned second, char* title, char* button,
                          int (*filter)(cnode*), void (*pick)(cnode*));
};

// Null when there is no memory.
CORE_API cbone* CreateNewBone();
CORE_API cmesh* CreateNewMesh();
CORE_API cskin* CreateNewSkin();
CORE_API cmaterial* CreateNewMaterial();

// Rewrites the text in the buffer of a material's name into one that no material of the scene
// has. The second argument is always -1.
CORE_API void UniqueNameForMaterial(char* name, int mode);

CORE_API cpoint3 MakePt3(float x, float y, float z);
// (pitch, yaw, roll) in degrees; the rotation's rows are forward, left, up:
//   forward = (cos p cos y, cos p sin y, -sin p).
CORE_API cquat EulerToQuat(const cpoint3& angles);
// The inverse: pitch in [-90, 90]; roll 0 where it cannot be told.
CORE_API cpoint3 QuatToEuler(const cquat& rotation);
CORE_API cquat QuatFromMatrix(const cmatrix4& matrix);
// Three angles x, y, z in degrees with X(x) Y(y) Z(z) the given matrix. Rows are normalised
// first; y and z come from row 0 alone.
CORE_API void EulerFromMatrix(const cmatrix4& matrix, float* angles);
CORE_API cmatrix4 Inverse(const cmatrix4& matrix);
// An orientation with row 2 the given direction. Another up vector stands in when up and
// direction are parallel; a zero direction gives a rotation too.
CORE_API void MatrixLookAt(cmatrix4& result, const cpoint3& direction, const cpoint3& up);
// Replaces the box by the box of its eight transformed corners.
CORE_API void CalcTMBBox(cpoint3& minimum, cpoint3& maximum, const cmatrix4& matrix);

// Reports a failed allocation or check and ends the run. It does not return: the host unwinds
// the module's frames, so what the module holds in objects is released on the way, and a
// handler must let the host's unwinding pass (it is no std::exception).
[[noreturn]] CORE_API void MyAssertFailedLine(const char* expression, const char* file, int line);
// Reports an index out of bounds when the condition is 0; ends the run in the same way.
CORE_API void array_assert(int condition);
