#include "dialogs/templates.h"

#include <iterator>

#define DIALOG_BEGIN(name, id, caption, width, height, tool)                                     \
  const cdialogtemplate& name##Dialog() {                                                        \
    static constexpr auto kHead = cdialogtemplate{id, caption, width, height, tool, nullptr, 0}; \
    static constexpr cdialogcontrol kControls[] = {
#define CONTROL(kind, id, text, x, y, width, height) \
  {ccontrolkind::kind, id, text, x, y, width, height},
#define DIALOG_END(name)                                                  \
  }                                                                       \
  ;                                                                       \
  static constexpr cdialogtemplate kTemplate{                             \
      kHead.id,         kHead.caption, kHead.width,         kHead.height, \
      kHead.toolWindow, kControls,     std::size(kControls)};             \
  return kTemplate;                                                       \
  }

#include "dialogs/templates.inc"
