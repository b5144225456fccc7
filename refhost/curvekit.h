// What the curve and surface hosts share (inside the reference host only): the base class
// that keeps the "Name" table and the record frame, the affine check of transforms, the
// array chunks of the records and the one-line-per-state log of a failing gate.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "refhost/curvehosts.h"

namespace refhost::curvekit {

// Array chunks inside a record, version 0, holding only their doubles.
inline constexpr uint32_t kKnotsTag = 0x0D0C21;     // one double per knot
inline constexpr uint32_t kPolesTag = 0x0D0C22;     // x, y, z per pole or point
inline constexpr uint32_t kWeightsTag = 0x0D0C23;   // one double per weight
inline constexpr uint32_t kPoints2DTag = 0x0D0C24;  // x, y per planar point

// The largest count of poles, knots or points a host takes (a record or a call asking for
// more is refused): about 1.5 GB of poles.
inline constexpr int64_t kMaxCount = int64_t(1) << 26;

bool writeDoubles(QorFileWrite& w, uint32_t tag, const double* values, int64_t count);
bool writePoles(QorFileWrite& w, const QorVector* poles, int64_t count);
// Reads a chunk of kind `tag` holding exactly `count` doubles (per pole: 3) into `out`;
// false when the chunk is of another kind or length. Nothing is allocated before the length
// is known to fit.
bool readDoubles(QorFileRead& r, uint32_t tag, int64_t count, std::vector<double>& out);
bool readPoles(QorFileRead& r, int64_t count, std::vector<QorVector>& out);
// A matrix the hosts take: finite, affine (last row 0, 0, 0, 1) and not singular. Otherwise
// a static text saying why.
const char* affineFault(const QorMatrix& m);

// The base of every curve and surface host: the table holds "Name" (and whatever is set
// into it); the geometry is the kind's own record. Records are one object chunk of the
// kind's class id, version 1: the table, then the kind's body. A record reads only whole.
class CurveHostBase : public RefFeatureHost {
 public:
  IQorFeature* clone() override;
  // Refuses (with a log line) a matrix that affineFault names.
  void transform(const QorMatrix& matrix) override;
  bool write(QorFileWrite* writer) override;
  bool read(QorFileRead* reader) override;

 protected:
  CurveHostBase(const FeatureKind& kind, const char* name) : RefFeatureHost(kind), name_(name) {}
  void defaults() override;
  void recompute() override {}
  bool moveBy(const QorMatrix& m, const Similarity&) override;
  // Maps the geometry by an affine matrix that passed affineFault.
  virtual void moveAffine(const QorMatrix& m) = 0;
  // Copies the geometry into a host of the same kind.
  virtual void copyInto(CurveHostBase& other) = 0;
  virtual bool writeBody(QorFileWrite& w) = 0;
  // Reads the body into a staged state; answers the step that installs it, or an empty
  // function when the body does not read (the host unchanged either way).
  virtual std::function<void()> readBody(QorFileRead& r) = 0;
  // Logs once per state: `noted` is cleared by every change of the geometry.
  void noteOnce(const char* what, const char* text);
  void forgetNote() { noted_ = false; }

 private:
  const char* name_;
  bool noted_ = false;
};

// Gives a NURB curve host (made by makeNurbCurveHost) a whole record; poles.size() is n.
void adoptCurveRecord(RefFeatureHost& host, bool rational, int32_t degree,
                      std::vector<double>&& knots, std::vector<QorVector>&& poles,
                      std::vector<double>&& weights, double r0, double r1);

// The kind of a stored member record: a curve host or a feature host.
RefFeatureHost* makeAnyHost(const QorID& classId);

}  // namespace refhost::curvekit
