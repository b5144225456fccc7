// What the curve shells of this namespace share: the host as IQorCurve (the curve set and
// the composite take curves through it), the class errors of the curve classes, the range
// test every evaluation makes, the lifetime log lines, host clones, the routed bounding box
// and the iterators of the array views, which read the host through their array.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "core/qorobject.h"
#include "datamodel/arrays.h"
#include "datamodel/dataobject.h"
#include "features/feature.h"
#include "hostapi/iqorfeature.h"

namespace surfacing {

// Queried as "surfacing::ICurveShell": answered by NurbCurve, PolylineCurve and
// CompositeCurve.
class ICurveShell : public virtual IQorUnknown {
 public:
  // The host as IQorCurve, borrowed; null without a host.
  virtual ::IQorCurve* hostCurve() = 0;
};

// Raises the class error "Error in class <label>: <text>." (code 6) with its log line.
[[noreturn]] void fail(const char* label, const char* text);
// Raises "parameter is out of the curve range" of class `label` unless t lies in the
// closed range of `curve` (a NaN t passes, as every "below" test of the shells).
void checkCurveRange(::IQorCurve* curve, double t, const char* label);

// Writes "[<class>] [id = <id>] <state>" through the host's log, when there is one.
void logLifetime(DataObject* object, const char* state);
// Fires the object's own "updated" event without arguments.
void fireUpdated(DataObject* object);

// A new host equal to `host` (IQorFeature::clone), as the view `name`; null for null.
template <class T>
IPtr<T> cloneOf(T* host, const char* name) {
  auto* feature = qorQuery<::IQorFeature>(host, "IQorFeature");
  IPtr<::IQorFeature> copy(feature ? feature->clone() : nullptr);
  return IPtr<T>(qorQuery<T>(copy.get(), name));
}

// The routed read-only "boundingBox": the empty marker extended by the host as IQorFeature.
template <class Owner>
void addBoundingBox(Owner* owner, QorBounds (Owner::*get)() const) {
  using Get = QorRetMsgRtr_const<Owner, QorBounds>;
  features::detail::addHeld(owner,
                            new RoutedPropertyTemplate<QorBounds, QorBoundsProperty, Owner>(
                                QorString(u"boundingBox"), true, new Get(owner, get), nullptr));
}
QorBounds boundsOf(IQorUnknown* host);

// Puts `view` back into the array property `name` of `owner` when the property holds
// another array (reading a stored object replaces what its array properties hold), without
// an event.
template <class P, class A>
void holdView(DataObject* owner, const char* name, A* view) {
  P* p = qorQuery<P>(owner->getProperty(name), P::kClassName);
  if (p && p->getValue() != view) p->initialize(p->getName(), view, p->isReadOnly());
}

// The live iterators of the array views: zero-based, before the first entry at start,
// reading through the array (so they follow a re-bound host). The array must outlive them.
template <class Array>
class DoubleViewIter final : public DoubleIter {
 public:
  DoubleViewIter(Array* array, const char* name) : DoubleIter(nullptr, name), array_(array) {
    position_ = -1;
  }
  int32_t size() const override { return array_->size(); }
  bool next() override { return ++position_ < size(); }
  double current() const override {
    return position_ >= 0 && position_ < size() ? array_->at(position_) : 0.0;
  }
  void reset() override { position_ = -1; }

 private:
  Array* array_;
};

template <class Array>
class PointViewIter final : public Vector3DIter {
 public:
  PointViewIter(Array* array, const char* name)
      : Vector3DIter(static_cast<const IterStack<QorVector>*>(nullptr)), array_(array) {
    name_ = name;
    position_ = -1;
  }
  int32_t size() const override { return array_->size(); }
  bool next() override { return ++position_ < size(); }
  QorVector current() const override {
    QorVector v;
    if (position_ >= 0 && position_ < size()) array_->at(v, position_);
    return v;
  }
  void reset() override { position_ = -1; }

 private:
  Array* array_;
};

}  // namespace surfacing
