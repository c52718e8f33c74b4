#pragma once

// What the host knows of a handler: the table of four operations that LibClassDesc's pointer
// leads to. Handlers have no data, are never destroyed by the host, and live as long as their
// module.

class cimporthandler {
 public:
  virtual const char* Name() = 0;
  virtual const char* Ext(int index) = 0;
  virtual int NumExt() = 0;
  virtual int Import(const char* path) = 0;

 protected:
  ~cimporthandler() = default;
};

class cexporthandler {
 public:
  virtual const char* Name() = 0;
  virtual const char* Ext(int index) = 0;
  virtual int NumExt() = 0;
  virtual int Export(const char* path) = 0;

 protected:
  ~cexporthandler() = default;
};

// What LibType gives; -1 for an index out of range.
inline constexpr int kHandlerImporter = 2;
inline constexpr int kHandlerExporter = 3;

// Results of a run.
inline constexpr int kRunDone = 1;      // the end was reached
inline constexpr int kRunFailed = 0;    // a file could not be opened, read or written
inline constexpr int kRunNothing = -1;  // nothing was done: empty scene or a cancelled dialog
