// The host's document: the objects of the model list, their iterators, builders and
// removers, and the sub-object managers that hang features, coordinate systems and
// selections on a host object. Host interfaces are used by slot order: the order of the
// operations below is part of the contract (counted from 0, the base's operations not
// counted). The module only calls them; the host implements them.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/qorobject.h"
#include "datamodel/iqordataevent.h"
#include "platform/guid.h"

class IQorObject;
class QorBounds;
class QorMatrix;

namespace qor {
// The sub-object managers a host object may carry, by GUID.
inline constexpr GUID kFeaturesManagerId = {
    0xACB43DF0, 0xD0AE, 0x43F8, {0xBB, 0xFE, 0x3C, 0xCB, 0xD8, 0x0C, 0x50, 0x0E}};
inline constexpr GUID kCoordinateSystemsManagerId = {
    0x4705AB39, 0xE004, 0x403E, {0xBD, 0x9F, 0x84, 0x4B, 0xCB, 0xE3, 0x5C, 0x15}};
inline constexpr GUID kSelectionsManagerId = {
    0x953EC4B5, 0xC42D, 0x4332, {0xAA, 0xFB, 0x79, 0xCA, 0xDE, 0x61, 0x22, 0x92}};
}  // namespace qor

// Who hears about a subject: a host object tells its script-side model ("NameChanged"), a
// host feature and its parameter table tell their shells. Listeners are not counted: a
// listener unsubscribes before it dies.
class IQorSubject : public virtual IQorUnknown {
 public:
  virtual void subscribe(IQorListener* listener) = 0;    // 0
  virtual void unsubscribe(IQorListener* listener) = 0;  // 1
};

// IQorListener (datamodel/iqordataevent.h) is who hears it.

// An iterator over host objects. Callers hold it counted.
class IQorObjectIter : public virtual IQorUnknown {
 public:
  virtual void first() = 0;           // 0
  virtual void next() = 0;            // 1
  virtual uint8_t atEnd() = 0;        // 2
  virtual int32_t count() = 0;        // 3
  virtual IQorObject* current() = 0;  // 4
};

// The phase of a host object: its first operation names it ("World", "Point", "Scan",
// "Polygon", "Curve", "CAD", "Feature", "Section").
class IQorPhase : public virtual IQorUnknown {
 public:
  virtual const QorCString& name() = 0;  // 0
};

// A model of a host object ("GenModel", "SurfModel", "PointModel", "ScanModel",
// "CurveModel"): its first operation gives its data.
class IQorModel : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* data() = 0;  // 0
};

// A host object of the model list.
class IQorObject : public virtual IQorUnknown {
 public:
  virtual uint8_t isGroup() = 0;                                                             // 0
  virtual IQorObject* parent() = 0;                                                          // 1
  virtual uint8_t addToGroup(IQorObject* group) = 0;                                         // 2
  virtual void removeFromGroup() = 0;                                                        // 3
  virtual uint8_t isInGroup() = 0;                                                           // 4
  virtual const QorString& name() = 0;                                                       // 5
  virtual void setName(const QorString& name) = 0;                                           // 6
  virtual void setPrimVisible(const QorCString& prim, uint8_t visible, int32_t redraw) = 0;  // 7
  virtual uint8_t primVisible(const QorCString& prim) = 0;                                   // 8
  virtual IQorPhase* phase() = 0;                                                            // 9
  virtual uint8_t isOfType(const QorCString& name) = 0;                                      // 10
  virtual void bounds(QorBounds* out, int32_t flags) = 0;                                    // 11
  virtual IQorModel* model(const QorCString& name) = 0;                                      // 12
  virtual int32_t id() = 0;                                                                  // 13
  virtual uint8_t visible() = 0;                                                             // 14
  virtual void setVisible(uint8_t visible) = 0;                                              // 15
  virtual IQorUnknown* subObjectByName(const QorCString& name, int32_t flags) = 0;           // 16
  virtual IQorObjectIter* groupMembers() = 0;                                                // 17
  virtual const QorMatrix& transformMatrix() = 0;                                            // 18
  virtual void transform(const QorMatrix& matrix, int32_t flags) = 0;                        // 19
  virtual IQorUnknown* subObjectManager(const GUID* id) = 0;                                 // 20
};

// The document, a service.
class IQorDoc : public virtual IQorUnknown {
 public:
  virtual void setNamedReference(const char* ref, IQorObject* object) = 0;                   // 0
  virtual IQorObject* namedReference(const char* ref) = 0;                                   // 1
  virtual void clearNamedReference(const char* ref) = 0;                                     // 2
  virtual uint8_t isNamedReference(const char* ref, IQorObject* object) = 0;                 // 3
  virtual IQorObject* newObject(int32_t kind, int32_t parent) = 0;                           // 4
  virtual void setActiveObject(IQorObject* object) = 0;                                      // 5
  virtual void addActiveObject(IQorObject* object) = 0;                                      // 6
  virtual IQorObject* activeObject(int32_t a, int32_t b) = 0;                                // 7
  virtual IQorObject* objectById(int32_t id) = 0;                                            // 8
  virtual IQorObject* objectByName(const QorString& name) = 0;                               // 9
  virtual void activeObjects(int32_t kind, int32_t flags, IterStack<IQorObject*>* out) = 0;  // 10
  // An iterator over the document's objects; the caller holds it counted. flagA 1: the
  // top-level objects that are not "World"; flagB 1: group members too.
  virtual IQorObjectIter* objectIterator(int32_t kind, int32_t flags, uint8_t flagA,
                                         uint8_t flagB) = 0;  // 11
};

// Makes a new host object in three steps.
class IQorObjectBuilder : public virtual IQorUnknown {
 public:
  virtual void begin(const char* type, const QorString& name, uint8_t active) = 0;  // 0
  virtual void setData(IQorUnknown* data) = 0;                                      // 1
  virtual IQorObject* finish(int32_t flags) = 0;                                    // 2
};

class IQorObjectRemover : public virtual IQorUnknown {
 public:
  virtual void remove(IQorObject* object, int32_t a, int32_t b) = 0;  // 0
};

// ---- sub-objects ----

class IQorSubObjectIter : public virtual IQorUnknown {
 public:
  virtual void first() = 0;            // 0
  virtual uint8_t atEnd() = 0;         // 1
  virtual void next() = 0;             // 2
  virtual IQorUnknown* current() = 0;  // 3
};

class IQorSubObject : public virtual IQorUnknown {
 public:
  virtual void setName(const QorString& name) = 0;  // 0
  virtual int32_t id() = 0;                         // 1
  virtual uint8_t selected() = 0;                   // 2
  virtual uint8_t visible() = 0;                    // 3
  virtual void setVisible(uint8_t visible) = 0;     // 4
};

class IQorSubObjectMgr : public virtual IQorUnknown {
 public:
  virtual void addSubObject(IQorUnknown* sub) = 0;                      // 0
  virtual void removeSubObject(IQorUnknown* sub) = 0;                   // 1
  virtual void setSubObjectSelected(int32_t id, uint8_t selected) = 0;  // 2
  virtual IQorSubObjectIter* subObjectIterator() = 0;                   // 3 (the caller holds it)
  // The host object that holds the manager.
  virtual IQorUnknown* owner() = 0;  // 4
  // The sub-object of that name, or null.
  virtual IQorUnknown* findByName(const QorString& name) = 0;  // 5
};

class IQorFeatureSubObjectMgr : public virtual IQorUnknown {
 public:
  // A new sub-object for a host feature, at count 0.
  virtual IQorUnknown* newSubObject(IQorUnknown* hostFeature) = 0;  // 0
};

class IQorFeatureSubObject : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* feature() = 0;  // 0
  virtual void refresh() = 0;          // 1
};

// The object a coordinate-system sub-object holds: its host feature, and its name.
class IQorCSysObject : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* feature() = 0;               // 0
  virtual void reserved1() = 0;                     // 1
  virtual void setName(const QorString& name) = 0;  // 2
};

class IQorCSysSubObject : public virtual IQorUnknown {
 public:
  virtual void reserved0() = 0;        // 0
  virtual IQorCSysObject* csys() = 0;  // 1
};

class IQorCSysSubObjectMgr : public virtual IQorUnknown {
 public:
  // A new sub-object made from the data of a coordinate system, at count 0.
  virtual IQorUnknown* newCSysSubObject(IQorUnknown* csysData) = 0;  // 0
};
