// Data object arrays: the order of checks and their texts, the zero-based interface over
// one-based storage, observers, the snapshot iterator and references.
#include <gtest/gtest.h>

#include "datamodel/dataobjectarray.h"
#include "support.h"

namespace {

using namespace dobj_test;

struct Observer : IQorDataObjectArrayObserver {
  void arrayCleared() override { log.push_back("cleared"); }
  void elementAdded(DataObject*, int32_t i) override { log.push_back("+" + std::to_string(i)); }
  void elementRemoved(DataObject*, int32_t i) override { log.push_back("-" + std::to_string(i)); }
  std::vector<std::string> log;
};

// A collection whose flags a test can set.
struct Locked : DataObjectArray {
  Locked(bool fixed, bool readOnly) { fixedSize_ = fixed, readOnly_ = readOnly; }
};

TEST(DataObjectArray, IndicesChecksAndTexts) {
  IPtr<DataObjectArray> a(new DataObjectArray());
  const std::string invalid = "Error in class Collection: Invalid index.";
  EXPECT_EQ(raised([&] { a->at(0); }).text, invalid);
  EXPECT_EQ(raised([&] { a->pop(); }).text, invalid);
  IPtr<DataObject> x(new DataObject()), y(new DataObject());
  a->append(x.get());
  a->insertAt(1, y.get());  // at the size: appends
  EXPECT_EQ(raised([&] { a->insertAt(3, x.get()); }).text, invalid);
  a->insertAt(0, y.get());
  a->append(nullptr);
  ASSERT_EQ(a->size(), 4);
  EXPECT_TRUE(a->at(0) == y.get() && a->at(1) == x.get() && a->at(3) == nullptr);
  EXPECT_EQ(a->indexOf(y.get()), 2) << "the last match";
  EXPECT_EQ(a->indexOf(nullptr), 3);
  IPtr<DataObject> absent(new DataObject());
  EXPECT_EQ(a->indexOf(absent.get()), -1);
  a->removeAt(0);
  EXPECT_TRUE(a->at(0) == x.get() && x->refCount() == 2u && a->pop() == nullptr && a->size() == 2);

  IPtr<Locked> ro(new Locked(false, true)), fixed(new Locked(true, false));
  EXPECT_EQ(raised([&] { ro->clear(); }).text,
            "Error in class Collection: Collection is readonly.");
  EXPECT_EQ(raised([&] { fixed->clear(); }).text,
            "Error in class Collection: Collection has a fixed size.");
  EXPECT_EQ(raised([&] { ro->append(x.get()); }).text,
            "Error in class Collection: Collection is readonly.")
      << "read-only is checked before the size";
  EXPECT_EQ(raised([&] { fixed->set(0, x.get()); }).text, invalid)
      << "a fixed size does not stop set";
}

TEST(DataObjectArray, ObserversCursorAndSnapshots) {
  IPtr<DataObjectArray> a(new DataObjectArray());
  Observer o1, o2;
  for (Observer* o : {&o1, &o2, &o1}) a->addObserver(o);
  a->removeObserver(&o1);
  IPtr<DataObject> x(new DataObject()), y(new DataObject());
  a->append(x.get());
  a->set(0, x.get());
  a->append(y.get());
  a->removeAt(0);
  EXPECT_EQ(o1.log, (std::vector<std::string>{"+0", "-0", "+0", "+1", "-0"}));
  EXPECT_EQ(o2.log, o1.log);

  std::unique_ptr<IQorDataObjectIter> it(a->newIterator());
  a->append(x.get());
  EXPECT_EQ(it->size(), 1) << "the iterator holds a snapshot";
  EXPECT_EQ(it->current(), nullptr) << "before the first next";
  ASSERT_TRUE(it->next() && it->current() == y.get());
  EXPECT_TRUE(!it->next() && a->current() == nullptr);
  EXPECT_TRUE(a->next() && a->next() && a->current() == x.get());
  a->clear();
  EXPECT_EQ(a->cursor(), 2) << "clear leaves the cursor";
  EXPECT_TRUE(o1.log.back() == "cleared" && x->refCount() == 1u) << "clear drops references";
  for (Observer* o : {&o1, &o2, &o2}) a->removeObserver(o);
  EXPECT_EQ(a->observerCount(), 0);
}

}  // namespace
