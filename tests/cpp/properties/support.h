// Test support for the property and data object tests: a subscriber that records what each event
// carried.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "testkit.h"

namespace props_test {

using testkit::printed;
using testkit::raised;
using testkit::Raised;

// "prop:<name>" or "object" for the sender, then "|key:Class=printed" for each argument in
// map order.
inline std::string argsText(IQorDataEventSource* sender, IQorDataEventArgs* args) {
  auto* property = qorQuery<IQorProperty>(sender, "IQorProperty");
  std::string out = property ? "prop:" + std::string(property->getName().utf8()) : "object";
  auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
  std::unique_ptr<IQorPropertyMapIter> it(map ? map->newIterator() : nullptr);
  for (; it && !it->isDone(); it->next())
    out += "|" + std::string(it->currentName().utf8()) + ":" + it->currentProperty()->className() +
           "=" + printed(it->currentProperty());
  return out;
}

// Records every event it hears (with a log, also "tag|event|argsText"); it throws once when
// throwNext is set.
class Recorder : public IQorEventSubscriber {
 public:
  struct Heard {
    std::string event, text, oldValue, newValue;  // the printed "oldValue" and "newValue"
    std::vector<IQorProperty*> properties;        // in key order; compare, never use
    IQorDataEventArgs* args;                      // compare only: it dies after the firing
    IQorDataEventSource* sender;
    bool oldHasEvents = false;
  };
  explicit Recorder(std::vector<std::string>* log = nullptr, std::string tag = "")
      : log_(log), tag_(std::move(tag)) {}
  bool handleEvent(IQorDataEventSource* sender, const QorCString& event,
                   IQorDataEventArgs* args) override {
    Heard h{event.c_str(), argsText(sender, args), "", "", {}, args, sender};
    auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
    std::unique_ptr<IQorPropertyMapIter> it(map ? map->newIterator() : nullptr);
    for (; it && !it->isDone(); it->next()) h.properties.push_back(it->currentProperty());
    if (IQorProperty* o = map ? map->getProperty("oldValue") : nullptr)
      h.oldValue = printed(o), h.oldHasEvents = o->eventsEnabled();
    if (IQorProperty* n = map ? map->getProperty("newValue") : nullptr) h.newValue = printed(n);
    if (log_) log_->push_back(tag_ + "|" + h.event + "|" + h.text);
    heard.push_back(h);
    if (std::exchange(throwNext, false)) throw 42;
    return false;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Recorder"; }
  std::vector<Heard> heard;
  bool throwNext = false;

 private:
  std::vector<std::string>* log_;
  std::string tag_;
};

}  // namespace props_test
