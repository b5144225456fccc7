// ObjectProperty: a property whose value is a data object, held with a counted reference.
// Its typeName follows the value (the value's typeString, or
// "qorapi.datamodel.DataObject" when empty); scriptTypeName says which script type a value
// must have. In a file it stores only the value's number; the object itself stands beside
// it in the document, and reading resolves the number once the object has been read.
//
// Thirteen subclasses differ only in their fixed names: for each, typeName and
// scriptTypeName give the same literal, and all share the class id of ObjectProperty.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/property.h"
#include "hostapi/iqorpersistentrefmap.h"

class DataObject;

// The typed interface of an object property, in slot order.
class IQorObjectProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag; no check, no event.
  virtual void initialize(const QorString& name, DataObject* value, bool readOnly) = 0;
  // The value, borrowed (no new reference), or null.
  virtual DataObject* getValue() = 0;
  // Takes a reference to `value`, drops the old one, and fires "property_modified" (also
  // for the same object).
  virtual void setValue(DataObject* value) = 0;
};

class ObjectProperty : public Property,
                       public IQorObjectProperty,
                       public IQorPersistentRefCallback {
 public:
  ObjectProperty(const QorString& name, DataObject* value, bool readOnly, bool withEvents);
  // `name` holding no object.
  ObjectProperty(const QorString& name, bool readOnly, bool withEvents);
  // No name, no object, events on.
  ObjectProperty();
  // Shares the source's object.
  ObjectProperty(const ObjectProperty& other);
  // Cancels a reference still waiting to be resolved.
  ~ObjectProperty() override;

  static constexpr const char* kClassName = "ObjectProperty";
  static constexpr const char* kDataObjectType = "qorapi.datamodel.DataObject";
  // 96a7ad15-470c-4a54-94fd-25964678cdf0, shared by every subclass.
  static QorID classIdentifier();

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return kClassName; }
  // The value's typeString, or "qorapi.datamodel.DataObject" without a value.
  const char* typeName() override;
  // The script type a value must have; "qorapi.datamodel.DataObject" accepts any object.
  virtual const char* scriptTypeName() { return kDataObjectType; }
  // The value's class name, or "None".
  void printValue(const QorString& name, QorString& out) override;
  Property* clone() override { return new ObjectProperty(*this); }
  // Drops the value; with events on and a value present, fires "property_modified" with
  // "oldValue" the old object and "newValue" null.
  void clearValue() override;
  // Takes the other property's object through setValue; both then share it.
  void assignFrom(IQorProperty* other) override;
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(ObjectProperty)); }

  void initialize(const QorString& name, DataObject* value, bool readOnly) override;
  DataObject* getValue() override { return value_.get(); }
  void setValue(DataObject* value) override;

  QorID classId() override { return classIdentifier(); }
  // Writable only with a value that is writable itself.
  bool isWriteable() override;
  // Version 1: the value's number as a bare unsigned 32-bit value.
  bool write(IQorDataModelWriter* writer) override;
  // Version 1 asks for the number's object; version 0 holds the object itself.
  bool read(IQorDataModelReader* reader) override;
  // The object of a number read from the file; null empties the property.
  void refResolved(uint32_t refId, IQorPersistentRef* ref) override;

 protected:
  // fireValueChanged with "oldValue" and "newValue" of this property's own class.
  virtual void fireChanged(DataObject* oldValue, DataObject* newValue) {
    fireValueChanged<ObjectProperty, DataObject*>(oldValue, newValue);
  }
  // Answers `className` and the names of ObjectProperty.
  void queryObject(const char* className, void* self, const char* name, void** out,
                   uintptr_t reserved);

 private:
  IPtr<DataObject> value_;
  bool waiting_ = false;
};

// An object property with fixed names: typeName and scriptTypeName give `Literal`.
template <const char* ClassName, const char* Literal>
class NamedObjectProperty : public ObjectProperty {
 public:
  using ObjectProperty::ObjectProperty;
  NamedObjectProperty(const NamedObjectProperty&) = default;
  void queryInterface(const char* name, void** out, uintptr_t reserved) override {
    queryObject(ClassName, this, name, out, reserved);
  }
  const char* className() override { return ClassName; }
  const char* typeName() override { return Literal; }
  const char* scriptTypeName() override { return Literal; }
  Property* clone() override { return new NamedObjectProperty(*this); }
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(NamedObjectProperty)); }

 protected:
  void fireChanged(DataObject* oldValue, DataObject* newValue) override {
    fireValueChanged<NamedObjectProperty, DataObject*>(oldValue, newValue);
  }
};

namespace qor::names {
inline constexpr char kModelProperty[] = "ModelProperty";
inline constexpr char kModel[] = "qorapp.brindle.Model";
inline constexpr char kMeshProperty[] = "MeshProperty";
inline constexpr char kMesh[] = "qorapi.mesh.Mesh";
inline constexpr char kEdgeSelectionProperty[] = "EdgeSelectionProperty";
inline constexpr char kEdgeSelection[] = "qorapi.mesh.EdgeSelection";
inline constexpr char kTriangleSelectionProperty[] = "TriangleSelectionProperty";
inline constexpr char kTriangleSelection[] = "qorapi.mesh.TriangleSelection";
inline constexpr char kVertexSelectionProperty[] = "VertexSelectionProperty";
inline constexpr char kVertexSelection[] = "qorapi.mesh.VertexSelection";
inline constexpr char kPointsProperty[] = "PointsProperty";
inline constexpr char kPoints[] = "qorapi.points.Points";
inline constexpr char kPointSelectionProperty[] = "PointSelectionProperty";
inline constexpr char kPointSelection[] = "qorapi.points.PointSelection";
inline constexpr char kGriddedPointsProperty[] = "GriddedPointsProperty";
inline constexpr char kGriddedPoints[] = "qorapi.griddedpoints.GriddedPoints";
inline constexpr char kQuadSelectionProperty[] = "QuadSelectionProperty";
inline constexpr char kQuadSelection[] = "qorapi.griddedpoints.QuadSelection";
inline constexpr char kCADModelProperty[] = "CADModelProperty";
inline constexpr char kCADModel[] = "qorapi.cad.CADModel";
inline constexpr char kCADFaceSelectionProperty[] = "CADFaceSelectionProperty";
inline constexpr char kCADFaceSelection[] = "qorapi.cad.CADFaceSelection";
inline constexpr char kCurvesProperty[] = "CurvesProperty";
inline constexpr char kCurves[] = "qorapi.curveset.Curves";
inline constexpr char kCurveSelectionProperty[] = "CurveSelectionProperty";
inline constexpr char kCurveSelection[] = "qorapi.curveset.CurveSelection";
}  // namespace qor::names

using ModelProperty = NamedObjectProperty<qor::names::kModelProperty, qor::names::kModel>;
using MeshProperty = NamedObjectProperty<qor::names::kMeshProperty, qor::names::kMesh>;
using EdgeSelectionProperty =
    NamedObjectProperty<qor::names::kEdgeSelectionProperty, qor::names::kEdgeSelection>;
using TriangleSelectionProperty =
    NamedObjectProperty<qor::names::kTriangleSelectionProperty, qor::names::kTriangleSelection>;
using VertexSelectionProperty =
    NamedObjectProperty<qor::names::kVertexSelectionProperty, qor::names::kVertexSelection>;
using PointsProperty = NamedObjectProperty<qor::names::kPointsProperty, qor::names::kPoints>;
using PointSelectionProperty =
    NamedObjectProperty<qor::names::kPointSelectionProperty, qor::names::kPointSelection>;
using GriddedPointsProperty =
    NamedObjectProperty<qor::names::kGriddedPointsProperty, qor::names::kGriddedPoints>;
using QuadSelectionProperty =
    NamedObjectProperty<qor::names::kQuadSelectionProperty, qor::names::kQuadSelection>;
using CADModelProperty = NamedObjectProperty<qor::names::kCADModelProperty, qor::names::kCADModel>;
using CADFaceSelectionProperty =
    NamedObjectProperty<qor::names::kCADFaceSelectionProperty, qor::names::kCADFaceSelection>;
using CurvesProperty = NamedObjectProperty<qor::names::kCurvesProperty, qor::names::kCurves>;
using CurveSelectionProperty =
    NamedObjectProperty<qor::names::kCurveSelectionProperty, qor::names::kCurveSelection>;

class IQorWriteQueue;
namespace qor {
// Before a property is stored: the data objects it refers to that have no number yet go on
// the write queue, so that each stands in the document once.
void queueReferencedObjects(IQorProperty* property, IQorPersistentRefMap* refs,
                            IQorWriteQueue* queue);
}  // namespace qor
