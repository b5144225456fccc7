#include "document/application.h"

#include <cstdio>

#include "core/iptr.h"
#include "core/translate.h"
#include "datamodel/dataobject.h"
#include "document/imodel.h"
#include "document/proxyfor.h"
#include "features/feature.h"
#include "hostapi/idatastore.h"
#include "hostapi/iqorappservices.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "surfacing/curves.h"

namespace {

// Services held for the process from their first use (a miss stays a miss).
IQorDoc* doc() {
  static SPtr<IQorDoc> s("IQorDoc");
  return s.get();
}
IGfxDoc* gfxDoc() {
  static SPtr<IGfxDoc> s("IGfxDoc");
  return s.get();
}
IGfxRenderer* renderer() {
  static SPtr<IGfxRenderer> s("IGfxRenderer");
  return s.get();
}
IDataStore* store() {
  static SPtr<IDataStore> s("IDataStore");
  return s.get();
}
IEventService* events() {
  static SPtr<IEventService> s("IEventService");
  return s.get();
}

const char* const kModelInfo = "Document/ModelInfo";
const char* const kNotFound = "object not found or not supported.";

void touchModelInfo() {
  if (IDataStore* s = store()) s->touch(nullptr, kModelInfo);
}

// The data of a host object's model of that name, or null.
IQorUnknown* modelData(IQorObject* host, const char* modelName) {
  IQorModel* m = host ? host->model(QorCString(kBorrow, modelName)) : nullptr;
  return m ? m->data() : nullptr;
}

bool isOfType(IQorObject* host, const char* type) {
  return host->isOfType(QorCString(kBorrow, type)) != 0;
}

DataObject* dataObjectOf(IQorUnknown* script) {
  return qorQuery<DataObject>(script, "DataObject");
}

// Walks a manager's sub-objects; `shellHost` gives the host feature behind each one.
template <class F>
IQorUnknown* findSub(IQorSubObjectMgr* mgr, DataObject* object, F shellHost) {
  IPtr<IQorSubObjectIter> subs(mgr ? mgr->subObjectIterator() : nullptr);
  if (!subs) return nullptr;
  for (subs->first(); !subs->atEnd(); subs->next()) {
    IQorUnknown* sub = subs->current();
    features::IQorFeature* shell =
        features::findProxy(qorQuery<::IQorFeature>(shellHost(sub), "IQorFeature"));
    if (shell && dataObjectOf(shell) == object) return sub;
  }
  return nullptr;
}

}  // namespace

void Application::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "Application"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorApplication"))
    *out = static_cast<IQorApplication*>(this);
}

Application* Application::instance() {
  static SPtr<IQorApplication> app("IQorApplication");
  return app ? qorQuery<Application>(app.get(), "Application") : nullptr;
}

// ---- graphics ----

void Application::redraw(bool rebuildAll) {
  if (rebuildAll) rebuildGfx();
  if (IGfxRenderer* r = renderer()) r->render(1);
  touchModelInfo();
}

void Application::refreshObject(IQorObject* host) {
  IGfxObject* gfx = gfxDoc() ? gfxDoc()->gfxObject(host) : nullptr;
  if (!gfx) return;
  if (auto* mesh = qorQuery<IQorMesh>(modelData(host, "GenModel"), "IQorMesh"))
    mesh->invalidate(1, nullptr);
  gfx->rebuild();
}

void Application::refreshView() {
  touchModelInfo();
  if (IGfxRenderer* r = renderer()) r->render(0);
}

void Application::rebuildGfx() {
  if (IQorDoc* d = doc()) {
    IPtr<IQorObjectIter> it(d->objectIterator(2, 0, 0, 0));
    if (it)
      for (it->first(); !it->atEnd(); it->next()) refreshObject(it->current());
  }
  static SPtr<IUpdateGui> gui("IUpdateGui");
  if (auto* v2 = qorQuery<IUpdateGuiV2>(gui.get(), "IUpdateGuiV2")) v2->update(0);
}

void Application::updateGUI() {
  IQorDoc* d = doc();
  IGfxDoc* g = gfxDoc();
  if (!d || !g) return;
  IPtr<IQorObjectIter> it(d->objectIterator(2, 0, 0, 0));
  if (!it) return;
  for (it->first(); !it->atEnd(); it->next())
    if (IGfxObject* gfx = g->gfxObject(it->current())) gfx->update(nullptr);
}

void Application::updateGfx() {
  if (IEventService* e = events()) e->processEvents();
}

int Application::displayUnits() {
  SPtr<IUnitService> units("IUnitService");
  int u = units ? units->displayUnits() : 7;
  return u == 7 ? 4 : u;
}

// ---- finding what an object stands for ----

bool Application::hostOfData(DataObject* object, IQorObject** out) {
  *out = nullptr;
  struct Test {
    const char* query;
    const char* modelName;
  };
  static constexpr Test kTests[] = {{"points::IQorPoints", "PointModel"},
                                    {"griddedpoints::IGriddedPoints", "ScanModel"},
                                    {"mesh::IQorMeshProxy", "SurfModel"},
                                    {"cad::IQorCADModel", "SurfModel"},
                                    {"curves::IQorCurves", "CurveModel"}};
  for (int i = 0; i < 5; ++i) {
    void* view = nullptr;
    object->queryInterface(kTests[i].query, &view, 0);
    if (!view) continue;
    IQorUnknown* data = nullptr;
    switch (i) {
      case 0:
        data = static_cast<points::IQorPoints*>(view)->hostData();
        break;
      case 1:
        data = static_cast<griddedpoints::IGriddedPoints*>(view)->hostData();
        break;
      case 2:
        data = static_cast<mesh::IQorMeshProxy*>(view)->hostData();
        break;
      case 3:
        data = static_cast<cad::IQorCADModel*>(view)->hostData();
        break;
      default:
        data = static_cast<curves::IQorCurves*>(view)->curveSet();
        break;
    }
    IQorObject* found = nullptr;
    IPtr<IQorObjectIter> it(doc() ? doc()->objectIterator(2, 0, 0, 0) : nullptr);
    if (it)
      for (it->first(); !it->atEnd() && !found; it->next()) {
        IQorObject* host = it->current();
        IQorUnknown* held = modelData(host, kTests[i].modelName);
        if (i == 4) {
          auto* set = qorQuery<IQorCurveSet>(held, "IQorCurveSet");
          held = set ? set->curves() : nullptr;
        }
        if (held && held == data) found = host;
      }
    *out = found;
  }
  return *out != nullptr;
}

bool Application::findFeatureSubObject(DataObject* object, IQorSubObjectMgr** outMgr,
                                       IQorSubObject** outSub) {
  IQorDoc* d = doc();
  if (!d) return false;
  IPtr<IQorObjectIter> it(d->objectIterator(2, 0, 1, 0));
  if (!it) return false;
  for (it->first(); !it->atEnd(); it->next()) {
    IQorObject* host = it->current();
    IQorUnknown* m = host ? host->subObjectManager(&qor::kFeaturesManagerId) : nullptr;
    auto* features = qorQuery<IQorFeatureSubObjectMgr>(m, "IQorFeatureSubObjectMgr");
    auto* mgr = qorQuery<IQorSubObjectMgr>(features, "IQorSubObjectMgr");
    IQorUnknown* sub = findSub(mgr, object, [](IQorUnknown* s) -> IQorUnknown* {
      auto* f = qorQuery<IQorFeatureSubObject>(s, "IQorFeatureSubObject");
      return f ? f->feature() : nullptr;
    });
    if (sub) {
      *outMgr = mgr;
      *outSub = qorQuery<IQorSubObject>(sub, "IQorSubObject");
      return true;
    }
  }
  return false;
}

bool Application::findCSysSubObject(DataObject* object, IQorSubObjectMgr** outMgr,
                                    IQorSubObject** outSub) {
  IQorDoc* d = doc();
  if (!d) return false;
  IPtr<IQorObjectIter> it(d->objectIterator(2, 0, 1, 0));
  if (!it) return false;
  for (it->first(); !it->atEnd(); it->next()) {
    IQorObject* host = it->current();
    IQorUnknown* m = host ? host->subObjectManager(&qor::kCoordinateSystemsManagerId) : nullptr;
    auto* mgr = qorQuery<IQorSubObjectMgr>(m, "IQorSubObjectMgr");
    IQorUnknown* sub = findSub(mgr, object, [](IQorUnknown* s) -> IQorUnknown* {
      auto* c = qorQuery<IQorCSysSubObject>(s, "IQorCSysSubObject");
      IQorCSysObject* csys = c ? c->csys() : nullptr;
      IQorUnknown* feature = csys ? csys->feature() : nullptr;
      return qorQuery<void>(feature, "IQorFeature") ? feature : nullptr;
    });
    if (sub) {
      *outMgr = mgr;
      *outSub = qorQuery<IQorSubObject>(sub, "IQorSubObject");
      return true;
    }
  }
  return false;
}

void Application::findSubObject(DataObject* object, const char* label, IQorSubObjectMgr** mgr,
                                IQorSubObject** sub) {
  *mgr = nullptr;
  *sub = nullptr;
  if (!findFeatureSubObject(object, mgr, sub)) findCSysSubObject(object, mgr, sub);
  if (!*mgr || !*sub) qor::classError(label, kNotFound);
}

void Application::refresh(DataObject* object) {
  IQorSubObjectMgr* mgr = nullptr;
  IQorSubObject* sub = nullptr;
  if (findFeatureSubObject(object, &mgr, &sub)) {
    auto* f = qorQuery<IQorFeatureSubObject>(sub, "IQorFeatureSubObject");
    if (!f) qor::classError("refresh", kNotFound);
    f->refresh();
    refreshView();
    return;
  }
  if (auto* model = qorQuery<IModel>(object, "IModel")) {
    if (IQorObject* host = model->hostObject()) refreshObject(host);
    refreshView();
    return;
  }
  IQorObject* host = nullptr;
  if (object && hostOfData(object, &host)) {
    refreshObject(host);
    refreshView();
    return;
  }
  qor::classError("refresh", kNotFound);
}

bool Application::setVisible(DataObject* object, bool visible) {
  IQorSubObjectMgr* mgr;
  IQorSubObject* sub;
  findSubObject(object, "setVisible", &mgr, &sub);
  sub->setVisible(visible ? 1 : 0);
  return true;
}

bool Application::isVisible(DataObject* object) {
  IQorSubObjectMgr* mgr;
  IQorSubObject* sub;
  findSubObject(object, "isVisible", &mgr, &sub);
  return sub->visible() != 0;
}

// The labels of the two selection operations are those of the visibility ones.
bool Application::setSelected(DataObject* object, bool selected) {
  IQorSubObjectMgr* mgr;
  IQorSubObject* sub;
  findSubObject(object, "setVisible", &mgr, &sub);
  mgr->setSubObjectSelected(sub->id(), selected ? 1 : 0);
  return true;
}

bool Application::isSelected(DataObject* object) {
  IQorSubObjectMgr* mgr;
  IQorSubObject* sub;
  findSubObject(object, "isVisible", &mgr, &sub);
  return sub->selected() != 0;
}

// ---- the document's objects ----

IQorUnknown* Application::activeObject() {
  IQorObject* host = doc() ? doc()->activeObject(1, 1) : nullptr;
  if (host && isOfType(host, "World")) host = nullptr;
  return proxyForObject(host);
}

IterStack<DataObject*> Application::activeObjects() {
  IterStack<DataObject*> result(20);
  IQorDoc* d = doc();
  if (!d) return result;
  IterStack<IQorObject*> hosts(20);
  d->activeObjects(0, 0, &hosts);
  for (int32_t i = 1; i <= hosts.count(); ++i) {
    IQorObject* host = hosts.get(i);
    if (!host || isOfType(host, "World")) continue;
    if (DataObject* o = dataObjectOf(proxyForObject(host))) result.push(o);
  }
  return result;
}

IterStack<DataObject*> Application::getModels() {
  IterStack<DataObject*> result(20);
  IPtr<IQorObjectIter> it(doc() ? doc()->objectIterator(2, 0, 1, 1) : nullptr);
  if (!it) return result;
  for (it->first(); !it->atEnd(); it->next()) {
    IQorObject* host = it->current();
    if (!host || isOfType(host, "Section")) continue;
    if (DataObject* o = dataObjectOf(proxyForObject(host))) result.push(o);
  }
  return result;
}

void Application::setActiveObject(IModel* model) {
  if (doc() && model) doc()->setActiveObject(model->hostObject());
}

void Application::addActiveObject(IModel* model) {
  if (doc() && model) doc()->addActiveObject(model->hostObject());
}

IQorUnknown* Application::namedReferenceObject(const char* ref) {
  return doc() ? proxyForObject(doc()->namedReference(ref)) : nullptr;
}

void Application::setNamedReferenceObject(const char* ref, IModel* model) {
  if (model && doc()) doc()->setNamedReference(ref, model->hostObject());
}

bool Application::isNamedReferenceObject(const char* ref, IModel* model) {
  return model && doc() && doc()->isNamedReference(ref, model->hostObject()) != 0;
}

void Application::clearNamedReference(const char* ref) {
  if (IQorDoc* d = doc()) d->clearNamedReference(ref);
}

IQorUnknown* Application::getModelByName(const QorString& name) {
  IQorObject* host = doc() ? doc()->objectByName(name) : nullptr;
  return host ? proxyForObject(host) : nullptr;
}

IQorUnknown* Application::getModelById(int id) {
  IQorObject* host = doc() ? doc()->objectById(id) : nullptr;
  return host ? proxyForObject(host) : nullptr;
}

IQorUnknown* Application::newGroup(const QorString& name) {
  IQorObject* group = doc() ? doc()->newObject(1, -1) : nullptr;
  if (!group) return nullptr;
  group->setName(name);
  return proxyForObject(group);
}

// ---- documents ----

bool Application::open(const QorString& filename) {
  SPtr<IQorLodexFileSupport> files("IQorLodexFileSupport");
  return files && files->openFile(filename) != 0;
}

bool Application::save() {
  SPtr<IQorLodexFileSupport> files("IQorLodexFileSupport");
  return files && files->saveFile() != 0;
}

bool Application::importFile(const QorString& filename) {
  SPtr<IQorLodexFileSupport> files("IQorLodexFileSupport");
  return files && files->importFile(filename) != 0;
}

bool Application::newFile() {
  SPtr<IQorLodexFileSupport> files("IQorLodexFileSupport");
  return files && files->newFile() != 0;
}

bool Application::saveAs(const QorString& filename) {
  SPtr<IQorLodexFileSupport> files("IQorLodexFileSupport");
  return files && files->saveFileAs(filename) != 0;
}

void Application::createReport() {
  SPtr<IQorPlatformOldMacroSupport> macros("IQorPlatformOldMacroSupport");
  if (macros) macros->createReport();
}

bool Application::compareFeatures(int viewType, int maxFeaturesPerView, int decimalPlaces) {
  SPtr<IQorPlatformOldMacroSupport> macros("IQorPlatformOldMacroSupport");
  if (macros) macros->compareFeatures(viewType, maxFeaturesPerView, decimalPlaces);
  return true;
}

void Application::enableSensitivityChecks(bool enable) {
  if (IDataStore* s = store())
    s->setInt(nullptr, "GUI/DisableInCommandSensitivity", enable ? 0 : 1);
}

IQorUnknown* Application::correspondence(IModel* test, IModel* reference, const char* kind) {
  if (!test || !reference) return nullptr;
  IQorObject* testHost = test->hostObject();
  IQorObject* refHost = reference->hostObject();
  if (!testHost || !refHost || testHost == refHost) return nullptr;
  char name[64];
  std::snprintf(name, sizeof name, "%sCorrespondence %d", kind, static_cast<int>(refHost->id()));
  IQorUnknown* sub = testHost->subObjectByName(QorCString(kBorrow, name), 0);
  auto* set = qorQuery<IQorSetCorrespondence>(sub, "IQorSetCorrespondence");
  if (!set) return nullptr;
  SPtr<IQorCorrespondence> corr("IQorCorrespondence");
  if (!corr) return nullptr;
  auto* refMesh = qorQuery<IQorMesh>(modelData(refHost, "GenModel"), "IQorMesh");
  IQorUnknown* testData = modelData(testHost, "GenModel");
  if (!testData) testData = modelData(testHost, "PointModel");
  corr->setUp(testData, refMesh, set);
  // The reference taken here goes with the result.
  corr->addRef();
  return corr.get();
}

IQorUnknown* Application::getDefaultCorrespondence(IModel* test, IModel* reference) {
  return correspondence(test, reference, "Default");
}

IQorUnknown* Application::getCADPolyCorrespondence(IModel* test, IModel* reference) {
  return correspondence(test, reference, "CADPoly");
}
