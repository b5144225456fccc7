// Without a host: a property with events on finds no argument object and fires nothing,
// and a map reads the warning setting as off for the life of the process.
#include <gtest/gtest.h>

#include "core/locator.h"
#include "datamodel/intproperty.h"
#include "datamodel/propertymap.h"

namespace {

struct Counter : IQorEventSubscriber {
  bool handleEvent(IQorDataEventSource*, const QorCString&, IQorDataEventArgs*) override {
    return ++calls, false;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Counter"; }
  int calls = 0;
};

TEST(NoHost, PropertiesWithoutArgumentObjectsStaySilentAndMapsDoNotWarn) {
  ASSERT_EQ(qor::locator(), nullptr);
  IPtr<IntProperty> p(new IntProperty("n", 0, false, true));
  Counter c;
  EXPECT_TRUE(p->eventsEnabled() && p->subscribe("property_modified", &c));
  p->setValue(3);
  EXPECT_TRUE(p->getValue() == 3 && c.calls == 0);
  // The event itself still works when fired by name.
  p->fireEvent("property_modified", nullptr);
  EXPECT_EQ(c.calls, 1);

  PropertyMap m;
  EXPECT_TRUE(m.flags() == 28 && !qor::warnAboutMissingProperties());
  m.set("made", 1);
  EXPECT_EQ(m.getInt("made"), 1);
  EXPECT_EQ(qor::bogusDynamicPropertiesSetting(), qor::SettingState::Off);
}

}  // namespace
