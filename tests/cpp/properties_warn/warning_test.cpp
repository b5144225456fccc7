// The property map with the warning about missing names on: the setting is read once per
// process, failed lookups raise code 1 in setters, getters and replaceProperty, and a map
// that switches the warning off creates properties again. Argument objects never raise.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "datamodel/intproperty.h"
#include "datamodel/propertymap.h"
#include "properties/support.h"
#include "refhost/host.h"

namespace {

using namespace props_test;

TEST(WarningOn, TheSettingIsReadOnceAndMissingNamesRaiseCodeOne) {
  const int before = refhost::manager().lookups("IDataStore");
  // The process's first maps, made on two threads at once: one read between them.
  std::atomic<int> ready{0}, flags30{0};
  std::vector<std::thread> makers;
  for (int t = 0; t < 2; ++t)
    makers.emplace_back([&] {
      for (++ready; ready.load() < 2;) {
      }
      flags30 += PropertyMap().flags() == 30;
    });
  for (std::thread& t : makers) t.join();
  EXPECT_EQ(flags30.load(), 2);
  PropertyMap m;
  const int afterFirst = refhost::manager().lookups("IDataStore");
  EXPECT_EQ(afterFirst, before + 1);
  // Switching the setting now changes nothing for this process.
  refhost::dataStore().setInt(nullptr, "Advanced/Warning About Non-Existing Properties", 0);
  PropertyMap later;
  EXPECT_TRUE(later.flags() == 30 && refhost::manager().lookups("IDataStore") == afterFirst);

  Raised r = raised([&] { m.set("foo", 1); });
  EXPECT_TRUE(r.code == 1 && r.text == "Property 'foo' does not exist." && !m.hasProperty("foo"));
  EXPECT_EQ(raised([&] { m.set("bar", QorString("x")); }).text, "Property 'bar' does not exist.");
  IPtr<IntProperty> p(new IntProperty("p", 1, false, true));
  for (const std::function<void()>& call : std::vector<std::function<void()>>{
           [&] { m.getInt("foo"); }, [&] { m.getProperty(QorString("foo")); },
           [&] { m.clearPropertyValue("foo"); }, [&] { m.getArray3D("foo"); },
           [&] { m.replaceProperty("foo", p.get()); }})
    EXPECT_EQ(raised(call).code, 1);
  EXPECT_TRUE(m.propertyNames().isEmpty());
  // addProperty needs no lookup; an existing name works as usual.
  m.addProperty(p.get());
  m.set("p", 4);
  EXPECT_EQ(m.getInt("p"), 4);
  m.replaceProperty("p", p.get());
  EXPECT_EQ(qor::bogusDynamicPropertiesSetting(), qor::SettingState::Unread);
}

TEST(WarningOn, SetWarnMissingOffCreatesDynamicPropertiesAgain) {
  PropertyMap m;
  m.setWarnMissing(false);
  EXPECT_EQ(m.flags(), 28);
  const int before = refhost::manager().lookups("IDataStore");
  m.set("made", 2.5);
  EXPECT_STREQ(m.getProperty("made")->className(), "DoubleProperty");
  // The bogus-properties key was read before the first dynamic property, once.
  EXPECT_EQ(qor::bogusDynamicPropertiesSetting(), qor::SettingState::On);
  EXPECT_EQ(refhost::manager().lookups("IDataStore"), before + 1);
  m.set("again", 1);
  EXPECT_TRUE(refhost::manager().lookups("IDataStore") == before + 1 && m.getInt("absent") == 0);
  m.setWarnMissing(true);
  EXPECT_EQ(raised([&] { m.getInt("absent"); }).code, 1);
}

}  // namespace
