#include "command/importjob.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>

#include "command/failure.h"
#include "command/run/transfer.h"

namespace command {

std::string importjob::SkinFor(const std::string& tag) const {
  std::string chosen;
  for (const std::string& text : options.skins) {
    const auto of = std::ranges::find_if(
        attached, [&](const attachment& each) { return text.starts_with(each.tag + ":"); });
    const std::string wanted = of == attached.end() ? "" : of->tag;
    if (wanted == tag) {
      chosen = tag.empty() ? text : text.substr(tag.size() + 1);
    }
  }
  return chosen;
}

void importjob::Define(CLI::App& app) {
  options.Define(app, "--no-skeleton,--no-bones");
  options.table.Add(app.add_option("--mdx", options.choices.mdx,
                                   "Of an mdm: the mdx file with its skeleton and animation "
                                   "(default: the one of the same name beside it)")
                        ->option_text("FILE")
                        ->group("Import"),
                    KindsThat([](const format& row) { return row.IsPair(); }));
  app.add_option_function<std::vector<std::string>>(
         "--attach",
         [this](const std::vector<std::string>& texts) {
           std::ranges::transform(texts, std::back_inserter(attached), AttachmentOf);
         },
         "A model to hang on a tag, of the model or of one attached before, as "
         "tag_head=head.mdc; an mdc plays its frames, or stays at one as tag_head=head.mdc:12. "
         "May be given several times")
      ->allow_extra_args(false)
      ->option_text("TAG=MODEL")
      ->group("Import");
  options.table.Add(DefineBoneMap(app, options.choices.boneMap)->group("Import"),
                    KindsThat([](const format& row) { return row.skeletal && row.surfaces; }));
  scene.Define(app);
  scene.DefineShapes(app, options.table);
}

void importjob::Check(modelhost& host, const std::string& model) const {
  const filekind kind = KindOf(model);
  if (IsSkeletal(kind) && !FormatOf(kind).surfaces) {
    throw failure(model,
                  "an mdx is a skeleton alone and comes in with its mesh: marrow import MODEL.mdm "
                  "--mdx FILE",
                  kExitUsage);
  }
  host.ImporterOf(model);
  options.table.RequireFor(kind, model);
  for (const attachment& each : attached) {
    host.ImporterOf(each.model);
    RequireReadable(each.model);
    if (each.frame && !FormatOf(KindOf(each.model)).vertexFrames) {
      throw failure(
          each.model,
          "has no frames to choose from: :" + std::to_string(*each.frame) + " is for an mdc",
          kExitUsage);
    }
  }
}

int importjob::Run(programstate& state, modelhost& host, const std::string& model, bool ask,
                   core::scene& into) const {
  importchoices choices = options.choices;
  choices.ask = ask;
  choices.skin = SkinFor("");
  const int code = ImportModel(state.out, host, model, choices, into);
  if (code != kExitDone || attached.empty()) {
    return code;
  }
  assembly whole(state.out, host, model, into);
  for (const attachment& each : attached) {
    importchoices own;
    own.frame = each.frame;
    own.skin = SkinFor(each.tag);
    own.noSkin = choices.noSkin;
    own.materials = choices.materials;
    own.gameFolders = choices.gameFolders;
    whole.Attach(each, own);
  }
  return kExitDone;
}

}  // namespace command
