#include "document/proxyfor.h"

#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "document/imodel.h"
#include "hostapi/iqorappproxymanager.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"

namespace {

// The table of one interface name asked for `host`; each lookup keeps its own accessor.
IQorUnknown* lookUp(IPtr<IQorAppProxyManager>& manager, const QorCString& table,
                    IQorUnknown* host) {
  if (!host || !manager) return nullptr;
  IQorProxyTable* t = manager->proxyTable(table);
  return t ? t->scriptObject(host) : nullptr;
}

// The data kinds a script data object answers to, in the order find_ tests them.
enum Kind { kPoints, kMesh, kScan, kCurves, kCad, kKinds };

struct KindInfo {
  const char* answers;    // the name the data object and its proxy answer to
  const char* modelName;  // the host object's model of that kind
  const char* hostData;   // the interface of the model's data
};
constexpr KindInfo kKindInfo[kKinds] = {{"Points", "PointModel", "IQorPoints"},
                                        {"Mesh", "GenModel", "IQorMesh"},
                                        {"GriddedPoints", "ScanModel", "IQorScan"},
                                        {"Curves", "CurveModel", "IQorCurveSet"},
                                        {"CADModel", "GenModel", "IQorMesh"}};

// The script object of one host object's model data of `kind`, or null.
IQorUnknown* proxyOfModel(IQorObject* host, Kind kind) {
  const KindInfo& k = kKindInfo[kind];
  IQorModel* model = host->model(QorCString(kBorrow, k.modelName));
  IQorUnknown* data = model ? model->data() : nullptr;
  if (!data) return nullptr;
  switch (kind) {
    case kPoints:
      return proxyForPoints(qorQuery<IQorPoints>(data, k.hostData));
    case kMesh:
      return proxyForMesh(qorQuery<IQorMesh>(data, k.hostData));
    case kScan:
      return proxyForScan(qorQuery<IQorScan>(data, k.hostData));
    case kCurves: {
      auto* set = qorQuery<IQorCurveSet>(data, k.hostData);
      return set ? proxyForCurveSet(set->curves()) : nullptr;
    }
    default: {
      auto* mesh = qorQuery<IQorMesh>(data, k.hostData);
      if (!mesh || !mesh->hasExtension()) return nullptr;
      return proxyForMeshExt(qorQuery<IQorMeshExt>(data, "IQorMeshExt"));
    }
  }
}

}  // namespace

IQorUnknown* proxyForObject(IQorObject* host) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString table(kBorrow, "IQorObject");
  return lookUp(manager, table, host);
}

IQorUnknown* proxyForMesh(IQorUnknown* host) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString table(kBorrow, "IQorMesh");
  return lookUp(manager, table, host);
}

IQorUnknown* proxyForPoints(IQorUnknown* host) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString table(kBorrow, "IQorPoints");
  return lookUp(manager, table, host);
}

IQorUnknown* proxyForScan(IQorUnknown* host) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString table(kBorrow, "IQorScan");
  return lookUp(manager, table, host);
}

IQorUnknown* proxyForCurveSet(IQorUnknown* host) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString table(kBorrow, "ICurveSet");
  return lookUp(manager, table, host);
}

IQorUnknown* proxyForMeshExt(IQorUnknown* host) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString table(kBorrow, "IQorMeshExt");
  return lookUp(manager, table, host);
}

IQorObject* find_(DataObject* object) {
  if (object && qorQuery<void>(object, "Model"))
    if (auto* model = qorQuery<IModel>(object, "IModel"))
      if (IQorObject* host = model->hostObject()) return host;
  IPtr<IQorObjectIter> it;
  {
    SPtr<IQorDoc> doc("IQorDoc");
    if (doc) it = doc->objectIterator(2, 0, 1, 0);
  }
  if (!object) return nullptr;
  // Asked in the order Mesh, Points, GriddedPoints, Curves, CADModel; tested by the first
  // of points, mesh, gridded points, curves, CAD model that answered.
  void* answered[kKinds] = {};
  for (Kind k : {kMesh, kPoints, kScan, kCurves, kCad})
    object->queryInterface(kKindInfo[k].answers, &answered[k], 0);
  Kind kind = kKinds;
  for (int k = 0; k < kKinds && kind == kKinds; ++k)
    if (answered[k]) kind = static_cast<Kind>(k);
  if (kind == kKinds || !it) return nullptr;
  for (it->first(); !it->atEnd(); it->next()) {
    IQorObject* host = it->current();
    if (!host) continue;
    IQorUnknown* proxy = proxyOfModel(host, kind);
    if (proxy && qorQuery<void>(proxy, kKindInfo[kind].answers) == answered[kind]) return host;
  }
  return nullptr;
}
