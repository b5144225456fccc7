#include "refhost/selections.h"

#include <cstring>

#include "datamodel/objectproperty.h"
#include "hostapi/iqormodeldata.h"
#include "refhost/componentmanager.h"
#include "refhost/document.h"
#include "refhost/strsupport.h"

namespace refhost {

namespace {
const RefSelection::Kind kTriangles{"TriangleSelection", "mesh::IQorMeshTriangleSelection",
                                    qor::names::kTriangleSelection, "mesh"};
const RefSelection::Kind kEdges{"EdgeSelection", "mesh::IEdgeSelection", qor::names::kEdgeSelection,
                                "mesh"};
const RefSelection::Kind kVertices{"VertexSelection", "mesh::IVertexSelection",
                                   qor::names::kVertexSelection, "mesh"};
const RefSelection::Kind kPoints{"PointSelection", "points::IQorPointSelection",
                                 qor::names::kPointSelection, "points"};
const RefSelection::Kind kQuads{"QuadSelection", "griddedpoints::IQuadSelection",
                                qor::names::kQuadSelection, "griddedPoints"};
const RefSelection::Kind kFaces{"CADFaceSelection", "cad::IQorCADFaceSelection",
                                qor::names::kCADFaceSelection, "cadModel"};
const RefSelection::Kind kCurves{"CurveSelection", "curves::IQorCurveSelection",
                                 qor::names::kCurveSelection, "curveSet"};
const RefSelection::Kind* const kKinds[] = {&kTriangles, &kEdges, &kFaces, &kVertices,
                                            &kPoints,    &kQuads, &kCurves};

template <class P>
IQorProperty* modelProperty(const RefSelection::Kind& kind) {
  return new P(utf8ToWide(kind.property), false, true);
}
}  // namespace

RefSelection::RefSelection(const Kind& kind, IQorProperty* property)
    : bits_(std::make_unique<BitVector>()), kind_(kind) {
  IPtr<IQorProperty> p(property);
  addProperty(p.get());
}

void RefSelection::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, kind_.className) || qorNameIs(name, kind_.service))
    *out = interfaceView();
  else if (qorNameIs(name, "Selection"))
    *out = static_cast<Selection*>(this);
  else if (qorNameIs(name, "ISelectionBits"))
    *out = static_cast<ISelectionBits*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

DataObject* RefSelection::model() {
  auto* p = qorQuery<IQorObjectProperty>(getProperty(kind_.property), "IQorObjectProperty");
  return p ? p->getValue() : nullptr;
}

TriangleSelection::TriangleSelection()
    : RefSelection(kTriangles, modelProperty<MeshProperty>(kTriangles)) {}

void TriangleSelection::setMarkedBits(BitVector* bits) {
  if (bits == bits_.get()) return;
  bits_.reset(bits ? bits : new BitVector());
}

EdgeSelection::EdgeSelection() : RefSelection(kEdges, modelProperty<MeshProperty>(kEdges)) {}

VertexSelection::VertexSelection()
    : RefSelection(kVertices, modelProperty<MeshProperty>(kVertices)) {}

PointSelection::PointSelection() : RefSelection(kPoints, modelProperty<PointsProperty>(kPoints)) {}

QuadSelection::QuadSelection()
    : RefSelection(kQuads, modelProperty<GriddedPointsProperty>(kQuads)) {}

CADFaceSelection::CADFaceSelection()
    : RefSelection(kFaces, modelProperty<CADModelProperty>(kFaces)) {}

IQorUnknown* CADFaceSelection::hostMesh() {
  auto* cad = qorQuery<cad::IQorCADModel>(model(), "cad::IQorCADModel");
  return cad ? cad->mesh() : nullptr;
}

CurveSelection::CurveSelection() : RefSelection(kCurves, modelProperty<CurvesProperty>(kCurves)) {}

void RefStatusBar::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefStatusBar") || qorNameIs(name, "IGuiStatusBar"))
    *out = static_cast<IGuiStatusBar*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

void RefStatusBar::refresh() {
  ++refreshes_;
  callLog().add("statusbar.refresh");
}

RefStatusBar& statusBar() {
  return immortal<RefStatusBar>();
}

const char* selectionService(const char* className) {
  for (const RefSelection::Kind* k : kKinds)
    if (className && std::strcmp(className, k->className) == 0) return k->service;
  return nullptr;
}

namespace {
template <class S>
void addFactory(RefComponentManager& m, const RefSelection::Kind& kind) {
  m.registerFactory(kind.service, [] { return static_cast<IQorUnknown*>(new S()); });
}
}  // namespace

void registerSelections(RefComponentManager& m) {
  addFactory<TriangleSelection>(m, kTriangles);
  addFactory<EdgeSelection>(m, kEdges);
  addFactory<VertexSelection>(m, kVertices);
  addFactory<PointSelection>(m, kPoints);
  addFactory<QuadSelection>(m, kQuads);
  addFactory<CADFaceSelection>(m, kFaces);
  addFactory<CurveSelection>(m, kCurves);
  m.registerService("IGuiStatusBar", static_cast<IGuiStatusBar*>(&statusBar()));
}

}  // namespace refhost
