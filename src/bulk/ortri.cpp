#include "bulk/ortri.h"

#include <algorithm>
#include <iostream>
#include <ostream>

#include "base/bitvector.h"
#include "datamodel/progress.h"
#include "persistence/binio.h"

namespace ortri {

OrTri compose(OrTri a, OrTri b) {
  switch (a & 7u) {
    case 0:
      return b;
    case 1:
      return b ^ 1u;
    case 2:
      return rotated(b);
    case 3:
      return rotated(b) ^ 1u;
    case 4:
      return rotatedBack(b);
    case 5:
      return rotatedBack(b) ^ 1u;
    default:
      wexAssertFailed("0", __FILE__, __LINE__);
      return b;
  }
}

uint32_t composeVersions(uint32_t v, uint32_t w) {
  switch (w) {
    case 0:
      return v;
    case 1:
      return v ^ 1u;
    case 2:
      return kRotated[v & 7u];
    case 3:
      return kRotated[v & 7u] ^ 1u;
    case 4:
      return kRotatedBack[v & 7u];
    case 5:
      return kRotatedBack[v & 7u] ^ 1u;
    default:
      wexAssertFailed("0", __FILE__, __LINE__);
      return v;
  }
}

std::ostream& print(std::ostream& os, OrTri t) {
  return os << "(" << triangle(t) << ", " << version(t) << ") ";
}

}  // namespace ortri

void ClassifiedEdgeStack::reshape(int32_t capacity) {
  void* p = items_;
  capacity_ = wexRealloc(&p, sizeof(OrTri), capacity_, capacity, static_cast<uint32_t>(capacity));
  items_ = static_cast<OrTri*>(p);
}

ClassifiedEdgeStack& ClassifiedEdgeStack::operator=(const IterStack<OrTri>& plain) {
  if (this == &plain) return *this;
  count_ = 0;
  reshape(plain.count() + 1);
  for (int32_t i = 1; i <= plain.count(); ++i) push(plain.items()[i]);
  flags_ = 0;
  return *this;
}

ClassifiedEdgeStack& ClassifiedEdgeStack::operator=(const ClassifiedEdgeStack& other) {
  if (this == &other) return *this;
  *this = static_cast<const IterStack<OrTri>&>(other);
  flags_ = other.flags_;
  return *this;
}

void ClassifiedEdgeStack::append(const IterStack<OrTri>& other) {
  const int32_t n = other.count();
  if (this == &other) {
    IterStack<OrTri> copy(other);
    append(copy);
    return;
  }
  reshape(count_ + n + 1);
  for (int32_t i = 1; i <= n; ++i) push(other.items()[i]);
}

bool ClassifiedEdgeStack::swapCorners() {
  for (int32_t i = 1; i <= count_; ++i)
    items_[i] = (items_[i] & ~7u) | ((7u - (items_[i] & 7u)) % 6u);
  return true;
}

bool ClassifiedEdgeStack::remap(const QorMM::Array<int>& map) {
  for (int32_t i = count_; i >= 1; --i) {
    const OrTri e = items_[i];
    items_[i] = ortri::compose(e, static_cast<OrTri>(map.get(static_cast<int32_t>(e >> 3))));
  }
  return true;
}

bool ClassifiedEdgeStack::reverseDirection() {
  if (count_ <= 0) return false;
  for (int32_t i = 1, j = count_; i <= j; ++i, --j) {
    const OrTri a = items_[i] ^ 1u;
    items_[i] = items_[j] ^ 1u;
    items_[j] = a;
  }
  return true;
}

namespace {
int32_t progressStep(int32_t count) {
  return count / 50 + 1;
}
void report(ProgressCallbackBase* progress, int32_t i, int32_t count) {
  if (progress && i % progressStep(count) == 0)
    progress->update(static_cast<float>(i) * (1.0f / static_cast<float>(count)));
}
}  // namespace

bool ClassifiedEdgeStack::write(BinOutput& out, ProgressCallbackBase* progress) const {
  out.write(count_);
  if (!progress) {
    if (count_ > 0) out.write(items_ + 1, static_cast<uint64_t>(count_));
    return true;
  }
  for (int32_t i = 1; i <= count_; ++i) {
    out.write(items_[i]);
    report(progress, i, count_);
  }
  return true;
}

bool ClassifiedEdgeStack::read(BinInput& in, ProgressCallbackBase* progress) {
  count_ = 0;
  int32_t n = 0;
  if (!in.read(&n, 1) || n < 1) return true;
  for (int32_t i = 1; i <= n; ++i) {
    OrTri v = 0;
    if (!in.read(&v, 1)) break;
    push(v);
    report(progress, i, n);
  }
  return true;
}

void ClassifiedEdgeStack::dump(std::ostream& os) const {
  os << "Edge Stack (size = " << count_ << ", " << (isClosed() ? "closed, " : "open, ")
     << (isBoundary() ? "bd)" : "non-bd)") << "\n";
  for (int32_t i = 1; i <= count_; ++i) {
    os << "\t" << i << ": ";
    ortri::print(os, items_[i]) << "\n";
  }
  os << "\n";
}

void ClassifiedEdgeStack::dump() const {
  dump(std::cout);
  std::cout << "\n";
}

ClassifiedEdgeStackList::ClassifiedEdgeStackList(const ClassifiedEdgeStackList& other)
    : IterStack<ClassifiedEdgeStack*>(other.capacity() - 1) {
  for (int32_t i = 1; i <= other.count(); ++i) {
    const ClassifiedEdgeStack* s = other.items()[i];
    push(s ? new ClassifiedEdgeStack(*s) : nullptr);
  }
}

ClassifiedEdgeStackList& ClassifiedEdgeStackList::operator=(const ClassifiedEdgeStackList& other) {
  if (this == &other) return *this;
  clear();
  for (int32_t i = 1; i <= other.count(); ++i) {
    const ClassifiedEdgeStack* s = other.items()[i];
    push(s ? new ClassifiedEdgeStack(*s) : nullptr);
  }
  return *this;
}

void ClassifiedEdgeStackList::clear() {
  while (count_ > 0) delete pop();
}

void ClassifiedEdgeStackList::remove(int32_t i, bool compactNow) {
  delete items_[i];
  items_[i] = nullptr;
  if (compactNow) compact();
}

void ClassifiedEdgeStackList::removeWhere(uint8_t bit, bool set) {
  for (int32_t i = 1; i <= count_; ++i) {
    ClassifiedEdgeStack*& s = items_[i];
    if (s && ((s->flags() & bit) != 0) == set) {
      delete s;
      s = nullptr;
    }
  }
  compact();
}

void ClassifiedEdgeStackList::compact() {
  int32_t kept = 0;
  for (int32_t i = 1; i <= count_; ++i)
    if (items_[i]) items_[++kept] = items_[i];
  for (int32_t i = kept + 1; i <= count_; ++i) items_[i] = nullptr;
  count_ = kept;
}

int64_t ClassifiedEdgeStackList::totalEdges() const {
  int64_t total = 0;
  for (int32_t i = 1; i <= count_; ++i)
    if (items_[i]) total += items_[i]->count();
  return total;
}

void ClassifiedEdgeStackList::sortBySize() {
  if (count_ < 2) return;
  std::sort(items_ + 1, items_ + count_ + 1,
            [](const ClassifiedEdgeStack* a, const ClassifiedEdgeStack* b) {
              return a->count() > b->count();
            });
}

namespace QorMM {
namespace {
// The size grows to take in index i.
void fit(Array<int>& a, int32_t i) {
  if (i < a.size()) return;
  int32_t capacity = a.size();
  growCapacity(i, &capacity, sizeof(int));
  if (capacity <= i) capacity = i + 1;
  a.resize(capacity, true);
}
void put(Array<int>& a, int32_t i, int value) {
  fit(a, i);
  a.set(i, value);
}
}  // namespace

bool write(BinOutput& out, const Array<int>& a, int32_t limit) {
  int32_t n = a.size();
  if (limit >= 0 && limit < n) n = limit;
  out.write(n);
  const int32_t per = a.pageElements();
  for (int32_t first = 0; first < n; first += per) {
    const int32_t len = std::min(per, n - first);
    if (const void* page = a.page(first / per)) {
      out.write(static_cast<const int*>(page), static_cast<uint64_t>(len));
    } else {
      for (int32_t k = 0; k < len; ++k) out.write(0);
    }
  }
  return out.good();
}

bool read(BinInput& in, Array<int>& a) {
  int32_t n = 0;
  in.read(&n, 1);
  if (n < 0) return false;
  a.resize(n, true);
  if (n > 0) readRange(in, a, 0, n - 1);
  return true;
}

namespace {
template <class Transfer>
bool transferRange(Array<int>& a, int32_t first, int32_t last, ProgressCallbackBase* progress,
                   Transfer transfer) {
  if (first > last) return true;
  const int32_t per = a.pageElements();
  const int32_t step = std::max((last / per - first / per) / 50, 1);
  int32_t counter = first / per + 1;
  int64_t done = 0;
  for (int32_t i = first; i <= last; ++counter) {
    const int32_t end = std::min((i / per + 1) * per - 1, last);
    int* slot = &a.ref(i);
    const int32_t n = end - i + 1;
    if (!transfer(slot, n)) return false;
    done += n;
    i = end + 1;
    if (progress && counter % step == 0 &&
        !progress->update(static_cast<float>(done) * 1.0f / static_cast<float>(last - first + 1)))
      return false;
  }
  return true;
}
}  // namespace

bool writeRange(BinOutput& out, Array<int>& a, int32_t first, int32_t last,
                ProgressCallbackBase* progress) {
  return transferRange(a, first, last, progress, [&](int* p, int32_t n) {
    out.write(p, static_cast<uint64_t>(n));
    return true;
  });
}

bool readRange(BinInput& in, Array<int>& a, int32_t first, int32_t last,
               ProgressCallbackBase* progress) {
  return transferRange(a, first, last, progress,
                       [&](int* p, int32_t n) { return in.read(p, static_cast<uint64_t>(n)); });
}

bool equals(const Array<int>& a, const Array<int>& b) {
  const int32_t n = std::max(a.size(), b.size());
  for (int32_t i = 0; i < n; ++i)
    if (a.get(i) != b.get(i)) return false;
  return true;
}

int32_t findRoot(Array<int>& a, int32_t i) {
  int32_t x = i;
  while (a.get(x) != x) x = a.get(x);
  put(a, i, x);
  return x;
}

int32_t unite(Array<int>& a, int32_t i, int32_t j) {
  const int32_t ri = findRoot(a, i), rj = findRoot(a, j);
  if (ri == rj) return ri;
  const int32_t lo = std::min(ri, rj), hi = std::max(ri, rj);
  put(a, hi, lo);
  return lo;
}

void setIdentity(Array<int>& a, int32_t from, int32_t to) {
  if (to < 0) to = a.size() - 1;
  for (int32_t i = from; i <= to; ++i) put(a, i, i);
}

void setIdentity(Array<int>& a, const BitVector& bits) {
  for (int32_t i = bits.nextSet(-1); i >= 0; i = bits.nextSet(i)) put(a, i, i);
}

void invertInto(const Array<int>& a, Array<int>& target) {
  for (int32_t i = 0; i < a.size(); ++i)
    if (const int v = a.get(i)) put(target, v, i);
}

void moveByMap(Array<int>& a, const Array<int>& map) {
  int32_t last = -1;
  for (int32_t i = 0; i < map.size(); ++i) {
    const int x = map.get(i);
    if (x == 0) {
      if (i < a.size()) a.set(i, 0);
    } else if (const int v = a.get(i)) {
      put(a, x, v);
      a.set(i, 0);
      last = x;
    }
  }
  a.resize(last >= 0 ? last + 1 : 1, true);
}

}  // namespace QorMM
