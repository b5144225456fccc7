// Data events: the order of delivery by priority, every change made from inside a
// delivery, growth of the lists, exceptions that leave a subscriber, the event table's hash
// and growth, and a random comparison with an independent model of the delivery rules.
#include "datamodel/dataevent.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "datamodel/dataeventsource.h"
#include "datamodel/eventsubscriber.h"
#include "datamodel/eventtable.h"

namespace {

// A subscriber that records its calls into a shared log and runs an optional action.
class Recorder : public IQorEventSubscriber {
 public:
  Recorder(int id, std::vector<int>* log) : id_(id), log_(log) {}
  bool handleEvent(IQorDataEventSource* sender, const QorCString& name,
                   IQorDataEventArgs* args) override {
    log_->push_back(id_);
    lastSender = sender;
    lastName = name.c_str();
    lastArgs = args;
    if (action) action();
    return false;
  }
  void queryInterface(const char* name, void** out, uintptr_t) override {
    *out = nullptr;
    if (name && qorNameIs(name, "IQorEventSubscriber"))
      *out = static_cast<IQorEventSubscriber*>(this);
  }
  const char* className() override { return "Recorder"; }

  std::function<void()> action;
  IQorDataEventSource* lastSender = nullptr;
  std::string lastName;
  IQorDataEventArgs* lastArgs = nullptr;

 private:
  int id_;
  std::vector<int>* log_;
};

std::vector<int> priorities(const DataEvent& e) {
  std::vector<int> out;
  for (int32_t i = 1; i <= e.subscribers().count(); ++i)
    out.push_back(e.subscribers().get(i).priority);
  return out;
}

struct Fixture : ::testing::Test {
  Fixture() {
    for (int i = 0; i < 6; ++i) subs.emplace_back(new Recorder(i, &log));
    event.setEventName("property_modified");
  }
  ~Fixture() override {
    for (Recorder* r : subs) delete r;
  }
  std::vector<int> fired() {
    log.clear();
    event.fire(nullptr, nullptr);
    return log;
  }
  std::vector<int> log;
  std::vector<Recorder*> subs;
  DataEvent event;
};

using DataEventOrder = Fixture;
using DataEventDuringDelivery = Fixture;

TEST_F(DataEventOrder, PriorityInsertsBeforeTheFirstStrictlyGreaterElseAppendsAsMinusOne) {
  // [A(-1)]: B(5) finds nothing greater and is appended with -1, C(0) likewise, D(-5) goes
  // before A.
  event.subscribe(subs[0]);
  event.subscribeWithPriority(subs[1], 5);
  event.subscribeWithPriority(subs[2], 0);
  event.subscribeWithPriority(subs[3], -5);
  EXPECT_EQ(fired(), (std::vector<int>{3, 0, 1, 2}));
  EXPECT_EQ(priorities(event), (std::vector<int>{-5, -1, -1, -1}));

  // Equal priorities keep arrival order; a greater one later on lets a duplicate in.
  DataEvent e2;
  e2.subscribeWithPriority(subs[0], -10);  // empty list: appended as -1
  e2.subscribeWithPriority(subs[1], -7);   // before the -1
  e2.subscribeWithPriority(subs[2], -7);   // after the first -7, before the -1
  e2.subscribeWithPriority(subs[2], -8);   // no duplicate test on this branch
  e2.subscribe(subs[1]);                   // plain subscribe dedupes
  log.clear();
  e2.fire(nullptr, nullptr);
  EXPECT_EQ(log, (std::vector<int>{2, 1, 2, 0}));
  // One unsubscribe removes the first match only.
  e2.unsubscribe(subs[2]);
  log.clear();
  e2.fire(nullptr, nullptr);
  EXPECT_EQ(log, (std::vector<int>{1, 2, 0}));
}

TEST_F(DataEventOrder, ListsStartWithTwentyUsableEntriesAndDoubleOnTheTwentyFirst) {
  std::vector<Recorder*> many;
  for (int i = 0; i < 21; ++i) many.push_back(new Recorder(100 + i, &log));
  EXPECT_EQ(event.subscribers().capacity(), 0) << "no storage before the first entry";
  event.subscribe(many[0]);
  EXPECT_EQ(event.subscribers().capacity(), 21);
  EXPECT_EQ(event.pending().capacity(), 0);
  for (int i = 1; i < 20; ++i) event.subscribe(many[static_cast<size_t>(i)]);
  EXPECT_EQ(event.subscribers().capacity(), 21);
  event.subscribe(many[20]);
  EXPECT_EQ(event.subscribers().capacity(), 42);
  EXPECT_EQ(fired().size(), 21u);
  for (Recorder* r : many) delete r;
}

TEST_F(DataEventDuringDelivery, SubscribeAppendsAtOnceButIsFirstCalledNextTime) {
  event.subscribe(subs[0]);
  subs[0]->action = [&] { event.subscribe(subs[1]); };
  EXPECT_EQ(fired(), (std::vector<int>{0}));
  EXPECT_EQ(event.subscribers().count(), 2);
  subs[0]->action = nullptr;
  EXPECT_EQ(fired(), (std::vector<int>{0, 1}));
}

TEST_F(DataEventDuringDelivery, PriorityRequestsWaitForTheOutermostEnd) {
  event.subscribe(subs[0]);
  event.subscribeWithPriority(subs[1], -5);  // [1(-5), 0(-1)]
  subs[0]->action = [&] {
    event.subscribeWithPriority(subs[2], -9);
    EXPECT_EQ(event.pending().count(), 1);
    EXPECT_EQ(event.subscribers().count(), 2);
  };
  EXPECT_EQ(fired(), (std::vector<int>{1, 0}));
  EXPECT_EQ(event.pending().count(), 0);
  subs[0]->action = nullptr;
  EXPECT_EQ(fired(), (std::vector<int>{2, 1, 0}));
}

TEST_F(DataEventDuringDelivery, UnsubscribeMarksSkipsAndSweepsAtTheEnd) {
  for (int i = 0; i < 4; ++i) event.subscribe(subs[static_cast<size_t>(i)]);
  // 1 takes itself off and 3 (later): 3 is not called in this delivery either.
  subs[1]->action = [&] {
    event.unsubscribe(subs[1]);
    event.unsubscribe(subs[3]);
    EXPECT_TRUE(event.dirty());
    EXPECT_EQ(event.subscribers().count(), 4);
  };
  EXPECT_EQ(fired(), (std::vector<int>{0, 1, 2}));
  EXPECT_FALSE(event.dirty());
  EXPECT_EQ(event.subscribers().count(), 2);
  EXPECT_EQ(fired(), (std::vector<int>{0, 2}));

  // Off and on again in one delivery loses the subscriber: subscribe finds the marked entry.
  subs[2]->action = [&] {
    event.unsubscribe(subs[2]);
    event.subscribe(subs[2]);
  };
  EXPECT_EQ(fired(), (std::vector<int>{0, 2}));
  EXPECT_EQ(fired(), (std::vector<int>{0}));
}

TEST_F(DataEventDuringDelivery, NestedFireDeliversFullyAndSweepsOnlyAtTheOutermostEnd) {
  event.subscribe(subs[0]);
  event.subscribe(subs[1]);
  int depthSeen = 0;
  bool nested = false;
  subs[0]->action = [&] {
    if (nested) return;
    nested = true;
    event.unsubscribe(subs[0]);
    event.subscribe(subs[2]);  // counted by the nested delivery, which reads the count anew
    event.fire(nullptr, nullptr);
    depthSeen = event.firingDepth();
    EXPECT_EQ(event.subscribers().count(), 3);  // no sweep inside
  };
  EXPECT_EQ(fired(), (std::vector<int>{0, 1, 2, 1}));
  EXPECT_EQ(depthSeen, 1);
  EXPECT_EQ(event.firingDepth(), 0);
  EXPECT_EQ(fired(), (std::vector<int>{1, 2}));
}

TEST_F(DataEventDuringDelivery, AnExceptionFromASubscriberRestoresTheDepthAndTheEventGoesOn) {
  event.subscribe(subs[0]);
  event.subscribe(subs[1]);
  event.subscribe(subs[2]);
  subs[1]->action = [&] {
    event.unsubscribe(subs[0]);
    event.subscribeWithPriority(subs[3], -4);
    throw 7;
  };
  log.clear();
  EXPECT_THROW(event.fire(nullptr, nullptr), int);
  // The delivery stopped at the thrower; depth, sweep and pending were all settled.
  EXPECT_EQ(log, (std::vector<int>{0, 1}));
  EXPECT_EQ(event.firingDepth(), 0);
  EXPECT_FALSE(event.dirty());
  EXPECT_EQ(event.pending().count(), 0);
  subs[1]->action = nullptr;
  EXPECT_EQ(fired(), (std::vector<int>{3, 1, 2}));
  // After the exception an unsubscribe removes at once again.
  event.unsubscribe(subs[3]);
  EXPECT_EQ(event.subscribers().count(), 2);
}

// ---- an independent model of the delivery rules, driven in step with the real event ----

struct ModelEntry {
  int priority;
  int id;
  bool removed;
};

struct Model {
  std::vector<ModelEntry> list, pending;
  bool dirty = false;
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
    if (depth) {
      pending.push_back({p, id, false});
      return;
    }
    for (size_t i = 0; i < list.size(); ++i) {
      if (list[i].priority > p) {
        list.insert(list.begin() + static_cast<long>(i), {p, id, false});
        return;
      }
    }
    subscribe(id);
  }
  void unsubscribe(int id) {
    int i = indexOf(id);
    if (depth) {
      if (i >= 0) list[static_cast<size_t>(i)].removed = dirty = true;
      return;
    }
    if (i >= 0) list.erase(list.begin() + i);
  }
  void fire() {
    ++depth;
    size_t n = list.size();
    for (size_t i = 0; i < n; ++i)
      if (!list[i].removed) call(list[i].id);
    --depth;
    if (depth) return;
    if (dirty) {
      std::vector<ModelEntry> kept;
      for (const ModelEntry& e : list)
        if (!e.removed) kept.push_back(e);
      list = kept;
      dirty = false;
    }
    std::vector<ModelEntry> requests;
    requests.swap(pending);
    for (const ModelEntry& e : requests) subscribeWithPriority(e.id, e.priority);
  }
};

TEST(DataEventModel, RandomProgramsDeliverExactlyAsTheModel) {
  constexpr int kSubscribers = 8;
  for (uint32_t seed = 1; seed <= 1000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 rng(seed);
    // A script of actions: what each call of each subscriber does, decided up front.
    struct Action {
      int kind, target, priority;
    };
    std::vector<Action> script(400);
    for (Action& a : script)
      a = {static_cast<int>(rng() % 6), static_cast<int>(rng() % kSubscribers),
           static_cast<int>(rng() % 7) - 4};

    std::vector<int> realLog, modelLog;
    DataEvent real;
    Model model;
    std::vector<Recorder*> subs;
    for (int i = 0; i < kSubscribers; ++i) subs.push_back(new Recorder(i, &realLog));
    size_t realStep = 0, modelStep = 0;
    int realNest = 0, modelNest = 0;
    for (int i = 0; i < kSubscribers; ++i) {
      subs[static_cast<size_t>(i)]->action = [&, i] {
        (void)i;
        const Action a = script[realStep++ % script.size()];
        Recorder* t = subs[static_cast<size_t>(a.target)];
        if (a.kind == 1) real.subscribe(t);
        if (a.kind == 2) real.subscribeWithPriority(t, a.priority);
        if (a.kind == 3) real.unsubscribe(t);
        if (a.kind == 4 && realNest < 1) {
          ++realNest;
          real.fire(nullptr, nullptr);
          --realNest;
        }
      };
    }
    model.call = [&](int id) {
      modelLog.push_back(id);
      const Action a = script[modelStep++ % script.size()];
      if (a.kind == 1) model.subscribe(a.target);
      if (a.kind == 2) model.subscribeWithPriority(a.target, a.priority);
      if (a.kind == 3) model.unsubscribe(a.target);
      if (a.kind == 4 && modelNest < 1) {
        ++modelNest;
        model.fire();
        --modelNest;
      }
    };
    for (int round = 0; round < 10; ++round) {
      const int op = static_cast<int>(rng() % 4);
      const int target = static_cast<int>(rng() % kSubscribers);
      const int p = static_cast<int>(rng() % 7) - 4;
      if (op == 0) real.subscribe(subs[static_cast<size_t>(target)]), model.subscribe(target);
      if (op == 1)
        real.subscribeWithPriority(subs[static_cast<size_t>(target)], p),
            model.subscribeWithPriority(target, p);
      if (op == 2) real.unsubscribe(subs[static_cast<size_t>(target)]), model.unsubscribe(target);
      real.fire(nullptr, nullptr);
      model.fire();
      ASSERT_EQ(realLog, modelLog);
      ASSERT_EQ(real.subscribers().count(), static_cast<int32_t>(model.list.size()));
      for (size_t k = 0; k < model.list.size(); ++k) {
        const DataEvent::Entry& e = real.subscribers().get(static_cast<int32_t>(k + 1));
        ASSERT_EQ(e.subscriber, subs[static_cast<size_t>(model.list[k].id)]);
        ASSERT_EQ(e.priority, model.list[k].priority);
      }
    }
    for (Recorder* r : subs) delete r;
  }
}

// ---- the table of events a source owns ----

// The table's hash, written out independently: djb2 over signed bytes.
uint32_t djb2(const char* s) {
  uint32_t h = 5381;
  for (; *s; ++s)
    h = h * 33 + static_cast<uint32_t>(static_cast<int>(static_cast<signed char>(*s)));
  return h;
}

TEST(EventTable, BucketsHashAndGrowthFollowThePrimeTable) {
  EventTable property(nextPrime(2));
  EXPECT_EQ(property.bucketCount(), 3);
  EventTable object(nextPrime(6));
  EXPECT_EQ(object.bucketCount(), 11);

  // One entry per name; the event is named.
  object.addEvent("property_modified");
  IQorDataObjectEvent* a = object.addEvent("deleted");
  EXPECT_EQ(object.addEvent("deleted"), a);
  EXPECT_TRUE(a->eventName() == "deleted");
  EXPECT_EQ(object.find("deleted"), a);
  EXPECT_EQ(object.find("missing"), nullptr);

  // Bucket order, not insertion order: events come out by djb2 modulo 11.
  object.addEvent("updated");
  std::vector<std::string> order;
  object.forEach([&](IQorDataObjectEvent* e) { order.push_back(e->eventName().c_str()); });
  EXPECT_EQ(djb2("deleted") % 11, 5u);  // updated 7, property_modified 9
  EXPECT_EQ(order, (std::vector<std::string>{"deleted", "updated", "property_modified"}));

  // 0.8 of 3 buckets: the third event grows the table to 5, the fourth to 11.
  property.addEvent("a");
  property.addEvent("b");
  EXPECT_EQ(property.bucketCount(), 3);
  property.addEvent("c");
  EXPECT_EQ(property.bucketCount(), 5);
  property.addEvent("d");
  EXPECT_EQ(property.bucketCount(), 11);
  EXPECT_EQ(property.count(), 4);
  // Events found again after the moves, with a signed-byte name too.
  property.addEvent("\xe9t\xe9");
  EXPECT_NE(property.find("\xe9t\xe9"), nullptr);
  EXPECT_NE(property.find("a"), nullptr);
}

TEST(EventTable, OperationsByNameAnswerFalseOrNothingForMissingEvents) {
  std::vector<int> log;
  Recorder r(1, &log);
  EXPECT_FALSE(qor::subscribeEvent(nullptr, "x", &r));
  EXPECT_FALSE(qor::unsubscribeEvent(nullptr, "x", &r));
  qor::fireEvent(nullptr, "x", nullptr, nullptr);
  {
    EventTable t(3);
    t.addEvent("x");
    EXPECT_FALSE(qor::subscribeEvent(&t, "y", &r));
    EXPECT_TRUE(qor::subscribeEvent(&t, "x", &r));
    qor::fireEvent(&t, "y", nullptr, nullptr);
    qor::fireEvent(&t, "x", nullptr, nullptr);
    EXPECT_EQ(log, (std::vector<int>{1}));
    EXPECT_TRUE(qor::unsubscribeEvent(&t, "x", &r));
    qor::fireEvent(&t, "x", nullptr, nullptr);
    EXPECT_EQ(log.size(), 1u);
    EXPECT_TRUE(qor::subscribeEvent(&t, "x", &r));
  }  // the table dies with a subscriber listed: the subscriber is not touched
  EXPECT_EQ(log.size(), 1u);
}

// ---- the member-function subscriber and the sources' identities ----

struct Owner {
  bool hear(IQorDataEventSource*, const QorCString& name, IQorDataEventArgs*) {
    heard.push_back(name.c_str());
    return true;
  }
  std::vector<std::string> heard;
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
  EXPECT_EQ(owner.heard, (std::vector<std::string>{"updated"}));
  EXPECT_TRUE(sub.handleEvent(nullptr, "x", nullptr));
  EXPECT_FALSE(
      QorTEventSubscriber<Owner>(nullptr, &Owner::hear).handleEvent(nullptr, "x", nullptr));
  EXPECT_FALSE(QorTEventSubscriber<Owner>(&owner, nullptr).handleEvent(nullptr, "x", nullptr));
  EXPECT_EQ(owner.heard.size(), 2u);
  EXPECT_EQ(qorQuery<void>(&sub, "QorTEventSubscriber<Owner>"), &sub);
  EXPECT_NE(qorQuery<void>(&sub, "IQorEventSubscriber"), nullptr);
  EXPECT_NE(qorQuery<void>(&sub, "IQorUnknown"), nullptr);
  EXPECT_EQ(qorQuery<void>(&sub, "DataEventSource"), nullptr);
}

}  // namespace
