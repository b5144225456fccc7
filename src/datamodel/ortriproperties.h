// The properties of the oriented triangle objects. Each holds its object through a counted
// reference. Reading a stored value changes the object a property already holds (or makes
// one), without setValue and so without an event.
//   OrientedTriangleProperty           one number, bare signed 32-bit; a copy shares the
//                                      object; prints "(index, version)"
//   OrientedTriangleStackProperty      a bare count, then the numbers; no stack stores count
//                                      0; a copy is a new stack; prints "(count)"
//   OrientedTriangleStackListProperty  a bare count, then each stack's own stream form; no
//                                      list stores count 0; a copy is a new list of new
//                                      stacks; prints nothing
#pragma once
#include <cstdint>

#include "datamodel/arrayproperty.h"
#include "datamodel/orientedtriangle.h"

class IQorOrientedTriangleProperty : public IQorHeldValueProperty<OrientedTriangle> {};
class IQorOrientedTriangleStackProperty : public IQorHeldValueProperty<OrientedTriangleStack> {};
class IQorOrientedTriangleStackListProperty
    : public IQorHeldValueProperty<OrientedTriangleStackList> {};

class OrientedTriangleProperty : public HeldProperty<OrientedTriangleProperty, OrientedTriangle,
                                                     IQorOrientedTriangleProperty> {
 public:
  using HeldProperty::HeldProperty;
  static constexpr const char* kClassName = "OrientedTriangleProperty";
  static constexpr const char* kInterfaceName = "IQorOrientedTriangleProperty";
  static constexpr const char* kTypeName = "qorapi.mesh.OrientedTriangle";
  static constexpr int32_t kVersion = 0;
  // 074bc6fa-ab3b-472d-bf25-634dc25eb172.
  static QorID classIdentifier();
  static OrientedTriangle* copyOf(OrientedTriangle* t) { return t; }

  // "(%1, %2)": index and version; "(-1, 0)" for no object.
  void printValue(const QorString& name, QorString& out) override;
  // The number as a bare signed 32-bit value; 0 for no object.
  void writeValue(IQorDataModelWriter* writer);
  // Makes an object if there is none and gives it the number through setRawValue.
  void readValue(IQorDataModelReader* reader, int32_t version);
};

class OrientedTriangleStackProperty
    : public HeldProperty<OrientedTriangleStackProperty, OrientedTriangleStack,
                          IQorOrientedTriangleStackProperty> {
 public:
  using HeldProperty::HeldProperty;
  static constexpr const char* kClassName = "OrientedTriangleStackProperty";
  static constexpr const char* kInterfaceName = "IQorOrientedTriangleStackProperty";
  static constexpr const char* kTypeName = "qorapi.mesh.OrientedTriangleStack";
  static constexpr int32_t kVersion = 0;
  // 9521a7f5-8d91-44bd-9a34-dba67abdbd69.
  static QorID classIdentifier();
  static OrientedTriangleStack* copyOf(OrientedTriangleStack* s) {
    return new OrientedTriangleStack(*s);
  }
  // 80 bytes per entry.
  static int64_t contentBytes(OrientedTriangleStack* s) { return int64_t{80} * s->count(); }

  // "(%1)": the count; "(0)" for no stack.
  void printValue(const QorString& name, QorString& out) override;
  void writeValue(IQorDataModelWriter* writer);
  // Makes a stack of capacity 6 if there is none, sets its count to 0 and refills it.
  void readValue(IQorDataModelReader* reader, int32_t version);
};

class OrientedTriangleStackListProperty
    : public HeldProperty<OrientedTriangleStackListProperty, OrientedTriangleStackList,
                          IQorOrientedTriangleStackListProperty> {
 public:
  using HeldProperty::HeldProperty;
  static constexpr const char* kClassName = "OrientedTriangleStackListProperty";
  static constexpr const char* kInterfaceName = "IQorOrientedTriangleStackListProperty";
  static constexpr const char* kTypeName = "qorapi.mesh.OrientedTriangleStackList";
  static constexpr int32_t kVersion = 0;
  // 99ec161a-e9e7-45d2-b368-677218ad47b5.
  static QorID classIdentifier();
  static OrientedTriangleStackList* copyOf(OrientedTriangleStackList* list);
  // 80 bytes per entry of each stack.
  static int64_t contentBytes(OrientedTriangleStackList* list);

  void writeValue(IQorDataModelWriter* writer);
  // Makes a list if there is none, else resets its cursor and keeps its entries; each
  // stored stack is appended as a new stack of capacity 6.
  void readValue(IQorDataModelReader* reader, int32_t version);
};
