#include "commands/addmodel.h"

#include <string_view>

#include "core/iptr.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/dataobject.h"
#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "datamodel/stringproperty.h"
#include "document/proxyfor.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "surfacing/curves.h"

namespace {

constexpr const char* kLabel = "AddModel::run";
constexpr int32_t kFeatureType = 7;

// The data kinds in the order they are asked for, with the host type each one makes and
// the text of a second add of the same object.
struct Kind {
  const char* name;
  const char* hostType;
  const char* duplicate;
};
constexpr Kind kKinds[] = {
    {"Mesh", "Polygon", "mesh object already exists in model"},
    {"Points", "Point", "points object already exists in model"},
    {"GriddedPoints", "Scan", "griddedpoints object already exists in model"},
    {"Curves", "Curve", "curves object already exists in model"},
    {"CADModel", "CAD", "cad object already exists in model"},
};

void add(PropertyMap* map, IQorProperty* p) {
  IPtr<IQorProperty> held(p);
  map->addProperty(held.get());
}

// The host data of `model` of kind `kind`, or null. `curveSet` keeps a curve holder alive.
IQorUnknown* hostDataOf(DataObject* model, const Kind& kind, IPtr<IQorCurveSet>& curveSet) {
  const std::string_view k = kind.name;
  if (k == "Mesh") {
    SPtr<mesh::IQorMeshConverter> converter("mesh::IQorMeshConverter");
    return converter ? converter->toHostMesh(model) : nullptr;
  }
  if (k == "Points") {
    auto* p = qorQuery<points::IQorPoints>(model, "points::IQorPoints");
    return p ? p->hostData() : nullptr;
  }
  if (k == "CADModel") {
    auto* c = qorQuery<cad::IQorCADModel>(model, "cad::IQorCADModel");
    return c ? c->hostData() : nullptr;
  }
  if (k == "GriddedPoints") {
    auto* g = qorQuery<griddedpoints::IGriddedPoints>(model, "griddedpoints::IGriddedPoints");
    return g ? g->hostScan() : nullptr;
  }
  // A Curves without a set gets a new one, so the model and the script object share it.
  auto* c = qorQuery<curves::IQorCurves>(model, "curves::IQorCurves");
  if (c && !c->curveSet()) c->setCurveSet(SPtr<ICurveSet>("ICurveSet").get());
  IPtr<IQorUnknown> curves(c ? c->curveSet() : nullptr);
  if (!curves) curves = SPtr<IQorUnknown>("ICurveSet").get();
  if (!curves) return nullptr;
  curveSet = SPtr<IQorCurveSet>("IQorCurveSet").get();
  if (!curveSet) return nullptr;
  curveSet->setCurves(curves.get());
  return curveSet.get();
}

}  // namespace

AddModel::AddModel() {
  add(this, new ObjectProperty(QorString(u"object"), nullptr, true, false));
  add(this, new ObjectProperty(QorString(u"model"), nullptr, false, false));
  add(this, new IntProperty(QorString(u"type"), 0, false, 0, 7, false));
  add(this, new StringProperty(QorString(u"name"), QorString(u"None"), false, false));
  add(this, new IntProperty(QorString(u"active"), 1, false, 0, 1, false));
}

void AddModel::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("AddModel", out);
    walkAddInterface("IQorAddModel", out);
    Modifier::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "AddModel"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(this));
  else if (qorNameIs(name, "IQorAddModel"))
    *out = static_cast<IQorAddModel*>(this);
  else
    Modifier::queryInterface(name, out, reserved);
}

int32_t AddModel::run() {
  return addModel(getObject("model"), getInt("type"));
}

int32_t AddModel::run(DataObject* model, int32_t type) {
  return addModel(model, type);
}

int32_t AddModel::addModel(DataObject* model, int32_t type) {
  const bool feature = type == kFeatureType;
  if (!model && !feature) qor::classError(kLabel, "No model is set");
  const Kind* kind = nullptr;
  for (const Kind& k : kKinds) {
    if (model && qorQuery<void>(model, k.name)) {
      kind = &k;
      break;
    }
  }
  if (!kind && !feature) qor::classError(kLabel, "No mesh, points, curves or features is set");
  if (kind && find_(model)) qor::classError(kLabel, kind->duplicate);

  IPtr<IQorCurveSet> curveSet;
  IQorUnknown* data = kind ? hostDataOf(model, *kind, curveSet) : nullptr;
  if (!data && !feature) qor::classError(kLabel, "No model data is set");

  IPtr<IQorObjectBuilder> builder(SPtr<IQorObjectBuilder>("IQorObjectBuilder").get());
  if (!builder) qor::internalClassError(kLabel, "This can only be called in an application");

  QorString name;
  if (auto* p = qorQuery<IQorStringProperty>(getProperty("name"), "IQorStringProperty"))
    p->getValue(name);
  auto* activeProperty = qorQuery<IQorIntProperty>(getProperty("active"), "IQorIntProperty");
  const int32_t active = activeProperty ? activeProperty->getValue() : 0;

  builder->begin(kind ? kind->hostType : "Feature", name, active > 0 ? 1 : 0);
  if (data) builder->setData(data);
  IQorObject* host = builder->finish(1);
  if (!host) qor::internalClassError(kLabel, "No model was created");

  DataObject* made = qorQuery<DataObject>(proxyForObject(host), "DataObject");
  if (auto* p = qorQuery<IQorObjectProperty>(getProperty("object"), "IQorObjectProperty"))
    p->setValue(made);
  return 1;
}
