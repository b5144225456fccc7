#include "refhost/parameters.h"

#include <algorithm>

#include "persistence/qorfile.h"
#include "refhost/componentmanager.h"

namespace refhost {

// ---- values ----

template <>
bool RefScalarValue<IQorIntValue, int32_t, ValueKind::Int>::writeValue(QorFileWrite& out) const {
  return out.write(value_);
}
template <>
bool RefScalarValue<IQorIntValue, int32_t, ValueKind::Int>::readValue(QorFileRead& in) {
  return in.read(value_);
}
template <>
bool RefScalarValue<IQorDoubleValue, double, ValueKind::Double>::writeValue(
    QorFileWrite& out) const {
  return out.write(value_);
}
template <>
bool RefScalarValue<IQorDoubleValue, double, ValueKind::Double>::readValue(QorFileRead& in) {
  return in.read(value_);
}
template <>
bool RefScalarValue<IQorStringValue, QorString, ValueKind::String>::writeValue(
    QorFileWrite& out) const {
  return out.write(value_);
}
template <>
bool RefScalarValue<IQorStringValue, QorString, ValueKind::String>::readValue(QorFileRead& in) {
  return in.read(value_);
}
template <>
bool RefScalarValue<IQorVector2DValue, Vector2D, ValueKind::Vector2D>::writeValue(
    QorFileWrite& out) const {
  return out.write(value_);
}
template <>
bool RefScalarValue<IQorVector2DValue, Vector2D, ValueKind::Vector2D>::readValue(QorFileRead& in) {
  return in.read(value_);
}

template <class V>
static RefValue* copyOf(const V& from) {
  auto* v = new V();
  v->setValue(from.get());
  return v;
}
RefValue* RefIntValue::copy() const {
  return copyOf(*this);
}
RefValue* RefDoubleValue::copy() const {
  return copyOf(*this);
}
RefValue* RefStringValue::copy() const {
  return copyOf(*this);
}
RefValue* RefVector2DValue::copy() const {
  return copyOf(*this);
}

void RefVectorValue::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "IQorParameter"))
    *out = static_cast<IQorParameter*>(this);
  else if (qorNameIs(name, "IQorVectorValue"))
    *out = static_cast<IQorVectorValue*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<IQorParameter*>(this));
}

RefValue* RefVectorValue::copy() const {
  auto* v = new RefVectorValue();
  v->value_ = value_;
  v->set_ = set_;
  return v;
}

bool RefVectorValue::sameAs(const RefValue& other) const {
  auto* o = dynamic_cast<const RefVectorValue*>(&other);
  return o && o->set_ == set_ && o->value_.x == value_.x && o->value_.y == value_.y &&
         o->value_.z == value_.z;
}

// A presence byte, then the vector chunk when one is held.
bool RefVectorValue::writeValue(QorFileWrite& out) const {
  bool ok = out.write(static_cast<uint8_t>(set_ ? 1 : 0));
  return set_ ? out.write(value_) && ok : ok;
}

bool RefVectorValue::readValue(QorFileRead& in) {
  uint8_t held = 0;
  if (!in.read(held) || held > 1) return false;
  set_ = held == 1;
  value_ = QorVector();
  return set_ ? in.read(value_) : true;
}

RefValue* RefValue::make(int32_t kind) {
  switch (static_cast<ValueKind>(kind)) {
    case ValueKind::Int:
      return new RefIntValue();
    case ValueKind::Double:
      return new RefDoubleValue();
    case ValueKind::String:
      return new RefStringValue();
    case ValueKind::Vector:
      return new RefVectorValue();
    case ValueKind::Vector2D:
      return new RefVector2DValue();
  }
  return nullptr;
}

RefValue* asRefValue(IQorParameter* parameter) {
  return dynamic_cast<RefValue*>(parameter);
}

// ---- the table ----

void RefParameterTable::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "IQorParameterTable"))
    *out = static_cast<IQorParameterTable*>(this);
  else if (qorNameIs(name, "IQorSubject"))
    *out = static_cast<IQorSubject*>(this);
  else if (qorNameIs(name, "RefParameterTable"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<IQorParameterTable*>(this));
}

void RefParameterTable::list(IterStack<QorString>& names, IterStack<IQorParameter*>& parameters) {
  names.clear();
  parameters.clear();
  for (const Entry& e : entries_) {
    names.push(e.first);
    parameters.push(static_cast<IQorParameter*>(e.second.get()));
  }
}

RefValue* RefParameterTable::find(const QorString& name) const {
  for (const Entry& e : entries_)
    if (e.first == name) return e.second.get();
  return nullptr;
}

IQorParameter* RefParameterTable::parameter(const QorString& name) {
  return find(name);
}

void RefParameterTable::store(const QorString& name, RefValue* value, bool) {
  IPtr<RefValue> keep(value);
  auto it = std::find_if(entries_.begin(), entries_.end(),
                         [&](const Entry& e) { return e.first == name; });
  if (it != entries_.end())
    it->second = keep;
  else
    entries_.emplace_back(name, keep);
  notify(name);
}

void RefParameterTable::add(const QorString& name, IQorParameter* parameter, int32_t) {
  IPtr<IQorParameter> hold(parameter);  // a foreign object given at count 0 is freed
  if (RefValue* v = asRefValue(parameter)) store(name, v, true);
}

void RefParameterTable::set(const QorString& name, IQorParameter* parameter) {
  add(name, parameter, 0);
}

void RefParameterTable::remove(const QorString& name) {
  auto it = std::find_if(entries_.begin(), entries_.end(),
                         [&](const Entry& e) { return e.first == name; });
  if (it == entries_.end()) return;
  IPtr<RefValue> keep = it->second;  // alive while the listeners hear of it
  entries_.erase(it);
  notify(name);
}

IQorParameterTable* RefParameterTable::clone() {
  auto* t = new RefParameterTable();
  for (const Entry& e : entries_)
    t->entries_.emplace_back(e.first, IPtr<RefValue>(e.second->copy()));
  return t;
}

void RefParameterTable::subscribe(IQorListener* listener) {
  if (listener && std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end())
    listeners_.push_back(listener);
}

void RefParameterTable::unsubscribe(IQorListener* listener) {
  auto it = std::find(listeners_.begin(), listeners_.end(), listener);
  if (it != listeners_.end()) listeners_.erase(it);
}

void RefParameterTable::moveListeners(RefParameterTable& other) {
  for (IQorListener* l : listeners_) other.subscribe(l);
  listeners_.clear();
}

static void tell(const std::vector<IQorListener*>& now, const std::vector<IQorListener*>& live,
                 const char* message, IQorSubject* subject, void* argument) {
  // A snapshot, each listener checked again before it is told: one may leave meanwhile.
  for (IQorListener* l : now)
    if (std::find(live.begin(), live.end(), l) != live.end()) l->notify(message, subject, argument);
}

void RefParameterTable::notify(const QorString& name) {
  if (owner_) owner_->tableChanged(name);
  if (deferring_) {
    if (std::find(pending_.begin(), pending_.end(), name) == pending_.end())
      pending_.push_back(name);
    return;
  }
  tellListeners(name);
}

void RefParameterTable::tellListeners(const QorString& name) {
  if (listeners_.empty()) return;
  std::vector<IQorListener*> now = listeners_;
  tell(now, listeners_, "setParameter", subject_ ? subject_ : this, const_cast<QorString*>(&name));
}

void RefParameterTable::flush() {
  if (deferring_ > 0 && --deferring_ > 0) return;
  std::vector<QorString> names;
  names.swap(pending_);
  for (const QorString& n : names) tellListeners(n);
}

void RefParameterTable::notifyMessage(const char* message) {
  if (listeners_.empty()) return;
  std::vector<IQorListener*> now = listeners_;
  tell(now, listeners_, message, subject_ ? subject_ : this, nullptr);
}

double RefParameterTable::number(const char* name, double fallback) const {
  auto* v = dynamic_cast<RefDoubleValue*>(find(name));
  return v ? v->get() : fallback;
}

QorVector RefParameterTable::vector(const char* name, const QorVector& fallback) const {
  auto* v = dynamic_cast<RefVectorValue*>(find(name));
  return v ? v->get() : fallback;
}

Vector2D RefParameterTable::pair(const char* name, const Vector2D& fallback) const {
  auto* v = dynamic_cast<RefVector2DValue*>(find(name));
  return v ? v->get() : fallback;
}

void RefParameterTable::setNumber(const char* name, double value) {
  auto* v = new RefDoubleValue();
  v->setValue(value);
  store(name, v, true);
}

void RefParameterTable::setVector(const char* name, const QorVector& value) {
  auto* v = new RefVectorValue();
  v->setValue(value);
  store(name, v, true);
}

void RefParameterTable::setPair(const char* name, const Vector2D& value) {
  auto* v = new RefVector2DValue();
  v->setValue(value);
  store(name, v, true);
}

void RefParameterTable::setText(const char* name, const QorString& value) {
  auto* v = new RefStringValue();
  v->setValue(value);
  store(name, v, true);
}

bool RefParameterTable::write(QorFileWrite& out) const {
  bool ok = out.write(static_cast<int32_t>(entries_.size()));
  for (const Entry& e : entries_) {
    ok = out.write(e.first) && ok;
    ok = out.write(static_cast<int32_t>(e.second->kind())) && ok;
    ok = e.second->writeValue(out) && ok;
  }
  return ok;
}

bool RefParameterTable::read(QorFileRead& in) {
  int32_t count = 0;
  if (!in.read(count) || count < 0 || count > in.remaining()) return false;
  std::vector<Entry> entries;
  for (int32_t i = 0; i < count; ++i) {
    QorString name;
    int32_t kind = 0;
    if (!in.read(name) || !in.read(kind)) return false;
    IPtr<RefValue> v(RefValue::make(kind));
    if (!v || !v->readValue(in) || !in.good()) return false;
    bool twice = std::any_of(entries.begin(), entries.end(),
                             [&](const Entry& e) { return e.first == name; });
    if (twice) return false;
    entries.emplace_back(name, v);
  }
  entries_.swap(entries);
  return true;
}

void registerParameterServices(RefComponentManager& m) {
  m.registerFactory("IQorIntValue", [] { return static_cast<IQorIntValue*>(new RefIntValue()); });
  m.registerFactory("IQorDoubleValue",
                    [] { return static_cast<IQorDoubleValue*>(new RefDoubleValue()); });
  m.registerFactory("IQorStringValue",
                    [] { return static_cast<IQorStringValue*>(new RefStringValue()); });
  m.registerFactory("IQorVectorValue",
                    [] { return static_cast<IQorVectorValue*>(new RefVectorValue()); });
  m.registerFactory("IQorVector2DValue",
                    [] { return static_cast<IQorVector2DValue*>(new RefVector2DValue()); });
}

}  // namespace refhost
