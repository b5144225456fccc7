// Object core without a locator: counts shared by every view, the dead mark, weak links,
// the order in which counted pointers take and drop references, and chains of objects
// that die on a bounded stack.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/iptr.h"
#include "core/qorobject.h"

namespace {

class IFoo : public virtual IQorUnknown {};
class IBar : public virtual IQorUnknown {};

// Records the count its destructor sees, and how often it ran.
struct Probe : IFoo, IBar {
  static inline int destroyed = 0;
  static inline uint32_t countAtDeath = 0;
  ~Probe() override {
    ++destroyed;
    countAtDeath = refCount_;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Probe"; }
  IPtr<IFoo> held;
};

TEST(ObjectCore, CountIsSharedByAllViewsAndReleaseMarksDeath) {
  Probe::destroyed = 0;
  auto* p = new Probe();
  IFoo* foo = p;
  IBar* bar = p;
  foo->addRef();
  bar->addRef();
  EXPECT_EQ(static_cast<IQorUnknown*>(p)->refCount(), 2u);
  EXPECT_TRUE(!bar->release() && Probe::destroyed == 0);
  EXPECT_TRUE(foo->release() && Probe::destroyed == 1) << "zero is reported when reached";
  EXPECT_EQ(Probe::countAtDeath, 4294967254u) << "the dead mark, -42";
}

TEST(ObjectCore, WeakLinksOutliveTheirTargetAndReleaseNoDeleteCutsThem) {
  auto* p = new Probe();
  p->addRef();
  QorWeakRef* w = p->weakRef();
  EXPECT_TRUE(p->weakRef() == w && w->weakRef() == w) << "made once; its own weak link";
  EXPECT_EQ(w->target(), static_cast<QorShared*>(p));
  w->addRef();  // someone keeps the link
  EXPECT_EQ(w->refCount(), 2u);
  p->release();
  EXPECT_TRUE(w->target() == nullptr && w->refCount() == 1u) << "the object's reference is gone";
  EXPECT_TRUE(w->release());

  Probe::destroyed = 0;
  Probe kept;
  kept.addRef();
  w = kept.weakRef();
  w->addRef();
  EXPECT_TRUE(kept.releaseNoDelete() && Probe::destroyed == 0);
  EXPECT_EQ(w->target(), nullptr) << "zero cuts the weak link";
  w->release();
}

TEST(ObjectCore, IPtrTakesTheNewReferenceBeforeItDropsTheOld) {
  Probe::destroyed = 0;
  auto* p = new Probe();
  IPtr<IFoo> a = p;
  a = p;  // the same pointer: nothing
  a = a.get();
  EXPECT_EQ(p->refCount(), 1u);
  // The holder is the only owner of p: dropping it first would free p before it is taken.
  auto* holder = new Probe();
  holder->held = p;
  a = holder;
  a = p;
  EXPECT_TRUE(Probe::destroyed == 1 && p->refCount() == 1u) << "the holder died, p lives";
  IPtr<IFoo> moved = std::move(a);
  EXPECT_TRUE(a.get() == nullptr && moved.root() == static_cast<IQorUnknown*>(p));
  moved.reset();
  EXPECT_EQ(Probe::destroyed, 2);
  // Without a locator a service pointer stays empty and a lookup leaves *out alone.
  EXPECT_FALSE(SPtr<IFoo>("IFoo"));
  void* out = reinterpret_cast<void*>(0x77);
  EXPECT_TRUE(getService("IFoo", &out) == 0 && out == reinterpret_cast<void*>(0x77));
}

// A link of a chain: holds the next one and logs the start and the end of its death.
struct Link : IQorUnknown {
  Link(int id, std::vector<int>* log) : id(id), log(log) {}
  ~Link() override {
    log->push_back(id);
    next.reset();
    log->push_back(-1 - id);
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Link"; }
  int id;
  std::vector<int>* log;
  IPtr<Link> next;
};

std::vector<int> chainDeath(int n) {
  std::vector<int> log;
  IPtr<Link> head(new Link(0, &log));
  Link* tail = head.get();
  for (int i = 1; i < n; ++i) tail = (tail->next = new Link(i, &log)).get();
  head.reset();
  return log;
}

TEST(ObjectCore, LongChainsDieWithoutDeepNestingInTheOrderTheirCountsReachZero) {
  // Shallow: the deaths nest as they always did.
  EXPECT_EQ(chainDeath(3), (std::vector<int>{0, 1, 2, -3, -2, -1}));
  // A million links: every death starts in order and ends once, on a bounded stack.
  const int n = 1000000;
  std::vector<int> log = chainDeath(n);
  ASSERT_EQ(log.size(), 2u * n);
  int started = 0, ended = 0, maxOpen = 0, outOfOrder = 0;
  for (int e : log) {
    if (e >= 0 && e != started++) ++outOfOrder;
    if (e < 0) ++ended;
    maxOpen = std::max(maxOpen, started - ended);
  }
  EXPECT_TRUE(outOfOrder == 0 && ended == n);
  EXPECT_LT(maxOpen, 100) << "deaths nested at most the queue's depth";
}

}  // namespace
