// The typed arrays scripts and the host see: one class per element type, each a thin
// Collection round an owned one-based stack. Indices are zero-based at the interface;
// storage is one-based (entries 1 to n, slot 0 unused). A mutating operation checks, in
// order: read-only, fixed size (unless it keeps the size), index; every check raises before
// anything changes. The IQor* interfaces declare their operations in the order of the
// host's slots; a name that stands twice fills two slots.
//
// Values that fit in a machine word go in and out by value; larger ones come back through
// an out parameter (current(out), at(out, index), pop(out)), which the call also returns.
#pragma once
#include <cstdint>
#include <type_traits>

#include "base/iterlargestack.h"
#include "base/iterstack.h"
#include "base/qorstring.h"
#include "bulk/pagedarray.h"
#include "core/iptr.h"
#include "datamodel/collection.h"
#include "math/qorcolor.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"
#include "math/vector2d.h"
#include "math/vector2f.h"

class BinInput;
class BinOutput;
class QorImage;

// ---------------------------------------------------------------------------------------
// Interfaces
// ---------------------------------------------------------------------------------------

// The twelve operations of an array whose values travel by value, in slot order.
template <class T>
class IQorArrayByValue : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  // The built-in iteration: cursor + 1; true while the cursor is at most the size.
  virtual bool next() = 0;
  // The value at the cursor, without a check (slot 0 before the first next).
  virtual T current() = 0;
  virtual T at(int32_t index) = 0;
  // Stores; a fixed size does not stop it.
  virtual void set(int32_t index, T value) = 0;
  virtual void append(T value) = 0;
  // Removes the last entry and answers it; an empty array raises "Invalid index".
  virtual T pop() = 0;
  // Puts the cursor before the first entry.
  virtual void reset() = 0;
  // Inserts before `index` (0 to size; size appends).
  virtual void insertAt(int32_t index, T value) = 0;
  virtual void removeAt(int32_t index) = 0;
  // The zero-based index of the last entry equal to `value` (==), or -1.
  virtual int32_t indexOf(T value) = 0;
  // Count 0; the memory and the cursor stay.
  virtual void clear() = 0;
};

// The twelve operations of an array whose values come back through an out parameter.
template <class T>
class IQorArrayByOut : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  virtual bool next() = 0;
  virtual T& current(T& out) = 0;
  virtual T& at(T& out, int32_t index) = 0;
  virtual void set(int32_t index, const T& value) = 0;
  virtual void append(const T& value) = 0;
  virtual T& pop(T& out) = 0;
  virtual void reset() = 0;
  virtual void insertAt(int32_t index, const T& value) = 0;
  virtual void removeAt(int32_t index) = 0;
  virtual int32_t indexOf(const T& value) = 0;
  virtual void clear() = 0;
};

// The form a value type travels in: by value up to a machine word, else by out parameter.
template <class T>
using IQorArrayOf =
    std::conditional_t<(sizeof(T) > sizeof(void*)), IQorArrayByOut<T>, IQorArrayByValue<T>>;

// The two operations that open the interfaces of the colour, vector and transform arrays.
class IQorArrayCapacity : public virtual IQorUnknown {
 public:
  // Grows to exactly n + 1 slots when n exceeds the capacity; false when memory runs out.
  // An n whose slot count overflows a 32-bit int raises.
  virtual bool reserve(int32_t n) = 0;
  // The stack's capacity, slot 0 counted.
  virtual int32_t capacity() = 0;
};

class IQorDoubleArray : public IQorArrayByValue<double> {};
class IQorIntArray : public IQorArrayByValue<int32_t> {};

class IQorByteArray : public IQorArrayByValue<uint8_t> {
 public:
  // clear, a signed 32-bit count, then that many bytes through append. True.
  virtual bool read(BinInput& in) = 0;
  // size as a signed 32-bit value, then each byte. True.
  virtual bool write(BinOutput& out) = 0;
};

// The snapshot iterator of a string array, in slot order (its own order of five).
class IQorStringIter : public virtual IQorUnknown {
 public:
  virtual bool next() = 0;
  // The string at the position; empty past the end.
  virtual QorString& current(QorString& out) = 0;
  // Fixed when the iterator was made.
  virtual int32_t size() = 0;
  // The string at a zero-based index; empty outside the range, never raises.
  virtual QorString& at(QorString& out, int32_t index) = 0;
  virtual void reset() = 0;
};

class IQorStringArray : public IQorArrayByOut<QorString> {
 public:
  // A snapshot iterator, owned by the caller.
  virtual IQorStringIter* newIterator() = 0;
  // The stack itself.
  virtual IterStack<QorString>* stack() = 0;
};

class IQorColorArray : public IQorArrayCapacity, public IQorArrayOf<QorColor> {};
class IQorVector2DArray : public IQorArrayCapacity, public IQorArrayOf<Vector2D> {};
class IQorVector2FArray : public IQorArrayCapacity, public IQorArrayOf<Vector2F> {};
class IQorVector3DArray : public IQorArrayCapacity, public IQorArrayOf<QorVector> {};
class IQorTransform3DArray : public IQorArrayCapacity, public IQorArrayOf<QorMatrix> {};

// The array of images: counted references, compared by pointer, in slot order.
class IQorImageArray : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  virtual bool next() = 0;
  // The image at the cursor; null before the first next.
  virtual QorImage* current() = 0;
  virtual QorImage* at(int32_t index) const = 0;
  virtual QorImage* at(int32_t index) = 0;
  virtual void set(int32_t index, QorImage* image) = 0;
  virtual void append(QorImage* image) = 0;
  // Removes the last entry; the image stays valid until its slot is written again.
  virtual QorImage* pop() = 0;
  virtual void reset() = 0;
  virtual void insertAt(int32_t index, QorImage* image) = 0;
  virtual void removeAt(int32_t index) = 0;
  // The index of the last entry holding `image`, or -1.
  virtual int32_t indexOf(QorImage* image) = 0;
  // Drops every reference; count 0.
  virtual void clear() = 0;
};

// The array over a bulk point array: the twelve of the vector array, forwarded.
class IQorArray3D : public IQorArrayOf<QorVector> {};

// The two-dimensional arrays, filled by the surface classes.
class IQorDoubleArray2D : public virtual IQorUnknown {
 public:
  virtual int32_t rowCount() = 0;
  virtual int32_t columnCount() = 0;
  virtual double at(int32_t row, int32_t column) = 0;
  virtual void set(int32_t row, int32_t column, double value) = 0;
};

class IQorVector3DArray2D : public virtual IQorUnknown {
 public:
  virtual int32_t rowCount() = 0;
  virtual int32_t columnCount() = 0;
  virtual QorVector& at(QorVector& out, int32_t row, int32_t column) = 0;
  virtual void set(int32_t row, int32_t column, const QorVector& value) = 0;
};

// The iterator of an int array, in slot order.
class IQorIntIter : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  virtual bool next() = 0;
  virtual int32_t current() = 0;
  virtual void reset() = 0;
};

// ---------------------------------------------------------------------------------------
// Iterators
// ---------------------------------------------------------------------------------------

// A live iterator over a stack: it holds a plain pointer to the array's stack, so it sees
// every change and the array must outlive it. One-based, before the first entry at start.
// Without a stack it is empty and its current is the zero value.
template <class T>
class StackIter : public Primitive {
 public:
  StackIter(const IterStack<T>* stack, const char* name) : stack_(stack), name_(name) {}
  // Answers its class name, then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return name_; }
  // Virtual, so that an array whose values live elsewhere walks them through its own
  // iterator class.
  virtual int32_t size() const { return stack_ ? stack_->count() : 0; }
  virtual bool next() { return ++position_ <= size(); }
  virtual T current() const { return stack_ ? stack_->get(position_) : T{}; }
  virtual void reset() { position_ = 0; }

 protected:
  const IterStack<T>* stack_;
  const char* name_;
  int32_t position_ = 0;
};

using DoubleIter = StackIter<double>;
using ByteIter = StackIter<uint8_t>;
using ColorIter = StackIter<QorColor>;
using Vector2DIter = StackIter<Vector2D>;
using Vector2FIter = StackIter<Vector2F>;
using Transform3DIter = StackIter<QorMatrix>;

class IRealPArray;

// The iterator of a vector array: over its stack, or, for an Array3D, over the points of
// the bulk array (holding a reference to that array).
class Vector3DIter : public StackIter<QorVector> {
 public:
  explicit Vector3DIter(const IterStack<QorVector>* stack)
      : StackIter<QorVector>(stack, "Vector3DIter") {}
  explicit Vector3DIter(IRealPArray* points);
  ~Vector3DIter() override;
  int32_t size() const override;
  QorVector current() const override;

 private:
  IRealPArray* points_ = nullptr;
};

// The live iterator of an IntArray over one of its stores.
template <class S>
class IntIterBase : public Primitive, public IQorIntIter {
 public:
  IntIterBase(const S* stack, const char* name) : stack_(stack), name_(name) {}
  // Answers its class name, "IntIter", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return name_; }
  int32_t size() override { return stack_ ? stack_->count() : 0; }
  bool next() override { return ++position_ <= size(); }
  int32_t current() override { return stack_ ? stack_->get(position_) : 0; }
  void reset() override { position_ = 0; }

 private:
  const S* stack_;
  const char* name_;
  int32_t position_ = 0;
};

// The live iterator of an ImageArray.
class ImageIter : public Primitive {
 public:
  explicit ImageIter(const IterStack<IPtr<QorImage>>* stack) : stack_(stack) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ImageIter"; }
  int32_t size() const { return stack_->count(); }
  bool next() { return ++position_ <= stack_->count(); }
  QorImage* current() const { return stack_->get(position_).get(); }
  void reset() { position_ = 0; }

 private:
  const IterStack<IPtr<QorImage>>* stack_;
  int32_t position_ = 0;
};

// The snapshot iterator of a StringArray: it owns a copy of the strings.
class StringIter : public Primitive, public IQorStringIter {
 public:
  explicit StringIter(const IterStack<QorString>& stack);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "StringIter"; }
  bool next() override { return ++position_ <= size_; }
  QorString& current(QorString& out) override;
  int32_t size() override { return size_; }
  QorString& at(QorString& out, int32_t index) override;
  void reset() override { position_ = 0; }

 private:
  IterStack<QorString> strings_;
  int32_t size_;
  int32_t position_ = 0;
};

// ---------------------------------------------------------------------------------------
// The stack arrays
// ---------------------------------------------------------------------------------------

// A Collection round an owned IterStack<T>: the checks, the cursor and the work of the
// twelve operations, shared by every stack array. The interface templates below map the
// host's signatures onto it.
template <class T>
class StackArrayBase : public Collection {
 public:
  // The stack's capacity, slot 0 counted.
  int32_t stackCapacity() const { return stack_->capacity(); }
  IterStack<T>& items() { return *stack_; }
  const IterStack<T>& items() const { return *stack_; }
  int32_t cursor() const { return cursor_; }

 protected:
  // A new stack with room for 20 entries (capacity 21).
  StackArrayBase() : stack_(new IterStack<T>(20)) {}
  // Takes over `stack`; null gives a new stack as above.
  explicit StackArrayBase(IterStack<T>* stack) : stack_(stack ? stack : new IterStack<T>(20)) {}
  // The flags and a copy of the stack.
  StackArrayBase(const StackArrayBase& other)
      : IQorUnknown(), Collection(other), stack_(new IterStack<T>(*other.stack_)) {}
  StackArrayBase& operator=(const StackArrayBase&) = delete;
  ~StackArrayBase() override { delete stack_; }

  bool doNext() { return ++cursor_ <= stack_->count(); }
  const T& doCurrent() const { return stack_->get(cursor_); }
  const T& doAt(int32_t index) const;
  void doSet(int32_t index, const T& value);
  void doAppend(const T& value);
  T doPop();
  void doInsertAt(int32_t index, const T& value);
  void doRemoveAt(int32_t index);
  int32_t doIndexOf(const T& value) const;
  void doClear();
  // Grows to exactly n + 1 slots when n exceeds the capacity; false on memory failure;
  // raises, naming `label`, when n + 1 overflows.
  bool doReserve(int32_t n, const char* label);

  IterStack<T>* stack_;
};

// The twelve by value over the shared work.
template <class T, class Iface>
class ByValueArray : public StackArrayBase<T>, public Iface {
 public:
  int32_t size() override { return this->stack_->count(); }
  bool next() override { return this->doNext(); }
  T current() override { return this->doCurrent(); }
  T at(int32_t index) override { return this->doAt(index); }
  void set(int32_t index, T value) override { this->doSet(index, value); }
  void append(T value) override { this->doAppend(value); }
  T pop() override { return this->doPop(); }
  void reset() override { this->cursor_ = 0; }
  void insertAt(int32_t index, T value) override { this->doInsertAt(index, value); }
  void removeAt(int32_t index) override { this->doRemoveAt(index); }
  int32_t indexOf(T value) override { return this->doIndexOf(value); }
  void clear() override { this->doClear(); }

 protected:
  using StackArrayBase<T>::StackArrayBase;
  ByValueArray(const ByValueArray& other) : IQorUnknown(), StackArrayBase<T>(other), Iface() {}
};

// The twelve through out parameters over the shared work.
template <class T, class Iface>
class ByOutArray : public StackArrayBase<T>, public Iface {
 public:
  int32_t size() override { return this->stack_->count(); }
  bool next() override { return this->doNext(); }
  T& current(T& out) override { return out = this->doCurrent(); }
  T& at(T& out, int32_t index) override { return out = this->doAt(index); }
  void set(int32_t index, const T& value) override { this->doSet(index, value); }
  void append(const T& value) override { this->doAppend(value); }
  T& pop(T& out) override { return out = this->doPop(); }
  void reset() override { this->cursor_ = 0; }
  void insertAt(int32_t index, const T& value) override { this->doInsertAt(index, value); }
  void removeAt(int32_t index) override { this->doRemoveAt(index); }
  int32_t indexOf(const T& value) override { return this->doIndexOf(value); }
  void clear() override { this->doClear(); }

 protected:
  using StackArrayBase<T>::StackArrayBase;
  ByOutArray(const ByOutArray& other) : IQorUnknown(), StackArrayBase<T>(other), Iface() {}
};

template <class T, class Iface>
using StackArrayOf =
    std::conditional_t<(sizeof(T) > sizeof(void*)), ByOutArray<T, Iface>, ByValueArray<T, Iface>>;

// The colour, vector and transform arrays: reserve and capacity open the interface.
template <class T, class Iface>
class ReservingArray : public StackArrayOf<T, Iface> {
 public:
  bool reserve(int32_t n) override { return this->doReserve(n, this->className()); }
  int32_t capacity() override { return this->stack_->capacity(); }

 protected:
  using StackArrayOf<T, Iface>::StackArrayOf;
  ReservingArray(const ReservingArray& other) : IQorUnknown(), StackArrayOf<T, Iface>(other) {}
};

class DoubleArray : public ByValueArray<double, IQorDoubleArray> {
 public:
  DoubleArray() = default;
  // Takes over `stack`.
  explicit DoubleArray(IterStack<double>* stack) : ByValueArray(stack) {}
  DoubleArray(const DoubleArray& other) : IQorUnknown(), ByValueArray(other) {}
  // Answers "DoubleArray", "IQorDoubleArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DoubleArray"; }
  // A live iterator; this array must outlive it.
  virtual DoubleIter* newIterator() { return new DoubleIter(stack_, "DoubleIter"); }
};

class ByteArray : public ByValueArray<uint8_t, IQorByteArray> {
 public:
  ByteArray() = default;
  explicit ByteArray(IterStack<uint8_t>* stack) : ByValueArray(stack) {}
  ByteArray(const ByteArray& other) : IQorUnknown(), ByValueArray(other) {}
  // Answers "ByteArray", "IQorByteArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ByteArray"; }
  bool read(BinInput& in) override;
  bool write(BinOutput& out) override;
  virtual ByteIter* newIterator() { return new ByteIter(stack_, "ByteIter"); }
};

class StringArray : public ByOutArray<QorString, IQorStringArray> {
 public:
  StringArray() = default;
  explicit StringArray(IterStack<QorString>* stack) : ByOutArray(stack) {}
  StringArray(const StringArray& other) : IQorUnknown(), ByOutArray(other) {}
  // Answers "StringArray", "IQorStringArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "StringArray"; }
  IQorStringIter* newIterator() override { return new StringIter(*stack_); }
  IterStack<QorString>* stack() override { return stack_; }
};

class ColorArray : public ReservingArray<QorColor, IQorColorArray> {
 public:
  ColorArray() = default;
  explicit ColorArray(IterStack<QorColor>* stack) : ReservingArray(stack) {}
  ColorArray(const ColorArray& other) : IQorUnknown(), ReservingArray(other) {}
  // Answers "ColorArray", "IQorColorArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ColorArray"; }
  virtual ColorIter* newIterator() { return new ColorIter(stack_, "ColorIter"); }
};

class Vector2DArray : public ReservingArray<Vector2D, IQorVector2DArray> {
 public:
  Vector2DArray() = default;
  explicit Vector2DArray(IterStack<Vector2D>* stack) : ReservingArray(stack) {}
  Vector2DArray(const Vector2DArray& other) : IQorUnknown(), ReservingArray(other) {}
  // Answers "Vector2DArray", "IQorVector2DArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Vector2DArray"; }
  virtual Vector2DIter* newIterator() { return new Vector2DIter(stack_, "Vector2DIter"); }
};

class Vector2FArray : public ReservingArray<Vector2F, IQorVector2FArray> {
 public:
  Vector2FArray() = default;
  explicit Vector2FArray(IterStack<Vector2F>* stack) : ReservingArray(stack) {}
  Vector2FArray(const Vector2FArray& other) : IQorUnknown(), ReservingArray(other) {}
  // Answers "Vector2FArray", "IQorVector2FArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Vector2FArray"; }
  virtual Vector2FIter* newIterator() { return new Vector2FIter(stack_, "Vector2FIter"); }
};

class Vector3DArray : public ReservingArray<QorVector, IQorVector3DArray> {
 public:
  Vector3DArray() = default;
  explicit Vector3DArray(IterStack<QorVector>* stack) : ReservingArray(stack) {}
  Vector3DArray(const Vector3DArray& other) : IQorUnknown(), ReservingArray(other) {}
  // Answers "Vector3DArray", "IQorVector3DArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Vector3DArray"; }
  // reserve(n), then on success count n: new entries hold what the memory holds. False
  // when the memory ran out; a negative n raises.
  virtual bool resize(int32_t n);
  virtual Vector3DIter* newIterator() { return new Vector3DIter(stack_); }
};

class Transform3DArray : public ReservingArray<QorMatrix, IQorTransform3DArray> {
 public:
  Transform3DArray() = default;
  explicit Transform3DArray(IterStack<QorMatrix>* stack) : ReservingArray(stack) {}
  Transform3DArray(const Transform3DArray& other) : IQorUnknown(), ReservingArray(other) {}
  // Answers "Transform3DArray", "IQorTransform3DArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Transform3DArray"; }
  // As Vector3DArray::resize.
  virtual bool resize(int32_t n);
  virtual Transform3DIter* newIterator() { return new Transform3DIter(stack_, "Transform3DIter"); }
};

// ---------------------------------------------------------------------------------------
// IntArray: four stores
// ---------------------------------------------------------------------------------------

// An int array on one of four stores, of which exactly one is set, tried in this order:
// a plain stack, a block stack, a paged large stack, a paged array. The paged array has no
// count: the array answers size 0 on it, current reads it, and every change raises
// "Collection is readonly" (such an array is read-only).
class IntArray : public Collection, public IQorIntArray {
 public:
  using PagedStore = QorMM::Array<int32_t, QorMM::Splitter<int32_t>>;

  // A plain stack with room for 20 entries.
  IntArray();
  // Each takes over its store.
  explicit IntArray(IterStack<int32_t>* stack);
  explicit IntArray(IterBlockStack<int32_t>* blockStack);
  explicit IntArray(IterLargeStack<int32_t>* largeStack);
  explicit IntArray(PagedStore* pagedArray);
  // The flags and a copy of whichever store is present, with capacity count + 1 when the
  // count is 10 or more, else 10, at most the old capacity.
  IntArray(const IntArray& other);
  IntArray& operator=(const IntArray&) = delete;
  ~IntArray() override;

  // Answers "IntArray", "IQorIntArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "IntArray"; }
  bool isReadOnly() const override { return readOnly_ || paged_; }

  int32_t size() override;
  bool next() override { return ++cursor_ <= size(); }
  int32_t current() override;
  int32_t at(int32_t index) override;
  void set(int32_t index, int32_t value) override;
  void append(int32_t value) override;
  int32_t pop() override;
  void reset() override { cursor_ = 0; }
  void insertAt(int32_t index, int32_t value) override;
  void removeAt(int32_t index) override;
  int32_t indexOf(int32_t value) override;
  void clear() override;

  // The live iterator for the present store; this array must outlive it.
  virtual IQorIntIter* newIterator();
  // Appends every entry of `other` (null does nothing): between two plain stacks one block
  // copy without checks, otherwise through at and append.
  virtual void appendAll(IntArray* other);
  // Removes every entry whose value stands in `other`; the survivors keep their order.
  virtual void removeAll(IntArray* other);
  // Keeps the first occurrence of each value, in order.
  virtual void removeDuplicates();

  int32_t cursor() const { return cursor_; }
  IterStack<int32_t>* plainStack() { return stack_; }
  IterBlockStack<int32_t>* blockStack() { return block_; }
  IterLargeStack<int32_t>* largeStack() { return large_; }
  PagedStore* pagedArray() { return paged_; }

 private:
  // Calls f with the present counted store.
  template <class F>
  decltype(auto) visit(F&& f);

  IterStack<int32_t>* stack_ = nullptr;
  IterBlockStack<int32_t>* block_ = nullptr;
  IterLargeStack<int32_t>* large_ = nullptr;
  PagedStore* paged_ = nullptr;
};

// The bit of a value in removeAll and removeDuplicates: 2v for v >= 0, 1 - 2v below,
// in unsigned 32-bit arithmetic, so that no value overflows: a bijection of the ints onto
// the 32-bit bits (INT_MIN takes bit 1).
inline uint32_t intArrayBit(int32_t v) {
  const uint32_t u = static_cast<uint32_t>(v);
  return v >= 0 ? 2u * u : 1u - 2u * u;
}

// ---------------------------------------------------------------------------------------
// ImageArray, Array3D, the 2D shells
// ---------------------------------------------------------------------------------------

class ImageArray : public Collection, public IQorImageArray {
 public:
  ImageArray() : images_(20) {}
  // Room for `capacity` entries.
  explicit ImageArray(int32_t capacity);
  // The flags and the same images, with new references.
  ImageArray(const ImageArray& other);
  ImageArray& operator=(const ImageArray&) = delete;
  ~ImageArray() override;

  // Answers "ImageArray", "IQorImageArray", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ImageArray"; }

  int32_t size() override { return images_.count(); }
  bool next() override { return ++cursor_ <= images_.count(); }
  QorImage* current() override { return images_.get(cursor_).get(); }
  QorImage* at(int32_t index) const override;
  QorImage* at(int32_t index) override;
  void set(int32_t index, QorImage* image) override;
  void append(QorImage* image) override;
  QorImage* pop() override;
  void reset() override { cursor_ = 0; }
  void insertAt(int32_t index, QorImage* image) override;
  void removeAt(int32_t index) override;
  int32_t indexOf(QorImage* image) override;
  void clear() override;
  // A live iterator; this array must outlive it.
  virtual ImageIter* newIterator() { return new ImageIter(&images_); }

  int32_t cursor() const { return cursor_; }

 private:
  IterStack<IPtr<QorImage>> images_;
};

// A vector array whose points live in a bulk point array (shared, one reference held);
// the inherited stack stays empty, and reserve and capacity are the inherited ones. Errors
// name the class "Array3D". insertAt and removeAt check the index against 0..size-1 and
// then work at the end: insertAt pushes, removeAt pops the last point. indexOf looks at the
// points 1 to size - 1 and answers a one-based position (-1 below two points).
class Array3D : public Vector3DArray, public IQorArray3D {
 public:
  // A new array from the host's point-array factory, room for 1024 points. Raises when
  // the factory is missing.
  Array3D();
  // Shares `realArray` (null allowed: every operation then sees no points).
  explicit Array3D(IRealPArray* realArray);
  // A copy of the points with their extra data.
  Array3D(const Array3D& other);
  ~Array3D() override;

  // Answers "Array3D", "IQorArray3D", then Vector3DArray's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Array3D"; }

  int32_t size() override;
  bool next() override { return ++cursor_ <= size(); }
  QorVector& current(QorVector& out) override;
  QorVector& at(QorVector& out, int32_t index) override;
  void set(int32_t index, const QorVector& value) override;
  void append(const QorVector& value) override;
  QorVector& pop(QorVector& out) override;
  void reset() override { cursor_ = 0; }
  void insertAt(int32_t index, const QorVector& value) override;
  void removeAt(int32_t index) override;
  int32_t indexOf(const QorVector& value) override;
  void clear() override;

  // Walks the points.
  Vector3DIter* newIterator() override;
  // A new Array3D by copy, owned by the caller.
  virtual Array3D* clone() { return new Array3D(*this); }
  // Answers false; nothing in the system asks.
  virtual bool query() { return false; }
  // The point array, no new reference.
  virtual IRealPArray* realArray() { return realArray_; }
  virtual const char* typeString() { return "qorapi.datamodel.Array3D"; }

 private:
  IRealPArray* realArray_ = nullptr;
};

class DoubleArray2D : public Primitive, public IQorDoubleArray2D {
 public:
  // Answers "DoubleArray2D", "IQorDoubleArray2D", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DoubleArray2D"; }
  int32_t rowCount() override { return 0; }
  int32_t columnCount() override { return 0; }
  double at(int32_t, int32_t) override { return 0.0; }
  void set(int32_t, int32_t, double) override {}
};

class Vector3DArray2D : public Primitive, public IQorVector3DArray2D {
 public:
  // Answers "Vector3DArray2D", "IQorVector3DArray2D", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Vector3DArray2D"; }
  int32_t rowCount() override { return 0; }
  int32_t columnCount() override { return 0; }
  QorVector& at(QorVector& out, int32_t, int32_t) override { return out = QorVector(); }
  void set(int32_t, int32_t, const QorVector&) override {}
};
