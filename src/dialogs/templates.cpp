#include "dialogs/templates.h"

#include <iterator>

#include "plugin/instance.h"

#define DIALOG_BEGIN(name, id, caption, width, height, tool)                    \
  const cdialogtemplate& name##Dialog() {                                       \
    static constexpr auto kHead =                                               \
        cdialogtemplate{id, caption, width, height, tool, nullptr, 0, nullptr}; \
    static constexpr cdialogcontrol kControls[] = {
#define CONTROL(kind, id, text, x, y, width, height) \
  {ccontrolkind::kind, id, text, x, y, width, height},
#define DIALOG_END(name)                                                       \
  }                                                                            \
  ;                                                                            \
  static constexpr cdialogtemplate kTemplate{                                  \
      kHead.id,         kHead.caption, kHead.width,          kHead.height,     \
      kHead.toolWindow, kControls,     std::size(kControls), &moduleinstance}; \
  return kTemplate;                                                            \
  }

#include "dialogs/templates.inc"
