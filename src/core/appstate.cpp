#include "core/appstate.h"

#include "core/iptr.h"
#include "core/listing.h"

namespace Platform {

namespace {
// The one accessor that getValue and setValue of all four classes share. Fetched on first
// use; a store missing then stays missing.
IDataStore* dataStore() {
  static SPtr<IDataStore> store("IDataStore");
  return store.get();
}
}  // namespace

template <class T>
ApplicationState<T>::ApplicationState(const char* name) : refName(name) {
  // The subscription is decided once: a key that appears later is written but not watched.
  SPtr<IDataStore> store("IDataStore");
  if (store && store->hasKey(refName.c_str())) store->addReceiver(refName.c_str(), this);
}

template <class T>
ApplicationState<T>::~ApplicationState() {
  SPtr<IDataStore> store("IDataStore");
  if (store && store->hasKey(refName.c_str())) store->removeReceiver(refName.c_str(), this);
}

template <class T>
void ApplicationState<T>::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) {  // describe this class into the query record
    walkEnterClass("ApplicationState", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorDataReceiver", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "ApplicationState"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorDataReceiver"))
    *out = static_cast<IQorDataReceiver*>(this);
}

template class ApplicationState<int>;
template class ApplicationState<double>;
template class ApplicationState<QorString>;
template class ApplicationState<QorCString>;

// Without a store a handle reads zero values and its writes go nowhere.
int IntAppState::getValue() {
  IDataStore* s = dataStore();
  return s ? s->getInt(refName.c_str(), 0) : 0;
}
void IntAppState::setValue(int value) {
  if (IDataStore* s = dataStore()) s->setInt(this, refName.c_str(), value);
}

double FloatAppState::getValue() {
  IDataStore* s = dataStore();
  return s ? s->getDouble(refName.c_str(), 0) : 0.0;
}
void FloatAppState::setValue(double value) {
  if (IDataStore* s = dataStore()) s->setDouble(this, refName.c_str(), value);
}

QorString StringAppState::getValue() {
  IDataStore* s = dataStore();
  return s ? s->getString(refName.c_str(), 0) : QorString();
}
void StringAppState::setValue(const QorString& value) {
  if (IDataStore* s = dataStore()) s->setString(this, refName.c_str(), value);
}

QorCString CStringAppState::getValue() {
  IDataStore* s = dataStore();
  return s ? QorCString(s->getCString(refName.c_str(), 0)) : QorCString();
}
void CStringAppState::setValue(const QorCString& value) {
  if (IDataStore* s = dataStore()) s->setCString(this, refName.c_str(), value.data());
}

}  // namespace Platform
