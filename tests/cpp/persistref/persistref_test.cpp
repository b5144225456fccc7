// The numbering of stored objects: the reference chunk's bytes, registering on read, the
// host's numbering, waiting requests and their cancellation, the write queue and the
// register of live objects.
#include <gtest/gtest.h>

#include <vector>

#include "core/iptr.h"
#include "datamodel/qorpersistentref.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/persistence.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes written(int32_t generation, IQorWriteable* object) {
  BinOutputMemory out;
  out.setVersion(generation);
  {
    QorFileWrite w(&out, false);
    EXPECT_TRUE(object->write(&w));
    EXPECT_TRUE(w.good());
  }
  EXPECT_TRUE(out.flush());
  return Bytes(out.data(), out.data() + out.size());
}

// Every test starts and ends with an empty numbering.
class PersistentRef : public ::testing::Test {
 protected:
  void SetUp() override { refhost::persistentRefMap().clear(); }
  void TearDown() override {
    refhost::persistentRefMap().clear();
    refhost::manager().setMode("IQorPersistentRefMap", refhost::ServiceMode::Normal);
  }
  refhost::RefPersistentRefMap& map = refhost::persistentRefMap();
};

// Records what it is told.
struct Waiter : IQorPersistentRefCallback {
  void refResolved(uint32_t refId, IQorPersistentRef* ref) override {
    heard.push_back({refId, ref});
  }
  std::vector<std::pair<uint32_t, IQorPersistentRef*>> heard;
};

TEST_F(PersistentRef, ChunkHoldsTheNumberInBothWidths) {
  IPtr<QorPersistentRef> a(new QorPersistentRef), b(new QorPersistentRef);
  // 8-byte lengths: object chunk 0x0B0002 version 0, length 32, zero class id, number.
  Bytes wide = {0x0b, 0x00, 0x02, 0x00, 0, 0, 0, 0, 0, 0, 0, 0x20};
  wide.insert(wide.end(), 16, 0);
  for (uint8_t x : {0, 0, 0, 1}) wide.push_back(x);
  EXPECT_EQ(written(0, a.get()), wide);
  EXPECT_EQ(written(0, a.get()), wide) << "a numbered object keeps its number";
  Bytes narrow = {0x0b, 0x00, 0x02, 0x00, 0, 0, 0, 0x1c};
  narrow.insert(narrow.end(), 16, 0);
  for (uint8_t x : {0, 0, 0, 2}) narrow.push_back(x);
  EXPECT_EQ(written(5, b.get()), narrow);
  EXPECT_TRUE(map.isWritten(1));
  EXPECT_TRUE(map.isWritten(2));
  EXPECT_FALSE(map.isWritten(3));
  EXPECT_TRUE(map.containsRef(a.get()));
  EXPECT_EQ(a->refCount(), 1u) << "numbering while writing takes no reference";

  refhost::manager().setMode("IQorPersistentRefMap", refhost::ServiceMode::Absent);
  IPtr<QorPersistentRef> c(new QorPersistentRef);
  Bytes zero = wide;
  zero[zero.size() - 1] = 0;
  EXPECT_EQ(written(0, c.get()), zero) << "without the numbering the number is 0";
}

TEST_F(PersistentRef, ReadingRegistersAndResolvesWaitingRequests) {
  Bytes file = {0x0b, 0x00, 0x02, 0x00, 0, 0, 0, 0x1c};
  file.insert(file.end(), 16, 0);
  for (uint8_t x : {0, 0, 0, 7}) file.push_back(x);
  Waiter early, late, cancelled;
  map.requestRef(7, &early);
  map.requestRef(7, &cancelled);
  map.requestRef(0, &early);
  EXPECT_EQ(map.unresolvedCount(), 2) << "number 0 never waits";
  map.cancelRequests(&cancelled);
  EXPECT_EQ(map.unresolvedCount(), 1);

  auto* raw = new QorPersistentRef;
  IPtr<QorPersistentRef> target(raw);
  BinInputMemory in(file.data(), file.size());
  in.setLengthWidth(32);
  QorFileRead r;
  r.attach(&in);
  EXPECT_TRUE(target->read(static_cast<IQorDataModelReader*>(&r)));
  ASSERT_EQ(early.heard.size(), 1u);
  EXPECT_EQ(early.heard[0].first, 7u);
  EXPECT_EQ(early.heard[0].second, static_cast<IQorPersistentRef*>(raw));
  EXPECT_TRUE(cancelled.heard.empty());
  EXPECT_EQ(map.lookup(7), static_cast<IQorPersistentRef*>(raw));
  map.requestRef(7, &late);
  EXPECT_EQ(late.heard.size(), 1u) << "a known number answers at once";
  EXPECT_EQ(map.getRefId(raw), 7u);
  IPtr<QorPersistentRef> fresh(new QorPersistentRef);
  EXPECT_EQ(map.getRefId(fresh.get()), 8u) << "new numbers go past those read";

  // The numbering keeps an object read from a file alive until the file ends.
  target.reset();
  EXPECT_EQ(raw->refCount(), 1u);
  map.clear();
  EXPECT_EQ(map.lookup(7), nullptr);
}

TEST_F(PersistentRef, OtherVersionsAndMissingChunksReadNothing) {
  // Version 1 reads as failure and leaves the rest of the chunk to be skipped; the bare
  // value behind it is still reached.
  Bytes file = {0x0b, 0x00, 0x02, 0x01, 0, 0, 0, 0x1c};
  file.insert(file.end(), 16, 0);
  for (uint8_t x : {0, 0, 0, 9}) file.push_back(x);
  for (uint8_t x : {0, 0, 0, 5}) file.push_back(x);
  IPtr<QorPersistentRef> p(new QorPersistentRef);
  BinInputMemory in(file.data(), file.size());
  in.setLengthWidth(32);
  QorFileRead r;
  r.attach(&in);
  EXPECT_FALSE(p->read(static_cast<IQorDataModelReader*>(&r)));
  EXPECT_EQ(map.lookup(9), nullptr);
  int32_t value = 0;
  EXPECT_TRUE(r.read(value));
  EXPECT_EQ(value, 5);
  // Where no object chunk stands the read answers true and registers nothing.
  EXPECT_TRUE(p->read(static_cast<IQorDataModelReader*>(&r)));
  EXPECT_EQ(map.unresolvedCount(), 0);
}

// The least a data object must be for the queue and the register.
struct Fake : IQorDataObject {
  explicit Fake(int64_t id) : id(id) {}
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Fake"; }
  int64_t getObjectId() override { return id; }
  void getName(QorString&) override {}
  void setName(const QorString&) override {}
  IQorDataObject* clone() override { return nullptr; }
  void createHost() override {}
  void reserved6() override {}
  void addListener(IQorLifetimeListener*) override {}
  void removeListener(IQorLifetimeListener*) override {}
  bool subscribe(const QorCString&, IQorEventSubscriber*) override { return false; }
  bool unsubscribe(const QorCString&, IQorEventSubscriber*) override { return false; }
  const char* eventNames() override { return ""; }
  void fireEvent(const QorCString&, IQorDataEventArgs*) override {}
  IQorUndoInfo* createUndoInfo() override { return nullptr; }
  void reserved14() override {}
  int64_t id;
};

TEST(WriteQueue, HandsEachObjectOutOncePerFileInOrder) {
  refhost::RefWriteQueue q;
  Fake a(1), b(2), c(3);
  EXPECT_TRUE(q.isEmpty());
  EXPECT_EQ(q.pop(), nullptr);
  q.push(&a);
  q.push(&b);
  q.push(&a);
  EXPECT_EQ(q.pop(), &a);
  q.push(&a);
  q.push(&c);
  EXPECT_EQ(q.pop(), &b);
  EXPECT_EQ(q.pop(), &c);
  EXPECT_TRUE(q.isEmpty()) << "an object handed out is not queued again";
  q.clear();
  q.push(&a);
  EXPECT_EQ(q.pop(), &a) << "a new file starts afresh";
}

TEST(Database, FindsByIdAndRemovesTheLastEqualEntry) {
  refhost::RefDatabase d;
  Fake a(10), b(20);
  d.add(&a);
  d.add(&b);
  d.add(&a);
  EXPECT_EQ(d.count(), 3);
  EXPECT_EQ(d.find(20), &b);
  EXPECT_EQ(d.find(30), nullptr);
  d.remove(&a);
  d.remove(&b);
  EXPECT_EQ(d.count(), 1);
  EXPECT_EQ(d.find(10), &a);
  d.remove(&b);
  EXPECT_EQ(d.count(), 1) << "removing what is not there changes nothing";
}

TEST(PersistentRefServices, ReachableByNameInTheFullProfile) {
  EXPECT_EQ(qor::persistentRefMap(),
            static_cast<IQorPersistentRefMap*>(&refhost::persistentRefMap()));
  void* out = nullptr;
  EXPECT_EQ(getService("IQorWriteQueue", &out), 1);
  EXPECT_EQ(out, static_cast<IQorWriteQueue*>(&refhost::writeQueue()));
  EXPECT_EQ(getService("IQorDatabase", &out), 1);
  EXPECT_EQ(out, static_cast<IQorDatabase*>(&refhost::database()));
}

}  // namespace
