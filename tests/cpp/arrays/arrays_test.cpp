// The typed arrays: the checks and their texts, random programs against a std::vector
// model (every IntArray store, Array3D's end-only insert and remove), and the edge cases
// of the value arrays, the iterators and DirIndex.
#include "datamodel/arrays.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bulk/qorimage.h"
#include "bulk/qorvectorarray.h"
#include "datamodel/dirindex.h"
#include "testkit.h"

namespace {

using testkit::raised;

// An array with the flags the view subclasses set.
template <class A>
struct Flagged : A {
  Flagged(bool fixedSize, bool readOnly) {
    this->fixedSize_ = fixedSize, this->readOnly_ = readOnly;
  }
};

TEST(Arrays, ChecksRaiseTheirTextsInOrder) {
  const std::string coll = "Error in class Collection: ", a3 = "Error in class Array3D: ";
  DoubleArray empty;
  Flagged<DoubleArray> ro(true, true), fixed(true, false);
  fixed.items().push(1.5);
  Array3D points, none(nullptr);
  Flagged<Array3D> ro3(true, true), fixed3(true, false);
  ColorArray colors;
  IntArray paged(new IntArray::PagedStore(4096));
  DirIndex d(5, 1);
  struct Row {
    const char* what;
    std::function<void()> op;
    std::string text;
  } rows[] = {
      {"at(0) empty", [&] { empty.at(0); }, coll + "Invalid index."},
      {"pop empty", [&] { empty.pop(); }, coll + "Invalid index."},
      {"insertAt past size", [&] { empty.insertAt(1, 2.0); }, coll + "Invalid index."},
      {"clear read-only", [&] { ro.clear(); }, coll + "Collection is readonly."},
      {"clear fixed", [&] { fixed.clear(); }, coll + "Collection has a fixed size."},
      {"append fixed", [&] { fixed.append(1); }, coll + "Collection has a fixed size."},
      {"set fixed passes", [&] { fixed.set(0, 2.5); }, ""},
      {"set read-only before index", [&] { ro.set(7, 1); }, coll + "Collection is readonly."},
      {"Array3D pop empty",
       [&] {
         QorVector v;
         points.pop(v);
       },
       a3 + "Collection is empty.."},
      {"Array3D insertAt(0) empty", [&] { points.insertAt(0, QorVector()); },
       a3 + "Index is out of range.."},
      {"Array3D at(-1)",
       [&] {
         QorVector v;
         points.at(v, -1);
       },
       a3 + "Index is out of range.."},
      {"Array3D null at(0)",
       [&] {
         QorVector v;
         none.at(v, 0);
       },
       a3 + "Index is out of range.."},
      {"Array3D both flags", [&] { ro3.append(QorVector()); }, a3 + "Collection is readonly.."},
      {"Array3D fixed", [&] { fixed3.clear(); }, a3 + "Collection has a fixed size.."},
      {"paged store is read-only", [&] { paged.append(3); }, coll + "Collection is readonly."},
      {"paged store has no entries", [&] { paged.at(0); }, coll + "Invalid index."},
      {"reserve overflow", [&] { colors.reserve(INT_MAX); },
       "Error in class ColorArray: Cannot reserve room for 2147483647 entries: the slot count "
       "would overflow a 32-bit int."},
      {"setVersion(2)", [&] { d.setVersion(2); },
       "Error in class DirIndex: version must have a value of 0 or 1.."},
      {"setVersion(-1)", [&] { d.setVersion(-1); },
       "Error in class DirIndex: version must have a value of 0 or 1.."},
      {"DirIndex(0, 2)", [&] { DirIndex(0, 2); },
       "Error in class DirIndex: version must have a value of 0 or 1.."},
  };
  for (const Row& r : rows) {
    testkit::Raised got = raised(r.op);
    EXPECT_EQ(got.text, r.text) << r.what;
    EXPECT_EQ(got.code, r.text.empty() ? 0 : 6) << r.what;
  }
  EXPECT_EQ(fixed.at(0), 2.5);
  EXPECT_EQ(d.rawValue(), 13);
}

// One array under test, seen through doubles. Array3D stores (v, -v, 2v).
struct Subject {
  virtual ~Subject() = default;
  virtual int size() = 0;
  virtual double at(int i) = 0;
  virtual void append(double v) = 0;
  virtual void insertAt(int i, double v) = 0;
  virtual void removeAt(int i) = 0;
  virtual double pop() = 0;
  virtual void set(int i, double v) = 0;
  virtual int indexOf(double v) = 0;
  virtual std::vector<double> iterated() = 0;
  virtual std::unique_ptr<Subject> copy() = 0;
  IntArray* ints = nullptr;          // set for the int arrays
  Vector3DArray* vectors = nullptr;  // set for the vector array
  bool endOnly = false;              // Array3D's insert and remove
};

template <class A>
struct Scalar : Subject {
  explicit Scalar(A* a) : arr(a) {
    if constexpr (std::is_same_v<A, IntArray>) ints = a;
  }
  int size() override { return arr->size(); }
  double at(int i) override { return arr->at(i); }
  void append(double v) override { arr->append(static_cast<decltype(arr->pop())>(v)); }
  void insertAt(int i, double v) override {
    arr->insertAt(i, static_cast<decltype(arr->pop())>(v));
  }
  void removeAt(int i) override { arr->removeAt(i); }
  double pop() override { return arr->pop(); }
  void set(int i, double v) override { arr->set(i, static_cast<decltype(arr->pop())>(v)); }
  int indexOf(double v) override { return arr->indexOf(static_cast<decltype(arr->pop())>(v)); }
  std::vector<double> iterated() override {
    std::unique_ptr<std::remove_pointer_t<decltype(arr->newIterator())>> it(arr->newIterator());
    std::vector<double> out;
    while (it->next()) out.push_back(it->current());
    return out;
  }
  std::unique_ptr<Subject> copy() override { return std::make_unique<Scalar>(new A(*arr)); }
  std::unique_ptr<A> arr;
};

template <class A>
struct Vec : Subject {
  explicit Vec(A* a) : arr(a) {
    endOnly = std::is_same_v<A, Array3D>;
    if (!endOnly) vectors = a;
  }
  static QorVector vec(double v) { return QorVector(v, -v, 2 * v); }
  static double back(const QorVector& p) {
    EXPECT_EQ(p, vec(p.x));
    return p.x;
  }
  int size() override { return arr->size(); }
  double at(int i) override {
    QorVector p;
    return back(arr->at(p, i));
  }
  void append(double v) override { arr->append(vec(v)); }
  void insertAt(int i, double v) override { arr->insertAt(i, vec(v)); }
  void removeAt(int i) override { arr->removeAt(i); }
  double pop() override {
    QorVector p;
    return back(arr->pop(p));
  }
  void set(int i, double v) override { arr->set(i, vec(v)); }
  int indexOf(double v) override { return arr->indexOf(vec(v)); }
  std::vector<double> iterated() override {
    std::unique_ptr<Vector3DIter> it(arr->newIterator());
    std::vector<double> out;
    while (it->next()) out.push_back(back(it->current()));
    return out;
  }
  std::unique_ptr<Subject> copy() override { return std::make_unique<Vec>(new A(*arr)); }
  std::unique_ptr<A> arr;
};

void runProgram(Subject& s, uint32_t seed, bool wideInts) {
  std::mt19937 rng(seed);
  std::vector<double> m;
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  auto value = [&]() -> double {
    if (wideInts && pick(0, 9) == 0) return pick(0, 1) ? INT_MIN : INT_MAX;
    return pick(-6, 6);
  };
  auto check = [&](bool ok, const std::function<void()>& op) {
    EXPECT_EQ(raised(op).code, ok ? 0 : 6);
  };
  for (int step = 0; step < 1500; ++step) {
    const int n = static_cast<int>(m.size());
    const int op = pick(0, s.ints ? 9 : s.vectors ? 8 : 6);
    const int i = pick(-1, n + 1);
    const double v = value();
    if (op == 0 || (op == 1 && n < 8)) {
      s.append(v), m.push_back(v);
    } else if (op == 1) {
      const bool ok = s.endOnly ? i >= 0 && i < n : i >= 0 && i <= n;
      check(ok, [&] { s.insertAt(i, v); });
      if (ok) m.insert(s.endOnly ? m.end() : m.begin() + i, v);
    } else if (op == 2) {
      check(i >= 0 && i < n, [&] { s.removeAt(i); });
      if (i >= 0 && i < n) m.erase(s.endOnly ? m.end() - 1 : m.begin() + i);
    } else if (op == 3) {
      check(n > 0, [&] { EXPECT_EQ(s.pop(), m.back()); });
      if (n > 0) m.pop_back();
    } else if (op == 4) {
      check(i >= 0 && i < n, [&] { s.set(i, v); });
      if (i >= 0 && i < n) m[static_cast<size_t>(i)] = v;
    } else if (op == 5 || op == 6) {
      int want = -1;
      if (s.endOnly) {
        for (int k = 1; k < n && want < 0; ++k)
          if (m[static_cast<size_t>(k - 1)] == v) want = k;
      } else {
        for (int k = n - 1; k >= 0 && want < 0; --k)
          if (m[static_cast<size_t>(k)] == v) want = k;
      }
      EXPECT_EQ(s.indexOf(v), want);
    } else if (op == 7 && s.vectors) {
      const int32_t cap = s.vectors->capacity(), r = pick(0, cap + 40);
      EXPECT_TRUE(s.vectors->reserve(r));
      EXPECT_EQ(s.vectors->capacity(), r > cap ? r + 1 : cap);
    } else if (op == 8 && s.vectors) {
      EXPECT_TRUE(s.vectors->resize(pick(0, n)));
      m.resize(static_cast<size_t>(s.vectors->size()));
    } else if (op == 7 || op == 8) {
      IntArray other;
      static const int lengths[] = {0, 3, 23, 24, 40};
      for (int k = lengths[pick(0, 4)]; k > 0; --k) other.append(static_cast<int32_t>(value()));
      if (op == 8) {
        s.ints->appendAll(&other);
        for (int k = 0; k < other.size(); ++k) m.push_back(other.at(k));
      } else {
        const bool self = pick(0, 9) == 0;
        s.ints->removeAll(self ? s.ints : &other);
        std::erase_if(m, [&](double x) { return self || other.indexOf(int32_t(x)) >= 0; });
      }
    } else if (op == 9) {
      s.ints->removeDuplicates();
      std::vector<double> kept;
      for (double x : m)
        if (std::find(kept.begin(), kept.end(), x) == kept.end()) kept.push_back(x);
      m = kept;
    }
    ASSERT_EQ(s.size(), static_cast<int>(m.size())) << "step " << step << " op " << op;
    for (int k = 0; step % 25 == 0 && k < s.size(); ++k) {
      ASSERT_EQ(s.at(k), m[static_cast<size_t>(k)]);
    }
  }
  EXPECT_EQ(s.iterated(), m);
  EXPECT_EQ(s.copy()->iterated(), m);
}

TEST(Arrays, RandomProgramsFollowAVectorModel) {
  std::vector<std::pair<std::string, std::function<std::unique_ptr<Subject>()>>> subjects = {
      {"DoubleArray", [] { return std::make_unique<Scalar<DoubleArray>>(new DoubleArray); }},
      {"IntArray", [] { return std::make_unique<Scalar<IntArray>>(new IntArray); }},
      {"IntArray block",
       [] {
         return std::make_unique<Scalar<IntArray>>(new IntArray(new IterBlockStack<int32_t>(0, 3)));
       }},
      {"IntArray large",
       [] {
         return std::make_unique<Scalar<IntArray>>(new IntArray(new IterLargeStack<int32_t>));
       }},
      {"Vector3DArray", [] { return std::make_unique<Vec<Vector3DArray>>(new Vector3DArray); }},
      {"Array3D", [] { return std::make_unique<Vec<Array3D>>(new Array3D); }},
  };
  for (auto& [name, make] : subjects)
    for (uint32_t seed = 1; seed <= 4; ++seed) {
      SCOPED_TRACE(name + " seed " + std::to_string(seed));
      runProgram(*make(), seed, name.rfind("IntArray", 0) == 0);
    }
}

std::vector<int32_t> contents(IntArray& a) {
  std::vector<int32_t> v;
  for (int32_t k = 0; k < a.size(); ++k) v.push_back(a.at(k));
  return v;
}

TEST(Arrays, IntArrayBitsStoresAndCopies) {
  EXPECT_EQ(std::vector<uint32_t>({intArrayBit(0), intArrayBit(1), intArrayBit(-1),
                                   intArrayBit(INT_MAX), intArrayBit(INT_MIN)}),
            std::vector<uint32_t>({0, 2, 3, 0xFFFFFFFEu, 1}));
  IntArray dup;
  for (int32_t v : {3, 1, 3, 2, 1}) dup.append(v);
  dup.removeDuplicates();
  EXPECT_EQ(contents(dup), std::vector<int32_t>({3, 1, 2}));
  // A large store across pages, values spread over the whole int range (the hash road).
  IntArray large(new IterLargeStack<int32_t>), drop;
  std::vector<int32_t> model;
  std::mt19937 rng(7);
  for (int k = 0; k < 5000; ++k) {
    const int32_t v = static_cast<int32_t>(rng() % 64 == 0 ? INT_MIN : rng());
    large.append(v), model.push_back(v);
    if (k % 50 == 0) drop.append(v);
  }
  large.insertAt(0, 42), model.insert(model.begin(), 42);
  IntArray copy(large);
  copy.removeAll(&drop);
  std::erase_if(model, [&](int32_t v) { return drop.indexOf(v) >= 0; });
  EXPECT_EQ(contents(copy), model);
  EXPECT_EQ(large.size(), 5001);
  std::unique_ptr<IQorIntIter> it(large.newIterator());
  EXPECT_STREQ(dynamic_cast<IQorUnknown*>(it.get())->className(),
               "IntIterBase<IterLargeStack<int>>");
  EXPECT_EQ(it->size(), 5001);
  // The paged store reads through current and answers no entries.
  auto* paged = new IntArray::PagedStore(4096);
  paged->set(1, 77);
  IntArray onPages(paged);
  onPages.next();
  EXPECT_EQ(std::vector<int32_t>({onPages.size(), onPages.current(), onPages.indexOf(77)}),
            std::vector<int32_t>({0, 77, -1}));
  // appendAll between plain stacks, itself included.
  IntArray self;
  for (int32_t v : {5, -5}) self.append(v);
  self.appendAll(&self);
  self.appendAll(nullptr);
  EXPECT_EQ(contents(self), std::vector<int32_t>({5, -5, 5, -5}));
}

TEST(Arrays, ValueArraysIteratorsAndShells) {
  DoubleArray d;
  std::unique_ptr<DoubleIter> live(d.newIterator());
  for (double v : {1.0, 2.0, 1.0, double(NAN)}) d.append(v);
  EXPECT_EQ(std::vector<int>({d.indexOf(1.0), d.indexOf(7.0), d.indexOf(NAN), live->size()}),
            std::vector<int>({2, -1, -1, 4}));
  EXPECT_EQ(d.current(), 0.0);  // slot 0 before the first next
  d.next(), d.next();
  d.insertAt(4, 9.0);  // at size: appends
  d.clear();
  EXPECT_EQ(d.cursor(), 2);
  ColorArray c;
  EXPECT_EQ(c.capacity(), 21);
  c.append(QorColor(0.1f, 0.2f, 0.3f, 1.0f));
  EXPECT_EQ(c.indexOf(QorColor(0.1f, 0.2f, 0.3f, 0.5f)), -1);
  EXPECT_EQ(c.indexOf(QorColor(0.1f, 0.2f, 0.3f, 1.0f)), 0);
  EXPECT_TRUE(c.reserve(21));
  EXPECT_EQ(c.capacity(), 21);
  Vector3DArray v;
  for (int k = 0; k < 5; ++k) v.append(QorVector(k, 0, 0));
  EXPECT_TRUE(v.resize(2));
  QorVector p;
  EXPECT_EQ(std::vector<double>({double(v.size()), v.at(p, 1).x}), std::vector<double>({2, 1}));
  // ByteArray's stream form: an i32 count, then the bytes; read clears first.
  ByteArray b, back;
  for (uint8_t x : {0x01, 0xFF, 0x7F}) b.append(x);
  const testkit::Bytes bytes = testkit::streamed([&](BinOutput& o) { return b.write(o); });
  EXPECT_EQ(bytes, testkit::hex("00000003 01 FF 7F"));
  BinInputMemory in(bytes.data(), bytes.size());
  back.append(9);
  EXPECT_TRUE(back.read(in));
  EXPECT_EQ(std::vector<int>({back.size(), back.at(0), back.at(1), back.at(2)}),
            std::vector<int>({3, 1, 255, 127}));
  // Strings: equality search, a snapshot iterator that never raises.
  StringArray s;
  s.append("a"), s.append("b");
  std::unique_ptr<IQorStringIter> snap(s.newIterator());
  s.append("a");
  QorString out;
  EXPECT_EQ(std::vector<int>({s.indexOf("a"), snap->size(), snap->at(out, 5).length()}),
            std::vector<int>({2, 2, 0}));
  // Images: counted references, compared by pointer.
  IPtr<QorImage> img(new QorImage(2, 2, 1));
  ImageArray imgs;
  imgs.append(img.get()), imgs.append(nullptr);
  EXPECT_EQ(img->refCount(), 2u);
  EXPECT_EQ(std::vector<int>({imgs.indexOf(img.get()), imgs.indexOf(nullptr)}),
            std::vector<int>({0, 1}));
  imgs.clear();
  EXPECT_EQ(img->refCount(), 1u);
  // Array3D: clone copies the points; the one-based indexOf skips the last point.
  Array3D a3;
  for (int k = 0; k < 3; ++k) a3.append(QorVector(k, k, k));
  std::unique_ptr<Array3D> twin(a3.clone());
  twin->append(QorVector(9, 9, 9));
  EXPECT_EQ(std::vector<int>({a3.size(), twin->size(), a3.indexOf(QorVector(0, 0, 0)),
                              a3.indexOf(QorVector(2, 2, 2))}),
            std::vector<int>({3, 4, 1, -1}));
  EXPECT_STREQ(a3.typeString(), "qorapi.datamodel.Array3D");
  EXPECT_FALSE(a3.query());
  // DirIndex and the shells.
  DirIndex di(5, 1), odd(3, -1), none;
  std::unique_ptr<IQorDirIndex> other(di.flipped());
  const int kept = di.version();
  di.flip();
  EXPECT_EQ(std::vector<int>({kept, di.version(), other->version(), other->index(), odd.index(),
                              odd.version(), none.index(), none.version()}),
            std::vector<int>({1, 0, 0, 5, 2, 1, -1, 0}));
  EXPECT_TRUE(di == DirIndex(5, 0));
  DoubleArray2D d2;
  EXPECT_EQ(std::vector<double>({double(d2.rowCount()), d2.at(3, 4)}), std::vector<double>({0, 0}));
}

TEST(Arrays, QueryByName) {
  DoubleArray d;
  IntArray i;
  Array3D a;
  ImageArray im;
  DirIndex di;
  Vector3DArray2D v2;
  struct Row {
    IQorUnknown* object;
    std::vector<const char*> names;
  } rows[] = {
      {static_cast<IQorDoubleArray*>(&d), {"DoubleArray", "IQorDoubleArray", "Primitive"}},
      {static_cast<IQorIntArray*>(&i), {"IntArray", "IQorIntArray", "IQorUnknown"}},
      {static_cast<IQorArray3D*>(&a),
       {"Array3D", "IQorArray3D", "Vector3DArray", "IQorVector3DArray", "IQorPrimitive"}},
      {static_cast<IQorImageArray*>(&im), {"ImageArray", "IQorImageArray", "Primitive"}},
      {static_cast<IQorDirIndex*>(&di), {"DirIndex", "IQorDirIndex", "Primitive"}},
      {static_cast<IQorVector3DArray2D*>(&v2), {"Vector3DArray2D", "IQorVector3DArray2D"}},
  };
  for (const Row& r : rows) {
    EXPECT_STREQ(r.object->className(), r.names[0]);
    for (const char* name : r.names) {
      void* out = nullptr;
      r.object->queryInterface(name, &out, 0);
      EXPECT_NE(out, nullptr) << r.names[0] << " " << name;
    }
    void* out = &out;
    r.object->queryInterface("DataObjectArray", &out, 0);
    EXPECT_EQ(out, nullptr) << r.names[0];
  }
}

}  // namespace
