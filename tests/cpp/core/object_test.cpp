// Object core without a locator: counts, the dead mark, weak links, counted pointers, and
// the interface query.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/iptr.h"
#include "core/qorobject.h"

namespace {

class IFoo : public virtual IQorUnknown {
 public:
  virtual int foo() = 0;
};
class IBar : public virtual IQorUnknown {
 public:
  virtual int bar() = 0;
};

// Records the count its destructor sees, and how often it ran.
struct Probe : IFoo, IBar {
  static inline int destroyed = 0;
  static inline uint32_t countAtDeath = 0;
  ~Probe() override {
    ++destroyed;
    countAtDeath = refCount_;
  }
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "Probe"))
      *out = this;
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(this);
    else if (qorNameIs(name, "IFoo"))
      *out = static_cast<IFoo*>(this);
    else if (qorNameIs(name, "IBar"))
      *out = static_cast<IBar*>(this);
  }
  const char* className() override { return "Probe"; }
  int foo() override { return 1; }
  int bar() override { return 2; }
};

TEST(ObjectCore, QueryGivesBorrowedViewsAndClearsOut) {
  auto* p = new Probe();
  void* out = reinterpret_cast<void*>(0x1234);
  p->queryInterface("Nope", &out, 0);
  EXPECT_EQ(out, nullptr) << "an unknown name must clear a previous value";

  IFoo* foo = qorQuery<IFoo>(p, "IFoo");
  IBar* bar = qorQuery<IBar>(p, "IBar");
  ASSERT_NE(foo, nullptr);
  ASSERT_NE(bar, nullptr);
  EXPECT_EQ(foo->foo(), 1);
  EXPECT_EQ(bar->bar(), 2);
  EXPECT_NE(static_cast<void*>(foo), static_cast<void*>(bar)) << "distinct interface views";
  // The root is the same through every view.
  void* r1 = nullptr;
  void* r2 = nullptr;
  foo->queryInterface("IQorUnknown", &r1, 0);
  bar->queryInterface("IQorUnknown", &r2, 0);
  EXPECT_EQ(r1, r2);
  EXPECT_EQ(p->refCount(), 0u) << "queries add no reference";
  delete p;  // never owned: its creator deletes it
}

TEST(ObjectCore, CountIsSharedByAllViewsAndReleaseMarksDeath) {
  Probe::destroyed = 0;
  auto* p = new Probe();
  IFoo* foo = p;
  IBar* bar = p;
  foo->addRef();
  bar->addRef();
  EXPECT_EQ(static_cast<IQorUnknown*>(p)->refCount(), 2u);
  EXPECT_FALSE(bar->release());
  EXPECT_EQ(Probe::destroyed, 0);
  EXPECT_TRUE(foo->release()) << "zero is reported exactly when reached";
  EXPECT_EQ(Probe::destroyed, 1);
  EXPECT_EQ(Probe::countAtDeath, kQorDeadCount);
  EXPECT_EQ(Probe::countAtDeath, 4294967254u);
}

TEST(ObjectCore, ReleaseNoDeleteKeepsTheObject) {
  Probe::destroyed = 0;
  Probe p;
  p.addRef();
  QorWeakRef* w = p.weakRef();
  w->addRef();
  EXPECT_TRUE(p.releaseNoDelete());
  EXPECT_EQ(Probe::destroyed, 0);
  EXPECT_EQ(w->target(), nullptr) << "zero cuts the weak link";
  EXPECT_EQ(w->refCount(), 1u) << "the object's own reference to its link is gone";
  w->release();
}

TEST(ObjectCore, WeakRefOutlivesItsTarget) {
  auto* p = new Probe();
  p->addRef();
  QorWeakRef* w = p->weakRef();
  EXPECT_EQ(p->weakRef(), w) << "made once";
  EXPECT_EQ(w->weakRef(), w) << "a weak link is its own weak link";
  EXPECT_EQ(w->target(), static_cast<QorShared*>(p));
  w->addRef();  // someone keeps the link
  EXPECT_EQ(w->refCount(), 2u);
  p->release();
  EXPECT_EQ(w->target(), nullptr);
  EXPECT_EQ(w->refCount(), 1u);
  EXPECT_TRUE(w->release());
}

TEST(ObjectCore, IPtrAssignment) {
  Probe::destroyed = 0;
  auto* p = new Probe();
  {
    IPtr<IFoo> a;
    EXPECT_FALSE(a);
    a = p;
    EXPECT_EQ(p->refCount(), 1u);
    a = p;  // same pointer: nothing
    EXPECT_EQ(p->refCount(), 1u);
    IPtr<IFoo> b = a;
    EXPECT_EQ(p->refCount(), 2u);
    EXPECT_EQ(b.root(), static_cast<IQorUnknown*>(p));
    b = nullptr;
    EXPECT_EQ(p->refCount(), 1u);
    EXPECT_EQ(b.get(), nullptr);
    EXPECT_EQ(b.root(), nullptr);
    IPtr<IFoo> c = std::move(a);
    EXPECT_EQ(p->refCount(), 1u) << "a move hands the reference over";
    EXPECT_EQ(a.get(), nullptr);
    EXPECT_EQ(Probe::destroyed, 0);
  }
  EXPECT_EQ(Probe::destroyed, 1) << "the last pointer releases";
}

TEST(ObjectCore, IPtrReassignReleasesTheOldObject) {
  Probe::destroyed = 0;
  auto* p = new Probe();
  auto* q = new Probe();
  IPtr<IBar> a = p;
  a = q;
  EXPECT_EQ(Probe::destroyed, 1);
  EXPECT_EQ(q->refCount(), 1u);
  a.reset();
  EXPECT_EQ(Probe::destroyed, 2);
}

TEST(ObjectCore, SPtrWithoutLocatorIsEmpty) {
  SPtr<IFoo> s("IFoo");
  EXPECT_FALSE(s);
  EXPECT_EQ(s.root(), nullptr);
  void* out = reinterpret_cast<void*>(0x77);
  EXPECT_EQ(getService("IFoo", &out), 0);
  EXPECT_EQ(out, reinterpret_cast<void*>(0x77)) << "no locator leaves *out alone";
}

}  // namespace

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
  EXPECT_EQ(outOfOrder, 0);
  EXPECT_EQ(ended, n);
  EXPECT_LT(maxOpen, 100) << "deaths nested at most the queue's depth";
}
