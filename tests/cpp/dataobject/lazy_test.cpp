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
#include "datamodel/stringproperty.h"
#include "support.h"

namespace {

using namespace dobj_test;

const QorCString kModified(kBorrow, "property_modified");

// Logs every delivery as "tag|event|sender|key:Class=printed,...", keys in map order.
struct Texts : IQorEventSubscriber {
  Texts(std::vector<std::string>* log, std::string tag) : log(log), tag(std::move(tag)) {}
  bool handleEvent(IQorDataEventSource* sender, const QorCString& e,
                   IQorDataEventArgs* args) override {
    log->push_back(tag + "|" + e.c_str() + "|" + text(sender, args));
    return false;
  }
  static std::string text(IQorDataEventSource* sender, IQorDataEventArgs* args) {
    auto* property = qorQuery<IQorProperty>(sender, "IQorProperty");
    std::string out = property ? "prop:" + std::string(property->getName().utf8()) : "object";
    auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
    std::unique_ptr<IQorPropertyMapIter> it(map ? map->newIterator() : nullptr);
    for (; it && !it->isDone(); it->next()) {
      QorString v;
      it->currentProperty()->printValue(it->currentName(), v);
      out += "|" + std::string(it->currentName().utf8()) + ":" +
             it->currentProperty()->className() + "=" + v.utf8();
    }
    return out;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Texts"; }
  std::vector<std::string>* log;
  std::string tag;
};

// Hears every change of its properties itself, whoever else listens.
struct Watcher : DataObject {
  explicit Watcher(std::vector<std::string>* log) : log(log) {}
  bool handleEvent(IQorDataEventSource* sender, const QorCString& e,
                   IQorDataEventArgs* args) override {
    log->push_back(std::string("watcher|") + e.c_str() + "|" + Texts::text(sender, args));
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
    o->set("i", int32_t{0});
    o->set("s", QorString("a"));
    o->set("p", static_cast<DataObject*>(nullptr));
    const std::vector<std::string> keys = {"i", "s", "p"};
    std::map<std::string, std::string> cls = {
        {"i", "IntProperty"}, {"s", "StringProperty"}, {"p", "ObjectProperty"}};
    std::map<std::string, std::string> value = {{"i", "0"}, {"s", "a"}, {"p", "None"}};
    // Subscribers: 0 on the owner, 1..3 on i, s, p, listed in the order they came.
    std::vector<std::unique_ptr<Texts>> subs;
    for (const char* tag : {"owner", "on-i", "on-s", "on-p"})
      subs.emplace_back(new Texts(&real, tag));
    std::vector<bool> listed(4, false);
    for (int step = 0; step < 40; ++step) {
      const uint32_t op = rng() % 6;
      const size_t k = rng() % 3;
      IQorProperty* p = o->getProperty(keys[k].c_str());
      if (op == 0) {  // subscribe or unsubscribe one of the four
        const size_t s = rng() % 4;
        IQorEventSubscriber* sub = subs[s].get();
        if (s == 0)
          listed[s] ? o->unsubscribe(kModified, sub) : o->subscribe(kModified, sub);
        else
          listed[s] ? o->getProperty(keys[s - 1].c_str())->unsubscribe(kModified, sub)
                    : o->getProperty(keys[s - 1].c_str())->subscribe(kModified, sub);
        listed[s] = !listed[s];
        continue;
      }
      std::string next;
      bool fires = true;
      if (k == 0) {
        const int32_t v = static_cast<int32_t>(rng() % 3);
        next = std::to_string(v);
        fires = next != value["i"];
        o->set("i", v);
      } else if (k == 1) {
        next = rng() % 2 ? "a" : "b";
        o->set("s", QorString(next.c_str()));
      } else if (op == 1) {
        fires = value["p"] != "None";
        next = "None";
        p->clearValue();
      } else {
        const bool some = rng() % 2;
        next = some ? "DataObject" : "None";
        o->set("p", some ? other.get() : static_cast<DataObject*>(nullptr));
      }
      const std::string old = value[keys[k]];
      value[keys[k]] = next;
      if (!fires) continue;
      // The change as built: oldValue and newValue, then the owner adds name and the property.
      std::map<std::string, std::string> args = {{"newValue", cls[keys[k]] + "=" + next},
                                                 {"oldValue", cls[keys[k]] + "=" + old}};
      std::string bare = "prop:" + keys[k];
      for (auto& [key, v] : args) bare += "|" + key + ":" + v;
      model.push_back("watcher|property_modified|" + bare);
      args["name"] = "StringProperty=" + keys[k];
      args[keys[k]] = cls[keys[k]] + "=" + next;
      std::string full;
      for (auto& [key, v] : args) full += "|" + key + ":" + v;
      if (listed[0]) model.push_back("owner|property_modified|object" + full);
      if (listed[k + 1])
        model.push_back("on-" + keys[k] + "|property_modified|prop:" + keys[k] + full);
    }
    ASSERT_EQ(real, model);
    for (size_t s = 0; s < 4; ++s)
      if (listed[s])
        s == 0 ? o->unsubscribe(kModified, subs[s].get())
               : o->getProperty(keys[s - 1].c_str())->unsubscribe(kModified, subs[s].get());
  }
  EXPECT_LT(refhost::manager().lookups("IQorDataEventArgs") - before, 5)
      << "argument objects are used again once a firing is over";

  // Nobody listening: nothing is built, so the service is not asked.
  IPtr<DataObject> quiet(new DataObject());
  quiet->set("n", int32_t{0});
  quiet->set("name", QorString("q"));
  const int asked = refhost::manager().lookups("IQorDataEventArgs");
  for (int32_t v = 1; v <= 50; ++v) quiet->set("n", v);
  EXPECT_EQ(refhost::manager().lookups("IQorDataEventArgs"), asked);
}

TEST(LazyChanges, WithoutArgumentObjectsNothingFires) {
  std::vector<std::string> log;
  Texts onProperty(&log, "p"), onObject(&log, "o");
  IPtr<DataObject> o(new DataObject());
  o->set("n", int32_t{0});
  o->addEvent(QorCString(kBorrow, "name_changed"));
  o->getProperty("n")->subscribe(kModified, &onProperty);
  o->subscribe(kModified, &onObject);
  o->subscribe(QorCString(kBorrow, "name_changed"), &onObject);
  o->set("n", int32_t{1});
  EXPECT_EQ(log.size(), 2u);
  // A thread keeps no argument object yet: it must ask the service, which is gone.
  refhost::manager().setMode("IQorDataEventArgs", refhost::ServiceMode::Absent);
  std::thread([&] {
    o->set("n", int32_t{2});
    o->set("name", QorString("x"));
  }).join();
  refhost::manager().setMode("IQorDataEventArgs", refhost::ServiceMode::Normal);
  EXPECT_EQ(log.size(), 2u);
  EXPECT_EQ(o->getInt("n"), 2);
  o->set("name", QorString("y"));
  EXPECT_EQ(log.back(), "o|name_changed|object|name:StringProperty=y");
  o->getProperty("n")->unsubscribe(kModified, &onProperty);
  o->unsubscribe(kModified, &onObject);
}

}  // namespace
