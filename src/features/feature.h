// Features: the script shells over the host's geometry objects. The host object is the
// master of every value: a shell stores no geometry, reads the host at each call, checks
// what a script sets and writes it to the host, and passes the host's messages on as its
// own "updated" event. A shell without a host reads zero and ignores writes.
//
// Two interfaces share a last name: features::IQorFeature is the shell's own (queried as
// "features::IQorFeature"); ::IQorFeature is the host object's (queried as "IQorFeature").
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/iptr.h"
#include "datamodel/boolproperty.h"
#include "datamodel/dataobject.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/iqordataevent.h"
#include "datamodel/iqorundoinfo.h"
#include "datamodel/messagerouter.h"
#include "datamodel/qorboundsproperty.h"
#include "datamodel/routedproperty.h"
#include "datamodel/stringproperty.h"
#include "datamodel/vector2dproperty.h"
#include "datamodel/vector3dproperty.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqorfeature.h"
#include "math/qorbounds.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"
#include "math/vector2d.h"
#include "persistence/qorid.h"

namespace features {

class Feature;
class ParameterMirror;
struct ParameterOutput;

// The shell's own interface, queried as "features::IQorFeature". Slot order as declared.
class IQorFeature : public virtual IQorUnknown {
 public:
  // 0: attaches a host object (counted by the shell).
  virtual void connect(::IQorFeature* host) = 0;
  // 1: hears the host's table and builds the mirrored parameter properties.
  virtual void mirrorParameters() = 0;
  // 2: an empty hook.
  virtual void reserved2() = 0;
  // 3: the host object, borrowed; null without one.
  virtual ::IQorFeature* host() = 0;
};

// The largest 32-bit float: the coordinates of an empty bounding box before the host
// extends it (minimum this value, maximum its negation).
inline constexpr double kEmptyBound = 3.4028234663852886e38;
// 2 pi, the bound of angle properties.
inline constexpr double kTwoPi = 6.283185307179586;

// ---- checks shared by every shell ----
// Whether |v| lies in [1 - tol, 1 + tol].
bool isNormalized(const QorVector& v, double tol);
// Whether (a.b)^2 <= |a|^2 tol^2 |b|^2.
bool isPerpendicular(const QorVector& a, const QorVector& b, double tol);
// Whether (a.b)^2 >= |a|^2 (1 - tol^2) |b|^2.
bool isParallel(const QorVector& a, const QorVector& b, double tol);
// Raises the class error "Error in class <label>: <text>." (code 6) with its log line.
[[noreturn]] void fail(const char* label, const char* text);

// ---- routed properties of a shell ----
// Each adds a routed property of `owner` reading through `get` and, when `set` is given,
// writing through it (read-only without). A repeated add under the same name replaces.
template <class Owner>
void addVector(Owner* owner, const char16_t* name, QorVector (Owner::*get)() const,
               void (Owner::*set)(const QorVector&) = nullptr);
template <class Owner>
void addVector2D(Owner* owner, const char16_t* name, Vector2D (Owner::*get)() const,
                 void (Owner::*set)(const Vector2D&) = nullptr);
// Bounds act before the setter: a value outside [lo, hi] is refused by the property.
template <class Owner>
void addDouble(Owner* owner, const char16_t* name, double (Owner::*get)() const,
               void (Owner::*set)(double) = nullptr, double lo = -1.7976931348623157e308,
               double hi = 1.7976931348623157e308);
template <class Owner>
void addInt(Owner* owner, const char16_t* name, int32_t (Owner::*get)() const,
            void (Owner::*set)(int32_t) = nullptr);
template <class Owner>
void addBool(Owner* owner, const char16_t* name, bool (Owner::*get)() const,
             void (Owner::*set)(bool) = nullptr);
template <class Owner>
void addString(Owner* owner, const char16_t* name, QorString (Owner::*get)() const,
               void (Owner::*set)(const QorString&) = nullptr);

// The base of every shell: a DataObject holding one host object.
class Feature : public DataObject, public IQorFeature, public IQorListener {
 public:
  // A shell without a host.
  Feature();
  Feature(const Feature&) = delete;
  Feature& operator=(const Feature&) = delete;
  // Destroys the output record and the mirror, then releases the host.
  ~Feature() override;

  // Answers "Feature", "features::IQorFeature", "IQorListener", then DataObject's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Feature"; }

  // ---- features::IQorFeature ----
  // The base part: count to 0, host replaced, output record and mirror made anew, then the
  // routed "boundingBox". A concrete class runs it and adds its typed view and properties.
  void connect(::IQorFeature* host) override;
  void mirrorParameters() override;
  void reserved2() override {}
  ::IQorFeature* host() override { return hostFeature_.get(); }

  // ---- IQorListener: the host's messages ----
  // "endUpdate" suspends (count up), "startUpdate" resumes (count down; at 0 or less
  // "updated" fires); "setParameter" with "Name" renames, also while suspended; another
  // "setParameter" fires "updated" with the string "setParameter" = name when not
  // suspended; "updated" fires "updated" when not suspended. Never throws.
  void notify(const char* message, IQorSubject* subject, void* argument) override;

  // ---- IQorDataObject ----
  // Writes "Name" into the host (a new string value each time), then the base operation.
  void setName(const QorString& name) override;
  // A FeatureUndoInfo holding a clone of the host.
  IQorUndoInfo* createUndoInfo() override;

  // ---- the shell's own operations ----
  // Connect's base part without the mirror, for shells whose host is already made; takes
  // the name from the host's "Name" parameter (empty when missing).
  virtual void reattach(::IQorFeature* host);
  // Moves the host, then notify("updated") on the shell itself.
  virtual void transform(const QorMatrix& matrix);
  // The feature's own frame: the identity here.
  virtual void coordinate(QorMatrix& out);

  int64_t memorySize() override { return 80; }
  const char* typeString() override { return "qorapi.features.Feature"; }

  // ---- persistence: version 2; the host's own stream inside the record, then the
  // DataObject part (read only for version 2 and above) ----
  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;
  // The class id of the shell class (interfaceName's); DataObject's for the base classes.
  QorID classId() override;

  // The host interface name of the registry this class's shells stand in ("IQorArc");
  // null for the base classes.
  virtual const char* interfaceName() const { return nullptr; }
  // The number of "endUpdate" messages that still wait for their "startUpdate".
  int32_t updateSuspendCount() const { return updateSuspendCount_; }
  // The routed "boundingBox": the empty box extended by the host.
  QorBounds boundingBoxValue() const;

 protected:
  // The work of createHost for a concrete class, under the proxy manager's lock: a new host
  // from the locator under `interfaceName` (null when missing), connect, registry add.
  void createHostAs(const char* interfaceName);
  // Writes "[<class>] [id = <id>] <state>" through the host's log, when there is one.
  void logLifetime(const char* state);
  // The destructor's first steps: removes `typedHost` from the registry of
  // `interfaceName`, then logs "Destroyed".
  void retire(const char* interfaceName, IQorUnknown* typedHost);
  // Fires the own "updated" event with `args` (may be null).
  void fireUpdated(IQorDataEventArgs* args);

 private:
  // Steps 1 to 3 of connect.
  void bindHost(::IQorFeature* host);
  // Subscribes to the host's table as a subject, leaving one heard before.
  void listenToTable();
  // Leaves the table heard, and the host's present one (listeners move with a new table).
  void stopListening();
  void addBoundingBox();

  ParameterMirror* parameterMirror_ = nullptr;
  ParameterOutput* parameterOutput_ = nullptr;
  IPtr<::IQorFeature> hostFeature_;
  int32_t updateSuspendCount_ = 0;
  IPtr<IQorSubject> listenedTo_;  // the table this shell hears, if any
};

// The base of the surface shells: "qorapi.datamodel.Surface", and a last operation that
// answers null here.
class SurfaceFeature : public Feature {
 public:
  const char* className() override { return "SurfaceFeature"; }
  const char* typeString() override { return "qorapi.datamodel.Surface"; }
  virtual IQorUnknown* surfaceExtra() { return nullptr; }
};

// ---- pairing of host objects and shells ----
// The shell of a host object, or null: the host is asked for the feature interfaces in a
// fixed order, and the first one it offers whose registry holds it gives the shell.
IQorFeature* findProxy(::IQorFeature* host);
// Makes the shell of the first interface (in creation order) the host offers, connects it,
// mirrors its parameters and enters it in that interface's registry. Null for a null host,
// one that offers none, or a class no shell maker is registered for.
IQorFeature* createProxy(::IQorFeature* host);
// A shell class without a host: `make` builds one (count 0) for createProxy and makeShell.
// `classId` must be the class's own id (an id of another class registers nothing).
// Answers whether it registered, for use in a static initializer.
bool registerShell(const char* interfaceName, const QorID& classId, Feature* (*make)());
// A new shell without a host of the class with that class id, for reading it from a file;
// null for an id of no shell class or one whose maker is not registered. The host's class
// factory lists these (the module's own factory registers no classes).
Feature* makeShell(const QorID& classId);
// The class ids of the shell classes: count and the id at `index` (all-zero outside).
int32_t shellClassCount();
QorID shellClassId(int32_t index);
// The script type name of a shell class by host interface name ("IQorArc" gives
// "qorapi.features.ArcCurve"), or null.
const char* typeStringOf(const char* interfaceName);
// The class id of a shell class by host interface name, or the all-zero id.
QorID classIdOf(const char* interfaceName);

// ---- undo ----
class UndoInfo : public IQorUndoInfo {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "UndoInfo"; }
  void captureAfter() override {}
  void undo() override {}
  void redo() override {}
  int64_t undoSize() override { return 0; }
  void setDone(bool done) override { done_ = done; }
  bool isDone() override { return done_; }
  bool isUndoable() override { return true; }

 private:
  bool done_ = false;
};

// Whole clones of the host before and after, and the names; nothing else of the shell.
class FeatureUndoInfo : public UndoInfo {
 public:
  // Clones the host of `feature` under the proxy manager's lock and takes its name.
  explicit FeatureUndoInfo(Feature* feature);
  // Releases both clones, each under its own lock.
  ~FeatureUndoInfo() override;
  FeatureUndoInfo(const FeatureUndoInfo&) = delete;
  FeatureUndoInfo& operator=(const FeatureUndoInfo&) = delete;
  const char* className() override { return "FeatureUndoInfo"; }
  void captureAfter() override;
  // connect(before), setName(before), notify("updated"); redo the same with after.
  void undo() override;
  void redo() override;
  // 80 per clone held.
  int64_t undoSize() override;

 private:
  Feature* feature_;
  ::IQorFeature* beforeHost_ = nullptr;
  QorString beforeName_;
  ::IQorFeature* afterHost_ = nullptr;
  QorString afterName_;
};

// ---- editors ----
// Keeps derived parameters of a feature consistent: hears the host's messages and hands
// them to handle, never re-entering for a change handle itself causes.
class FeatureEditor {
 public:
  explicit FeatureEditor(::IQorFeature* feature) : feature_(feature) {}
  virtual ~FeatureEditor() = default;
  FeatureEditor(const FeatureEditor&) = delete;
  FeatureEditor& operator=(const FeatureEditor&) = delete;
  // "startUpdate" sets updating and handles; "endUpdate" clears it and handles; anything
  // else is handled once, with enabled off during handle (back on also when it throws).
  virtual void notify(const char* message, IQorSubject* subject, void* argument);
  virtual void handle(const char* message, IQorSubject* subject, void* argument) {
    (void)message, (void)subject, (void)argument;
  }
  bool enabled() const { return enabled_ != 0; }
  bool updating() const { return updating_ != 0; }

 protected:
  ::IQorFeature* feature_;
  uint8_t enabled_ = 1;
  uint8_t updating_ = 1;
};

// ---- template bodies ----
namespace detail {
template <class P>
void addHeld(DataObject* owner, P* property) {
  IPtr<IQorProperty> held(property);
  owner->addProperty(held.get());
}
}  // namespace detail

template <class Owner>
void addVector(Owner* owner, const char16_t* name, QorVector (Owner::*get)() const,
               void (Owner::*set)(const QorVector&)) {
  using Get = QorRetMsgRtr_const<Owner, QorVector>;
  using Set = QorSingleMsgRtr<Owner, QorVector, const QorVector&>;
  detail::addHeld(owner, new RoutedPropertyTemplate<QorVector, Vector3DProperty, Owner>(
                             QorString(name), set == nullptr, new Get(owner, get),
                             set ? new Set(owner, set) : nullptr));
}

template <class Owner>
void addVector2D(Owner* owner, const char16_t* name, Vector2D (Owner::*get)() const,
                 void (Owner::*set)(const Vector2D&)) {
  using Get = QorRetMsgRtr_const<Owner, Vector2D>;
  using Set = QorSingleMsgRtr<Owner, Vector2D, const Vector2D&>;
  detail::addHeld(owner, new RoutedPropertyTemplate<Vector2D, Vector2DProperty, Owner>(
                             QorString(name), set == nullptr, new Get(owner, get),
                             set ? new Set(owner, set) : nullptr));
}

template <class Owner>
void addDouble(Owner* owner, const char16_t* name, double (Owner::*get)() const,
               void (Owner::*set)(double), double lo, double hi) {
  using Get = QorRetMsgRtr_const<Owner, double>;
  using Set = QorSingleMsgRtr<Owner, double>;
  auto* p = new RoutedPropertyTemplate<double, DoubleProperty, Owner>(
      QorString(name), set == nullptr, new Get(owner, get), set ? new Set(owner, set) : nullptr);
  p->setBounds(lo, hi);
  detail::addHeld(owner, p);
}

template <class Owner>
void addInt(Owner* owner, const char16_t* name, int32_t (Owner::*get)() const,
            void (Owner::*set)(int32_t)) {
  using Get = QorRetMsgRtr_const<Owner, int32_t>;
  using Set = QorSingleMsgRtr<Owner, int32_t>;
  detail::addHeld(owner, new RoutedPropertyTemplate<int32_t, IntProperty, Owner>(
                             QorString(name), set == nullptr, new Get(owner, get),
                             set ? new Set(owner, set) : nullptr));
}

template <class Owner>
void addBool(Owner* owner, const char16_t* name, bool (Owner::*get)() const,
             void (Owner::*set)(bool)) {
  using Get = QorRetMsgRtr_const<Owner, bool>;
  using Set = QorSingleMsgRtr<Owner, bool>;
  detail::addHeld(owner, new RoutedPropertyTemplate<bool, BoolProperty, Owner>(
                             QorString(name), set == nullptr, new Get(owner, get),
                             set ? new Set(owner, set) : nullptr));
}

template <class Owner>
void addString(Owner* owner, const char16_t* name, QorString (Owner::*get)() const,
               void (Owner::*set)(const QorString&)) {
  using Get = QorRetMsgRtr_const<Owner, QorString>;
  using Set = QorSingleMsgRtr<Owner, QorString, const QorString&>;
  detail::addHeld(owner, new RoutedPropertyTemplate<QorString, StringProperty, Owner>(
                             QorString(name), set == nullptr, new Get(owner, get),
                             set ? new Set(owner, set) : nullptr));
}

}  // namespace features
