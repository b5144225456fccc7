// The reference host's parameter values and parameter tables.
//
// Each value object answers "IQorParameter" and its own value interface; the services of
// those names make a new one (count 0) on every fetch. A table keeps its entries in order,
// answers "IQorSubject" and tells its listeners "setParameter" (the name as
// `const QorString*`) on every change. Listeners are not counted; one may unsubscribe
// while it is being told.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/iptr.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqorfeature.h"

class QorFileWrite;
class QorFileRead;

namespace refhost {

class RefComponentManager;

// The stored kind of a value (its code in a record).
enum class ValueKind : int32_t { Int = 1, Double = 2, String = 3, Vector = 4, Vector2D = 5 };

// What every host value shares: a deep copy, comparison and its stored form.
class RefValue : public IQorParameter {
 public:
  virtual ValueKind kind() const = 0;
  virtual RefValue* copy() const = 0;  // count 0
  virtual bool sameAs(const RefValue& other) const = 0;
  // The value's fields (the kind code is written by the table).
  virtual bool writeValue(QorFileWrite& out) const = 0;
  virtual bool readValue(QorFileRead& in) = 0;
  // A new value of that kind (count 0), or null for an unknown code.
  static RefValue* make(int32_t kind);
};

// The host value behind any parameter the module hands in, or null for a foreign object.
RefValue* asRefValue(IQorParameter* parameter);

// A value of one plain type behind its value interface.
template <class Interface, class T, ValueKind K>
class RefScalarValue : public RefValue, public Interface {
 public:
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "IQorParameter"))
      *out = static_cast<IQorParameter*>(this);
    else if (qorNameIs(name, interfaceName()))
      *out = static_cast<Interface*>(this);
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(static_cast<IQorParameter*>(this));
  }
  ValueKind kind() const override { return K; }
  bool sameAs(const RefValue& other) const override {
    auto* o = dynamic_cast<const RefScalarValue*>(&other);
    return o && o->value_ == value_;
  }
  bool writeValue(QorFileWrite& out) const override;
  bool readValue(QorFileRead& in) override;
  const T& get() const { return value_; }

 protected:
  virtual const char* interfaceName() const = 0;
  T value_{};
};

class RefIntValue : public RefScalarValue<IQorIntValue, int32_t, ValueKind::Int> {
 public:
  const char* className() override { return "RefIntValue"; }
  int32_t value() override { return value_; }
  void setValue(int32_t v) override { value_ = v; }
  RefValue* copy() const override;

 protected:
  const char* interfaceName() const override { return "IQorIntValue"; }
};

class RefDoubleValue : public RefScalarValue<IQorDoubleValue, double, ValueKind::Double> {
 public:
  const char* className() override { return "RefDoubleValue"; }
  double value() override { return value_; }
  void setValue(double v) override { value_ = v; }
  RefValue* copy() const override;

 protected:
  const char* interfaceName() const override { return "IQorDoubleValue"; }
};

class RefStringValue : public RefScalarValue<IQorStringValue, QorString, ValueKind::String> {
 public:
  const char* className() override { return "RefStringValue"; }
  const QorString& value() override { return value_; }
  void setValue(const QorString& v) override { value_ = v; }
  RefValue* copy() const override;

 protected:
  const char* interfaceName() const override { return "IQorStringValue"; }
};

class RefVector2DValue : public RefScalarValue<IQorVector2DValue, Vector2D, ValueKind::Vector2D> {
 public:
  const char* className() override { return "RefVector2DValue"; }
  Vector2D value() override { return value_; }
  void setValue(const Vector2D& v) override { value_ = v; }
  RefValue* copy() const override;

 protected:
  const char* interfaceName() const override { return "IQorVector2DValue"; }
};

// Holds no vector until one is set.
class RefVectorValue : public RefValue, public IQorVectorValue {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefVectorValue"; }
  const QorVector* value() override { return set_ ? &value_ : nullptr; }
  void setValue(const QorVector& v) override {
    value_ = v;
    set_ = true;
  }
  // The vector, or the zero vector when none is held.
  const QorVector& get() const { return value_; }
  bool held() const { return set_; }
  ValueKind kind() const override { return ValueKind::Vector; }
  RefValue* copy() const override;
  bool sameAs(const RefValue& other) const override;
  bool writeValue(QorFileWrite& out) const override;
  bool readValue(QorFileRead& in) override;

 private:
  QorVector value_;
  bool set_ = false;
};

// Told of every change of a table before its listeners are.
class TableOwner {
 public:
  virtual void tableChanged(const QorString& name) = 0;

 protected:
  ~TableOwner() = default;
};

class RefParameterTable : public IQorParameterTable, public IQorSubject {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefParameterTable"; }
  // IQorParameterTable
  void list(IterStack<QorString>& names, IterStack<IQorParameter*>& parameters) override;
  IQorParameter* parameter(const QorString& name) override;
  void add(const QorString& name, IQorParameter* parameter, int32_t flags) override;
  void set(const QorString& name, IQorParameter* parameter) override;
  void remove(const QorString& name) override;
  IQorParameterTable* clone() override;
  // IQorSubject
  void subscribe(IQorListener* listener) override;
  void unsubscribe(IQorListener* listener) override;

  // Tells the listeners "setParameter" with `name`, `subject` standing for the sender (this
  // table when null).
  void notify(const QorString& name);
  // Tells the listeners `message` with a null argument.
  void notifyMessage(const char* message);
  // Who hears changes first, and who the listeners are told sent them.
  void setOwner(TableOwner* owner, IQorSubject* subject) {
    owner_ = owner;
    subject_ = subject;
  }
  // While deferring, names changed are kept and told by flush (the owner still hears at
  // once).
  void defer() { ++deferring_; }
  void flush();
  // Moves the listeners into `other`.
  void moveListeners(RefParameterTable& other);
  int32_t size() const { return static_cast<int32_t>(entries_.size()); }
  const QorString& nameAt(int32_t i) const { return entries_[i].first; }
  RefValue* valueAt(int32_t i) const { return entries_[i].second.get(); }
  RefValue* find(const QorString& name) const;
  // Typed reads for the owner; `fallback` when missing or of another kind.
  double number(const char* name, double fallback) const;
  QorVector vector(const char* name, const QorVector& fallback) const;
  Vector2D pair(const char* name, const Vector2D& fallback) const;
  // Typed writes (a new value object each time), telling owner and listeners.
  void setNumber(const char* name, double value);
  void setVector(const char* name, const QorVector& value);
  void setPair(const char* name, const Vector2D& value);
  void setText(const char* name, const QorString& value);

  // The table's stored form: the entry count (int32), then per entry its name (string
  // chunk), kind code (int32) and value.
  bool write(QorFileWrite& out) const;
  // Replaces the entries from the stored form; false (entries unchanged) on any fault.
  bool read(QorFileRead& in);

 private:
  using Entry = std::pair<QorString, IPtr<RefValue>>;
  void store(const QorString& name, RefValue* value, bool inPlace);
  void tellListeners(const QorString& name);
  std::vector<Entry> entries_;
  std::vector<IQorListener*> listeners_;
  TableOwner* owner_ = nullptr;
  IQorSubject* subject_ = nullptr;
  int32_t deferring_ = 0;
  std::vector<QorString> pending_;
};

// Registers the five value services.
void registerParameterServices(RefComponentManager& manager);

}  // namespace refhost
