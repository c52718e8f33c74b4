#include "module/module.h"

#include <algorithm>

#include "module/sharedlibrary.h"

namespace module {

namespace {

std::string Fold(std::string text) {
  std::ranges::transform(text, text.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return text;
}

// The systems allow the conversion that the language leaves to the implementation.
template <class Function>
Function* Entry(const library& module, const char* name, std::string& error) {
  void* address = module.Symbol(name);
  if (address == nullptr) {
    error = std::string("it has no entry point ") + name;
  }
  return reinterpret_cast<Function*>(address);
}

template <class Handler>
void ReadTexts(Handler& object, handler& row) {
  row.name = object.Name();
  for (int i = 0; i < object.NumExt(); ++i) {
    row.extensions.emplace_back(object.Ext(i));
  }
}

bool HasExtension(const handler& row, const std::string& suffix) {
  return std::ranges::any_of(row.extensions,
                             [&](const std::string& ext) { return Fold(ext) == suffix; });
}

}  // namespace

library::~library() { CloseShared(handle_); }

std::unique_ptr<library> library::Load(const std::string& path, std::string& error) {
  void* const handle = OpenShared(path, error);
  if (handle == nullptr) {
    return nullptr;
  }
  std::unique_ptr<library> loaded(new library(handle));
  return loaded->ReadRegistry(error) ? std::move(loaded) : nullptr;
}

void* library::Symbol(const char* name) const { return SharedSymbol(handle_, name); }

bool library::ReadRegistry(std::string& error) {
  auto* const libNumberClasses = Entry<int()>(*this, "LibNumberClasses", error);
  auto* const libType = Entry<int(int)>(*this, "LibType", error);
  auto* const libClassDesc = Entry<void*(int)>(*this, "LibClassDesc", error);
  auto* const libVersion = Entry<int()>(*this, "LibVersion", error);
  if (libNumberClasses == nullptr || libType == nullptr || libClassDesc == nullptr ||
      libVersion == nullptr) {
    return false;
  }
  version_ = libVersion();
  const int count = libNumberClasses();
  for (int i = 0; i < count; ++i) {
    handler row;
    row.index = i;
    void* const object = libClassDesc(i);
    const int type = libType(i);
    if (object != nullptr && type == kHandlerImporter) {
      row.importer = static_cast<cimporthandler*>(object);
      ReadTexts(*row.importer, row);
    } else if (object != nullptr && type == kHandlerExporter) {
      row.exporter = static_cast<cexporthandler*>(object);
      ReadTexts(*row.exporter, row);
    } else {
      error = "its class " + std::to_string(i) + " is neither an importer nor an exporter";
      return false;
    }
    handlers_.push_back(std::move(row));
  }
  return true;
}

const handler* library::FindImporter(const std::string& suffix) const {
  const auto found = std::ranges::find_if(handlers_, [&](const handler& row) {
    return row.importer != nullptr && HasExtension(row, Fold(suffix));
  });
  return found == handlers_.end() ? nullptr : &*found;
}

const handler* library::FindExporter(const std::string& suffix) const {
  const auto found = std::ranges::find_if(handlers_, [&](const handler& row) {
    return row.exporter != nullptr && HasExtension(row, Fold(suffix));
  });
  return found == handlers_.end() ? nullptr : &*found;
}

}  // namespace module
