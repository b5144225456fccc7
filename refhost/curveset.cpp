#include "refhost/curveset.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <numeric>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/bitvector.h"
#include "core/iptr.h"
#include "hostapi/iqorpersistable.h"
#include "math/qorbounds.h"
#include "persistence/qorfile.h"
#include "refhost/componentmanager.h"
#include "refhost/curvekit.h"
#include "refhost/featurehosts.h"
#include "refhost/host.h"
#include "refhost/strsupport.h"

namespace refhost {

const QorID kCurveSetClassId(0x6b1e2a0d, 0x3c4d, 0x4e5f,
                             {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x0d});

namespace {

// A stored entry is at least its index and a member's chunk header and class id.
constexpr int64_t kMinEntryBytes = 4 + 28;

// One grid cell of the end hash.
struct Cell {
  int64_t x, y, z;
  bool operator==(const Cell&) const = default;
};
struct CellHash {
  size_t operator()(const Cell& c) const {
    uint64_t h = static_cast<uint64_t>(c.x) * 0x9E3779B97F4A7C15ull;
    h ^= static_cast<uint64_t>(c.y) * 0xC2B2AE3D27D4EB4Full + (h << 6) + (h >> 2);
    h ^= static_cast<uint64_t>(c.z) * 0x165667B19E3779F9ull + (h << 6) + (h >> 2);
    return static_cast<size_t>(h ^ (h >> 29));
  }
};
int64_t cellOf(double v, double edge) {
  // Far coordinates share the outermost cells: more comparisons there, never a missed pair.
  const double c = std::floor(v / edge);
  return static_cast<int64_t>(std::clamp(c, -4.0e18, 4.0e18));
}

class RefCurveSet : public ICurveSet, public ICurveTopology, public IQorPersistable {
 public:
  RefCurveSet() : slots_(1) {}

  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "ICurveSet"))
      *out = static_cast<ICurveSet*>(this);
    else if (qorNameIs(name, "ICurveTopology"))
      *out = static_cast<ICurveTopology*>(this);
    else if (qorNameIs(name, "IQorPersistable"))
      *out = static_cast<IQorPersistable*>(this);
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(static_cast<ICurveSet*>(this));
  }
  const char* className() override { return "RefCurveSet"; }

  // ---- ICurveSet ----
  int32_t maxIndex() override { return static_cast<int32_t>(slots_.size()) - 1; }
  IQorCurve* curve(int32_t i) override { return filled(i) ? slots_[i].get() : nullptr; }
  QorVector& startOf(int32_t key, QorVector& out) override {
    out = QorVector();
    if (IQorCurve* c = curve(key >> 1))
      guarded("startOf", [&] { c->evaluatePoint(out, c->range(key & 1)); });
    return out;
  }
  void chain(IterStack<int32_t>& stack, int32_t key) override {
    stack.clear();
    if (!fresh() || !curve(key >> 1)) return;
    // Each oriented curve sits in at most one chain, so no walk is longer than the keys.
    const int64_t limit = int64_t(slots_.size()) * 2;
    // Back to the chain's first curve; around a closed loop, back to `key` itself.
    int32_t first = key;
    int64_t steps = 0;
    for (int32_t p = previousOf(key); p != 0 && p != key && steps < limit; ++steps) {
      first = p;
      p = previousOf(p);
      if (p == key) first = key;
    }
    steps = 0;
    for (int32_t k = first; k != 0 && steps < limit; ++steps) {
      stack.push(k);
      k = nextOf(k);
      if (k == first) break;
    }
  }
  ICurveTopology* topology() override {
    fresh();
    return this;
  }
  int32_t append(IQorCurve* c) override {
    IPtr<IQorCurve> hold(c);
    if (!c || maxIndex() >= kMaxCurveSetIndex) {
      fault("append", c ? "the set is full; nothing changes" : "no curve given; nothing changes");
      return 0;
    }
    slots_.push_back(hold);
    ++count_;
    stale_ = true;
    return maxIndex();
  }
  void setCurve(int32_t i, IQorCurve* c) override {
    IPtr<IQorCurve> hold(c);
    if (!c || i < 1 || i > maxIndex()) {
      fault("setCurve", ("no curve, or index " + std::to_string(i) + " is outside 1.." +
                         std::to_string(maxIndex()) + "; nothing changes")
                            .c_str());
      return;
    }
    if (!slots_[i]) ++count_;
    slots_[i] = hold;
    stale_ = true;
  }
  void removeCurves(const BitVector& indices) override {
    for (int32_t i = 1; i <= maxIndex(); ++i)
      if (slots_[i] && indices.test(i)) {
        slots_[i] = IPtr<IQorCurve>();
        --count_;
        stale_ = true;
      }
  }
  void bounds(QorVector& min, QorVector& max) override {
    QorBounds box;
    for (const IPtr<IQorCurve>& c : slots_)
      if (auto* f = c ? qorQuery<IQorFeature>(c.get(), "IQorFeature") : nullptr)
        f->boundingBox(box);
    min = box.minimum();
    max = box.maximum();
  }
  void rebuild(double tolerance, bool now) override {
    const double t = tolerance < 0 ? kDefaultCurveSetTolerance : tolerance;
    if (!(t <= std::numeric_limits<double>::max())) {
      fault("rebuild",
            ("tolerance " + std::to_string(tolerance) + " is not finite; it stays").c_str());
    } else if (t != tolerance_) {
      tolerance_ = t;
      stale_ = true;
    }
    if (now) fresh();
  }
  int32_t count() override { return count_; }
  double tolerance() override { return tolerance_; }
  ICurveSet* clone() override {
    auto* copy = new RefCurveSet();
    copy->tolerance_ = tolerance_;
    copy->slots_.resize(slots_.size());
    for (size_t i = 1; i < slots_.size(); ++i) {
      auto* f = slots_[i] ? qorQuery<IQorFeature>(slots_[i].get(), "IQorFeature") : nullptr;
      IPtr<IQorFeature> made(f ? f->clone() : nullptr);
      copy->slots_[i] = IPtr<IQorCurve>(qorQuery<IQorCurve>(made.get(), "IQorCurve"));
      if (slots_[i] && !copy->slots_[i])
        fault("clone", ("the curve at " + std::to_string(i) +
                        " does not copy; its index stays "
                        "empty in the copy")
                           .c_str());
      copy->count_ += copy->slots_[i] ? 1 : 0;
    }
    return copy;
  }

  // ---- ICurveTopology ----
  int32_t& previousEnd(int32_t in, int32_t& out) override {
    out = fresh() && curve(in >> 1) ? previousOf(in) : 0;
    return out;
  }
  int32_t& nextEnd(int32_t in, int32_t& out) override {
    out = fresh() && curve(in >> 1) ? nextOf(in) : 0;
    return out;
  }
  bool testEnd(int32_t key) override { return fresh() && curve(key >> 1) && size_[root_[key]] > 1; }
  bool testPair(int32_t first, int32_t second, int32_t) override {
    return fresh() && first != second && curve(first >> 1) && curve(second >> 1) &&
           root_[first] == root_[second];
  }

  // ---- IQorPersistable ----
  QorID classId() override { return kCurveSetClassId; }
  bool write(QorFileWrite* w) override {
    if (!w) return false;
    bool ok = w->beginObjectChunk(kCurveSetClassId, 1);
    ok = w->write(tolerance_) && ok;
    ok = w->write(maxIndex()) && ok;
    ok = w->write(count_) && ok;
    for (int32_t i = 1; i <= maxIndex(); ++i) {
      if (!slots_[i]) continue;
      auto* p = qorQuery<IQorPersistable>(slots_[i].get(), "IQorPersistable");
      ok = w->write(i) && ok;
      ok = p && p->write(w) && ok;
    }
    ok = w->endChunk() && ok;
    return ok && w->good();
  }
  bool read(QorFileRead* r) override {
    if (!r || !r->beginChunk(qor::tag::kObject, 1)) return false;
    double tolerance = 0;
    int32_t max = 0, filled = 0;
    bool ok = r->objectId() == kCurveSetClassId && r->read(tolerance) && r->read(max) &&
              r->read(filled) && tolerance >= 0 &&
              tolerance <= std::numeric_limits<double>::max() && max >= 0 &&
              max <= kMaxCurveSetIndex && filled >= 0 && filled <= max &&
              int64_t(filled) * kMinEntryBytes <= r->remaining();
    std::vector<IPtr<IQorCurve>> slots;
    if (ok) slots.resize(size_t(max) + 1);
    for (int32_t n = 0, last = 0; ok && n < filled; ++n) {
      int32_t i = 0;
      ok = r->read(i) && i > last && i <= max;
      if (!ok) break;
      last = i;
      IPtr<RefFeatureHost> h(curvekit::makeAnyHost(r->peekObjectId()));
      IQorCurve* c = h ? qorQuery<IQorCurve>(h.get(), "IQorCurve") : nullptr;
      ok = c && h->read(r);
      if (ok) slots[i] = IPtr<IQorCurve>(c);
    }
    // Every byte of the record belongs to a field.
    ok = ok && r->good() && r->remaining() == 0;
    r->endChunk();
    if (!ok || !r->good()) return false;
    slots_.swap(slots);
    tolerance_ = tolerance;
    count_ = filled;
    stale_ = true;
    return true;
  }

 private:
  bool filled(int32_t i) const { return i >= 1 && size_t(i) < slots_.size() && slots_[i]; }
  // partner_[k]: the one other end of the junction of end k when it holds exactly two.
  int32_t previousOf(int32_t k) const { return partner_[k] ? partner_[k] ^ 1 : 0; }
  int32_t nextOf(int32_t k) const { return partner_[k ^ 1]; }

  // Rebuilds the connectivity when stale; false only when that failed (no memory).
  bool fresh() {
    if (!stale_) return true;
    bool done = false;
    guarded("rebuild", [&] {
      build();
      done = true;
    });
    if (!done) {
      root_.assign(slots_.size() * 2, 0);
      std::iota(root_.begin(), root_.end(), 0);
      size_.assign(slots_.size() * 2, 1);
      partner_.assign(slots_.size() * 2, 0);
    }
    stale_ = !done;
    return done;
  }
  void build() {
    const int32_t keys = static_cast<int32_t>(slots_.size()) * 2;
    // The keys of filled indices whose points are finite, and those points.
    std::vector<int32_t> ends;
    std::vector<QorVector> at;
    for (int32_t k = 2; k < keys; ++k) {
      if (!slots_[k >> 1]) continue;
      QorVector p;
      startOf(k, p);
      if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) continue;
      ends.push_back(k);
      at.push_back(p);
    }
    root_.resize(keys);
    std::iota(root_.begin(), root_.end(), 0);
    const double edge = tolerance_ > 0 ? tolerance_ : 1.0;
    auto cellAt = [&](size_t i) {
      return Cell{cellOf(at[i].x, edge), cellOf(at[i].y, edge), cellOf(at[i].z, edge)};
    };
    std::unordered_map<Cell, std::vector<uint32_t>, CellHash> grid;
    grid.reserve(ends.size());
    for (size_t i = 0; i < ends.size(); ++i) grid[cellAt(i)].push_back(static_cast<uint32_t>(i));
    for (size_t i = 0; i < ends.size(); ++i) {
      const Cell c = cellAt(i);
      for (int64_t dx = -1; dx <= 1; ++dx)
        for (int64_t dy = -1; dy <= 1; ++dy)
          for (int64_t dz = -1; dz <= 1; ++dz) {
            auto it = grid.find(Cell{c.x + dx, c.y + dy, c.z + dz});
            if (it == grid.end()) continue;
            for (uint32_t j : it->second)
              if (j > i && (at[j] - at[i]).length() <= tolerance_) join(ends[i], ends[j]);
          }
    }
    size_.assign(keys, 0);
    for (int32_t k = 0; k < keys; ++k) ++size_[root_[k] = find(k)];
    // The first end seen of every junction of two, then its partner.
    std::vector<int32_t> firstOf(keys, 0);
    partner_.assign(keys, 0);
    for (int32_t k = 2; k < keys; ++k) {
      const int32_t j = root_[k];
      if (!slots_[k >> 1] || size_[j] != 2) continue;
      if (firstOf[j] == 0) {
        firstOf[j] = k;
      } else {
        partner_[k] = firstOf[j];
        partner_[firstOf[j]] = k;
      }
    }
  }
  int32_t find(int32_t k) {
    while (root_[k] != k) k = root_[k] = root_[root_[k]];
    return k;
  }
  void join(int32_t a, int32_t b) {
    a = find(a), b = find(b);
    if (a != b) root_[std::max(a, b)] = std::min(a, b);
  }

  void fault(const char* what, const char* text) {
    log().logError(utf8ToWide((std::string("RefCurveSet.") + what + ": " + text).c_str()));
  }
  template <class F>
  void guarded(const char* what, F&& body) {
    try {
      body();
    } catch (const std::exception& e) {
      fault(what, e.what());
    } catch (...) {
      fault(what, "unknown fault");
    }
  }

  std::vector<IPtr<IQorCurve>> slots_;  // slot 0 unused
  int32_t count_ = 0;
  double tolerance_ = kDefaultCurveSetTolerance;
  bool stale_ = true;
  // Per key: the junction's representative end, the junction's size (at the
  // representative), the partner end.
  std::vector<int32_t> root_, size_, partner_;
};

}  // namespace

ICurveSet* makeCurveSet() {
  return new RefCurveSet();
}

void registerCurveSet(RefComponentManager& m) {
  auto make = [] { return static_cast<IQorUnknown*>(makeCurveSet()); };
  m.registerFactory("ICurveSet", make);
  m.registerClass(kCurveSetClassId, make);
}

}  // namespace refhost
