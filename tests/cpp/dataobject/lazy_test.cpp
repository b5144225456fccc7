// Changes nobody hears are not built: random programs of sets, clears and subscriptions on
// the property and on its owner, against a model of what every subscriber receives when
// each change is always built and delivered; an owner class that hears its properties
// itself; and a host without argument objects.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <thread>

#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "support.h"

namespace {

using namespace dobj_test;

const QorCString kModified(kBorrow, "property_modified");

// Hears every change of its properties itself, whoever else listens.
struct Watcher : DataObject {
  explicit Watcher(std::vector<std::string>* log) : log(log) {}
  bool handleEvent(IQorDataEventSource* sender, const QorCString& e,
                   IQorDataEventArgs* args) override {
    log->push_back(std::string("watcher|") + e.c_str() + "|" + argsText(sender, args));
    return DataObject::handleEvent(sender, e, args);
  }
  bool forwardsPropertyChange(IQorDataEventSource*) override { return true; }
  std::vector<std::string>* log;
};

TEST(LazyChanges, SubscribersReceiveWhatEveryChangeAlwaysBuiltWouldGive) {
  const int before = refhost::manager().lookups("IQorDataEventArgs");
  for (uint32_t seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 rng(seed);
    std::vector<std::string> real, model;
    IPtr<DataObject> other(new DataObject());
    IPtr<Watcher> o(new Watcher(&real));
    o->set("i", int32_t{0});                         // fires only for another value
    o->set("p", static_cast<DataObject*>(nullptr));  // fires on every set, and on a clear
    const std::string keys[] = {"i", "p"}, cls[] = {"IntProperty", "ObjectProperty"};
    std::string value[] = {"0", "None"};
    // Subscribers, each listed or not: on the owner, on i, on p.
    std::vector<std::unique_ptr<Recorder>> subs;
    for (const char* tag : {"owner", "on-i", "on-p"}) subs.emplace_back(new Recorder(&real, tag));
    bool listed[3] = {false, false, false};
    auto toggle = [&](size_t s) {
      auto flip = [&](auto* source) {
        EXPECT_TRUE(listed[s] ? source->unsubscribe(kModified, subs[s].get())
                              : source->subscribe(kModified, subs[s].get()));
      };
      s == 0 ? flip(o.get()) : flip(o->getProperty(keys[s - 1].c_str()));
      listed[s] = !listed[s];
    };
    for (int step = 0; step < 40; ++step) {
      const uint32_t op = rng() % 6;
      const size_t k = rng() % 2;
      if (op == 0) {
        toggle(rng() % 3);
        continue;
      }
      const std::string old = value[k];
      bool fires = true;
      if (k == 0) {
        const int32_t v = static_cast<int32_t>(rng() % 3);
        value[0] = std::to_string(v);
        fires = value[0] != old;
        o->set("i", v);
      } else if (op == 1) {
        fires = old != "None";
        value[1] = "None";
        o->getProperty("p")->clearValue();
      } else {
        const bool some = rng() % 2;
        value[1] = some ? "DataObject" : "None";
        o->set("p", some ? other.get() : static_cast<DataObject*>(nullptr));
      }
      if (!fires) continue;
      // The change as built: oldValue and newValue, then the owner adds name and the property.
      std::map<std::string, std::string> args = {{"newValue", cls[k] + "=" + value[k]},
                                                 {"oldValue", cls[k] + "=" + old}};
      std::string bare = "prop:" + keys[k], full;
      for (auto& [key, v] : args) bare += "|" + key + ":" + v;
      model.push_back("watcher|property_modified|" + bare);
      args["name"] = "StringProperty=" + keys[k];
      args[keys[k]] = cls[k] + "=" + value[k];
      for (auto& [key, v] : args) full += "|" + key + ":" + v;
      if (listed[0]) model.push_back("owner|property_modified|object" + full);
      if (listed[k + 1])
        model.push_back("on-" + keys[k] + "|property_modified|prop:" + keys[k] + full);
    }
    ASSERT_EQ(real, model);
    for (size_t s = 0; s < 3; ++s)
      if (listed[s]) toggle(s);
  }
  EXPECT_LT(refhost::manager().lookups("IQorDataEventArgs") - before, 5)
      << "argument objects are used again once a firing is over";
  // Nobody listening: nothing is built, so the service is not asked.
  IPtr<DataObject> quiet(new DataObject());
  quiet->set("name", QorString("q"));
  const int asked = refhost::manager().lookups("IQorDataEventArgs");
  for (int32_t v = 1; v <= 50; ++v) quiet->set("n", v);
  EXPECT_EQ(refhost::manager().lookups("IQorDataEventArgs"), asked);
}

TEST(LazyChanges, OneArgumentObjectGoesToThePropertyThenTheObjectAndNoneWithoutTheService) {
  std::vector<std::string> log;
  Recorder onProperty(&log, "p"), onObject(&log, "o");
  IPtr<DataObject> o(new DataObject());
  o->set("n", int32_t{1});
  o->addEvent(QorCString(kBorrow, "name_changed"));
  IQorProperty* n = o->getProperty("n");
  n->subscribe(kModified, &onProperty);
  o->subscribe(kModified, &onObject);
  o->subscribe(QorCString(kBorrow, "name_changed"), &onObject);
  o->set("n", int32_t{2});
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log[0],
            "o|property_modified|object|n:IntProperty=2|name:StringProperty=n|newValue:"
            "IntProperty=2|oldValue:IntProperty=1");
  EXPECT_TRUE(onProperty.heard[0].args == onObject.heard[0].args &&
              onObject.heard[0].sender == o->eventSender());
  EXPECT_EQ(onObject.heard[0].properties[0], n) << "the changed property itself";
  // The name goes through the routed property to setName, which fires name_changed only.
  o->set("name", QorString("Part"));
  EXPECT_TRUE(log.size() == 3u && log.back() == "o|name_changed|object|name:StringProperty=Part");
  EXPECT_EQ(o->getString("name").utf8(), std::string("Part"));
  EXPECT_FALSE(o->getPropertyObject("name")->isWriteable()) << "routed values are not stored";
  EXPECT_EQ(std::string(o->eventNames()).size(), 47u) << "four names, each with a line feed";
  // A thread keeps no argument object yet: it must ask the service, which is gone.
  refhost::manager().setMode("IQorDataEventArgs", refhost::ServiceMode::Absent);
  std::thread([&] {
    o->set("n", int32_t{3});
    o->set("name", QorString("x"));
  }).join();
  refhost::manager().setMode("IQorDataEventArgs", refhost::ServiceMode::Normal);
  EXPECT_TRUE(log.size() == 3u && o->getInt("n") == 3);
  n->unsubscribe(kModified, &onProperty);
  o->unsubscribe(kModified, &onObject);
}

}  // namespace
