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

// A base with two interfaces, and a class over it that repeats one of them: the walk
// yields the base's interfaces under the base, the class's own under the class.
struct Base : IShared {
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out) return;
    if (!name) {
      walkEnterClass("Base", out);
      walkAddInterface("IQorUnknown", out);
      walkAddInterface("IShared", out);
      walkAddInterface("IShared", out);  // the same pair twice: thinned
      return;
    }
    *out = nullptr;
  }
  const char* className() override { return "Base"; }
};

struct Derived : Base, IOwn {
  void queryInterface(const char* name, void** out, uintptr_t r) override {
    if (!out) return;
    if (!name) {
      walkEnterClass("Derived", out);
      walkAddInterface("IQorUnknown", out);
      walkAddInterface("IOwn", out);
      walkAddInterface("Derived", out);  // the first name again: thinned
      Base::queryInterface(nullptr, out, r);
      walkLeaveClass(out);
      return;
    }
    *out = nullptr;
  }
  const char* className() override { return "Derived"; }
};

struct Framework : Base {
  void queryInterface(const char* name, void** out, uintptr_t r) override {
    if (!out) return;
    if (!name) {
      walkEnterClass("Framework", out);
      walkAddInterface("IQorComponentManager", out);
      Base::queryInterface(nullptr, out, r);
      walkLeaveClass(out);
      return;
    }
    *out = nullptr;
  }
};

TEST(Listing, ClassesInterfacesAndParentsInWalkOrder) {
  Derived d;
  std::vector<Row> want = {{"Derived", "class", ""},         {"IQorUnknown", "iface", "Derived"},
                           {"IOwn", "iface", "Derived"},     {"Base", "class", "Derived"},
                           {"IQorUnknown", "iface", "Base"}, {"IShared", "iface", "Base"}};
  EXPECT_EQ(rows(&d), want);
}

TEST(Listing, AStopNameEmptiesTheList) {
  Framework f;
  EXPECT_TRUE(rows(&f).empty());
  EXPECT_TRUE(rows(nullptr).empty());
}

TEST(Listing, SystemClassesDescribeThemselves) {
  Platform::IntAppState h("Listing/Key");
  std::vector<Row> want = {{"ApplicationState", "class", ""},
                           {"IQorUnknown", "iface", "ApplicationState"},
                           {"IQorDataReceiver", "iface", "ApplicationState"}};
  EXPECT_EQ(rows(&h), want);
  QorTrivialTranslator t;
  EXPECT_EQ(rows(&t).size(), 3u);
  QorStaticBaseComponent c;
  EXPECT_TRUE(rows(&c).empty()) << "a component doesn't describe itself";
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
}

}  // namespace
