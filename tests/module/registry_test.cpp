// The module's outer face, as a host sees it: names, order, texts, objects.

#include "plugin/handlers.h"
#include "support/moduletest.h"

namespace {

static_assert(sizeof(cimpmdc) == sizeof(void*) && sizeof(cexpmdmmdx) == sizeof(void*));

class Registry : public moduletest {
 protected:
  // POSIX allows the conversion that the language leaves to the implementation.
  template <class Function>
  Function* Entry(const char* name) const {
    void* const address = module->Symbol(name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Function*>(address);
  }
};

TEST_F(Registry, ListsTheHandlersInOrder) {
  const struct {
    const char* object;
    int type;
    const char* name;
    const char* ext;
  } rows[] = {{"impmdc", 2, "RTCW mdc", "mdc"},       {"impmds", 2, "RTCW mds", "mds"},
              {"expmdc", 3, "RTCW mdc", "mdc"},       {"expmds", 3, "RTCW mds", "mds"},
              {"impmdmmdx", 2, "RTCW-ET mdm", "mdm"}, {"expmdmmdx", 3, "RTCW-ET mdm", "mdm"},
              {"expmdx", 3, "RTCW-ET mdx", "mdx"}};
  auto* const libType = Entry<int(int)>("LibType");
  auto* const libClassDesc = Entry<void*(int)>("LibClassDesc");
  EXPECT_EQ(Entry<int()>("LibVersion")(), 1500);
  ASSERT_EQ(Entry<int()>("LibNumberClasses")(), 7);
  for (int i = 0; i < 7; ++i) {
    SCOPED_TRACE(rows[i].object);
    EXPECT_EQ(libType(i), rows[i].type);
    // Both kinds of handlers have their first three operations in the same places.
    auto* const handler = static_cast<cimporthandler*>(libClassDesc(i));
    EXPECT_EQ(static_cast<void*>(handler), module->Symbol(rows[i].object));
    EXPECT_STREQ(handler->Name(), rows[i].name);
    EXPECT_STREQ(handler->Ext(0), rows[i].ext);
    EXPECT_EQ(handler->Ext(5), handler->Ext(0));
    EXPECT_EQ(handler->NumExt(), 1);
  }
  for (const int outside : {7, -1, 0x7FFFFFFF}) {
    EXPECT_EQ(libType(outside), -1);
    EXPECT_EQ(libClassDesc(outside), nullptr);
  }
  // An importer and the exporter of its format give the very same text.
  for (const auto& [importer, exporter] : {std::pair{0, 2}, {1, 3}, {4, 5}}) {
    EXPECT_EQ(static_cast<cimporthandler*>(libClassDesc(importer))->Name(),
              static_cast<cimporthandler*>(libClassDesc(exporter))->Name());
  }
}

}  // namespace
