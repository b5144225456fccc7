// The reference host's live document: iterator flags, named references, the active list,
// groups and bounds, builder and remover with the proxy tables, sub-object managers, and
// the round trip through the plain record.
#include "refhost/document.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "document/imodel.h"
#include "refhost/appservices.h"
#include "refhost/datamodels.h"
#include "refhost/proxies.h"

namespace {

using namespace refhost;

// A model as the module's would behave towards the host: binds itself in setHostObject and
// counts names heard and live instances.
struct TestModel : IModel, IQorListener {
  static inline int live = 0;
  std::vector<IQorObject*> hosts;
  int names = 0;
  IQorObject* host = nullptr;
  TestModel() { ++live; }
  ~TestModel() override { --live; }
  void queryInterface(const char* n, void** out, uintptr_t) override {
    *out = nullptr;
    if (qorNameIs(n, "IModel")) *out = static_cast<IModel*>(this);
    if (qorNameIs(n, "IQorListener")) *out = static_cast<IQorListener*>(this);
  }
  const char* className() override { return "TestModel"; }
  void setHostObject(IQorObject* o) override {
    hosts.push_back(host = o);
    proxyManager().table("IQorObject")->bind(static_cast<IModel*>(this), o);
  }
  bool getPrimVisible(const QorCString&) override { return false; }
  void setPrimVisible(const QorCString&, bool) override {}
  IQorObject* hostObject() override { return host; }
  bool transform(const QorMatrix&) override { return false; }
  void notify(const char* m, IQorSubject*, void*) override { names += qorNameIs(m, "NameChanged"); }
};

TestModel* modelOf(IQorObject* o) {
  return dynamic_cast<TestModel*>(proxyManager().table("IQorObject")->scriptObject(o));
}

std::shared_ptr<const Geometry> cloud(refhost::Positions xyz,
                                      Geometry::Kind kind = Geometry::Kind::Points) {
  auto g = std::make_shared<Geometry>();
  g->kind = kind;
  g->positions = std::move(xyz);
  if (kind == Geometry::Kind::Mesh) g->triangles = {0, 1, 2};
  return g;
}

std::vector<int> ids(IQorObjectIter* it) {
  IPtr<IQorObjectIter> hold(it);
  std::vector<int> out;
  for (it->first(); !it->atEnd(); it->next()) out.push_back(it->current()->id());
  return out;
}

class HostDocument : public ::testing::Test {
 protected:
  void SetUp() override {
    RefProxyManager::setModelFactory([](IQorObject* o) -> IQorUnknown* {
      auto* m = new TestModel();
      m->setHostObject(o);
      return static_cast<IModel*>(m);
    });
    doc.clear();
    callLog().clear();
  }
  RefDoc& doc = document();
};

TEST_F(HostDocument, IteratorFlagsLeaveOutWorldAndChooseGroupMembers) {
  IQorObject* p = doc.addModelObject(u"p", cloud({0, 0, 0}), false);
  IQorObject* g = doc.newObject(1, -1);
  IQorObject* m =
      doc.addModelObject(u"m", cloud({0, 0, 0, 1, 0, 0, 0, 1, 0}, Geometry::Kind::Mesh), false);
  RefObject* s = doc.append("Section", QorString(u"cut"));
  ASSERT_TRUE(m->addToGroup(g));
  const int P = p->id(), G = g->id(), M = m->id(), S = s->id();
  struct Case {
    uint8_t a, b;
    std::vector<int> want;
  } cases[] = {{1, 0, {P, G, S}}, {1, 1, {P, G, M, S}}, {0, 0, {P, G, M, S}}, {0, 1, {P, G, M, S}}};
  for (auto& c : cases)
    EXPECT_EQ(ids(doc.objectIterator(2, 0, c.a, c.b)), c.want) << int(c.a) << int(c.b);
  EXPECT_EQ(ids(g->groupMembers()), std::vector<int>{M});
  EXPECT_EQ(doc.objectByName(QorString(u"World")), doc.world());
  auto log = callLog().lines();
  EXPECT_NE(std::find(log.begin(), log.end(), "doc.objectIterator 2 0 1 0"), log.end());
}

TEST_F(HostDocument, NamedReferencesAndActiveList) {
  IQorObject* a = doc.addModelObject(u"a", cloud({1, 1, 1}), false);
  IQorObject* b = doc.addModelObject(u"b", cloud({2, 2, 2}), true);
  EXPECT_EQ(doc.activeObject(1, 1), b);
  doc.setActiveObject(nullptr);
  EXPECT_EQ(doc.activeObject(1, 1), doc.world());  // nothing active: the World answers
  IterStack<IQorObject*> zero, two;
  doc.activeObjects(0, 0, &zero);
  doc.activeObjects(2, 0, &two);
  EXPECT_EQ(zero.count(), 1);
  EXPECT_EQ(two.count(), 0);
  doc.setActiveObject(a);
  doc.addActiveObject(b);
  doc.addActiveObject(b);
  IterStack<IQorObject*> both;
  doc.activeObjects(0, 0, &both);
  ASSERT_EQ(both.count(), 2);
  EXPECT_EQ(both.get(1), a);
  EXPECT_EQ(both.get(2), b);

  doc.setNamedReference("ref", a);
  EXPECT_EQ(doc.namedReference("ref"), a);
  EXPECT_TRUE(doc.isNamedReference("ref", a));
  EXPECT_FALSE(doc.isNamedReference("ref", b));
  doc.remove(doc.find(a), true, true);
  EXPECT_EQ(doc.namedReference("ref"), nullptr);  // removal forgets references and activity
  EXPECT_EQ(doc.activeObject(1, 1), b);
  doc.setNamedReference("ref", b);
  doc.clearNamedReference("ref");
  EXPECT_EQ(doc.namedReference("ref"), nullptr);
  EXPECT_EQ(doc.objectById(b->id()), b);
  EXPECT_EQ(doc.objectByName(QorString(u"a")), nullptr);
}

TEST_F(HostDocument, GroupRulesAndBoundsUnderTransforms) {
  IQorObject* p = doc.addModelObject(u"p", cloud({0, 0, 0, 1, 2, 3}), false);
  IQorObject* q = doc.addModelObject(u"q", cloud({-1, 0, 0}), false);
  IQorObject* g = doc.newObject(1, -1);
  IQorObject* h = doc.newObject(1, -1);
  EXPECT_FALSE(g->addToGroup(h));  // no nesting
  EXPECT_FALSE(p->addToGroup(q));  // only a group takes members
  EXPECT_FALSE(p->isInGroup());
  ASSERT_TRUE(p->addToGroup(g) && q->addToGroup(g));
  EXPECT_EQ(p->parent(), g);
  ASSERT_TRUE(p->addToGroup(h));  // moving on leaves the old group
  EXPECT_EQ(ids(g->groupMembers()), std::vector<int>{q->id()});
  p->removeFromGroup();
  EXPECT_EQ(p->parent(), nullptr);
  ASSERT_TRUE(p->addToGroup(g));

  QorBounds b;
  p->transform(QorMatrix::uniformScale(2), 0);
  p->transform(QorMatrix::fromTranslation(QorVector{10, 0, 0}), 0);  // scale first, then move
  p->bounds(&b, 1);
  EXPECT_EQ(b, QorBounds(10, 0, 0, 12, 4, 6));
  g->bounds(&b, 1);
  EXPECT_EQ(b, QorBounds(-1, 0, 0, 12, 4, 6));
  g->transform(QorMatrix::fromTranslation(QorVector{0, 0, 1}), 0);  // the members move along
  g->bounds(&b, 1);
  EXPECT_EQ(b, QorBounds(-1, 0, 1, 12, 4, 7));
  h->bounds(&b, 1);
  EXPECT_TRUE(b.isEmpty());
}

TEST_F(HostDocument, BuilderMakesModelsAndBindsTheDataObjects) {
  struct Case {
    const char* type;
    IQorUnknown* data;
    const char* model;  // null: none
    const char* table;
    const char* answers;
  };
  auto mesh = cloud({0, 0, 0, 1, 0, 0, 0, 1, 0}, Geometry::Kind::Mesh);
  IPtr<IQorUnknown> holder(makeHostData("Curve", nullptr));
  IPtr<Points> points(new Points(cloud({5, 5, 5})));
  Case cases[] = {
      {"Point", points->hostData(), "PointModel", "IQorPoints", "Points"},
      {"Polygon", makeHostData("Polygon", mesh), "SurfModel", "IQorMesh", "Mesh"},
      {"CAD", makeHostData("CAD", mesh), "GenModel", "IQorMeshExt", "CADModel"},
      {"Scan", makeHostData("Scan", cloud({0, 0, 0})), "ScanModel", "IQorScan", "GriddedPoints"},
      {"Curve", holder.get(), "CurveModel", "ICurveSet", "Curves"},
      {"Feature", nullptr, nullptr, nullptr, nullptr}};
  for (const Case& c : cases) {
    RefObjectBuilder& b = objectBuilder();
    b.begin(c.type, QorString(c.type), 1);
    b.setData(c.data);
    IQorObject* o = b.finish(1);
    ASSERT_NE(o, nullptr) << c.type;
    EXPECT_EQ(doc.activeObject(1, 1), o);
    IQorModel* m = c.model ? o->model(c.model) : nullptr;
    EXPECT_EQ(m != nullptr, c.model != nullptr) << c.type;
    if (!m) continue;
    IQorUnknown* key = nullptr;
    RefProxyTable* t = tableForData(m->data(), &key);
    ASSERT_EQ(t, proxyManager().table(c.table)) << c.type;
    EXPECT_NE(qorQuery<void>(t->scriptObject(key), c.answers), nullptr) << c.type;
  }
  EXPECT_EQ(points->host()->script,
            static_cast<DataObject*>(points.get()));  // its own, not a new one
  EXPECT_EQ(doc.objectByName(QorString("Polygon"))->model(QorCString("GenModel")),
            doc.objectByName(QorString("Polygon"))->model(QorCString("SurfModel")));
  objectBuilder().begin("Point", QorString("x"), 0);
  objectBuilder().setData(holder.get());  // wrong data for the type
  EXPECT_EQ(objectBuilder().finish(1), nullptr);
  objectBuilder().setFails(true);
  objectBuilder().begin("Feature", QorString("x"), 0);
  EXPECT_EQ(objectBuilder().finish(1), nullptr);
  objectBuilder().setFails(false);
}

TEST_F(HostDocument, ProxyTableMakesOneModelAndRemovalUnbindsIt) {
  IQorObject* o = doc.addModelObject(u"o", cloud({0, 0, 0}), false);
  TestModel* m = modelOf(o);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(modelOf(o), m);
  EXPECT_EQ(proxyManager().table("IQorObject")->scriptObject(nullptr), nullptr);
  EXPECT_EQ(proxyManager().proxyTable(QorCString("IQorArc")), nullptr);
  o->setName(QorString(u"renamed"));
  EXPECT_EQ(m->names, 1);
  IPtr<IModel> keep(m);
  IQorUnknown* data = o->model(QorCString("PointModel"))->data();
  EXPECT_NE(proxyManager().table("IQorPoints")->bound(data), nullptr);
  int live = TestModel::live;
  IQorUnknown* key = o;  // the object's root, read while it lives
  RefObjectRemover remover;
  remover.remove(o, 1, 1);
  EXPECT_EQ(m->hosts, (std::vector<IQorObject*>{o, nullptr}));  // told before the object went
  EXPECT_EQ(proxyManager().table("IQorObject")->bound(key), nullptr);
  EXPECT_EQ(proxyManager().table("IQorPoints")->bound(data), nullptr);
  keep.reset();
  EXPECT_EQ(TestModel::live, live - 1);  // the table held the only other reference
}

TEST_F(HostDocument, SnapshotRestoreRoundTrip) {
  IQorObject* p = doc.addModelObject(u"p\u00e9", cloud({1, 2, 3}), true);
  IQorObject* g = doc.newObject(1, -1);
  g->setName(QorString(u"grp"));
  p->addToGroup(g);
  p->setVisible(0);
  p->setPrimVisible(QorCString("PrimEdges"), 1, 1);
  p->transform(QorMatrix::fromTranslation(QorVector{1, 0, 0}), 0);
  doc.append("Section", QorString(u"cut"));
  doc.setNamedReference("r", g);
  TestModel* old = modelOf(p);
  IPtr<IModel> hold(old);
  DocumentSnapshot s = doc.snapshot();
  doc.restore(s);
  EXPECT_EQ(old->hosts.back(), nullptr);
  DocumentSnapshot t = doc.snapshot();
  ASSERT_EQ(t.objects.size(), s.objects.size());
  for (size_t i = 0; i < s.objects.size(); ++i) {
    const ObjectRecord &a = s.objects[i], &b = t.objects[i];
    EXPECT_TRUE(a.id == b.id && a.name == b.name && a.phase == b.phase && a.isGroup == b.isGroup &&
                a.parentId == b.parentId && a.visible == b.visible && a.active == b.active &&
                a.prims == b.prims && std::equal(a.matrix, a.matrix + 16, b.matrix) &&
                a.geometry == b.geometry)
        << i;
  }
  EXPECT_EQ(t.namedReferences, s.namedReferences);
  EXPECT_EQ(t.nextId, s.nextId);
  IQorObject* p2 = doc.objectById(s.objects[1].id);
  EXPECT_NE(p2, p);
  EXPECT_EQ(p2->parent(), doc.namedReference("r"));
  EXPECT_EQ(s.objects[1].matrix[3], 1.0);  // row by row: the move in the last column
  doc.clear();
  EXPECT_EQ(doc.snapshot().objects.size(), 1u);
}

TEST_F(HostDocument, SubObjectManagers) {
  RefObject* o = doc.find(doc.addModelObject(u"o", cloud({0, 0, 0}), false));
  EXPECT_EQ(doc.world()->subObjectManager(&qor::kFeaturesManagerId), nullptr);
  IQorUnknown* fm = o->subObjectManager(&qor::kFeaturesManagerId);
  auto* features = qorQuery<IQorFeatureSubObjectMgr>(fm, "IQorFeatureSubObjectMgr");
  auto* shared = qorQuery<IQorSubObjectMgr>(fm, "IQorSubObjectMgr");
  ASSERT_TRUE(features && shared);
  EXPECT_EQ(qorQuery<void>(fm, "IQorCSysSubObjectMgr"), nullptr);
  IPtr<IQorUnknown> host(new RefCurveSet());  // any host object stands for a feature
  IQorUnknown* sub = features->newSubObject(host.get());
  shared->addSubObject(sub);
  auto* s = qorQuery<IQorSubObject>(sub, "IQorSubObject");
  s->setName(QorString(u"f1"));
  shared->setSubObjectSelected(s->id(), 1);
  EXPECT_TRUE(s->selected());
  EXPECT_EQ(qorQuery<IQorFeatureSubObject>(sub, "IQorFeatureSubObject")->feature(), host.get());
  EXPECT_EQ(o->subObjectByName(QorCString("f1"), 0), sub);
  IPtr<IQorSubObjectIter> it(shared->subObjectIterator());
  it->first();
  EXPECT_EQ(it->current(), sub);
  shared->removeSubObject(sub);
  IPtr<IQorSubObjectIter> empty(shared->subObjectIterator());
  EXPECT_TRUE(empty->atEnd());

  auto* csys = qorQuery<IQorCSysSubObjectMgr>(
      o->subObjectManager(&qor::kCoordinateSystemsManagerId), "IQorCSysSubObjectMgr");
  IPtr<IQorUnknown> c(csys->newCSysSubObject(host.get()));
  auto* cs = qorQuery<IQorCSysSubObject>(c.get(), "IQorCSysSubObject");
  cs->csys()->setName(QorString(u"frame"));
  EXPECT_EQ(cs->csys()->feature(), host.get());
  EXPECT_EQ(dynamic_cast<RefSubObject*>(c.get())->nameUtf8(), "frame");

  BitVector sel;
  sel.set(1);
  o->manager(RefSubObject::Kind::Selection)->addSelection("sel", sel);
  o->addCorrespondence("DefaultCorrespondence 7");
  EXPECT_NE(qorQuery<void>(o->subObjectByName(QorCString("DefaultCorrespondence 7"), 0),
                           "IQorSetCorrespondence"),
            nullptr);
  EXPECT_TRUE(
      dynamic_cast<RefSubObject*>(o->subObjectByName(QorCString("sel"), 0))->bits().equals(sel));
}

TEST_F(HostDocument, MeshConverterAndApplicationServices) {
  IPtr<Mesh> mesh(new Mesh(cloud({0, 0, 0, 1, 0, 0, 0, 1, 0}, Geometry::Kind::Mesh)));
  EXPECT_EQ(mesh->hostData(), nullptr);
  RefMeshConverter converter;
  IQorUnknown* data = converter.toHostMesh(static_cast<DataObject*>(mesh.get()));
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(converter.toHostMesh(static_cast<DataObject*>(mesh.get())), data);
  EXPECT_EQ(proxyManager().table("IQorMesh")->bound(data), static_cast<DataObject*>(mesh.get()));
  EXPECT_EQ(qorQuery<void>(data, "IQorMeshExt"), nullptr);
  IPtr<Points> points(new Points(nullptr));
  EXPECT_EQ(converter.toHostMesh(static_cast<DataObject*>(points.get())), nullptr);
  EXPECT_EQ(mesh->getProperty("numTriangles")->typeName(), std::string("int"));
  proxyManager().table("IQorMesh")->unbind(data);

  IQorObject* o = doc.addModelObject(u"o", cloud({0, 0, 0}), false);
  gfxDoc().gfxObject(o)->rebuild();
  gfxDoc().gfxObject(o)->update(nullptr);
  EXPECT_EQ(gfxDoc().find(o->id())->rebuilds + gfxDoc().find(o->id())->updates, 2);
  unitService().setAnswer(3);
  EXPECT_EQ(unitService().displayUnits(), 3);
  unitService().setAnswer(7);
  EXPECT_EQ(callLog().lines().back(), "units.displayUnits 3");
}

}  // namespace
