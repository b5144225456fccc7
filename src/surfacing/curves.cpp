#include "surfacing/curves.h"

#include <cmath>

#include "base/bitvector.h"
#include "core/listing.h"
#include "core/locator.h"
#include "core/translate.h"
#include "datamodel/intproperty.h"
#include "datamodel/iqorpropertymap.h"
#include "features/arccurve.h"
#include "features/feature.h"
#include "features/linefeature.h"
#include "hostapi/iqorappproxymanager.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/iqordatamodel.h"
#include "surfacing/compositecurve.h"
#include "surfacing/curveconverter.h"
#include "surfacing/curveshell.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/polylinecurve.h"

namespace curves {

namespace {
constexpr const char* kClass = "Curves";
constexpr const char* kSetClass = "CurveSet";
// Chain ends farther apart than this make the chain open.
constexpr double kClosedLimit = 1e-8;

IQorProxyRegistry* setRegistry() {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  return manager ? manager->registry(QorCString(kBorrow, "ICurveSet")) : nullptr;
}

IQorUnknown* rootOf(ICurveSet* set) {
  return set;
}

// The host curve behind a script curve, queried in a fixed order; `known` tells whether the
// object is of a curve kind at all (a known kind without a host gives null).
::IQorCurve* hostCurveOf(IQorUnknown* object, bool& known) {
  known = true;
  if (auto* line = qorQuery<features::LineFeature>(object, "LineFeature")) return line->curve();
  if (auto* arc = qorQuery<features::ArcCurve>(object, "ArcCurve")) return arc->curve();
  if (auto* nurb = qorQuery<surfacing::NurbCurve>(object, "NurbCurve")) return nurb->hostCurve();
  if (auto* poly = qorQuery<surfacing::PolylineCurve>(object, "PolylineCurve"))
    return poly->hostCurve();
  if (auto* comp = qorQuery<surfacing::CompositeCurve>(object, "CompositeCurve"))
    return comp->hostCurve();
  known = false;
  return nullptr;
}

// A clone of the script curve's host curve, or the class error of the failed translation.
IPtr<::IQorCurve> translate(DataObject* object) {
  bool known = false;
  ::IQorCurve* host = object ? hostCurveOf(static_cast<IQorDataObject*>(object), known) : nullptr;
  if (!known) qor::classError(kClass, "Invalid curve");
  IPtr<::IQorCurve> copy = surfacing::cloneOf(host, "IQorCurve");
  if (!copy) qor::classError(kClass, "invalid curve");
  return copy;
}

double distance(const QorVector& a, const QorVector& b) {
  const double dx = a.x - b.x, dy = a.y - b.y, dz = a.z - b.z;
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}
}  // namespace

// ---- lifetime ----

Curves::Curves() {
  Curves::initialize();
  surfacing::logLifetime(this, "Created");
}

Curves::Curves(const Curves& other) : IQorUnknown(), DataObject(other), IQorCurves() {
  Curves::initialize();
  {
    SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
    if (manager) manager->lock();
    if (other.set_) set_ = IPtr<ICurveSet>(other.set_->clone());
    if (manager) manager->unlock();
  }
  surfacing::logLifetime(this, "Created");
}

Curves::~Curves() {
  IPtr<ICurveSet> held = set_;  // released last, after the registry entry and the log line
  replaceSet(nullptr);
  surfacing::logLifetime(this, "Destroyed");
}

void Curves::initialize() {
  addEvent(QorCString(kBorrow, "updated"));
  using C = Curves;
  features::addInt(this, u"numCurves", &C::numCurvesValue);
  features::addInt(this, u"maxCurvesIndex", &C::maxCurvesIndexValue);
  features::addInt(this, u"numLines", &C::numLinesValue);
  features::addInt(this, u"numArcs", &C::numArcsValue);
  features::addInt(this, u"numSplines", &C::numSplinesValue);
  features::addInt(this, u"numPolylines", &C::numPolylinesValue);
  features::addInt(this, u"numCompositeCurves", &C::numCompositeCurvesValue);
  features::addInt(this, u"numComponents", &C::numComponentsValue);
  features::addBool(this, u"isClosed", &C::isClosedValue);
  features::addDouble(this, u"length", &C::lengthValue);
  surfacing::addBoundingBox(this, &C::boundingBoxValue);
}

void Curves::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Curves", out);
    walkAddInterface("curves::IQorCurves", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Curves"))
    *out = this;
  else if (qorNameIs(name, "curves::IQorCurves"))
    *out = static_cast<IQorCurves*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

QorID Curves::classIdentifier() {
  return QorID(0xCB692529, 0x1C3F, 0x4A0A, {0x92, 0x17, 0x50, 0x99, 0x41, 0xFB, 0x08, 0xC7});
}

IQorDataObject* Curves::clone() {
  return new Curves(*this);
}

CurvesIter* Curves::iterator() {
  return new CurvesIter(static_cast<IQorCurves*>(this));
}

// ---- the set ----

void Curves::replaceSet(ICurveSet* set) {
  if (set_ && set_.get() != set)
    if (IQorProxyRegistry* registry = setRegistry())
      if (registry->find(rootOf(set_.get())) == static_cast<IQorCurves*>(this))
        registry->remove(rootOf(set_.get()));
  set_ = set;
}

void Curves::setCurveSet(ICurveSet* set) {
  replaceSet(set);
  if (set)
    if (IQorProxyRegistry* registry = setRegistry())
      registry->add(static_cast<IQorCurves*>(this), rootOf(set));
}

void Curves::adoptCurveSet(ICurveSet* set) {
  replaceSet(set);
  if (set) set->rebuild(-1.0, true);
}

void Curves::rebuild(double tolerance, bool now) {
  if (set_) set_->rebuild(tolerance, now);
}

::IQorCurve* Curves::checked(int32_t index) const {
  ICurveSet* set = set_.get();
  const int64_t i = int64_t{index} + 1;
  ::IQorCurve* c =
      set && i >= 1 && i <= set->maxIndex() ? set->curve(static_cast<int32_t>(i)) : nullptr;
  if (!c) qor::classError(kSetClass, "invalid index");
  return c;
}

QorVector Curves::startPoint(int32_t index) {
  ::IQorCurve* c = checked(index);
  QorVector out;
  c->evaluatePoint(out, c->range(0));
  return out;
}

QorVector Curves::endPoint(int32_t index) {
  ::IQorCurve* c = checked(index);
  QorVector out;
  c->evaluatePoint(out, c->range(1));
  return out;
}

DirIndex* Curves::nextEnd(const DirIndex& end) {
  checked(end.index());
  int32_t out = 0;
  if (ICurveTopology* topology = set_->topology()) topology->nextEnd(end.rawValue(), out);
  return new DirIndex(out);
}

DirIndex* Curves::previousEnd(const DirIndex& end) {
  checked(end.index());
  int32_t out = 0;
  if (ICurveTopology* topology = set_->topology()) topology->previousEnd(end.rawValue(), out);
  return new DirIndex(out);
}

namespace {
int32_t keyOf(const DirIndex& end) {
  return (end.index() + 1) * 2 + (end.version() != 0 ? 1 : 0);
}
}  // namespace

bool Curves::testPair(const DirIndex& first, const DirIndex& second) {
  checked(first.index());
  checked(second.index());
  ICurveTopology* topology = set_->topology();
  return topology && topology->testPair(keyOf(first), keyOf(second), 0);
}

bool Curves::testEnd(const DirIndex& end) {
  checked(end.index());
  ICurveTopology* topology = set_->topology();
  return topology && topology->testEnd(keyOf(end));
}

DataObject* Curves::curve(int32_t index) {
  ::IQorCurve* c = checked(index);
  surfacing::CurveDataObjectConverter converter;
  DataObject* made = converter.convert(c);
  if (!made) qor::internalClassError(kClass, "Invalid curve in the set");
  return made;
}

int32_t Curves::addCurve(DataObject* curve) {
  if (!set_) {
    void* out = nullptr;
    getService("ICurveSet", &out);
    setCurveSet(static_cast<ICurveSet*>(out));
  }
  if (!curve) qor::classError(kClass, "curve is None");
  IPtr<::IQorCurve> copy = translate(curve);
  if (!set_) qor::classError(kClass, "invalid curve");
  return set_->append(copy.get()) - 1;
}

void Curves::setCurve(int32_t index, DataObject* curve) {
  if (!curve) qor::classError(kClass, "curve is None");
  checked(index);
  IPtr<::IQorCurve> copy = translate(curve);
  set_->setCurve(index + 1, copy.get());
}

void Curves::removeCurve(int32_t index) {
  checked(index);
  const int32_t i = index + 1;
  BitVector bits(i);
  bits.set(i);
  set_->removeCurves(bits);
  void* out = nullptr;
  getService("IQorDataEventArgs", &out);
  IPtr<IQorDataEventArgs> args(static_cast<IQorDataEventArgs*>(out));
  if (auto* map = qorQuery<IQorPropertyMap>(args.get(), "IQorPropertyMap")) {
    void* made = nullptr;
    getService("IQorIntProperty", &made);
    IPtr<IQorProperty> id(
        made ? qorQuery<IQorProperty>(static_cast<IQorIntProperty*>(made), "IQorProperty")
             : new IntProperty(QorString(u"delCurveId"), i, false, false));
    if (auto* typed = qorQuery<IQorIntProperty>(id.get(), "IQorIntProperty"))
      typed->initialize(QorString(u"delCurveId"), i, false);
    map->addProperty(id.get(), "delCurveId");
  }
  fireEvent(QorCString(kBorrow, "updated"), args.get());
}

// ---- routed properties ----

int32_t Curves::numCurvesValue() const {
  ICurveSet* set = set_.get();
  if (!set) return 0;
  const int32_t n = set->maxIndex();
  int32_t count = 0;
  for (int32_t i = 1; i <= n; ++i)
    if (set->curve(i)) ++count;
  return count;
}

int32_t Curves::maxCurvesIndexValue() const {
  return set_ ? set_->maxIndex() - 1 : -1;
}

int32_t Curves::countOf(const char* kind) const {
  ICurveSet* set = set_.get();
  if (!set) return 0;
  const int32_t n = set->maxIndex();
  int32_t count = 0;
  for (int32_t i = 1; i <= n; ++i)
    if (qorQuery<void>(set->curve(i), kind)) ++count;
  return count;
}

int32_t Curves::numLinesValue() const {
  return countOf("IQorLine");
}

int32_t Curves::numArcsValue() const {
  return countOf("IQorArc");
}

int32_t Curves::numSplinesValue() const {
  return countOf("IQorNurbCurve");
}

int32_t Curves::numPolylinesValue() const {
  return countOf("IQorPolyLine");
}

int32_t Curves::numCompositeCurvesValue() const {
  return countOf("IQorCompositeCurve");
}

int32_t Curves::walkChains(bool closedOnly) const {
  ICurveSet* set = set_.get();
  const int32_t n = set->maxIndex();
  BitVector visited(n);
  IterStack<int32_t> stack(21);
  int32_t chains = 0;
  for (int32_t i = 1; i <= n; ++i) {
    if (visited.test(i) || !set->curve(i)) continue;
    set->chain(stack, i * 2);
    if (closedOnly && stack.count() > 0) {
      QorVector first, last;
      set->startOf(stack.get(1), first);
      set->startOf(stack.get(stack.count()) ^ 1, last);
      if (distance(first, last) > kClosedLimit) return 0;
    }
    for (int32_t k = 1; k <= stack.count(); ++k) visited.set(stack.get(k) >> 1);
    ++chains;
  }
  return closedOnly ? 1 : chains;
}

int32_t Curves::numComponentsValue() const {
  return set_ ? walkChains(false) : 0;
}

bool Curves::isClosedValue() const {
  if (!set_) return false;
  if (set_->maxIndex() < 1) return true;
  return walkChains(true) != 0;
}

double Curves::lengthValue() const {
  ICurveSet* set = set_.get();
  if (!set) return 0.0;
  const int32_t n = set->maxIndex();
  double sum = 0.0;
  for (int32_t i = 1; i <= n; ++i)
    if (::IQorCurve* c = set->curve(i)) sum += c->length();
  return sum;
}

QorBounds Curves::boundingBoxValue() const {
  if (!set_) return QorBounds(0, 0, 0, 0, 0, 0);
  QorVector lo, hi;
  set_->bounds(lo, hi);
  if (lo.x >= features::kEmptyBound && hi.x <= -features::kEmptyBound) return QorBounds();
  return QorBounds(lo, hi);
}

// ---- stored form: tag 0 the data object, tag 1 the set's class id and record ----

bool Curves::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 1);
  writer->beginChunk(0, 0);
  DataObject::write(writer);
  writer->endChunk();
  if (auto* persistable = qorQuery<IQorPersistable>(set_.get(), "IQorPersistable")) {
    writer->beginChunk(1, 0);
    writer->write(persistable->classId());
    writer->write(persistable);
    writer->endChunk();
  }
  writer->endObject();
  return writer->good();
}

bool Curves::read(IQorDataModelReader* reader) {
  replaceSet(nullptr);
  int32_t version = 0;
  reader->beginObject(this, &version);
  bool ok = true;
  while (ok && !reader->atEnd()) {
    if (!reader->beginChunk()) {
      ok = false;
      break;
    }
    if (reader->tag() == 0) {
      if (!DataObject::read(reader)) {
        reader->endChunk();
        reader->endObject();
        return false;
      }
    } else if (reader->tag() == 1) {
      QorID id;
      void* out = nullptr;
      if (reader->read(id)) createInstance(&id, QorCString(kBorrow, "ICurveSet"), &out);
      auto* made = static_cast<ICurveSet*>(out);
      setCurveSet(made);
      auto* persistable = qorQuery<IQorPersistable>(made, "IQorPersistable");
      ok = persistable && reader->read(persistable);
    }
    if (!ok) replaceSet(nullptr);
    reader->endChunk();
  }
  reader->endObject();
  return ok && reader->good();
}

// ---- the iterator ----

void CurvesIter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("CurvesIter", out);
    walkAddInterface("curves::IQorCurvesIter", out);
    Primitive::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "CurvesIter"))
    *out = this;
  else if (qorNameIs(name, "curves::IQorCurvesIter"))
    *out = static_cast<IQorCurvesIter*>(this);
  else
    Primitive::queryInterface(name, out, reserved);
}

void CurvesIter::setCurves(IQorUnknown* object) {
  curves_ = object ? qorQuery<Curves>(object, "Curves") : nullptr;
}

int32_t CurvesIter::count() {
  ICurveSet* set = curves_ ? curves_->curveSet() : nullptr;
  if (!set) return 0;
  const int32_t n = set->maxIndex();
  int32_t filled = 0;
  for (int32_t i = 1; i <= n; ++i)
    if (set->curve(i)) ++filled;
  return filled;
}

bool CurvesIter::atEnd() {
  ICurveSet* set = curves_ ? curves_->curveSet() : nullptr;
  if (!set) return true;
  const int32_t n = set->maxIndex();
  if (position_ > n || position_ < 0) return true;
  // Whether the count is 0: standing on a curve answers at once, else the first curve
  // found ends the search.
  if (position_ >= 1 && set->curve(position_)) return false;
  for (int32_t i = 1; i <= n; ++i)
    if (set->curve(i)) return false;
  return true;
}

bool CurvesIter::advance() {
  if (!curves_ || !curves_->curveSet() || atEnd()) return false;
  ICurveSet* set = curves_->curveSet();
  const int32_t n = set->maxIndex();
  int32_t i = position_ + 1;
  while (i <= n && !set->curve(i)) ++i;
  position_ = i <= n ? i : -1;
  return position_ >= 0;
}

}  // namespace curves
