// The reference host's features: arc, line, cone, cylinder, plane, sphere and torus.
//
// A host feature keeps its whole state in its parameter table (vectors verbatim, as given)
// and a cache derived from it (unit frames, radii, spans) that it rebuilds on every change
// of the table. Each answers "IQorFeature", "IQorSubject", "IQorPersistable" and its typed
// interfaces; the services of the kinds' names make a new host (count 0) on every fetch.
// No host operation lets an exception out: a fault is caught and logged.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "core/iptr.h"
#include "hostapi/iqorpersistable.h"
#include "refhost/parameters.h"

namespace refhost {

class RefComponentManager;

// The fixed names of one feature kind.
struct FeatureKind {
  const char* className;  // "RefArcHost"
  const char* service;    // "IQorArc"
  QorID classId;
};

// The similarity part of a matrix: p -> s R p + t, with R orthonormal (a reflection when
// the matrix mirrors). `exact` tells whether the matrix was a similarity itself.
struct Similarity {
  QorVector r0, r1, r2;  // rows of R
  double scale = 1;
  QorVector shift;
  bool exact = true;
  bool mirrors = false;
  bool valid = true;
  QorVector point(const QorVector& p) const { return direction(p) * scale + shift; }
  QorVector direction(const QorVector& d) const { return {r0.dot(d), r1.dot(d), r2.dot(d)}; }
};
class RefFeatureHost : public IQorFeature,
                       public IQorSubject,
                       public IQorPersistable,
                       protected TableOwner {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return kind_.className; }
  // IQorFeature
  IQorFeature* clone() override;
  void setParameterTable(IQorParameterTable* table) override;
  IQorParameterTable* parameterTable() override { return table_.get(); }
  void setParameter(const QorString& name, IQorParameter* parameter) override;
  void transform(const QorMatrix& matrix) override;
  void boundingBox(QorBounds& out) override;
  // IQorSubject: the listeners live in the table and move with it.
  void subscribe(IQorListener* listener) override { table_->subscribe(listener); }
  void unsubscribe(IQorListener* listener) override { table_->unsubscribe(listener); }
  // IQorPersistable: an object chunk of the kind's class id, version 1, holding the table.
  bool write(QorFileWrite* writer) override;
  bool read(QorFileRead* reader) override;
  QorID classId() override { return kind_.classId; }

  const FeatureKind& kind() const { return kind_; }
  RefParameterTable& table() { return *table_; }

 protected:
  explicit RefFeatureHost(const FeatureKind& kind);
  // Fills the table with the kind's defaults (at construction).
  virtual void defaults() = 0;
  // Rebuilds the cache from the table.
  virtual void recompute() = 0;
  // Moves by `matrix`; answers whether only its similarity part `s` was used.
  virtual bool moveBy(const QorMatrix& matrix, const Similarity& s) = 0;
  virtual void extend(QorBounds& out) = 0;
  virtual RefFeatureHost* makeEmpty() = 0;
  // The view answering a typed interface name, or null.
  virtual void* typedView(const char* name) = 0;
  void tableChanged(const QorString& name) override;
  // Changes several entries: the cache is rebuilt once and the listeners hear each name
  // after it.
  template <class F>
  void batch(F&& change);
  // Runs `body`, logging (never passing on) anything it throws.
  template <class F>
  void guarded(const char* what, F&& body);
  // Logs an error line "<className>.<what>: <text>".
  void fault(const char* what, const char* text);
  void init() {
    table_->setOwner(this, static_cast<IQorSubject*>(this));
    batch([&] { defaults(); });
  }

  IPtr<RefParameterTable> table_;

 private:
  const FeatureKind& kind_;
  int32_t muted_ = 0;
};

template <class F>
void RefFeatureHost::batch(F&& change) {
  ++muted_;
  table_->defer();
  IPtr<RefParameterTable> keep = table_;
  guarded("update", change);
  --muted_;
  guarded("update", [&] { recompute(); });
  keep->flush();
}

template <class F>
void RefFeatureHost::guarded(const char* what, F&& body) {
  try {
    body();
  } catch (const std::exception& e) {
    fault(what, e.what());
  } catch (...) {
    fault(what, "unknown fault");
  }
}

// ---- geometry shared by the kinds ----

Similarity similarityOf(const QorMatrix& m);

// A right-handed frame: w the unit of `axis` (z when it has none), u the unit of `radial`
// made perpendicular to w (any perpendicular when there is none), v = w x u.
void frameOf(const QorVector& axis, const QorVector& radial, QorVector& w, QorVector& u,
             QorVector& v);
// Whether angle a lies on the span from a0 to a1 (a1 >= a0), taken modulo 2 pi.
bool angleIn(double a, double a0, double a1);
// Extends `out` by the circular arc c + rho (cos a u + sin a v), a from a0 to a1 (any
// order, rho of any sign): its end points and its extremal points per axis.
void extendByArc(QorBounds& out, const QorVector& c, double rho, const QorVector& u,
                 const QorVector& v, double a0, double a1);

// Extends `out` by a point; a point that is not finite marks the bounds as failed instead.
void putPoint(QorBounds& out, const QorVector& p);

// The stored record of a host feature (8-byte lengths), empty if it does not write.
std::vector<uint8_t> featureRecord(IQorPersistable& feature);
// The host a stored record makes (count 0), or null when its class id names no kind or the
// record does not read to its end. *why (if given) says which.
RefFeatureHost* readFeatureRecord(const std::vector<uint8_t>& record, std::string* why);
// What readFeatureRecord does for any stored object: `make` gives a new object (count 0) for
// the record's class id, or null ("its class id ... names no <what>"); the object reads the
// whole record or is destroyed.
IQorPersistable* readStoredRecord(const std::vector<uint8_t>& record, std::string* why,
                                  const char* what, IQorPersistable* (*make)(const QorID&));

// Registers the seven host feature services.
void registerFeatureHosts(RefComponentManager& manager);
// A new host (count 0) of the kind with that class id, or null.
RefFeatureHost* makeFeatureHost(const QorID& classId);
// A new host (count 0) of the kind with that service name ("IQorArc"), or null.
RefFeatureHost* makeFeatureHost(const char* service);

// The kinds' own parts, defined where each kind lives.
RefFeatureHost* makeArcHost();
RefFeatureHost* makeLineHost();
RefFeatureHost* makeConeHost();
RefFeatureHost* makeCylinderHost();
RefFeatureHost* makePlaneHost();
RefFeatureHost* makeSphereHost();
RefFeatureHost* makeTorusHost();

}  // namespace refhost
