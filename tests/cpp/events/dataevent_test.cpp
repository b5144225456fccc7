// Data events: a random comparison with an independent model of the delivery rules (order
// by priority, every change made from inside a delivery, nested firing), growth of the
// lists, exceptions that leave a subscriber, the event table's hash and growth, and the
// member-function subscriber.
#include "datamodel/dataevent.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "datamodel/dataeventsource.h"
#include "datamodel/eventsubscriber.h"
#include "datamodel/eventtable.h"

namespace {

// A subscriber that logs its id into a shared log and runs an optional action.
struct Recorder : IQorEventSubscriber {
  Recorder(int id, std::vector<int>* log) : id(id), log(log) {}
  bool handleEvent(IQorDataEventSource*, const QorCString&, IQorDataEventArgs*) override {
    log->push_back(id);
    if (action) action();
    return false;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Recorder"; }
  int id;
  std::vector<int>* log;
  std::function<void()> action;
};

// Fires `e` and gives the ids called, in order.
std::vector<int> fired(DataEvent& e, std::vector<int>& log) {
  log.clear();
  e.fire(nullptr, nullptr);
  return log;
}

TEST(DataEvent, ListsTakeTwentyUsableEntriesWithTheFirstAndDoubleOnTheTwentyFirst) {
  std::vector<int> log;
  std::vector<std::unique_ptr<Recorder>> many;
  DataEvent event;
  EXPECT_EQ(event.subscribers().capacity(), 0) << "no storage before the first entry";
  for (int i = 0; i < 21; ++i) {
    many.emplace_back(new Recorder(i, &log));
    event.subscribe(many.back().get());
    EXPECT_EQ(event.subscribers().capacity(), i < 20 ? 21 : 42);
  }
  EXPECT_TRUE(event.pending().capacity() == 0 && fired(event, log).size() == 21u);
}

TEST(DataEvent, AnExceptionFromASubscriberRestoresTheDepthAndTheEventGoesOn) {
  std::vector<int> log;
  Recorder r0(0, &log), r1(1, &log), r2(2, &log), r3(3, &log);
  DataEvent event;
  for (Recorder* r : {&r0, &r1, &r2}) event.subscribe(r);
  r1.action = [&] {
    event.unsubscribe(&r0);
    event.subscribeWithPriority(&r3, -4);
    event.unsubscribe(&r2);
    EXPECT_TRUE(event.wouldDeliver(nullptr));
    event.unsubscribe(&r1);
    EXPECT_FALSE(event.wouldDeliver(nullptr)) << "marked and waiting entries hear nothing";
    event.subscribe(&r2);  // finds its marked entry: still off
    throw 7;
  };
  log.clear();
  EXPECT_THROW(event.fire(nullptr, nullptr), int);
  // The delivery stopped at the thrower; depth, sweep and pending were all settled.
  EXPECT_EQ(log, (std::vector<int>{0, 1}));
  EXPECT_TRUE(event.firingDepth() == 0 && !event.dirty() && event.pending().count() == 0);
  EXPECT_EQ(event.subscribers().get(1).priority, -1) << "placed on an empty list: -1";
  EXPECT_EQ(fired(event, log), (std::vector<int>{3}));
  // After the exception an unsubscribe removes at once again.
  event.unsubscribe(&r3);
  EXPECT_EQ(event.subscribers().count(), 0);
}

// ---- an independent model of the delivery rules, driven in step with the real event ----

struct ModelEntry {
  int priority, id;
  bool removed;
};

struct Model {
  std::vector<ModelEntry> list, pending;
  int depth = 0;
  std::function<void(int)> call;

  int indexOf(int id) const {
    for (size_t i = 0; i < list.size(); ++i)
      if (list[i].id == id) return static_cast<int>(i);
    return -1;
  }
  void subscribe(int id) {
    if (indexOf(id) < 0) list.push_back({-1, id, false});
  }
  void subscribeWithPriority(int id, int p) {
    if (depth) return pending.push_back({p, id, false});
    for (size_t i = 0; i < list.size(); ++i)
      if (list[i].priority > p) return void(list.insert(list.begin() + long(i), {p, id, false}));
    subscribe(id);
  }
  void unsubscribe(int id) {
    const int i = indexOf(id);
    if (i >= 0 && depth) list[size_t(i)].removed = true;
    if (i >= 0 && !depth) list.erase(list.begin() + i);
  }
  void fire(void*, void*) {
    ++depth;
    for (size_t i = 0, n = list.size(); i < n; ++i)
      if (!list[i].removed) call(list[i].id);
    if (--depth) return;
    std::erase_if(list, [](const ModelEntry& e) { return e.removed; });
    std::vector<ModelEntry> requests;
    requests.swap(pending);
    for (const ModelEntry& e : requests) subscribeWithPriority(e.id, e.priority);
  }
};

TEST(DataEventModel, RandomProgramsDeliverExactlyAsTheModel) {
  constexpr int kSubscribers = 8;
  struct Action {
    int kind, target, priority;
  };
  // One step of a program on the real event (subscribers by pointer) or the model (by id).
  auto apply = [](auto& event, auto who, const Action& a, int& nest) {
    if (a.kind == 1) event.subscribe(who(a.target));
    if (a.kind == 2) event.subscribeWithPriority(who(a.target), a.priority);
    if (a.kind == 3) event.unsubscribe(who(a.target));
    if (a.kind == 4 && nest < 1) {
      ++nest;
      event.fire(nullptr, nullptr);
      --nest;
    }
  };
  for (uint32_t seed = 1; seed <= 1000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 rng(seed);
    // What each call of each subscriber does, decided up front.
    std::vector<Action> script(400);
    for (Action& a : script) a = {int(rng() % 6), int(rng() % kSubscribers), int(rng() % 7) - 4};
    std::vector<int> realLog, modelLog;
    DataEvent real;
    Model model;
    std::vector<std::unique_ptr<Recorder>> subs;
    auto byId = [&](int id) { return subs[size_t(id)].get(); };
    auto same = [](int id) { return id; };
    size_t realStep = 0, modelStep = 0;
    int realNest = 0, modelNest = 0;
    for (int i = 0; i < kSubscribers; ++i) {
      subs.emplace_back(new Recorder(i, &realLog));
      subs.back()->action = [&] { apply(real, byId, script[realStep++ % 400], realNest); };
    }
    model.call = [&](int id) {
      modelLog.push_back(id);
      apply(model, same, script[modelStep++ % 400], modelNest);
    };
    for (int round = 0; round < 10; ++round) {
      // Outside a delivery: one change (kinds 1 to 3, or none), then a firing.
      const Action a{int(rng() % 4) + 1, int(rng() % kSubscribers), int(rng() % 7) - 4};
      int outside = 1;
      apply(real, byId, a, outside);
      apply(model, same, a, outside);
      real.fire(nullptr, nullptr);
      model.fire(nullptr, nullptr);
      ASSERT_TRUE(realLog == modelLog && real.subscribers().count() == int32_t(model.list.size()));
      for (size_t k = 0; k < model.list.size(); ++k) {
        const DataEvent::Entry& e = real.subscribers().get(int32_t(k + 1));
        ASSERT_TRUE(e.subscriber == byId(model.list[k].id) && e.priority == model.list[k].priority);
      }
    }
  }
}

// ---- the table of events a source owns ----

TEST(EventTable, BucketsHashGrowthAndOperationsByName) {
  EventTable property(nextPrime(2)), object(nextPrime(6));
  EXPECT_TRUE(property.bucketCount() == 3 && object.bucketCount() == 11);
  // One entry per name; the event is named.
  for (const char* n : {"property_modified", "deleted", "updated"}) object.addEvent(n);
  IQorDataObjectEvent* a = object.find("deleted");
  EXPECT_TRUE(object.addEvent("deleted") == a && a->eventName() == "deleted");
  EXPECT_EQ(object.find("missing"), nullptr);
  // Bucket order, not insertion order: djb2 over signed bytes, modulo 11, puts deleted at 5,
  // updated at 7, property_modified at 9.
  std::vector<std::string> order;
  object.forEach([&](IQorDataObjectEvent* e) { order.push_back(e->eventName().c_str()); });
  EXPECT_EQ(order, (std::vector<std::string>{"deleted", "updated", "property_modified"}));
  // 0.8 of 3 buckets: the third event grows the table to 5, the fourth to 11.
  const int32_t buckets[] = {3, 3, 5, 11};
  for (int i = 0; i < 4; ++i) {
    property.addEvent(std::string(1, char('a' + i)).c_str());
    EXPECT_EQ(property.bucketCount(), buckets[i]);
  }
  // Events found again after the moves, with a signed-byte name too.
  property.addEvent("\xe9t\xe9");
  EXPECT_TRUE(property.count() == 5 && property.find("\xe9t\xe9") && property.find("a"));
  // Operations by name answer false, or do nothing, for a missing table or event.
  std::vector<int> log;
  Recorder r(1, &log);
  EventTable& t = property;
  struct Row {
    EventTable* table;
    const char* name;
    bool found;
  };
  for (const Row& row : {Row{nullptr, "a", false}, Row{&t, "y", false}, Row{&t, "a", true}}) {
    log.clear();
    EXPECT_EQ(qor::subscribeEvent(row.table, row.name, &r), row.found);
    qor::fireEvent(row.table, row.name, nullptr, nullptr);
    EXPECT_EQ(qor::unsubscribeEvent(row.table, row.name, &r), row.found);
    qor::fireEvent(row.table, row.name, nullptr, nullptr);
    EXPECT_EQ(log.size(), row.found ? 1u : 0u) << "heard while subscribed only";
  }
  // The table dies with a subscriber listed: the subscriber is not touched.
  EXPECT_TRUE(qor::subscribeEvent(&t, "a", &r));
}

// ---- the member-function subscriber and the sources' identities ----

struct Owner {
  bool hear(IQorDataEventSource*, const QorCString& name, IQorDataEventArgs*) {
    return heard.push_back(name.c_str()), true;
  }
  bool listening(IQorDataEventSource*) { return listens; }
  std::vector<std::string> heard;
  bool listens = false;
};

}  // namespace

namespace qor {
template <>
struct EventSubscriberName<Owner> {
  static constexpr const char* value = "QorTEventSubscriber<Owner>";
};
}  // namespace qor

namespace {

TEST(QorTEventSubscriber, ForwardsToItsOwnersMemberAndIgnoresNulls) {
  Owner owner;
  QorTEventSubscriber<Owner> sub(&owner, &Owner::hear);
  DataEvent e;
  e.setEventName("updated");
  e.subscribe(&sub);
  e.fire(nullptr, nullptr);
  EXPECT_TRUE(sub.handleEvent(nullptr, "x", nullptr));
  QorTEventSubscriber<Owner> noOwner(nullptr, &Owner::hear), noMember(&owner, nullptr);
  EXPECT_FALSE(noOwner.handleEvent(nullptr, "y", nullptr) ||
               noMember.handleEvent(nullptr, "y", nullptr));
  EXPECT_EQ(owner.heard, (std::vector<std::string>{"updated", "x"}));
  // As a relay: heard without an asker, never without owner or member, else as asked.
  EXPECT_TRUE(e.wouldDeliver(nullptr));
  EXPECT_FALSE(noOwner.relayHeard(nullptr) || noMember.relayHeard(nullptr));
  QorTEventSubscriber<Owner> asking(&owner, &Owner::hear, &Owner::listening);
  e.unsubscribe(&sub);
  e.subscribe(&asking);
  EXPECT_FALSE(e.wouldDeliver(nullptr));
  owner.listens = true;
  EXPECT_TRUE(e.wouldDeliver(nullptr));
  for (const char* n : {"QorTEventSubscriber<Owner>", "IQorEventSubscriber", "IQorUnknown"})
    EXPECT_NE(qorQuery<void>(&sub, n), nullptr) << n;
  EXPECT_EQ(qorQuery<void>(&sub, "DataEventSource"), nullptr);
}

}  // namespace
