// Feature shells against a small recording host and the reference host's arc: the message
// protocol, undo records, pairing with hosts, the lifetime log and the stored record.
#include "features/feature.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "features/arccurve.h"
#include "hostapi/iqorappproxymanager.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/services.h"
#include "testkit.h"

using namespace testkit;

namespace {

const QorID kFakeId{0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}};
const Bytes kFakeIdBytes = hex("11223344 5566 7788 99aabbccddeeff01");
constexpr uint32_t kObject = 0x0B0002;

// A host feature holding one number, which is its whole stored form.
class FakeHost : public IQorFeature, public IQorPersistable {
 public:
  explicit FakeHost(int32_t v = 0) : value(v) {}
  void queryInterface(const char* name, void** out, uintptr_t) override {
    *out = nullptr;
    if (qorNameIs(name, "IQorUnknown")) *out = static_cast<IQorUnknown*>(this);
    if (qorNameIs(name, "IQorFeature")) *out = static_cast<IQorFeature*>(this);
    if (qorNameIs(name, "IQorPersistable")) *out = static_cast<IQorPersistable*>(this);
  }
  const char* className() override { return "FakeHost"; }
  IQorFeature* clone() override { return new FakeHost(value); }
  void setParameterTable(IQorParameterTable*) override {}
  IQorParameterTable* parameterTable() override { return nullptr; }
  void setParameter(const QorString& name, IQorParameter*) override { set.push_back(name.utf8()); }
  void transform(const QorMatrix&) override { ++moved; }
  void boundingBox(QorBounds&) override {}
  bool write(QorFileWrite* w) override { return w->write(value); }
  bool read(QorFileRead* r) override { return r->read(value); }
  QorID classId() override { return kFakeId; }
  int32_t value;
  int moved = 0;
  std::vector<std::string> set;
};

// A shell over a fake host; reading one makes a fresh fake host.
class FakeShell : public features::Feature {
 public:
  const char* className() override { return "FakeShell"; }
  QorID classId() override { return kFakeId; }
  void createHost() override { connect(new FakeHost()); }
  FakeHost* fake() { return dynamic_cast<FakeHost*>(host()); }
};

const QorString kRadius(u"Radius");

TEST(Feature, MessagesFromTheHostBecomeUpdatedEventsAfterTheSuspensionEnds) {
  IPtr<FakeShell> f(new FakeShell());
  f->connect(new FakeHost());
  EventRecorder rec;
  ASSERT_TRUE(f->subscribe(QorCString("updated"), &rec));
  f->notify("endUpdate", nullptr, nullptr);
  f->notify("setParameter", nullptr, const_cast<QorString*>(&kRadius));
  f->notify("updated", nullptr, nullptr);
  EXPECT_TRUE(rec.heard.empty()) << "suspended";
  f->notify("startUpdate", nullptr, nullptr);
  ASSERT_EQ(rec.heard.size(), 1u);
  EXPECT_TRUE(rec.heard[0].list.empty() && f->updateSuspendCount() == 0);
  f->notify("startUpdate", nullptr, nullptr);  // no endUpdate before it
  EXPECT_EQ(rec.heard.size(), 2u);
  EXPECT_EQ(f->updateSuspendCount(), -1);
  f->notify("endUpdate", nullptr, nullptr);
  f->notify("somethingElse", nullptr, nullptr);
  EXPECT_EQ(rec.heard.size(), 2u);
  EXPECT_EQ(f->updateSuspendCount(), 0);
  f->notify("setParameter", nullptr, const_cast<QorString*>(&kRadius));
  ASSERT_EQ(rec.heard.size(), 3u);
  ASSERT_NE(rec.heard[2].arg("setParameter"), nullptr);
  EXPECT_EQ(rec.heard[2].arg("setParameter")->printed, "Radius");
  f->setName(QorString(u"first"));
  f->transform(QorMatrix());
  EXPECT_EQ(f->fake()->set, std::vector<std::string>{"Name"});
  EXPECT_EQ(f->fake()->moved, 1);
  EXPECT_EQ(rec.heard.size(), 4u) << "transform tells the shell";
  f->connect(new FakeHost());
  EXPECT_EQ(f->updateSuspendCount(), 0);
  EXPECT_EQ(f->memorySize(), 80);
  QorBounds box = f->boundingBoxValue();
  EXPECT_TRUE(box.minX == 3.4028234663852886e38 && box.maxZ == -3.4028234663852886e38);
}

TEST(Feature, NameParameterRenamesEvenWhileSuspended) {
  IPtr<features::ArcCurve> arc(new features::ArcCurve()), other(new features::ArcCurve());
  arc->setName(QorString(u"held"));  // into the host's table
  other->setName(QorString(u"other's"));
  arc->DataObject::setName(QorString(u"stale"));
  arc->notify("endUpdate", nullptr, nullptr);
  const QorString name(u"Name");
  arc->notify("setParameter", nullptr, const_cast<QorString*>(&name));
  EXPECT_EQ(std::string(arc->nameValue().utf8()), "held");
}

TEST(Feature, UndoRecordsHandTheSameHostClonesBack) {
  IPtr<FakeShell> f(new FakeShell());
  f->connect(new FakeHost(1));
  f->setName(QorString(u"before"));
  IPtr<IQorUndoInfo> u(f->createUndoInfo());
  EXPECT_EQ(u->undoSize(), 80);
  f->fake()->value = 2;
  f->setName(QorString(u"after"));
  u->captureAfter();
  EXPECT_EQ(u->undoSize(), 160);
  u->undo();
  IQorFeature* before = f->host();
  EXPECT_EQ(f->fake()->value, 1);
  EXPECT_EQ(std::string(f->nameValue().utf8()), "before");
  u->redo();
  EXPECT_EQ(f->fake()->value, 2);
  u->undo();
  EXPECT_EQ(f->host(), before) << "the record's own clone, not a new one";
  EXPECT_TRUE(u->isUndoable() && !u->isDone());
}

TEST(Feature, PairingFindsOnlyRegisteredShellsAndCreatesOneEntry) {
  void* out = nullptr;
  getService("IQorArc", &out);
  IPtr<IQorArc> arcHost(static_cast<IQorArc*>(out));
  auto* host = qorQuery<IQorFeature>(arcHost.get(), "IQorFeature");
  ASSERT_NE(host, nullptr);
  EXPECT_EQ(features::findProxy(host), nullptr);
  IPtr<features::IQorFeature> shell(features::createProxy(host));
  ASSERT_NE(shell.get(), nullptr);
  EXPECT_EQ(features::findProxy(host), shell.get());
  EXPECT_EQ(shell->host(), host);
  EventRecorder rec;
  auto* data = qorQuery<DataObject>(shell.get(), "DataObject");
  ASSERT_TRUE(data->subscribe(QorCString("updated"), &rec));
  arcHost->setRadius(3.0);
  EXPECT_FALSE(rec.heard.empty()) << "a mirrored shell hears its host's table";
  SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  IQorProxyRegistry* arcs = manager->registry(QorCString("IQorArc"));
  EXPECT_EQ(arcs->find(host), static_cast<IQorUnknown*>(shell.get()));
  EXPECT_EQ(manager->registry(QorCString("IQorPlane"))->find(host), nullptr);
  IPtr<FakeHost> plain(new FakeHost());
  EXPECT_EQ(features::createProxy(plain.get()), nullptr);
  EXPECT_EQ(features::createProxy(nullptr), nullptr);
  data->unsubscribe(QorCString("updated"), &rec);
  shell.reset();
  EXPECT_EQ(arcs->find(host), nullptr) << "a dying shell leaves the registry";
  arcHost->setRadius(4.0);  // and its table's listeners
}

TEST(Feature, ShellsLogTheirBirthAndDeath) {
  refhost::log().clear();
  int64_t id = 0;
  {
    IPtr<features::ArcCurve> arc(new features::ArcCurve());
    id = arc->getObjectId();
  }
  std::vector<std::string> texts;
  for (const auto& line : refhost::log().lines()) texts.push_back(line.text);
  const std::string tag = "[ArcCurve] [id = " + std::to_string(id) + "] ";
  EXPECT_EQ(texts, (std::vector<std::string>{tag + "Created", tag + "Destroyed"}));
}

TEST(Feature, RecordHoldsTheHostsStreamThenTheDataObjectPart) {
  IPtr<FakeShell> f(new FakeShell());
  f->connect(new FakeHost(7));
  f->setName(QorString(u"seven"));
  Bytes all = filed(0, [&](QorFileWrite& w) { f->write(static_cast<IQorDataModelWriter*>(&w)); });
  const Bytes record = chunk(kObject, 2, kFakeIdBytes + be({7}));
  ASSERT_GT(all.size(), record.size());
  EXPECT_EQ(Bytes(all.begin(), all.begin() + record.size()), record);
  const Bytes rest(all.begin() + record.size(), all.end());
  EXPECT_EQ(Bytes(rest.begin(), rest.begin() + 4), be({kObject << 8 | 5})) << "DataObject v5";

  FileReader back(all);
  IPtr<FakeShell> g(new FakeShell());
  EXPECT_TRUE(g->read(static_cast<IQorDataModelReader*>(&back.r)));
  EXPECT_TRUE(g->fake() && g->fake()->value == 7 && std::string(g->nameValue().utf8()) == "seven");

  FileReader old(chunk(kObject, 1, kFakeIdBytes + be({9})) + rest);
  IPtr<FakeShell> h(new FakeShell());
  h->read(static_cast<IQorDataModelReader*>(&old.r));
  EXPECT_EQ(h->fake()->value, 9);
  EXPECT_EQ(std::string(h->nameValue().utf8()), "") << "a version 1 record has no DataObject part";
  EXPECT_EQ(old.in.tell(), static_cast<int64_t>(record.size()));
}

TEST(FeatureEditor, HandlesOnceAndStaysEnabledWhenHandleThrows) {
  struct Editor : features::FeatureEditor {
    Editor() : FeatureEditor(nullptr) {}
    void handle(const char* message, IQorSubject*, void*) override {
      seen.push_back(message);
      if (seen.size() == 3) notify("again", nullptr, nullptr);  // not handled again
      if (throwNow) throw 1;
    }
    std::vector<std::string> seen;
    bool throwNow = false;
  } e;
  e.notify("endUpdate", nullptr, nullptr);
  e.notify("ignored while not updating", nullptr, nullptr);
  e.notify("startUpdate", nullptr, nullptr);
  e.notify("setParameter", nullptr, nullptr);
  EXPECT_EQ(e.seen, (std::vector<std::string>{"endUpdate", "startUpdate", "setParameter"}));
  e.throwNow = true;
  EXPECT_ANY_THROW(e.notify("setParameter", nullptr, nullptr));
  EXPECT_TRUE(e.enabled() && e.updating());
}

}  // namespace
