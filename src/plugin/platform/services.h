#pragma once

// What the module needs of a desktop beside its dialogs.

#include "plugin/host/api.h"

struct cfiledialog {
  const char* title;
  const char* filterName;     // as "RTCW-ET MDX Files (*.mdx)"; "All Files (*.*)" follows it
  const char* filterPattern;  // as "*.mdx"
  const char* defaultExtension;
  unsigned flags;
};

// Flags of a file dialog.
inline constexpr unsigned kFileDialogOverwritePrompt = 0x2;
inline constexpr unsigned kFileDialogHideReadOnly = 0x4;
inline constexpr unsigned kFileDialogPathMustExist = 0x800;
inline constexpr unsigned kFileDialogFileMustExist = 0x1000;

namespace desktop {

// 1: a path was chosen and stands in the buffer, which has `size` bytes. 0: cancelled.
CORE_API int AskOpenFile(const cfiledialog& dialog, char* path, int size);
CORE_API int AskSaveFile(const cfiledialog& dialog, char* path, int size);

// Shows the wait cursor and gives the one that showed before.
CORE_API void* SetWaitCursor();
CORE_API void RestoreCursor(void* cursor);

CORE_API void SleepMilliseconds(int milliseconds);

// Wildcard search: a directory, then a name with * and ?, compared without regard to case. The
// entries come in the file system's order. Null when nothing is found.
struct cfilesearch;
struct cfoundfile {
  const char* name;  // without its directory; valid until the next call
  bool directory;
};
CORE_API cfilesearch* OpenFileSearch(const char* pattern);
CORE_API bool NextFile(cfilesearch* search, cfoundfile& file);
CORE_API void CloseFileSearch(cfilesearch* search);

}  // namespace desktop
