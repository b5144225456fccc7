// Live handles on one key of the host's settings store. A handle holds no value: every
// read asks the store.
#pragma once
#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "hostapi/idatastore.h"

namespace Platform {

template <class T>
class ApplicationState : public IQorDataReceiver {
 public:
  explicit ApplicationState(const char* refName);
  ~ApplicationState() override;
  ApplicationState(const ApplicationState&) = delete;
  ApplicationState& operator=(const ApplicationState&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ApplicationState"; }

  // Every message of the store ends here; nothing is cached.
  virtual void onChanged() {}

  void intArrived(const char*, int) override { onChanged(); }
  void stringArrived(const char*, const QorString&) override { onChanged(); }
  void cstringArrived(const char*, const char*) override { onChanged(); }
  void keyRemoved(const char*) override { onChanged(); }
  void realArrived(const char*, double) override { onChanged(); }
  void touched(const char*) override { onChanged(); }
  void receiverDropped(const char*) override { onChanged(); }

  const QorCString& key() const { return refName; }

 protected:
  QorCString refName;
};

class IntAppState : public ApplicationState<int> {
 public:
  explicit IntAppState(const char* refName) : ApplicationState(refName) {}
  int getValue();
  void setValue(int value);
};

class FloatAppState : public ApplicationState<double> {
 public:
  explicit FloatAppState(const char* refName) : ApplicationState(refName) {}
  double getValue();
  void setValue(double value);
};

class StringAppState : public ApplicationState<QorString> {
 public:
  explicit StringAppState(const char* refName) : ApplicationState(refName) {}
  QorString getValue();
  void setValue(const QorString& value);
};

class CStringAppState : public ApplicationState<QorCString> {
 public:
  explicit CStringAppState(const char* refName) : ApplicationState(refName) {}
  QorCString getValue();
  void setValue(const QorCString& value);
};

}  // namespace Platform
