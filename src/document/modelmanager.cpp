#include "document/modelmanager.h"

#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "datamodel/intproperty.h"
#include "datamodel/routedproperty.h"
#include "document/proxyfor.h"
#include "features/feature.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "surfacing/curves.h"

namespace {

using CountProperty = RoutedPropertyTemplate<int32_t, IntProperty, ModelManager>;
using CountGetter = QorRetMsgRtr_const<ModelManager, int32_t, void*, void*, void*, void*, int>;

// The feature manager of a host object under its generic view, or null.
IQorSubObjectMgr* featureManager(IQorObject* host) {
  IQorUnknown* m = host->subObjectManager(&qor::kFeaturesManagerId);
  auto* features = qorQuery<IQorFeatureSubObjectMgr>(m, "IQorFeatureSubObjectMgr");
  return qorQuery<IQorSubObjectMgr>(features, "IQorSubObjectMgr");
}

// The document's top-level objects, or null without the document.
IQorObjectIter* topLevelObjects() {
  SPtr<IQorDoc> doc("IQorDoc");
  return doc ? doc->objectIterator(2, 0, 1, 0) : nullptr;
}

// The host feature behind a feature sub-object's or a coordinate system's shell.
using HostOfSub = IQorUnknown* (*)(IQorUnknown* sub);

IQorUnknown* featureOfSub(IQorUnknown* sub) {
  auto* f = qorQuery<IQorFeatureSubObject>(sub, "IQorFeatureSubObject");
  return f ? f->feature() : nullptr;
}

IQorUnknown* csysOfSub(IQorUnknown* sub) {
  auto* c = qorQuery<IQorCSysSubObject>(sub, "IQorCSysSubObject");
  IQorCSysObject* csys = c ? c->csys() : nullptr;
  IQorUnknown* feature = csys ? csys->feature() : nullptr;
  return qorQuery<IQorUnknown>(feature, "IQorFeature") ? feature : nullptr;
}

// Walks every top-level object's manager of `managerId` and removes the sub-object whose
// shell is `target`.
int removeSubObjectOf(DataObject* target, const GUID* managerId, HostOfSub hostOf) {
  if (!target) return 0;
  IPtr<IQorObjectIter> it(topLevelObjects());
  if (!it) return 0;
  for (it->first(); !it->atEnd(); it->next()) {
    IQorObject* host = it->current();
    IQorUnknown* m = host ? host->subObjectManager(managerId) : nullptr;
    const char* kindName =
        managerId == &qor::kFeaturesManagerId ? "IQorFeatureSubObjectMgr" : "IQorCSysSubObjectMgr";
    auto* mgr = qorQuery<IQorSubObjectMgr>(qorQuery<IQorUnknown>(m, kindName) ? m : nullptr,
                                           "IQorSubObjectMgr");
    if (!mgr) continue;
    IPtr<IQorSubObjectIter> subs(mgr->subObjectIterator());
    if (!subs) continue;
    for (subs->first(); !subs->atEnd(); subs->next()) {
      IQorUnknown* sub = subs->current();
      features::IQorFeature* shell =
          features::findProxy(qorQuery<::IQorFeature>(hostOf(sub), "IQorFeature"));
      if (shell && qorQuery<DataObject>(shell, "DataObject") == target) {
        mgr->removeSubObject(sub);
        return 1;
      }
    }
  }
  return 0;
}

}  // namespace

ModelManager::ModelManager() {
  IPtr<IQorProperty> objects(new CountProperty(QorString(u"numObjects"), true,
                                               new CountGetter(this, &ModelManager::getNumObjects),
                                               nullptr));
  addProperty(objects.get());
  IPtr<IQorProperty> features(
      new CountProperty(QorString(u"numFeatures"), true,
                        new CountGetter(this, &ModelManager::getNumFeatures), nullptr));
  addProperty(features.get());
}

ModelManager* ModelManager::instance() {
  // The reference taken here is never dropped, so a holder that counts cannot delete the
  // static; the object itself dies with the process.
  static ModelManager manager;
  static const bool held = (manager.addRef(), true);
  (void)held;
  return &manager;
}

int ModelManager::addObject(DataObject* object, bool makeActive) {
  if (!object) return 0;
  auto* mesh = qorQuery<void>(object, "Mesh");
  auto* points = qorQuery<void>(object, "Points");
  auto* gridded = qorQuery<void>(object, "GriddedPoints");
  auto* curves = qorQuery<void>(object, "Curves");
  auto* cad = qorQuery<void>(object, "CADModel");

  IQorUnknown* data = nullptr;
  IPtr<IQorCurveSet> curveSet;
  if (mesh) {
    SPtr<mesh::IQorMeshConverter> converter("mesh::IQorMeshConverter");
    if (converter) data = converter->toHostMesh(object);
  } else if (points || cad) {
    if (points) {
      auto* p = qorQuery<points::IQorPoints>(object, "points::IQorPoints");
      data = p ? p->hostData() : nullptr;
    } else {
      auto* c = qorQuery<cad::IQorCADModel>(object, "cad::IQorCADModel");
      data = c ? c->hostData() : nullptr;
    }
  } else if (gridded) {
    auto* g = qorQuery<griddedpoints::IGriddedPoints>(object, "griddedpoints::IGriddedPoints");
    data = g ? g->hostScan() : nullptr;
  } else if (curves) {
    auto* c = qorQuery<curves::IQorCurves>(object, "curves::IQorCurves");
    IQorUnknown* hostCurves = c ? c->curveSet() : nullptr;
    curveSet = SPtr<IQorCurveSet>("IQorCurveSet");
    if (curveSet) {
      curveSet->setCurves(hostCurves);
      data = curveSet.get();
    }
  } else {
    return 0;
  }
  if (!data) return 0;

  SPtr<IQorObjectBuilder> builder("IQorObjectBuilder");
  if (!builder) return 0;
  object->addRef();
  if (curves || cad) return 0;

  QorString name;
  object->getName(name);
  builder->begin(mesh ? "Polygon" : points ? "Point" : "Scan", name, makeActive ? 1 : 0);
  builder->setData(data);
  IQorObject* host = builder->finish(1);
  if (!host) return 0;
  (void)qorQuery<DataObject>(proxyForObject(host), "DataObject");
  return 1;
}

int ModelManager::removeObject(DataObject* object) {
  IQorObject* host = find_(object);
  if (!host) return 0;
  SPtr<IQorObjectRemover> remover("IQorObjectRemover");
  if (!remover) return 0;
  remover->remove(host, 1, 1);
  return 1;
}

int ModelManager::addFeature(DataObject* model, DataObject* feature) {
  IQorObject* host = find_(model);
  if (!host || !feature) return 0;
  auto* shell = qorQuery<features::IQorFeature>(feature, "features::IQorFeature");
  if (!shell) return 0;
  IQorUnknown* hostFeature = shell->host();
  IQorUnknown* m = host->subObjectManager(&qor::kFeaturesManagerId);
  auto* features = qorQuery<IQorFeatureSubObjectMgr>(m, "IQorFeatureSubObjectMgr");
  // Guards: a shell without a host feature, a host object without a feature manager.
  if (!hostFeature || !features) return 0;
  IPtr<IQorUnknown> made(features->newSubObject(hostFeature));
  auto* sub = qorQuery<IQorSubObject>(made.get(), "IQorSubObject");
  if (!sub) return 0;
  QorString name;
  feature->getName(name);
  sub->setName(name);
  auto* mgr = qorQuery<IQorSubObjectMgr>(features, "IQorSubObjectMgr");
  if (!mgr) return 0;
  mgr->addSubObject(made.get());
  return 1;
}

int ModelManager::removeFeature(DataObject* feature) {
  return removeSubObjectOf(feature, &qor::kFeaturesManagerId, &featureOfSub);
}

int ModelManager::removeCoordinateSystem(DataObject* csys) {
  return removeSubObjectOf(csys, &qor::kCoordinateSystemsManagerId, &csysOfSub);
}

int ModelManager::getNumObjects() const {
  IPtr<IQorObjectIter> it(topLevelObjects());
  int n = 0;
  if (it)
    for (it->first(); !it->atEnd(); it->next()) ++n;
  return n;
}

int ModelManager::getNumFeatures() const {
  IPtr<IQorObjectIter> it(topLevelObjects());
  int n = 0;
  if (!it) return 0;
  for (it->first(); !it->atEnd(); it->next()) {
    IQorObject* host = it->current();
    IQorSubObjectMgr* mgr = host ? featureManager(host) : nullptr;
    IPtr<IQorSubObjectIter> subs(mgr ? mgr->subObjectIterator() : nullptr);
    if (subs)
      for (subs->first(); !subs->atEnd(); subs->next()) ++n;
  }
  return n;
}
