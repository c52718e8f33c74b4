#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plugin/host/handlers.h"

namespace module {

// One row of a module's registry. One of the two pointers is set; the object is the module's.
struct handler {
  int index = 0;
  cimporthandler* importer = nullptr;
  cexporthandler* exporter = nullptr;

  std::string name;
  std::vector<std::string> extensions;
};

// A module that is loaded for the life of this object.
class library {
 public:
  ~library();
  library(const library&) = delete;
  library& operator=(const library&) = delete;

  // Null, and the reason in `error`, when the file is no module.
  static std::unique_ptr<library> Load(const std::string& path, std::string& error);

  int Version() const { return version_; }
  const std::vector<handler>& Handlers() const { return handlers_; }
  // The address of an exported name, null without it.
  void* Symbol(const char* name) const;

  // The handler of a file's suffix, without its dot and in any case; null when there is none.
  const handler* FindImporter(const std::string& suffix) const;
  const handler* FindExporter(const std::string& suffix) const;

 private:
  explicit library(void* handle) : handle_(handle) {}
  bool ReadRegistry(std::string& error);

  void* handle_;
  int version_ = 0;
  std::vector<handler> handlers_;
};

}  // namespace module
