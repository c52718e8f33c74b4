#pragma once

// Wildcard search: a directory, then a name with * and ?, compared without regard to case. The
// entries come in the file system's order.

struct cfilesearch;

struct cfoundfile {
  const char* name;  // without its directory; valid until the next call
  bool directory;
};

// Null when nothing is found.
cfilesearch* OpenFileSearch(const char* pattern);
bool NextFile(cfilesearch* search, cfoundfile& file);
void CloseFileSearch(cfilesearch* search);
