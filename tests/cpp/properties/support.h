// Test support for the property tests: catching the system's exception, a subscriber that
// records what "property_modified" carried, and text helpers.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/platformexception.h"
#include "datamodel/iqorpropertymap.h"
#include "datamodel/property.h"

namespace props_test {

// What a call raised: the code and the message as UTF-8; code 0 when nothing was raised.
struct Raised {
  int32_t code = 0;
  std::string text;
};

template <class F>
Raised raised(F&& f) {
  Raised r;
  try {
    f();
  } catch (PlatformException* e) {
    r.code = e->code;
    r.text = e->message.utf8();
    delete e;
  }
  return r;
}

inline std::string utf8(const QorString& s) {
  return s.utf8();
}

// The printed value of a property.
inline std::string printed(IQorProperty* p) {
  QorString out;
  p->printValue(p->getName(), out);
  return out.utf8();
}

// Records each "property_modified": the class and printed value of "oldValue" and
// "newValue" in the arguments, whether those have events, and the args pointer.
class ChangeRecorder : public IQorEventSubscriber {
 public:
  struct Change {
    std::string oldClass, oldValue, newClass, newValue;
    bool oldHasEvents = false;
    IQorDataEventArgs* args = nullptr;
    IQorDataEventSource* sender = nullptr;
  };
  bool handleEvent(IQorDataEventSource* sender, const QorCString&,
                   IQorDataEventArgs* args) override {
    Change c;
    c.args = args;
    c.sender = sender;
    if (auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap")) {
      if (IQorProperty* o = map->getProperty("oldValue")) {
        c.oldClass = o->className();
        c.oldValue = printed(o);
        c.oldHasEvents = o->eventsEnabled();
      }
      if (IQorProperty* n = map->getProperty("newValue")) {
        c.newClass = n->className();
        c.newValue = printed(n);
      }
    }
    changes.push_back(c);
    if (throwNext) {
      throwNext = false;
      throw 42;
    }
    return false;
  }
  void queryInterface(const char* name, void** out, uintptr_t) override {
    *out = nullptr;
    if (name && qorNameIs(name, "IQorEventSubscriber"))
      *out = static_cast<IQorEventSubscriber*>(this);
  }
  const char* className() override { return "ChangeRecorder"; }

  std::vector<Change> changes;
  bool throwNext = false;
};

}  // namespace props_test
