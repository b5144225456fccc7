#include "commands/activeselection.h"

#include "base/bitvector.h"
#include "base/iterstack.h"
#include "core/iptr.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/dataobject.h"
#include "datamodel/objectproperty.h"
#include "document/application.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "hostapi/iqorselection.h"
#include "surfacing/curves.h"

namespace {

// ---- properties ----

template <class P>
void add(PropertyMap* map, const char16_t* name, bool readOnly) {
  IPtr<IQorProperty> held(new P(QorString(name), nullptr, readOnly, false));
  map->addProperty(held.get());
}

// The object property `name` through getProperty, or null.
ObjectProperty* property(PropertyMap* map, const char* name) {
  return qorQuery<ObjectProperty>(map->getProperty(name), "ObjectProperty");
}

// The object property `name` read straight from the map's entries: a missing entry is
// null, whatever the map's warning setting says.
ObjectProperty* entry(PropertyMap* map, const char* name) {
  const qor::PropertyStorage* storage = map->storage();
  if (!storage) return nullptr;
  auto it = storage->find(name);
  if (it == storage->end()) return nullptr;
  return qorQuery<ObjectProperty>(it->second.get(), "ObjectProperty");
}

DataObject* valueOf(ObjectProperty* p) {
  return p ? p->getValue() : nullptr;
}

// The selection's model property `name` set to `model`, through the selection's map.
void rebind(IQorUnknown* selection, const char* name, IQorUnknown* model) {
  if (auto* map = qorQuery<IQorPropertyMap>(selection, "IQorPropertyMap"))
    map->set(name, qorQuery<DataObject>(model, "DataObject"));
}

// A read-only output is set through the property itself, past the map's guard.
void output(ObjectProperty* out, IQorUnknown* selection) {
  if (out) out->setValue(qorQuery<DataObject>(selection, "DataObject"));
}

// ---- errors ----

[[noreturn]] void notSet(const char* label, const char* what) {
  QorString text;
  qor::classError(label, tr(text, "%1 has not been set.", QorString(what)));
}
[[noreturn]] void mustBe(const char* label, const char* what, const char* kind) {
  QorString text;
  qor::classError(label, tr(text, "%1 must be a %2 object.", QorString(what), QorString(kind)));
}
[[noreturn]] void internal(const char* label, const char* key, const char* what) {
  QorString text;
  qor::internalClassError(label, tr(text, key, QorString(what)));
}

// ---- host services ----

// Fetched once for the life of the module: missing at the first use, it stays missing.
mesh::IQorMeshConverter* converter() {
  static SPtr<mesh::IQorMeshConverter> c("mesh::IQorMeshConverter");
  return c.get();
}

void updateGUI() {
  if (Application* app = Application::instance()) app->updateGUI();
}

void refreshStatusBar() {
  IPtr<IGuiStatusBar> bar(SPtr<IGuiStatusBar>("IGuiStatusBar").get());
  if (bar) bar->refresh();
}

// The host mesh of a script Mesh through the converter, or null; a value that does not
// answer "Mesh" gives null too.
IQorMesh* hostMeshOf(mesh::IQorMeshConverter* conv, DataObject* value) {
  if (!qorQuery<void>(value, "Mesh")) return nullptr;
  return qorQuery<IQorMesh>(conv->toHostMesh(value), "IQorMesh");
}

// The active set holder of a host mesh's vertex or edge data, or null.
IQorActiveSetHolder* holderOf(IQorMeshElementData* data) {
  return data ? data->activeSet() : nullptr;
}

// The model selection of the document's curve model whose curve set holds `curves`.
IQorModelSelection* modelSelectionOf(IQorUnknown* curves) {
  if (!curves) return nullptr;
  IPtr<IQorDoc> doc(SPtr<IQorDoc>("IQorDoc").get());
  if (!doc) return nullptr;
  IterStack<IQorObject*> objects(20);
  doc->activeObjects(2, 0, &objects);
  for (int32_t i = 1; i <= objects.count(); ++i) {
    IQorObject* object = objects.get(i);
    IQorModel* model = object ? object->model(QorCString(kBorrow, "CurveModel")) : nullptr;
    auto* set = qorQuery<IQorCurveSet>(model ? model->data() : nullptr, "IQorCurveSet");
    if (set && set->curves() == curves)
      return qorQuery<IQorModelSelection>(model, "IQorModelSelection");
  }
  return nullptr;
}

// ---- the three mesh element kinds ----

// Get: the converter, the mesh, the host mesh, a new selection from `service` answering
// `className`, its "mesh", then `fill(conv, host, selection)`, then the output.
template <class S, class Fill>
int32_t getMesh(PropertyMap* self, const char* label, const char* outName, const char* service,
                const char* className, const char* creating, Fill fill) {
  mesh::IQorMeshConverter* conv = converter();
  if (!conv) qor::internalClassError(label, "Cannot create a QorMesh converter");
  ObjectProperty* out = property(self, outName);
  DataObject* meshValue = valueOf(property(self, "mesh"));
  if (!qorQuery<void>(meshValue, "Mesh")) internal(label, "%1 property not set.", "mesh");
  IQorMesh* host = hostMeshOf(conv, meshValue);
  if (!host) qor::internalClassError(label, "Cannot convert to IQorMesh");
  SPtr<S> made(service);
  S* selection = qorQuery<S>(made.get(), className);
  if (!selection) qor::internalClassError(label, creating);
  rebind(selection, "mesh", meshValue);
  if (!fill(conv, host, selection)) qor::internalClassError(label, "Cannot convert to IQorMesh");
  output(out, selection);
  return 1;
}

// Set: the mesh, the converter, the input answering `className`, the host mesh, the
// selection rebound to the mesh, then `apply(conv, host, selection)` and updateGUI.
template <class Apply>
int32_t setMesh(PropertyMap* self, const char* label, const char* inName, const char* className,
                Apply apply) {
  DataObject* meshValue = valueOf(property(self, "mesh"));
  if (!meshValue) notSet(label, "mesh");
  mesh::IQorMeshConverter* conv = converter();
  if (!conv) qor::classError(label, "Cannot create a QorMesh converter");
  DataObject* input = valueOf(property(self, inName));
  if (!qorQuery<void>(input, className)) notSet(label, inName);
  if (!qorQuery<void>(meshValue, "Mesh")) notSet(label, "mesh");
  IQorMesh* host = hostMeshOf(conv, meshValue);
  if (!host) qor::classError(label, "Cannot convert to IQorMesh.");
  rebind(input, "mesh", meshValue);
  if (!apply(conv, host, input)) qor::classError(label, "Cannot convert to IQorMesh.");
  updateGUI();
  return 1;
}

// Makes `set` (a new set at count 0, or null) the holder's active set; false without one.
bool makeActive(IQorActiveSetHolder* holder, IQorElementSet* set) {
  IPtr<IQorElementSet> held(set);
  if (!holder) return false;
  if (held)
    holder->setCurrent(held.get());
  else
    holder->clear();
  return true;
}

// Answers this class's names, then Modifier's.
template <class C, class I>
void answer(C* self, const char* cls, const char* iface, const char* name, void** out,
            uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass(cls, out);
    walkAddInterface(iface, out);
    self->Modifier::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, cls))
    *out = self;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(self));
  else if (qorNameIs(name, iface))
    *out = static_cast<I*>(self);
  else
    self->Modifier::queryInterface(name, out, reserved);
}

}  // namespace

#define BRINDLE_ANSWER(Name)                                                    \
  void Name::queryInterface(const char* name, void** out, uintptr_t reserved) { \
    answer<Name, IQor##Name>(this, #Name, "IQor" #Name, name, out, reserved);   \
  }
BRINDLE_ANSWER(GetActiveTriangleSelection)
BRINDLE_ANSWER(SetActiveTriangleSelection)
BRINDLE_ANSWER(GetActiveEdgeSelection)
BRINDLE_ANSWER(SetActiveEdgeSelection)
BRINDLE_ANSWER(GetActiveVertexSelection)
BRINDLE_ANSWER(SetActiveVertexSelection)
BRINDLE_ANSWER(GetActivePointSelection)
BRINDLE_ANSWER(SetActivePointSelection)
BRINDLE_ANSWER(GetActiveQuadSelection)
BRINDLE_ANSWER(SetActiveQuadSelection)
BRINDLE_ANSWER(GetActiveCadFaceSelection)
BRINDLE_ANSWER(SetActiveCadFaceSelection)
BRINDLE_ANSWER(GetActiveCurveSelection)
BRINDLE_ANSWER(SetActiveCurveSelection)
#undef BRINDLE_ANSWER

// ---- triangles ----

GetActiveTriangleSelection::GetActiveTriangleSelection() {
  add<MeshProperty>(this, u"mesh", false);
  add<TriangleSelectionProperty>(this, u"outputTriangleSelection", true);
}

int32_t GetActiveTriangleSelection::run() {
  return getMesh<mesh::TriangleSelection>(
      this, "GetActiveTriangleSelection", "outputTriangleSelection",
      "mesh::IQorMeshTriangleSelection", "TriangleSelection", "Error creating TriangleSelection.",
      [](mesh::IQorMeshConverter* conv, IQorMesh* host, mesh::TriangleSelection* s) {
        IMarkedTriangleSet* marked = host->markedTriangleSet();
        if (!marked) return false;
        conv->fromHostTriangleBits(s, marked->markedTriangles(4, 1, 0, 0));
        return true;
      });
}

SetActiveTriangleSelection::SetActiveTriangleSelection() {
  add<MeshProperty>(this, u"mesh", false);
  add<TriangleSelectionProperty>(this, u"inputTriangleSelection", false);
}

int32_t SetActiveTriangleSelection::run() {
  return setMesh(this, "SetActiveTriangleSelection", "inputTriangleSelection", "TriangleSelection",
                 [](mesh::IQorMeshConverter* conv, IQorMesh* host, IQorUnknown* s) {
                   IMarkedTriangleSet* marked = host->markedTriangleSet();
                   if (!marked) return false;
                   marked->setMarkedTriangles(conv->toHostTriangleBits(s));
                   return true;
                 });
}

// ---- edges ----

GetActiveEdgeSelection::GetActiveEdgeSelection() {
  add<MeshProperty>(this, u"mesh", false);
  add<EdgeSelectionProperty>(this, u"outputEdgeSelection", true);
}

int32_t GetActiveEdgeSelection::run() {
  return getMesh<mesh::EdgeSelection>(
      this, "GetActiveEdgeSelection", "outputEdgeSelection", "mesh::IEdgeSelection",
      "EdgeSelection", "Error creating EdgeSelection.",
      [](mesh::IQorMeshConverter* conv, IQorMesh* host, mesh::EdgeSelection* s) {
        IQorActiveSetHolder* holder = holderOf(host->edgeData());
        if (!holder) return false;
        conv->fromHostEdgeSet(s, holder->current());
        return true;
      });
}

SetActiveEdgeSelection::SetActiveEdgeSelection() {
  add<MeshProperty>(this, u"mesh", false);
  add<EdgeSelectionProperty>(this, u"inputEdgeSelection", false);
}

int32_t SetActiveEdgeSelection::run() {
  return setMesh(this, "SetActiveEdgeSelection", "inputEdgeSelection", "EdgeSelection",
                 [](mesh::IQorMeshConverter* conv, IQorMesh* host, IQorUnknown* s) {
                   return makeActive(holderOf(host->edgeData()), conv->toHostEdgeSet(s));
                 });
}

// ---- vertices ----

GetActiveVertexSelection::GetActiveVertexSelection() {
  add<MeshProperty>(this, u"mesh", false);
  add<VertexSelectionProperty>(this, u"outputVertexSelection", true);
}

int32_t GetActiveVertexSelection::run() {
  return getMesh<mesh::VertexSelection>(
      this, "GetActiveVertexSelection", "outputVertexSelection", "mesh::IVertexSelection",
      "VertexSelection", "Error creating VertexSelection.",
      [](mesh::IQorMeshConverter* conv, IQorMesh* host, mesh::VertexSelection* s) {
        IQorActiveSetHolder* holder = holderOf(host->vertexData());
        if (!holder) return false;
        conv->fromHostVertexSet(s, holder->current());
        return true;
      });
}

SetActiveVertexSelection::SetActiveVertexSelection() {
  add<MeshProperty>(this, u"mesh", false);
  add<VertexSelectionProperty>(this, u"inputVertexSelection", false);
}

int32_t SetActiveVertexSelection::run() {
  return setMesh(this, "SetActiveVertexSelection", "inputVertexSelection", "VertexSelection",
                 [](mesh::IQorMeshConverter* conv, IQorMesh* host, IQorUnknown* s) {
                   return makeActive(holderOf(host->vertexData()), conv->toHostVertexSet(s));
                 });
}

// ---- points ----

GetActivePointSelection::GetActivePointSelection() {
  add<PointsProperty>(this, u"points", false);
  add<PointSelectionProperty>(this, u"outputPointSelection", true);
}

int32_t GetActivePointSelection::run() {
  constexpr const char* kLabel = "run";
  ObjectProperty* out = entry(this, "outputPointSelection");
  ObjectProperty* in = entry(this, "points");
  if (!in) internal(kLabel, "cannot get %1 object.", "points");
  DataObject* model = in->getValue();
  if (!model) notSet(kLabel, "points");
  auto* points = qorQuery<points::IQorPoints>(model, "points::IQorPoints");
  if (!points) notSet(kLabel, "points");
  auto* host = qorQuery<IQorPoints>(points->hostData(), "IQorPoints");
  if (!host) qor::internalClassError(kLabel, "cannot access internal points object.");
  const BitVector bits = host->activeBits();
  IPtr<points::PointSelection> selection(
      SPtr<points::PointSelection>("points::IQorPointSelection").get());
  if (!selection) qor::internalClassError(kLabel, "cannot access internal PointSelection object.");
  rebind(selection.get(), "points", model);
  selection->bits() = bits;
  if (!out) qor::classError(kLabel, "cannot access outputPointSelection object.");
  output(out, selection.get());
  return 1;
}

SetActivePointSelection::SetActivePointSelection() {
  add<PointsProperty>(this, u"points", false);
  add<PointSelectionProperty>(this, u"inputPointSelection", false);
}

int32_t SetActivePointSelection::run() {
  constexpr const char* kLabel = "SetActivePointSelection";
  DataObject* model = valueOf(property(this, "points"));
  if (!model) notSet(kLabel, "points");
  DataObject* input = valueOf(property(this, "inputPointSelection"));
  if (!input) notSet(kLabel, "inputPointSelection");
  rebind(input, "points", model);
  auto* selection = qorQuery<points::PointSelection>(input, "points::IQorPointSelection");
  if (!selection) mustBe(kLabel, "inputPointSelection", "PointSelection");
  auto* points = qorQuery<points::IQorPoints>(model, "points::IQorPoints");
  if (!points) mustBe(kLabel, "points", "Points");
  auto* host = qorQuery<IQorPoints>(points->hostData(), "IQorPoints");
  if (!host) return 1;
  host->activeBits() = selection->markedBits();
  host->markChanged(0);
  host->notifySelectionChanged();
  refreshStatusBar();
  updateGUI();
  return 1;
}

// ---- grid cells ----

GetActiveQuadSelection::GetActiveQuadSelection() {
  add<GriddedPointsProperty>(this, u"griddedPointsModel", false);
  add<QuadSelectionProperty>(this, u"outputQuadSelection", true);
}

int32_t GetActiveQuadSelection::run() {
  constexpr const char* kLabel = "run";
  DataObject* model = valueOf(property(this, "griddedPointsModel"));
  if (!model) notSet(kLabel, "griddedPointsModel");
  auto* gridded = qorQuery<griddedpoints::IGriddedPoints>(model, "griddedpoints::IGriddedPoints");
  if (!gridded) mustBe(kLabel, "griddedPointsModel", "GriddedPoints");
  auto* scan = qorQuery<IQorScan>(gridded->hostScan(), "IQorScan");
  if (!scan) qor::internalClassError(kLabel, "cannot access internal scan object.");
  IPtr<griddedpoints::QuadSelection> selection(
      SPtr<griddedpoints::QuadSelection>("griddedpoints::IQuadSelection").get());
  if (!selection) qor::internalClassError(kLabel, "cannot get internal QuadSelection object");
  rebind(selection.get(), "griddedPoints", model);
  selection->setMarkedBits(scan->activeBits());
  ObjectProperty* out = property(this, "outputQuadSelection");
  if (!out) qor::classError(kLabel, "outputQuadSelection property not set");
  output(out, selection.get());
  return 1;
}

SetActiveQuadSelection::SetActiveQuadSelection() {
  add<GriddedPointsProperty>(this, u"pointModel", false);
  add<QuadSelectionProperty>(this, u"inputQuadSelection", false);
}

int32_t SetActiveQuadSelection::run() {
  constexpr const char* kLabel = "SetActiveQuadSelection";
  DataObject* model = valueOf(property(this, "pointModel"));
  if (!model) notSet(kLabel, "pointModel");
  DataObject* input = valueOf(property(this, "inputQuadSelection"));
  if (!input) notSet(kLabel, "inputQuadSelection");
  auto* selection = qorQuery<griddedpoints::QuadSelection>(input, "griddedpoints::IQuadSelection");
  if (!selection) mustBe(kLabel, "inputQuadSelection", "QuadSelection");
  auto* gridded = qorQuery<griddedpoints::IGriddedPoints>(model, "griddedpoints::IGriddedPoints");
  if (!gridded) mustBe(kLabel, "pointModel", "GriddedPoints");
  rebind(input, "griddedPoints", model);
  auto* scan = qorQuery<IQorScan>(gridded->hostScan(), "IQorScan");
  if (!scan) return 1;
  scan->setActiveBits(selection->markedBits());
  refreshStatusBar();
  updateGUI();
  return 1;
}

// ---- CAD faces ----

GetActiveCadFaceSelection::GetActiveCadFaceSelection() {
  add<CADModelProperty>(this, u"cad", false);
  add<CADFaceSelectionProperty>(this, u"outputCadFaceSelection", true);
}

int32_t GetActiveCadFaceSelection::run() {
  constexpr const char* kLabel = "GetActiveCadFaceSelection";
  BitVector faces(10);
  DataObject* model = valueOf(property(this, "cad"));
  auto* cad = qorQuery<cad::IQorCADModel>(model, "cad::IQorCADModel");
  if (!cad) internal(kLabel, "%1 property not set.", "cad");
  IPtr<cad::CADFaceSelection> selection(
      SPtr<cad::CADFaceSelection>("cad::IQorCADFaceSelection").get());
  auto* bitsOf = qorQuery<ISelectionBits>(selection.get(), "ISelectionBits");
  if (!qorQuery<void>(selection.get(), "CADFaceSelection") || !bitsOf)
    qor::internalClassError(kLabel, "Error creating CADFaceSelection.");
  rebind(selection.get(), "cadModel", model);
  IQorUnknown* hostMesh = cad->mesh();
  if (!hostMesh) qor::internalClassError(kLabel, "Cannot get IQorMesh");
  auto* ext = qorQuery<IQorMeshExt>(hostMesh, "IQorMeshExt");
  auto* asMesh = qorQuery<IQorMesh>(hostMesh, "IQorMesh");
  IMarkedTriangleSet* marked = asMesh ? asMesh->markedTriangleSet() : nullptr;
  if (!ext || !marked) qor::internalClassError(kLabel, "Cannot get IMarkedTriangleSet");
  IQorParamComplex* complex = ext->paramComplex();
  if (!complex) qor::internalClassError(kLabel, "Cannot get IQorParamComplex");
  const BitVector& triangles = marked->markedTriangles(4, 1, 0, 0);
  for (int32_t t = triangles.nextSet(0); t >= 1; t = triangles.nextSet(t)) {
    const int32_t face = complex->faceOfTriangle(t);
    if (face < 1) continue;  // no face: not an element
    if (face > faces.maxBit()) faces.resize(face);
    faces.set(face);
  }
  bitsOf->selectionBits() = faces;
  output(property(this, "outputCadFaceSelection"), selection.get());
  return 1;
}

SetActiveCadFaceSelection::SetActiveCadFaceSelection() {
  add<CADModelProperty>(this, u"cad", false);
  add<CADFaceSelectionProperty>(this, u"inputCadFaceSelection", false);
}

int32_t SetActiveCadFaceSelection::run() {
  constexpr const char* kLabel = "SetActiveCadFaceSelection";
  DataObject* model = valueOf(entry(this, "cad"));
  if (!model) notSet(kLabel, "cad");
  auto* cad = qorQuery<cad::IQorCADModel>(model, "cad::IQorCADModel");
  DataObject* input = valueOf(entry(this, "inputCadFaceSelection"));
  if (cad) {
    IQorUnknown* hostMesh = cad->mesh();
    QorString text;
    if (!hostMesh)
      qor::classError(kLabel, tr(text, "%1 can not get mesh from the model.",
                                 QorString("inputCadFaceSelection")));
    if (!qorQuery<void>(hostMesh, "IQorMeshExt"))
      qor::classError(kLabel, "cannot get meshExt from the model.");
    auto* selection = qorQuery<cad::CADFaceSelection>(input, "cad::IQorCADFaceSelection");
    IQorUnknown* selectionMesh = selection ? selection->hostMesh() : nullptr;
    if (selectionMesh) {
      if (qorQuery<void>(selectionMesh, "IQorMesh") != qorQuery<void>(hostMesh, "IQorMesh"))
        qor::classError(kLabel, tr(text, "%1 model set in CADFaceSelection and cad are different.",
                                   QorString("cad")));
      if (auto* ext = qorQuery<IQorMeshExt>(selectionMesh, "IQorMeshExt")) {
        auto* again = qorQuery<IQorMesh>(cad->mesh(), "IQorMesh");
        if (!again) qor::classError(kLabel, "cannot get internal mesh from cad model");
        IMarkedTriangleSet* marked = again->markedTriangleSet();
        if (!marked)
          qor::classError(kLabel, "cannot get internal IMarkedTriangleSet from cad model");
        IQorParamComplex* complex = ext->paramComplex();
        if (!complex) qor::classError(kLabel, "cannot get internal mesh from cad model");
        BitVector bits(10);
        complex->facesToTriangles(selection->markedFaces(), bits);
        marked->setMarkedTriangles(bits);
      }
    }
  }
  if (Application* app = Application::instance()) app->rebuildGfx();
  return 1;
}

// ---- curves ----

GetActiveCurveSelection::GetActiveCurveSelection() {
  add<CurvesProperty>(this, u"curveSet", false);
  add<CurveSelectionProperty>(this, u"outputCurveSelection", true);
}

int32_t GetActiveCurveSelection::run() {
  constexpr const char* kLabel = "run";
  ObjectProperty* out = entry(this, "outputCurveSelection");
  ObjectProperty* in = entry(this, "curveSet");
  if (!in) internal(kLabel, "cannot get %1 object.", "curveSet");
  auto* curves = qorQuery<curves::IQorCurves>(in->getValue(), "curves::IQorCurves");
  if (!curves) notSet(kLabel, "curveSet");
  IQorModelSelection* modelSelection = modelSelectionOf(curves->curveSet());
  if (!modelSelection) qor::internalClassError(kLabel, "cannot access internal points object.");
  IPtr<curves::IQorCurveSelection> selection(
      SPtr<curves::IQorCurveSelection>("curves::IQorCurveSelection").get());
  if (!selection) qor::internalClassError(kLabel, "cannot access internal CurveSelection object.");
  modelSelection->getBits(selection->bits());
  if (!out) qor::classError(kLabel, "cannot access outputCurveSelection object.");
  output(out, selection.get());
  return 1;
}

SetActiveCurveSelection::SetActiveCurveSelection() {
  add<CurvesProperty>(this, u"curveSet", false);
  add<CurveSelectionProperty>(this, u"inputCurveSelection", false);
}

int32_t SetActiveCurveSelection::run() {
  constexpr const char* kLabel = "SetActiveCurveSelection";
  DataObject* model = valueOf(property(this, "curveSet"));
  if (!model) notSet(kLabel, "curveSet");
  DataObject* input = valueOf(property(this, "inputCurveSelection"));
  if (!input) notSet(kLabel, "inputCurveSelection");
  rebind(input, "curveSet", model);
  auto* selection = qorQuery<curves::IQorCurveSelection>(input, "curves::IQorCurveSelection");
  if (!selection) mustBe(kLabel, "inputCurveSelection", "CurveSelection");
  const BitVector& bits = selection->bits();
  auto* curves = qorQuery<curves::IQorCurves>(model, "curves::IQorCurves");
  if (!curves) mustBe(kLabel, "curveSet", "CurveSet");
  if (IQorModelSelection* modelSelection = modelSelectionOf(curves->curveSet()))
    modelSelection->setBits(bits);
  return 1;
}
