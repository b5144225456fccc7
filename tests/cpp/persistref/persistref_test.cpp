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
#include "testkit.h"

namespace {

using namespace testkit;

Bytes writtenRef(int32_t generation, IQorWriteable* object) {
  return filed(generation, [&](QorFileWrite& w) { EXPECT_TRUE(object->write(&w)); });
}

// The reference chunk: object chunk version `version`, zero class id, the number.
Bytes refChunk(uint32_t number, int width, uint32_t version = 0) {
  return chunk(0x0B0002, version, Bytes(16, 0) + be({number}), width);
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

TEST_F(PersistentRef, ChunkHoldsTheNumberInBothWidthsAndReadingRegistersAndResolves) {
  IPtr<QorPersistentRef> a(new QorPersistentRef), b(new QorPersistentRef);
  EXPECT_EQ(writtenRef(0, a.get()), refChunk(1, 8));
  EXPECT_EQ(writtenRef(0, a.get()), refChunk(1, 8)) << "a numbered object keeps its number";
  EXPECT_EQ(writtenRef(5, b.get()), refChunk(2, 4));
  EXPECT_TRUE(map.isWritten(1) && map.isWritten(2) && !map.isWritten(3) &&
              map.containsRef(a.get()));
  EXPECT_EQ(a->refCount(), 1u) << "numbering while writing takes no reference";
  map.clear();

  Waiter early, late, cancelled;
  map.requestRef(7, &early);
  map.requestRef(7, &cancelled);
  map.requestRef(0, &early);
  EXPECT_EQ(map.unresolvedCount(), 2) << "number 0 never waits";
  map.cancelRequests(&cancelled);
  EXPECT_EQ(map.unresolvedCount(), 1);
  auto* raw = new QorPersistentRef;
  IPtr<QorPersistentRef> target(raw);
  FileReader f(refChunk(7, 4), 4);
  EXPECT_TRUE(target->read(static_cast<IQorDataModelReader*>(&f.r)));
  ASSERT_EQ(early.heard.size(), 1u);
  EXPECT_EQ(early.heard[0], std::make_pair(7u, static_cast<IQorPersistentRef*>(raw)));
  EXPECT_TRUE(cancelled.heard.empty() && map.lookup(7) == raw);
  map.requestRef(7, &late);
  EXPECT_EQ(late.heard.size(), 1u) << "a known number answers at once";
  EXPECT_EQ(map.getRefId(raw), 7u);
  IPtr<QorPersistentRef> fresh(new QorPersistentRef);
  EXPECT_EQ(map.getRefId(fresh.get()), 8u) << "new numbers go past those read";
  target.reset();  // the numbering keeps an object read from a file alive until the file ends
  EXPECT_EQ(raw->refCount(), 1u);
  map.clear();
  EXPECT_EQ(map.lookup(7), nullptr);

  refhost::manager().setMode("IQorPersistentRefMap", refhost::ServiceMode::Absent);
  IPtr<QorPersistentRef> c(new QorPersistentRef);
  EXPECT_EQ(writtenRef(0, c.get()), refChunk(0, 8)) << "without the numbering the number is 0";
}

TEST_F(PersistentRef, OtherVersionsAndMissingChunksReadNothing) {
  // Version 1 reads as failure and leaves the rest of the chunk to be skipped; the bare
  // value behind it is still reached.
  IPtr<QorPersistentRef> p(new QorPersistentRef);
  FileReader f(refChunk(9, 4, 1) + be({5}), 4);
  EXPECT_TRUE(!p->read(static_cast<IQorDataModelReader*>(&f.r)) && map.lookup(9) == nullptr);
  int32_t value = 0;
  EXPECT_TRUE(f.r.read(value) && value == 5);
  // Where no object chunk stands the read answers true and registers nothing.
  EXPECT_TRUE(p->read(static_cast<IQorDataModelReader*>(&f.r)) && map.unresolvedCount() == 0);
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

TEST(WriteQueueAndDatabase, HandEachObjectOutOncePerFileFindByIdRemoveTheLastEqualEntry) {
  EXPECT_EQ(&refhost::writeQueue(), &refhost::writeQueue()) << "one queue for the process";
  refhost::RefWriteQueue q;
  refhost::RefDatabase d;
  Fake a(1), b(2), c(3);
  EXPECT_TRUE(q.isEmpty() && q.pop() == nullptr);
  for (Fake* f : {&a, &b, &a}) q.push(f);
  std::vector<IQorDataObject*> out = {q.pop()};
  q.push(&a);  // handed out: not queued again in this file
  q.push(&c);
  out.push_back(q.pop());
  out.push_back(q.pop());
  EXPECT_EQ(out, (std::vector<IQorDataObject*>{&a, &b, &c}));
  EXPECT_TRUE(q.isEmpty());
  q.clear();
  q.push(&a);
  EXPECT_EQ(q.pop(), &a) << "a new file starts afresh";

  for (Fake* f : {&a, &b, &a}) d.add(f);
  EXPECT_TRUE(d.count() == 3 && d.find(2) == &b && d.find(30) == nullptr);
  d.remove(&a);
  d.remove(&b);
  d.remove(&b);  // removing what is not there changes nothing
  EXPECT_TRUE(d.count() == 1 && d.find(1) == (&a));
}

}  // namespace
