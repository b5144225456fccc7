// The script view of oriented triangles: the number's rules, the stack's checks and lenient
// reads, and the references a list of stacks holds.
#include "datamodel/orientedtriangle.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "testkit.h"

namespace {

using testkit::raised;
using Tri = std::unique_ptr<OrientedTriangle>;

TEST(OrientedTriangle, NumberRulesAndTurns) {
  EXPECT_EQ(OrientedTriangle(-1, 0).rawValue(), 0u);
  OrientedTriangle far(-5, 3), t(4, 5), d;
  EXPECT_EQ(
      std::vector<int>({far.index(), far.version(), t.index(), t.isOdd(), d.version(), d.index()}),
      std::vector<int>({-1, 3, 4, 1, 0, -1}));
  EXPECT_EQ(t.rawValue(), 45u);
  testkit::Raised r = raised([&] { t.set(4, 6); });
  EXPECT_EQ(r.code, 6);
  EXPECT_EQ(r.text, "Error in class OrientedTriangle: version must have a value >= 0 and <= 5.");
  EXPECT_EQ(t.rawValue(), 45u);
  EXPECT_EQ(raised([&] { t.set(1, -1); }).code, 6);
  t.setRawValue(0x57);
  EXPECT_EQ(t.rawValue(), 0x55u);
  for (uint32_t v = 0; v < 6; ++v) {  // three turns either way, or two flips, come back
    OrientedTriangle s(9, static_cast<int32_t>(v)), r(s), b(s);
    Tri f2(Tri(s.flipped())->flipped()), rb(Tri(s.rotated())->rotatedBack());
    r.rotate(), r.rotate(), r.rotate(), b.rotateBack(), b.rotateBack(), b.rotateBack();
    EXPECT_EQ(std::vector<uint32_t>({r.rawValue(), b.rawValue(), f2->rawValue(), rb->rawValue()}),
              std::vector<uint32_t>(4, s.rawValue()));
  }
}

TEST(OrientedTriangleStack, ChecksLenientReadsAndCursor) {
  OrientedTriangleStack s;
  EXPECT_EQ(Tri(s.getOrInvalid(0))->index(), -1);
  EXPECT_EQ(Tri(s.first())->rawValue(), 0u);
  EXPECT_EQ(raised([&] { s.at(0); }).text, "Error in class Collection: Invalid index.");
  EXPECT_EQ(raised([&] { s.pop(); }).text, "Error in class Collection: Invalid index.");
  const OrientedTriangle a(0, 1), b(2, 2), c(5, 4);
  EXPECT_EQ(s.append(&a), 0);
  EXPECT_TRUE(s.appendChecked(&c));
  s.insertAt(1, &b);
  s.insertAt(3, &a);
  EXPECT_EQ(raised([&] { s.insertAt(5, &a); }).code, 6);
  std::vector<uint32_t> seen;
  s.reset();
  do seen.push_back(Tri(s.current())->rawValue());
  while (s.next());
  EXPECT_EQ(seen, (std::vector<uint32_t>{a.rawValue(), b.rawValue(), c.rawValue(), a.rawValue()}));
  EXPECT_EQ(s.indexOf(&a), 3);
  EXPECT_FALSE(s.setIfValid(4, &c));
  EXPECT_TRUE(s.setIfValid(3, &c));
  s.removeAt(0);
  EXPECT_EQ(Tri(s.pop())->rawValue(), c.rawValue());
  EXPECT_EQ(Tri(s.last())->rawValue(), c.rawValue());
  EXPECT_EQ(s.indexOf(&a), -1);
  s.clear();
  EXPECT_EQ(s.count(), 0);
}

TEST(OrientedTriangleStackList, HoldsOneReferencePerEntry) {
  std::vector<OrientedTriangleStack*> stacks;
  OrientedTriangleStackList list;
  for (int i = 0; i < 10; ++i) {
    stacks.push_back(new OrientedTriangleStack(i));
    stacks.back()->addRef();
    list.append(stacks.back());
  }
  list.append(nullptr);
  EXPECT_EQ(list.indexOf(nullptr), 10);
  EXPECT_EQ(list.pop(), nullptr);
  EXPECT_EQ(list.pop(), stacks[9]);  // the caller's own reference keeps it
  list.append(stacks[9]);
  EXPECT_EQ(stacks[9]->refCount(), 2u);
  EXPECT_EQ(stacks[3]->refCount(), 2u);
  list.set(3, stacks[4]);
  list.insertAt(0, stacks[4]);
  EXPECT_EQ(std::vector<uint32_t>({stacks[3]->refCount(), stacks[4]->refCount()}),
            std::vector<uint32_t>({1, 4}));
  EXPECT_EQ(list.indexOf(stacks[4]), 5);
  list.removeAt(0);
  EXPECT_EQ(list.current(), nullptr);
  EXPECT_TRUE(list.next());
  EXPECT_EQ(list.current(), stacks[0]);
  list.clear();
  for (OrientedTriangleStack* s : stacks) {
    EXPECT_EQ(s->refCount(), 1u);
    s->release();
  }
}

// The virtual table index of a virtual member function: the pointer to member holds the
// byte offset plus one.
template <class M>
std::ptrdiff_t slotOf(M member) {
  struct {
    std::uintptr_t ptr;
    std::ptrdiff_t adj;
  } rep;
  static_assert(sizeof(member) == sizeof(rep));
  std::memcpy(&rep, &member, sizeof(rep));
  return static_cast<std::ptrdiff_t>((rep.ptr - 1) / sizeof(void*));
}

// Slot n of each list sits n - 1 places after the first.
void expectInOrder(const std::vector<std::ptrdiff_t>& slots) {
  for (size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i] - slots[0], std::ptrdiff_t(i));
}

TEST(OrientedTriangleInterfaces, SlotOrderAndNames) {
  using T = IQorOrientedTriangle;
  using S = IQorOrientedTriangleStack;
  using L = IQorOrientedTriangleStackList;
  using I = IQorOrientedTriangleStackIter;
  using OT = OrientedTriangle;
  using Stk = OrientedTriangleStack;
  expectInOrder({slotOf(&T::rawValue), slotOf(&T::index), slotOf(&T::version), slotOf(&T::isOdd),
                 slotOf(&T::set), slotOf(&T::setRawValue),
                 slotOf(static_cast<T* (T::*)() const>(&T::flipped)),
                 slotOf(static_cast<T* (T::*)() const>(&T::rotated)),
                 slotOf(static_cast<T* (T::*)() const>(&T::rotatedBack)),
                 slotOf(static_cast<OT* (T::*)()>(&T::flipped)),
                 slotOf(static_cast<OT* (T::*)()>(&T::rotated)),
                 slotOf(static_cast<OT* (T::*)()>(&T::rotatedBack))});
  expectInOrder({slotOf(static_cast<int32_t (S::*)()>(&S::size)),
                 slotOf(static_cast<int32_t (S::*)() const>(&S::size)),
                 slotOf(&S::next),
                 slotOf(&S::current),
                 slotOf(static_cast<OT* (S::*)(int32_t)>(&S::at)),
                 slotOf(static_cast<OT* (S::*)(int32_t) const>(&S::at)),
                 slotOf(&S::set),
                 slotOf(&S::append),
                 slotOf(&S::pop),
                 slotOf(&S::appendChecked),
                 slotOf(&S::reset),
                 slotOf(&S::insertAt),
                 slotOf(&S::removeAt),
                 slotOf(&S::indexOf),
                 slotOf(&S::clear),
                 slotOf(&S::count),
                 slotOf(&S::getOrInvalid),
                 slotOf(&S::setIfValid),
                 slotOf(&S::last),
                 slotOf(&S::first)});
  expectInOrder({slotOf(&L::size), slotOf(&L::next), slotOf(&L::current),
                 slotOf(static_cast<Stk* (L::*)(int32_t) const>(&L::at)),
                 slotOf(static_cast<Stk* (L::*)(int32_t)>(&L::at)), slotOf(&L::set),
                 slotOf(&L::append), slotOf(&L::pop), slotOf(&L::reset), slotOf(&L::insertAt),
                 slotOf(&L::removeAt), slotOf(&L::indexOf), slotOf(&L::clear),
                 slotOf(&L::newIterator)});
  expectInOrder({slotOf(&I::size), slotOf(&I::next), slotOf(&I::current), slotOf(&I::reset)});

  OrientedTriangle tri;
  OrientedTriangleStack stack;
  OrientedTriangleStackList list;
  std::unique_ptr<OrientedTriangleIter> it(stack.newIterator());
  std::unique_ptr<IQorOrientedTriangleStackIter> lit(list.newIterator());
  const std::vector<std::pair<IQorUnknown*, std::vector<const char*>>> answers = {
      {static_cast<IQorOrientedTriangle*>(&tri), {"OrientedTriangle", "IQorOrientedTriangle"}},
      {static_cast<IQorOrientedTriangleStack*>(&stack),
       {"OrientedTriangleStack", "IQorOrientedTriangleStack"}},
      {static_cast<IQorOrientedTriangleStackList*>(&list),
       {"OrientedTriangleStackList", "IQorOrientedTriangleStackList"}},
      {static_cast<Primitive*>(it.get()), {"OrientedTriangleIter"}},
      {lit.get(), {"OrientedTriangleStackIter", "IQorOrientedTriangleStackIter"}}};
  for (const auto& [object, names] : answers) {
    std::vector<const char*> all = names;
    all.insert(all.end(), {"Primitive", "IQorPrimitive", "IQorUnknown"});
    for (const char* name : all) EXPECT_NE(qorQuery<void>(object, name), nullptr) << name;
    EXPECT_EQ(qorQuery<void>(object, "Collection"), nullptr);
    EXPECT_STREQ(object->className(), names[0]);
  }
}

// A stack that counts the releases it receives, and one whose flags a test sets.
struct CountedStack : OrientedTriangleStack {
  static inline int releases = 0;
  bool release() override { return ++releases, OrientedTriangleStack::release(); }
};
struct FlaggedStack : OrientedTriangleStack {
  FlaggedStack(bool fixed, bool readOnly) { fixedSize_ = fixed, readOnly_ = readOnly; }
};

TEST(OrientedTriangleStack, GuardsIteratorsAndReleases) {
  const std::string fixed = "Error in class Collection: Collection has a fixed size.";
  const std::string readOnly = "Error in class Collection: Collection is readonly.";
  const OrientedTriangle a(3, 2);
  FlaggedStack f(true, false), r(false, true);
  EXPECT_EQ(raised([&] { f.append(&a); }).text, fixed);
  EXPECT_EQ(raised([&] { f.clear(); }).text, fixed);
  EXPECT_EQ(raised([&] { r.set(0, &a); }).text, readOnly);
  EXPECT_EQ(raised([&] { r.insertAt(0, nullptr); }).text, readOnly);
  OrientedTriangleStack s;
  const std::string null =
      "Error in class OrientedTriangleStack: An oriented triangle is required, not null.";
  for (auto op : std::vector<std::function<void()>>{[&] { s.append(nullptr); },
                                                    [&] { s.insertAt(0, nullptr); }})
    EXPECT_EQ(raised(op).text, null);
  EXPECT_EQ(s.count(), 0);
  s.append(&a);
  EXPECT_EQ(raised([&] { s.set(0, nullptr); }).text, null);
  EXPECT_FALSE(s.setIfValid(0, nullptr));
  EXPECT_EQ(s.indexOf(nullptr), -1);

  std::unique_ptr<OrientedTriangleIter> it(s.newIterator());  // one-based and live
  EXPECT_EQ(Tri(it->current())->rawValue(), 0u);
  EXPECT_TRUE(it->next());
  EXPECT_EQ(Tri(it->current())->rawValue(), a.rawValue());
  EXPECT_FALSE(it->next());
  s.append(&a);
  EXPECT_EQ(Tri(it->current())->rawValue(), a.rawValue());
  EXPECT_EQ(it->size(), 2);

  CountedStack::releases = 0;
  {
    OrientedTriangleStackList list;
    std::unique_ptr<IQorOrientedTriangleStackIter> lit(list.newIterator());
    for (int i = 0; i < 10; ++i) list.append(new CountedStack());
    EXPECT_TRUE(lit->next());
    EXPECT_EQ(lit->current(), list.at(0));
    list.clear();
    EXPECT_EQ(CountedStack::releases, 10);
    EXPECT_EQ(lit->current(), nullptr);
    EXPECT_EQ(lit->size(), 0);
  }
}

}  // namespace
