#include "commands/selectionsubobject.h"

#include "base/bitvector.h"
#include "core/iptr.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/dataobject.h"
#include "datamodel/objectproperty.h"
#include "datamodel/stringproperty.h"
#include "document/imodel.h"
#include "document/model.h"
#include "document/proxyfor.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "hostapi/iqorselection.h"

namespace {

constexpr const char* kAddLabel = "AddSelectionSubObject";
constexpr const char* kGetLabel = "GetSelectionSubObject";

void add(PropertyMap* map, IQorProperty* p) {
  IPtr<IQorProperty> held(p);
  map->addProperty(held.get());
}

[[noreturn]] void invalid(const char* label, const char* what) {
  QorString text;
  tr(text, "invalid %1.", QorString(what));
  qor::classError(label, text);
}

// The kinds of model a selection can belong to, in the order they are asked for.
enum class Kind { kNone, kGen, kPoint, kScan };

// The selections manager of `model`'s host object and the model of the manager's owner
// that decides the kind. An unbound model is "invalid model.", a host object without the
// manager "model holds no selections.".
struct Target {
  IQorSubObjectMgr* manager = nullptr;
  Kind kind = Kind::kNone;
  IQorUnknown* data = nullptr;  // the data of the deciding model
};

Target targetOf(IModel* model, const char* label) {
  IQorObject* host = model->hostObject();
  if (!host) invalid(label, "model");
  Target t;
  t.manager = qorQuery<IQorSubObjectMgr>(host->subObjectManager(&qor::kSelectionsManagerId),
                                         "IQorSubObjectMgr");
  if (!t.manager) qor::classError(label, "model holds no selections.");
  auto* owner = qorQuery<IQorObject>(t.manager->owner(), "IQorObject");
  if (!owner) return t;
  static const struct {
    const char* name;
    Kind kind;
  } kModels[] = {
      {"GenModel", Kind::kGen}, {"PointModel", Kind::kPoint}, {"ScanModel", Kind::kScan}};
  for (const auto& m : kModels) {
    if (IQorModel* found = owner->model(QorCString(kBorrow, m.name))) {
      t.kind = m.kind;
      t.data = found->data();
      return t;
    }
  }
  return t;
}

// The host data behind a script data object, seen as the interface `I`, or null.
IQorMesh* hostMeshOf(IQorUnknown* script) {
  auto* m = qorQuery<mesh::IQorMeshProxy>(script, "mesh::IQorMeshProxy");
  return m ? qorQuery<IQorMesh>(m->hostData(), "IQorMesh") : nullptr;
}
IQorPoints* hostPointsOf(IQorUnknown* script) {
  auto* p = qorQuery<points::IQorPoints>(script, "points::IQorPoints");
  return p ? qorQuery<IQorPoints>(p->hostData(), "IQorPoints") : nullptr;
}
IQorScan* hostScanOf(IQorUnknown* script) {
  auto* g = qorQuery<griddedpoints::IGriddedPoints>(script, "griddedpoints::IGriddedPoints");
  return g ? qorQuery<IQorScan>(g->hostScan(), "IQorScan") : nullptr;
}

[[noreturn]] void notOnModel() {
  qor::classError(kAddLabel, "Selection is not on model.");
}
[[noreturn]] void notASelection() {
  qor::classError(kAddLabel, "selection needs to be of type Selection.");
}

// The script object a proxy table gave, when it is of the kind `kind`; else null.
IQorUnknown* scriptObject(IQorUnknown* proxy, const char* kind) {
  return qorQuery<void>(proxy, kind) ? proxy : nullptr;
}

// Sets the model property `name` of a new selection.
void setModelOf(IQorUnknown* selection, const char* name, IQorUnknown* model) {
  if (auto* map = qorQuery<IQorPropertyMap>(selection, "IQorPropertyMap"))
    map->set(name, qorQuery<DataObject>(model, "DataObject"));
}

// The read-only output, set through the property itself.
void setOutput(PropertyMap* map, DataObject* value) {
  if (auto* p = qorQuery<ObjectProperty>(map->getProperty("selection"), "ObjectProperty"))
    p->setValue(value);
}

// "object" of a command as a model: the two failures both commands share.
IModel* modelInput(PropertyMap* map, const char* label) {
  DataObject* object = map->getObject("object");
  if (!object) qor::classError(label, "model does not exist or has not been set.");
  auto* model = qorQuery<IModel>(object, "IModel");
  if (!model) qor::classError(label, "object needs to be a Model.");
  return model;
}

const QorString& addName() {
  static const QorString name(u"AddSelectionSubObject");
  return name;
}
const QorString& getName() {
  static const QorString name(u"GetSelectionSubObject");
  return name;
}

}  // namespace

// ---- AddSelectionSubObject ----

AddSelectionSubObject::AddSelectionSubObject() {
  add(this, new ObjectProperty(QorString(u"object"), nullptr, false, false));
  add(this, new ObjectProperty(QorString(u"selection"), nullptr, false, false));
}

void AddSelectionSubObject::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("AddSelectionSubObject", out);
    walkAddInterface("IQorAddSelectionSubObject", out);
    Modifier::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "AddSelectionSubObject"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(this));
  else if (qorNameIs(name, "IQorAddSelectionSubObject"))
    *out = static_cast<IQorAddSelectionSubObject*>(this);
  else
    Modifier::queryInterface(name, out, reserved);
}

const QorString& AddSelectionSubObject::name() {
  return addName();
}

int32_t AddSelectionSubObject::run() {
  IModel* model = modelInput(this, kAddLabel);
  DataObject* selection = getObject("selection");
  if (!selection) qor::classError(kAddLabel, "selection does not exist.");
  auto* data = qorQuery<DataObject>(selection, "DataObject");
  if (!data) notASelection();
  return store(model, data);
}

int32_t AddSelectionSubObject::run(Model* model, Selection* selection) {
  if (!model) invalid(kAddLabel, "model");
  return store(static_cast<IModel*>(model),
               selection ? static_cast<DataObject*>(selection) : nullptr);
}

int32_t AddSelectionSubObject::store(IModel* model, IQorUnknown* selection) {
  if (!selection) notASelection();
  const Target t = targetOf(model, kAddLabel);
  auto* stores = qorQuery<IQorSelectionSubObjectMgr>(t.manager, "IQorSelectionSubObjectMgr");
  if (!stores) qor::classError(kAddLabel, "model holds no selections.");
  BitVector bits(10);
  switch (t.kind) {
    case Kind::kNone:
      qor::classError(kAddLabel, "Model must be CAD, Mesh, Points, or Gridded Points.");
    case Kind::kGen: {
      auto* modelMesh = qorQuery<IQorMesh>(t.data, "IQorMesh");
      if (auto* tri = qorQuery<mesh::TriangleSelection>(selection, "TriangleSelection")) {
        if (hostMeshOf(tri->meshObject()) != modelMesh || !modelMesh) notOnModel();
        bits = tri->markedBits();
      } else if (auto* faces = qorQuery<cad::CADFaceSelection>(selection, "CADFaceSelection")) {
        IQorUnknown* faceMesh = faces->hostMesh();
        if (!faceMesh) break;
        if (qorQuery<IQorMesh>(faceMesh, "IQorMesh") != modelMesh || !modelMesh) notOnModel();
        if (!modelMesh->markedTriangleSet())
          qor::classError(kAddLabel, "cannot get internal IMarkedTriangleSet from cad model");
        auto* ext = qorQuery<IQorMeshExt>(faceMesh, "IQorMeshExt");
        IQorParamComplex* complex = ext ? ext->paramComplex() : nullptr;
        if (!complex) qor::classError(kAddLabel, "cannot get internal mesh from cad model");
        complex->facesToTriangles(faces->markedFaces(), bits);
      }
      break;
    }
    case Kind::kPoint: {
      auto* modelPoints = qorQuery<IQorPoints>(t.data, "IQorPoints");
      auto* points = qorQuery<points::PointSelection>(selection, "PointSelection");
      if (!points) notASelection();
      if (hostPointsOf(points->pointsObject()) != modelPoints || !modelPoints) notOnModel();
      bits = points->markedBits();
      break;
    }
    case Kind::kScan: {
      auto* modelScan = qorQuery<IQorScan>(t.data, "IQorScan");
      auto* quads = qorQuery<griddedpoints::QuadSelection>(selection, "QuadSelection");
      if (!quads) notASelection();
      if (hostScanOf(quads->griddedPointsObject()) != modelScan || !modelScan) notOnModel();
      bits = quads->markedBits();
      break;
    }
  }
  stores->addSelection(selection, bits);
  return 1;
}

// ---- GetSelectionSubObject ----

GetSelectionSubObject::GetSelectionSubObject() {
  add(this, new ObjectProperty(QorString(u"object"), nullptr, false, false));
  add(this, new StringProperty(QorString(u"selectionName"), QorString(u"None"), false, false));
  add(this, new ObjectProperty(QorString(u"selection"), nullptr, true, false));
}

void GetSelectionSubObject::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("GetSelectionSubObject", out);
    walkAddInterface("IQorGetSelectionSubObject", out);
    Modifier::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "GetSelectionSubObject"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(this));
  else if (qorNameIs(name, "IQorGetSelectionSubObject"))
    *out = static_cast<IQorGetSelectionSubObject*>(this);
  else
    Modifier::queryInterface(name, out, reserved);
}

const QorString& GetSelectionSubObject::name() {
  return getName();
}

int32_t GetSelectionSubObject::run() {
  IModel* model = modelInput(this, kGetLabel);
  const QorString selectionName = getString("selectionName");
  if (selectionName.isEmpty()) qor::classError(kGetLabel, "selectionName has not been set.");
  return fetch(model, selectionName);
}

int32_t GetSelectionSubObject::run(Model* model, QorString& selectionName) {
  if (!model) invalid(kGetLabel, "model");
  return fetch(static_cast<IModel*>(model), selectionName);
}

int32_t GetSelectionSubObject::fetch(IModel* model, const QorString& selectionName) {
  const Target t = targetOf(model, kGetLabel);
  auto* sub = qorQuery<IQorSelectionSubObject>(t.manager->findByName(selectionName),
                                               "IQorSelectionSubObject");
  if (!sub) {
    setOutput(this, nullptr);
    return 1;
  }
  const BitVector& bits = sub->bits();
  switch (t.kind) {
    case Kind::kNone:
      qor::classError(kGetLabel, "Model must be CAD, Mesh, Points, or GriddedPoints.");
    case Kind::kGen: {
      IQorUnknown* script =
          scriptObject(proxyForMesh(qorQuery<IQorMesh>(t.data, "IQorMesh")), "Mesh");
      SPtr<mesh::TriangleSelection> made("mesh::IQorMeshTriangleSelection");
      auto* tri = qorQuery<mesh::TriangleSelection>(made.get(), "TriangleSelection");
      if (!tri) qor::classError(kGetLabel, "Error creating TriangleSelection.");
      setModelOf(tri, "mesh", script);
      auto* given = new BitVector(bits);
      tri->setMarkedBits(given);
      if (tri->markedBitsPointer() != given) delete given;
      setOutput(this, qorQuery<DataObject>(tri, "DataObject"));
      break;
    }
    case Kind::kPoint: {
      IQorUnknown* script =
          scriptObject(proxyForPoints(qorQuery<IQorPoints>(t.data, "IQorPoints")), "Points");
      SPtr<points::PointSelection> made("points::IQorPointSelection");
      auto* points = qorQuery<points::PointSelection>(made.get(), "PointSelection");
      if (!points) qor::classError(kGetLabel, "Error creating PointSelection.");
      setModelOf(points, "points", script);
      points->bits() = bits;
      setOutput(this, qorQuery<DataObject>(points, "DataObject"));
      break;
    }
    case Kind::kScan: {
      IQorUnknown* script =
          scriptObject(proxyForScan(qorQuery<IQorScan>(t.data, "IQorScan")), "GriddedPoints");
      SPtr<griddedpoints::QuadSelection> made("griddedpoints::IQuadSelection");
      auto* quads = qorQuery<griddedpoints::QuadSelection>(made.get(), "QuadSelection");
      if (!quads) qor::classError(kGetLabel, "Error creating QuadSelection.");
      setModelOf(quads, "griddedPoints", script);
      quads->setMarkedBits(bits);
      setOutput(this, qorQuery<DataObject>(quads, "DataObject"));
      break;
    }
  }
  return 1;
}
