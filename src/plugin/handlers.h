#pragma once

#include "plugin/host/handlers.h"

class cmaterial;

// The seven handlers, exported whole. They have no state: a copy copies nothing.

#if defined(_WIN32)
#define MARROW_API __declspec(dllexport)
#else
#define MARROW_API __attribute__((visibility("default")))
#endif

class MARROW_API cimpmdc final : public cimporthandler {
 public:
  cimpmdc();
  cimpmdc(const cimpmdc& other);
  cimpmdc& operator=(const cimpmdc& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Import(const char* path) override;
};

class MARROW_API cimpmds final : public cimporthandler {
 public:
  cimpmds();
  cimpmds(const cimpmds& other);
  cimpmds& operator=(const cimpmds& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Import(const char* path) override;

 private:
  // Steps of a run. Outside one they do nothing: false, null.
  bool CalcBoneFrame(void* file, unsigned long frame);
  void CacheSkinFiles();
  bool LoadSkinFile(const char* path);
  void CreateSurfMaterials();
  cmaterial* FindMatBySurface(const char* surface);
  bool LoadAnimConfig();
};

class MARROW_API cexpmdc final : public cexporthandler {
 public:
  cexpmdc();
  cexpmdc(const cexpmdc& other);
  cexpmdc& operator=(const cexpmdc& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Export(const char* path) override;
};

class MARROW_API cexpmds final : public cexporthandler {
 public:
  cexpmds();
  cexpmds(const cexpmds& other);
  cexpmds& operator=(const cexpmds& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Export(const char* path) override;
};

class MARROW_API cimpmdmmdx final : public cimporthandler {
 public:
  cimpmdmmdx();
  cimpmdmmdx(const cimpmdmmdx& other);
  cimpmdmmdx& operator=(const cimpmdmmdx& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Import(const char* path) override;

 private:
  // Steps of a run. Outside one they do nothing: false, null.
  bool CalcBoneFrame(void* mesh, void* skeleton, unsigned long frame);
  void CacheSkinFiles();
  bool LoadSkinFile(const char* path);
  void CreateSurfMaterials();
  cmaterial* FindMatBySurface(const char* surface);
  bool LoadAnimConfig(const char* mdxPath);
};

class MARROW_API cexpmdmmdx final : public cexporthandler {
 public:
  cexpmdmmdx();
  cexpmdmmdx(const cexpmdmmdx& other);
  cexpmdmmdx& operator=(const cexpmdmmdx& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Export(const char* path) override;
};

class MARROW_API cexpmdx final : public cexporthandler {
 public:
  cexpmdx();
  cexpmdx(const cexpmdx& other);
  cexpmdx& operator=(const cexpmdx& other);
  const char* Name() override;
  const char* Ext(int index) override;
  int NumExt() override;
  int Export(const char* path) override;
};

extern MARROW_API cimpmdc impmdc;
extern MARROW_API cimpmds impmds;
extern MARROW_API cexpmdc expmdc;
extern MARROW_API cexpmds expmds;
extern MARROW_API cimpmdmmdx impmdmmdx;
extern MARROW_API cexpmdmmdx expmdmmdx;
extern MARROW_API cexpmdx expmdx;
