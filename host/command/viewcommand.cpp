#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "binary/loadfile.h"
#include "command/commands.h"
#include "command/failure.h"
#include "command/files/browser.h"
#include "command/files/programpath.h"
#include "command/game/modeltree.h"
#include "command/importjob.h"
#include "core/utf8path.h"
#include "files/replacement.h"

namespace command {

namespace {

// Where the page takes files from that came with it; web/src/files/inside.ts reads them.
constexpr std::string_view kFilesBegin = "<script type=\"application/json\" id=\"inside\">";
// A browser's texts have at most half a gigabyte, of which base64 makes a third more.
constexpr std::uint64_t kMostBytes = std::uint64_t{256} << 20;

struct viewjob {
  std::string model;
  importjob job;
  std::string target;  // empty: a temporary file
  std::string page;    // empty: the one installed with the program
};

void AppendBase64(std::span<const std::uint8_t> bytes, std::string& text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  text.reserve(text.size() + (bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t three = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      three = three << 8U | (k < count ? bytes[at + k] : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? kDigits[three >> (18U - 6U * k) & 63U] : '=';
    }
  }
}

// As text in which nothing ends the element that it stands in: it has no "<".
std::string Dumped(const nlohmann::json& value) {
  const std::string text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  std::string safe;
  safe.reserve(text.size());
  for (const char letter : text) {
    if (letter == '<') {
      safe += "\\u003c";
    } else {
      safe += letter;
    }
  }
  return safe;
}

std::string TextOf(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

// A folder among the system's temporary ones, for this user alone; gone with the object unless
// kept.
class freshfolder {
 public:
  freshfolder() {
    std::random_device random;
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    for (int tries = 0; !error && tries < 100; ++tries) {
      path_ = parent / ("marrow-" + std::to_string(random()));
      if (std::filesystem::create_directory(path_, error)) {
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, error);
        return;
      }
    }
    throw failure(TextOf(parent), "cannot hold a temporary folder; -o names another file");
  }
  ~freshfolder() {
    std::error_code ignored;
    if (!kept_) {
      std::filesystem::remove_all(path_, ignored);
    }
  }
  freshfolder(const freshfolder&) = delete;
  freshfolder& operator=(const freshfolder&) = delete;

  std::string File(const std::string& name) const { return TextOf(path_ / core::PathOf(name)); }
  void Keep() { kept_ = true; }

 private:
  std::filesystem::path path_;
  bool kept_ = false;
};

std::string_view TextOf(const loadedfile& page) {
  return {reinterpret_cast<const char*>(page.data.get()), page.size};
}

loadedfile LoadPage(const std::string& named) {
  loadedfile file;
  const std::string path = named.empty() ? PageBesideProgram() : named;
  if (!LoadWholeFile(path.c_str(), file)) {
    throw failure(path.empty() ? "marrow.html" : path,
                  "the page for browsers is not there or cannot be read; scripts/web.sh of the "
                  "source builds it, a release has it as marrow.html, and --page names where it "
                  "is");
  }
  if (TextOf(file).find(kFilesBegin) == std::string_view::npos) {
    throw failure(path, "has no place for a model: it is a page of another version");
  }
  return file;
}

// The name that the page's list has for a skin that may be named without its suffix.
std::string WithSkinSuffix(const modeltree& tree, const std::string& model,
                           const std::string& skin) {
  const std::string folder = model.substr(0, model.rfind('/') + 1);
  const auto has = [&](const std::string& name) {
    return std::ranges::any_of(tree.Files(),
                               [&](const auto& file) { return file.path == folder + name; });
  };
  return skin.empty() || has(skin) ? skin : skin + ".skin";
}

// The options of the import that were given.
std::vector<const CLI::Option*> ImportOptions(const CLI::App& app) {
  constexpr std::array<std::string_view, 6> kOthers{"--help",  "--output",   "--page",
                                                    "--quiet", "--progress", "--module"};
  std::vector<const CLI::Option*> given;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional() && option->count() > 0 &&
        std::ranges::find(kOthers, option->get_name()) == kOthers.end()) {
      given.push_back(option);
    }
  }
  return given;
}

// They as the parser takes them, but for those that the page has choices of its own for and those
// whose files lie where they are looked for.
nlohmann::json OptionsFor(const CLI::App& app, const importjob& job, modeltree& tree) {
  constexpr std::array<std::string_view, 5> kTold{"--skin", "--no-skin", "--attach", "--game-dir",
                                                  "--mdx"};
  nlohmann::json options = nlohmann::json::array();
  for (const CLI::Option* option : ImportOptions(app)) {
    const std::string name = option->get_name();
    if (std::ranges::find(kTold, name) != kTold.end()) {
      continue;
    }
    if (name == "--bone-map") {
      options.push_back(name + "=" + tree.AddFile(job.options.choices.boneMap));
    } else if (option->get_items_expected_max() == 0) {
      options.push_back(name);
    } else {
      for (const std::string& value : option->results()) {
        options.push_back(std::string(name).append("=").append(value));
      }
    }
  }
  return options;
}

// Fills the tree and tells what of it is shown.
nlohmann::json Gather(programstate& state, const CLI::App& app, const viewjob& given,
                      const core::scene& scene, modeltree& tree) {
  const importjob& job = given.job;
  if (KindOf(given.model) == filekind::Scene) {
    return {{"model", tree.AddScene(given.model)}};
  }
  const std::string model = tree.AddModel(given.model, job.options.choices.mdx);
  nlohmann::json attachments = nlohmann::json::array();
  for (const attachment& each : job.attached) {
    const std::string path = tree.AddModel(each.model, "");
    nlohmann::json hung = {{"tag", each.tag},
                           {"path", path},
                           {"skin", WithSkinSuffix(tree, path, job.SkinFor(each.tag))}};
    if (each.frame) {
      hung["frame"] = *each.frame;
    }
    attachments.push_back(std::move(hung));
  }
  if (!tree.AddImages(scene)) {
    state.out.Note(given.model, "images of some other skins are left out: there are too many");
  }
  return {{"model", model},
          {"choice",
           {{"skin", WithSkinSuffix(tree, model, job.SkinFor(""))},
            {"noSkin", job.options.choices.noSkin},
            {"attachments", std::move(attachments)},
            {"options", OptionsFor(app, job, tree)}}}};
}

void WritePage(programstate& state, const std::string& target, const loadedfile& page,
               const nlohmann::json& shown, const modeltree& tree) {
  // The files' content goes straight into the text, which it is nearly all of.
  std::string inside = "{\"shown\":" + Dumped(shown) + ",\"files\":[";
  for (const modeltree::file& file : tree.Files()) {
    inside += (&file == tree.Files().data() ? "{\"path\":" : ",{\"path\":") + Dumped(file.path) +
              ",\"base64\":\"";
    AppendBase64(file.content, inside);
    inside += "\"}";
  }
  inside += "]}";
  const auto bytes = [](std::string_view part) {
    return std::span(reinterpret_cast<const std::uint8_t*>(part.data()), part.size());
  };
  const std::string_view text = TextOf(page);
  const std::size_t behind = text.find(kFilesBegin) + kFilesBegin.size();
  const std::array<std::span<const std::uint8_t>, 3> pieces{
      bytes(text.substr(0, behind)), bytes(inside), bytes(text.substr(behind))};
  try {
    files::replacement into(state.out.Warnings());
    into.Write(target, pieces);
    into.Commit();
  } catch (const files::fault& fault) {
    throw failure(fault.Path(), std::string("not written: ") + fault.what());
  }
}

void RequireFits(const std::string& model, const modeltree& tree) {
  if (tree.Bytes() > kMostBytes) {
    throw failure(model, "comes with " + std::to_string(tree.Bytes() >> 20U) +
                             " MB of files, and a page takes at most " +
                             std::to_string(kMostBytes >> 20U) +
                             " MB: open marrow.html and drop them on it");
  }
}

int View(programstate& state, const CLI::App& app, const viewjob& given) {
  const std::string suffix = SuffixOf(given.target);
  if (!given.target.empty() && suffix != "html" && suffix != "htm") {
    throw failure(given.target, "a page for browsers ends in .html", kExitUsage);
  }
  state.memory.Hold(1);
  RequireReadable(given.model);
  const loadedfile page = LoadPage(given.page);
  core::scene scene;
  if (KindOf(given.model) == filekind::Scene) {
    if (const auto options = ImportOptions(app); !options.empty()) {
      throw failure(given.model,
                    options.front()->get_name() + " applies to models, not to a glTF scene",
                    kExitUsage);
    }
  } else {
    modelhost host(state.out, state.modulePath, state.memory);
    given.job.Check(host, given.model);
    const int code = given.job.Run(state, host, given.model, false, scene);
    if (code != kExitDone) {
      return code;
    }
  }
  modeltree tree(given.job.options.choices.gameFolders);
  const nlohmann::json shown = Gather(state, app, given, scene, tree);
  RequireFits(given.model, tree);
  if (!given.target.empty()) {
    WritePage(state, given.target, page, shown, tree);
    state.out.Result(given.target, "written");
    return kExitDone;
  }
  freshfolder folder;
  const std::string target = folder.File(TextOf(core::PathOf(given.model).stem()) + ".html");
  WritePage(state, target, page, shown, tree);
  folder.Keep();
  if (OpenInBrowser(target)) {
    state.out.Result(target, "opened in the browser");
  } else {
    // Told in quiet, too: nothing else says where it is.
    state.out.Warning(target, "no browser can be started here: open this page in one");
  }
  return kExitDone;
}

}  // namespace

void DefineView(CLI::App& app, programstate& state) {
  const auto given = std::make_shared<viewjob>();
  CLI::App* command = app.add_subcommand("view", "Show a model in the browser");
  command->add_option("MODEL", given->model, "The model: an mdc, mds, mdm, glb or gltf file")
      ->required();
  command
      ->add_option("-o,--output", given->target,
                   "The page to write: an .html file that has the model in it and needs nothing "
                   "else (default: a temporary file, which is opened in the browser)")
      ->option_text("FILE");
  command
      ->add_option("--page", given->page,
                   "The page that the model is put into (default: the one that was installed with "
                   "this program)")
      ->option_text("FILE");
  given->job.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  state.memory.Define(*command);
  AddExamples(*command, {"marrow view models/players/hero/body.mds --skin dark",
                         "marrow view body.mdm --attach tag_head=head.mdc -o hero.html"});
  command->callback([&state, command, given] { state.exitCode = View(state, *command, *given); });
}

}  // namespace command
