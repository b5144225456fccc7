// Interface listing: the walk, the stop names, the thinning and the identity mode.
#include "core/listing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/appstate.h"
#include "core/component.h"
#include "core/translate.h"

namespace {

using Row = std::vector<std::string>;  // name, class/iface, parent

std::vector<Row> rows(IQorUnknown* obj) {
  IterStack<QueryEntry> list;
  listInterfaces(obj, list);
  std::vector<Row> out;
  for (int32_t i = 1; i <= list.count(); ++i) {
    const QueryEntry& e = list.at(i);
    out.push_back({e.name.c_str(), e.isClass ? "class" : "iface", e.parent.c_str()});
  }
  return out;
}

class IShared : public virtual IQorUnknown {};
class IOwn : public virtual IQorUnknown {};

// A base with two interfaces, named twice (thinned), and a class over it that repeats its
// own name (thinned): the walk yields the base's interfaces under the base, the class's own
// under the class. With `stop` the class names an interface that ends the walk.
struct Base : IShared {
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || name) return;
    walkEnterClass("Base", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IShared", out);
    walkAddInterface("IShared", out);
  }
  const char* className() override { return "Base"; }
};

struct Derived : Base, IOwn {
  explicit Derived(bool stop = false) : stop(stop) {}
  void queryInterface(const char* name, void** out, uintptr_t r) override {
    if (!out || name) return;
    walkEnterClass("Derived", out);
    walkAddInterface(stop ? "IQorComponentManager" : "IQorUnknown", out);
    walkAddInterface("IOwn", out);
    walkAddInterface("Derived", out);
    Base::queryInterface(nullptr, out, r);
    walkLeaveClass(out);
  }
  const char* className() override { return "Derived"; }
  bool stop;
};

TEST(Listing, ClassesInterfacesAndParentsInWalkOrderUnlessAStopNameComes) {
  Derived d;
  std::vector<Row> want = {{"Derived", "class", ""},         {"IQorUnknown", "iface", "Derived"},
                           {"IOwn", "iface", "Derived"},     {"Base", "class", "Derived"},
                           {"IQorUnknown", "iface", "Base"}, {"IShared", "iface", "Base"}};
  EXPECT_EQ(rows(&d), want);
  Derived framework(true);
  EXPECT_TRUE(rows(&framework).empty() && rows(nullptr).empty());
}

TEST(Listing, IdentityNamesTheModuleOfTheFirstClass) {
  Derived d;
  ObjectIdentity id = objectIdentity(&d);
  ASSERT_NE(id.moduleName, nullptr);
  EXPECT_STREQ(id.moduleName, "brindle");
  EXPECT_STREQ(id.proxyName, "");
  EXPECT_TRUE(id.componentId == qor::componentId);
  QorStaticBaseComponent c;
  EXPECT_EQ(objectIdentity(&c).moduleName, nullptr);
  EXPECT_TRUE(rows(&c).empty()) << "a component doesn't describe itself";
  // The system's own classes describe themselves as the test classes do.
  Platform::IntAppState h("Listing/Key");
  EXPECT_EQ(rows(&h), (std::vector<Row>{{"ApplicationState", "class", ""},
                                        {"IQorUnknown", "iface", "ApplicationState"},
                                        {"IQorDataReceiver", "iface", "ApplicationState"}}));
  QorTrivialTranslator t;
  EXPECT_EQ(rows(&t).size(), 3u);
}

}  // namespace
