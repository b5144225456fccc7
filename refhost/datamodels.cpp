#include "refhost/datamodels.h"

#include <algorithm>
#include <cmath>

#include "datamodel/boolproperty.h"
#include "datamodel/intproperty.h"
#include "refhost/curveset.h"
#include "refhost/document.h"
#include "refhost/proxies.h"
#include "refhost/selections.h"
#include "surfacing/curves.h"

namespace refhost {

namespace {
// Answers the class's kind name (with the data object's view), "ModelDataObject" (the
// part that holds the geometry), its interface, then what a data object answers.
template <class Iface, class Self>
bool answerData(Self* self, const char* kind, const char* iface, const char* name, void** out) {
  if (!out || !name) return false;
  if (qorNameIs(name, kind))
    *out = static_cast<DataObject*>(self);
  else if (qorNameIs(name, "ModelDataObject"))
    *out = static_cast<ModelDataObject*>(self);
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

// ---- the parts of a mesh ----

namespace {
template <class Iface, class Self>
void answerPart(Self* self, const char* own, const char* iface, const char* name, void** out) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, own) || qorNameIs(name, iface))
    *out = static_cast<Iface*>(self);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(self);
}

std::string countText(const BitVector& bits) {
  return std::to_string(bits.count());
}
}  // namespace

void RefElementSet::queryInterface(const char* name, void** out, uintptr_t) {
  answerPart<IQorElementSet>(this, "RefElementSet", "IQorElementSet", name, out);
}

void RefMeshElementData::queryInterface(const char* name, void** out, uintptr_t) {
  answerPart<IQorMeshElementData>(this, "RefMeshElementData", "IQorMeshElementData", name, out);
  if (out && name && !*out && qorNameIs(name, "IQorActiveSetHolder"))
    *out = static_cast<IQorActiveSetHolder*>(this);
}

void RefMeshElementData::setCurrent(IQorElementSet* set) {
  callLog().add(std::string(what_) + ".setCurrent " + (set ? countText(set->bits()) : "null"));
  current_ = set;
}

void RefMeshElementData::clear() {
  callLog().add(std::string(what_) + ".clear");
  current_.reset();
}

void RefMarkedTriangles::queryInterface(const char* name, void** out, uintptr_t) {
  answerPart<IMarkedTriangleSet>(this, "RefMarkedTriangles", "IMarkedTriangleSet", name, out);
}

const BitVector& RefMarkedTriangles::markedTriangles(int32_t a, int32_t b, int32_t c, int32_t d) {
  callLog().add("mesh.markedTriangles " + std::to_string(a) + " " + std::to_string(b) + " " +
                std::to_string(c) + " " + std::to_string(d));
  return bits_;
}

void RefMarkedTriangles::setMarkedTriangles(const BitVector& bits) {
  callLog().add("mesh.setMarkedTriangles " + countText(bits));
  bits_.assign(bits);
}

void RefParamComplex::queryInterface(const char* name, void** out, uintptr_t) {
  answerPart<IQorParamComplex>(this, "RefParamComplex", "IQorParamComplex", name, out);
}

namespace {
// The unit normal of triangle t, or zero for a triangle without area.
void unitNormal(const Geometry& g, size_t t, double n[3]) {
  const double* p[3];
  for (int k = 0; k < 3; ++k) p[k] = &g.positions[static_cast<size_t>(g.triangles[t * 3 + k]) * 3];
  const double a[3] = {p[1][0] - p[0][0], p[1][1] - p[0][1], p[1][2] - p[0][2]};
  const double b[3] = {p[2][0] - p[0][0], p[2][1] - p[0][1], p[2][2] - p[0][2]};
  n[0] = a[1] * b[2] - a[2] * b[1];
  n[1] = a[2] * b[0] - a[0] * b[2];
  n[2] = a[0] * b[1] - a[1] * b[0];
  const double len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  for (int k = 0; k < 3; ++k) n[k] = len > 0 ? n[k] / len : 0;
}
}  // namespace

void RefParamComplex::build() {
  built_ = true;
  const Geometry* g = geometry_.get();
  const size_t nt = g ? static_cast<size_t>(g->triangleCount()) : 0;
  const int64_t nv = g ? g->vertexCount() : 0;
  faceOf_.assign(nt, 0);
  faceStart_.assign(1, 0);
  triangles_.clear();
  triangles_.reserve(nt);
  if (!nt) return;
  std::vector<double> normals(nt * 3);
  for (size_t t = 0; t < nt; ++t) unitNormal(*g, t, &normals[t * 3]);
  // Every edge as (low vertex, high vertex) with its triangle, sorted: the triangles of one
  // edge stand together.
  struct EdgeUse {
    uint64_t key;
    int32_t triangle;
  };
  std::vector<EdgeUse> uses;
  uses.reserve(nt * 3);
  for (size_t t = 0; t < nt; ++t)
    for (int k = 0; k < 3; ++k) {
      int64_t a = g->triangles[t * 3 + k], b = g->triangles[t * 3 + (k + 1) % 3];
      if (a < 0 || b < 0 || a >= nv || b >= nv || a == b) continue;
      if (a > b) std::swap(a, b);
      uses.push_back(
          {static_cast<uint64_t>(a) << 32 | static_cast<uint64_t>(b), static_cast<int32_t>(t)});
    }
  std::sort(uses.begin(), uses.end(), [](const EdgeUse& x, const EdgeUse& y) {
    return x.key != y.key ? x.key < y.key : x.triangle < y.triangle;
  });
  // Neighbours per triangle in compressed rows.
  std::vector<int32_t> start(nt + 1, 0), next;
  auto eachPair = [&](auto&& f) {
    for (size_t i = 0; i < uses.size();) {
      size_t j = i;
      while (j < uses.size() && uses[j].key == uses[i].key) ++j;
      for (size_t x = i; x < j; ++x)
        for (size_t y = i; y < j; ++y)
          if (x != y) f(uses[x].triangle, uses[y].triangle);
      i = j;
    }
  };
  eachPair([&](int32_t a, int32_t) { ++start[a + 1]; });
  for (size_t t = 0; t < nt; ++t) start[t + 1] += start[t];
  next.resize(static_cast<size_t>(start[nt]));
  std::vector<int32_t> fill(start.begin(), start.end() - 1);
  eachPair([&](int32_t a, int32_t b) { next[fill[a]++] = b; });
  // Grow each face from its lowest triangle.
  const double kAgree = std::cos(1e-3);
  int32_t face = 0;
  for (size_t seed = 0; seed < nt; ++seed) {
    if (faceOf_[seed]) continue;
    faceOf_[seed] = ++face;
    const size_t first = triangles_.size();
    triangles_.push_back(static_cast<int32_t>(seed));
    const double* ns = &normals[seed * 3];
    const bool flat = ns[0] || ns[1] || ns[2];
    for (size_t at = first; flat && at < triangles_.size(); ++at) {
      const int32_t t = triangles_[at];
      for (int32_t i = start[t]; i < start[t + 1]; ++i) {
        const int32_t u = next[i];
        const double* nu = &normals[static_cast<size_t>(u) * 3];
        if (faceOf_[u] || ns[0] * nu[0] + ns[1] * nu[1] + ns[2] * nu[2] < kAgree) continue;
        faceOf_[u] = face;
        triangles_.push_back(u);
      }
    }
    faceStart_.push_back(static_cast<int32_t>(triangles_.size()));
  }
}

const std::vector<int32_t>& RefParamComplex::faceOf() {
  if (!built_) build();
  return faceOf_;
}

int32_t RefParamComplex::faceCount() {
  if (!built_) build();
  return static_cast<int32_t>(faceStart_.size()) - 1;
}

int32_t RefParamComplex::faceOfTriangle(int32_t index) {
  const std::vector<int32_t>& f = faceOf();
  return index >= 1 && static_cast<size_t>(index) <= f.size() ? f[index - 1] : 0;
}

void RefParamComplex::facesToTriangles(const BitVector& faces, BitVector& bits) {
  const int32_t n = faceCount();
  if (!faceOf_.empty() && bits.maxBit() < static_cast<int32_t>(faceOf_.size()))
    bits.resize(static_cast<int32_t>(faceOf_.size()));
  for (int32_t f = faces.nextSet(0); f > 0 && f <= n; f = faces.nextSet(f))
    for (int32_t i = faceStart_[f - 1]; i < faceStart_[f]; ++i) bits.set(triangles_[i] + 1);
}

RefMeshData::RefMeshData(std::shared_ptr<const Geometry> g, bool extension)
    : extension_(extension),
      vertices_(new RefMeshElementData("vertices")),
      edges_(new RefMeshElementData("edges")),
      marked_(new RefMarkedTriangles()) {
  geometry = std::move(g);
}

IQorParamComplex* RefMeshData::paramComplex() {
  if (!extension_) return nullptr;
  if (!faces_) faces_ = new RefParamComplex(geometry);
  return faces_.get();
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

void RefPointsData::markChanged(int32_t what) {
  callLog().add("points.markChanged " + std::to_string(what));
}

void RefPointsData::notifySelectionChanged() {
  callLog().add("points.notifySelectionChanged");
}

void RefScanData::setActiveBits(const BitVector& bits) {
  callLog().add("scan.setActiveBits " + countText(bits));
  active_.assign(bits);
}

void RefScanData::queryInterface(const char* name, void** out, uintptr_t) {
  answerHost(this, static_cast<IQorScan*>(this), "RefScanData", name, out);
  if (out && name && !*out && qorNameIs(name, "IQorScan")) *out = static_cast<IQorScan*>(this);
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

namespace {
// The selection of class S behind `object`, or null.
template <class S>
S* selectionOf(IQorUnknown* object) {
  return dynamic_cast<S*>(object);
}
}  // namespace

IQorElementSet* RefMeshConverter::toHostVertexSet(IQorUnknown* selection) {
  auto* s = selectionOf<VertexSelection>(selection);
  callLog().add(std::string("converter.toHostVertexSet ") + (s ? "VertexSelection" : "other"));
  if (!s || s->markedBits().isEmpty()) return nullptr;
  return new RefElementSet(s->markedBits());
}

IQorElementSet* RefMeshConverter::toHostEdgeSet(IQorUnknown* selection) {
  auto* s = selectionOf<EdgeSelection>(selection);
  callLog().add(std::string("converter.toHostEdgeSet ") + (s ? "EdgeSelection" : "other"));
  if (!s || s->markedBits().isEmpty()) return nullptr;
  return new RefElementSet(s->markedBits());
}

BitVector RefMeshConverter::toHostTriangleBits(IQorUnknown* selection) {
  auto* s = selectionOf<TriangleSelection>(selection);
  callLog().add(std::string("converter.toHostTriangleBits ") + (s ? "TriangleSelection" : "other"));
  return s ? BitVector(s->markedBits()) : BitVector();
}

void RefMeshConverter::fromHostVertexSet(IQorUnknown* selection, IQorElementSet* set) {
  auto* s = selectionOf<VertexSelection>(selection);
  callLog().add(std::string("converter.fromHostVertexSet ") +
                (set ? countText(set->bits()) : "null"));
  if (!s) return;
  if (set)
    s->selectionBits().assign(set->bits());
  else
    s->selectionBits().clearAll();
}

void RefMeshConverter::fromHostEdgeSet(IQorUnknown* selection, IQorElementSet* set) {
  auto* s = selectionOf<EdgeSelection>(selection);
  callLog().add(std::string("converter.fromHostEdgeSet ") +
                (set ? countText(set->bits()) : "null"));
  if (!s) return;
  if (set)
    s->selectionBits().assign(set->bits());
  else
    s->selectionBits().clearAll();
}

void RefMeshConverter::fromHostTriangleBits(IQorUnknown* selection, const BitVector& bits) {
  auto* s = selectionOf<TriangleSelection>(selection);
  callLog().add("converter.fromHostTriangleBits " + countText(bits));
  if (s) s->selectionBits().assign(bits);
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
  if (dynamic_cast<RefCurveSet*>(data)) {
    auto* set = qorQuery<ICurveSet>(key, "ICurveSet");
    if (!set) return nullptr;
    IQorProxyRegistry* registry = proxyManager().registry(QorCString(kBorrow, "ICurveSet"));
    IPtr<IQorUnknown> script(registry ? registry->find(key) : nullptr);
    if (!script) {
      IPtr<curves::Curves> made(new curves::Curves());
      made->setCurveSet(set);
      script = static_cast<DataObject*>(made.get());
    }
    table->bind(script.get(), key);
    return table->bound(key);
  }
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
      return nullptr;
    made->attach(host);
    script = static_cast<DataObject*>(made);
  }
  table->bind(script, key);
  return table->bound(key);
}

IQorUnknown* makeHostData(const std::string& phase, std::shared_ptr<const Geometry> g) {
  if (phase == "Curve") {
    auto* holder = new RefCurveSet();
    IPtr<ICurveSet> curves(makeCurveSet());
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
