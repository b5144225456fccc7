#include "refhost/datamodels.h"

#include "datamodel/boolproperty.h"
#include "datamodel/intproperty.h"
#include "refhost/document.h"
#include "refhost/proxies.h"

namespace refhost {

namespace {
// Answers the class's kind name (with the data object's view), its interface, then what a
// data object answers.
template <class Iface, class Self>
bool answerData(Self* self, const char* kind, const char* iface, const char* name, void** out) {
  if (!out || !name) return false;
  if (qorNameIs(name, kind))
    *out = static_cast<DataObject*>(self);
  else if (qorNameIs(name, iface))
    *out = static_cast<Iface*>(self);
  else
    return false;
  return true;
}

void answerHost(void* self, IQorUnknown* root, const char* own, const char* name, void** out) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, own) || qorNameIs(name, "RefHostData"))
    *out = self;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = root;
}
}  // namespace

// ---- host data ----

RefMeshData::RefMeshData(std::shared_ptr<const Geometry> g, bool extension)
    : extension_(extension) {
  geometry = std::move(g);
}

void RefMeshData::queryInterface(const char* name, void** out, uintptr_t) {
  answerHost(this, static_cast<IQorMesh*>(this), "RefMeshData", name, out);
  if (!out || !name || *out) return;
  if (qorNameIs(name, "IQorMesh"))
    *out = static_cast<IQorMesh*>(this);
  else if (extension_ && qorNameIs(name, "IQorMeshExt"))
    *out = static_cast<IQorMeshExt*>(this);
}

void RefMeshData::invalidate(int32_t what, void* arg) {
  callLog().add("mesh.invalidate " + std::to_string(what) + (arg ? " arg" : " null"));
}

void RefPointsData::queryInterface(const char* name, void** out, uintptr_t) {
  answerHost(this, static_cast<IQorPoints*>(this), "RefPointsData", name, out);
  if (out && name && !*out && qorNameIs(name, "IQorPoints")) *out = static_cast<IQorPoints*>(this);
}

void RefScanData::queryInterface(const char* name, void** out, uintptr_t) {
  answerHost(this, static_cast<IQorScan*>(this), "RefScanData", name, out);
  if (out && name && !*out && qorNameIs(name, "IQorScan")) *out = static_cast<IQorScan*>(this);
}

void RefHostCurves::queryInterface(const char* name, void** out, uintptr_t) {
  answerHost(this, this, "RefHostCurves", name, out);
  if (out && name && !*out && qorNameIs(name, "ICurveSet")) *out = static_cast<IQorUnknown*>(this);
}

void RefCurveSet::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefCurveSet") || qorNameIs(name, "IQorCurveSet"))
    *out = static_cast<IQorCurveSet*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

// ---- script data classes ----

ModelDataObject::~ModelDataObject() {
  if (host_ && host_->script == static_cast<DataObject*>(this)) host_->script = nullptr;
}

void ModelDataObject::attach(RefHostData* data) {
  if (host_ && host_->script == static_cast<DataObject*>(this)) host_->script = nullptr;
  host_ = data;
  if (data) data->script = static_cast<DataObject*>(this);
}

void ModelDataObject::addInt(const char16_t* name, int64_t value) {
  IPtr<IQorProperty> p(new IntProperty(QorString(name), static_cast<int32_t>(value), true, true));
  addProperty(p.get());
}

void ModelDataObject::addBool(const char16_t* name, bool value) {
  IPtr<IQorProperty> p(new BoolProperty(QorString(name), value, true, true));
  addProperty(p.get());
}

namespace {
int64_t vertices(const std::shared_ptr<const Geometry>& g) {
  return g ? g->vertexCount() : 0;
}
bool normals(const std::shared_ptr<const Geometry>& g) {
  return g && !g->normals.empty();
}
bool colors(const std::shared_ptr<const Geometry>& g) {
  return g && !g->colors.empty();
}
}  // namespace

Mesh::Mesh(std::shared_ptr<const Geometry> g) : ModelDataObject(std::move(g)) {
  addInt(u"numVertices", vertices(geometry_));
  addInt(u"numTriangles", geometry_ ? geometry_->triangleCount() : 0);
  addBool(u"hasNormals", normals(geometry_));
  addBool(u"hasColors", colors(geometry_));
}

void Mesh::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!answerData<mesh::IQorMeshProxy>(this, "Mesh", "mesh::IQorMeshProxy", name, out))
    DataObject::queryInterface(name, out, reserved);
}

IQorUnknown* Mesh::hostData() {
  return host_ ? static_cast<IQorMesh*>(static_cast<RefMeshData*>(host_.get())) : nullptr;
}

Points::Points(std::shared_ptr<const Geometry> g) : ModelDataObject(std::move(g)) {
  addInt(u"numPoints", vertices(geometry_));
  addBool(u"hasNormals", normals(geometry_));
  addBool(u"hasColors", colors(geometry_));
}

void Points::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!answerData<points::IQorPoints>(this, "Points", "points::IQorPoints", name, out))
    DataObject::queryInterface(name, out, reserved);
}

IQorUnknown* Points::hostData() {
  if (!host_) attach(new RefPointsData(geometry_));
  return static_cast<::IQorPoints*>(static_cast<RefPointsData*>(host_.get()));
}

GriddedPoints::GriddedPoints(std::shared_ptr<const Geometry> g) : ModelDataObject(std::move(g)) {
  addInt(u"numRows", geometry_ ? geometry_->rows : 0);
  addInt(u"numColumns", geometry_ ? geometry_->columns : 0);
  addInt(u"numPoints", vertices(geometry_));
}

void GriddedPoints::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!answerData<griddedpoints::IGriddedPoints>(this, "GriddedPoints",
                                                 "griddedpoints::IGriddedPoints", name, out))
    DataObject::queryInterface(name, out, reserved);
}

IQorUnknown* GriddedPoints::hostData() {
  if (!host_) attach(new RefScanData(geometry_));
  return static_cast<IQorScan*>(static_cast<RefScanData*>(host_.get()));
}

CADModel::CADModel(std::shared_ptr<const Geometry> g) : ModelDataObject(std::move(g)) {
  addInt(u"numVertices", vertices(geometry_));
  addInt(u"numTriangles", geometry_ ? geometry_->triangleCount() : 0);
  addBool(u"hasNormals", normals(geometry_));
  addBool(u"hasColors", colors(geometry_));
}

void CADModel::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!answerData<cad::IQorCADModel>(this, "CADModel", "cad::IQorCADModel", name, out))
    DataObject::queryInterface(name, out, reserved);
}

IQorUnknown* CADModel::hostData() {
  if (!host_) attach(new RefMeshData(geometry_, true));
  return static_cast<IQorMesh*>(static_cast<RefMeshData*>(host_.get()));
}

Curves::Curves() : ModelDataObject(nullptr) {
  addInt(u"numCurves", 0);
}

void Curves::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!answerData<curves::IQorCurves>(this, "Curves", "curves::IQorCurves", name, out))
    DataObject::queryInterface(name, out, reserved);
}

IQorUnknown* Curves::hostData() {
  if (!host_) attach(new RefHostCurves());
  return host_.get();
}

// ---- converter and tables ----

void RefMeshConverter::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefMeshConverter") || qorNameIs(name, "mesh::IQorMeshConverter"))
    *out = static_cast<mesh::IQorMeshConverter*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

IQorUnknown* RefMeshConverter::toHostMesh(IQorUnknown* object) {
  auto* m = dynamic_cast<Mesh*>(object);
  callLog().add(std::string("converter.toHostMesh ") + (m ? "Mesh" : "other"));
  if (!m) return nullptr;
  if (!m->host()) {
    m->attach(new RefMeshData(m->geometry(), false));
    proxyManager().table("IQorMesh")->bind(static_cast<DataObject*>(m), m->hostData());
  }
  return m->hostData();
}

RefProxyTable* tableForData(IQorUnknown* data, IQorUnknown** key) {
  *key = data;
  const char* table = nullptr;
  if (auto* mesh = dynamic_cast<RefMeshData*>(data)) {
    table = mesh->hasExtension() ? "IQorMeshExt" : "IQorMesh";
  } else if (dynamic_cast<RefPointsData*>(data)) {
    table = "IQorPoints";
  } else if (dynamic_cast<RefScanData*>(data)) {
    table = "IQorScan";
  } else if (auto* set = dynamic_cast<RefCurveSet*>(data)) {
    *key = set->curves();
    table = *key ? "ICurveSet" : nullptr;
  }
  return table ? proxyManager().table(table) : nullptr;
}

IQorUnknown* scriptObjectForData(IQorUnknown* data) {
  IQorUnknown* key = nullptr;
  RefProxyTable* table = tableForData(data, &key);
  if (!table) return nullptr;
  if (IQorUnknown* bound = table->bound(key)) return bound;
  auto* host = dynamic_cast<RefHostData*>(key);
  if (!host) return nullptr;
  IQorUnknown* script = host->script;
  if (!script) {
    ModelDataObject* made = nullptr;
    if (auto* mesh = dynamic_cast<RefMeshData*>(host))
      made = mesh->hasExtension() ? static_cast<ModelDataObject*>(new CADModel(host->geometry))
                                  : new Mesh(host->geometry);
    else if (dynamic_cast<RefPointsData*>(host))
      made = new Points(host->geometry);
    else if (dynamic_cast<RefScanData*>(host))
      made = new GriddedPoints(host->geometry);
    else
      made = new Curves();
    made->attach(host);
    script = static_cast<DataObject*>(made);
  }
  table->bind(script, key);
  return table->bound(key);
}

IQorUnknown* makeHostData(const std::string& phase, std::shared_ptr<const Geometry> g) {
  if (phase == "Curve") {
    auto* holder = new RefCurveSet();
    IPtr<IQorUnknown> curves(static_cast<IQorUnknown*>(new RefHostCurves()));
    holder->setCurves(curves.get());
    return static_cast<IQorCurveSet*>(holder);
  }
  if (!g) return nullptr;
  if (phase == "Polygon" || phase == "CAD")
    return static_cast<IQorMesh*>(new RefMeshData(std::move(g), phase == "CAD"));
  if (phase == "Point") return static_cast<IQorPoints*>(new RefPointsData(std::move(g)));
  if (phase == "Scan") return static_cast<IQorScan*>(new RefScanData(std::move(g)));
  return nullptr;
}

}  // namespace refhost
