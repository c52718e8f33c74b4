#include "plugin/handlers.h"

#include "plugin/hierarchies.h"

namespace {

constexpr char kMdcName[] = "RTCW mdc";
constexpr char kMdcExt[] = "mdc";
constexpr char kMdsName[] = "RTCW mds";
constexpr char kMdsExt[] = "mds";
constexpr char kMdmName[] = "RTCW-ET mdm";
constexpr char kMdmExt[] = "mdm";
constexpr char kMdxName[] = "RTCW-ET mdx";
constexpr char kMdxExt[] = "mdx";

}  // namespace

// What all handlers have in common: no state, one extension, constant texts.
// NOLINTBEGIN(bugprone-macro-parentheses): a type's name takes none
#define HANDLER(type, name, extension)                 \
  type::type() = default;                              \
  type::type(const type&) {}                           \
  type& type::operator=(const type&) { return *this; } \
  const char* type::Name() { return name; }            \
  const char* type::Ext(int) { return extension; }     \
  int type::NumExt() { return 1; }
// NOLINTEND(bugprone-macro-parentheses)

// NOLINTBEGIN(bugprone-copy-constructor-init,bugprone-unhandled-self-assignment): no state to copy
HANDLER(cimpmdc, kMdcName, kMdcExt)
HANDLER(cimpmds, kMdsName, kMdsExt)
HANDLER(cexpmdc, kMdcName, kMdcExt)
HANDLER(cexpmds, kMdsName, kMdsExt)
HANDLER(cimpmdmmdx, kMdmName, kMdmExt)
HANDLER(cexpmdmmdx, kMdmName, kMdmExt)
HANDLER(cexpmdx, kMdxName, kMdxExt)
// NOLINTEND(bugprone-copy-constructor-init,bugprone-unhandled-self-assignment)

culongarray mdmmdxhierarchy;
culongarray mdshierarchy;

cimpmdc impmdc;
cimpmds impmds;
cexpmdc expmdc;
cexpmds expmds;
cimpmdmmdx impmdmmdx;
cexpmdmmdx expmdmmdx;
cexpmdx expmdx;
