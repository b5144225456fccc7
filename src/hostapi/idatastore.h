// The host's key and value store of settings and shared application state, and the
// receiver interface through which it reports changes. Keys are slash-separated.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"

// Seven receiving operations. The fifth, a real value arriving, is the one whose
// parameters are settled; the reference host documents what it sends through the others.
class IQorDataReceiver : public virtual IQorUnknown {
 public:
  virtual void intArrived(const char* key, int value) = 0;
  virtual void stringArrived(const char* key, const QorString& value) = 0;
  virtual void cstringArrived(const char* key, const char* value) = 0;
  virtual void keyRemoved(const char* key) = 0;
  virtual void realArrived(const char* key, double value) = 0;
  virtual void touched(const char* key) = 0;
  virtual void receiverDropped(const char* key) = 0;
};

// Every receiving operation with an empty body, so a listener overrides what it needs.
class WexDataReceiver : public IQorDataReceiver {
 public:
  void intArrived(const char*, int) override {}
  void stringArrived(const char*, const QorString&) override {}
  void cstringArrived(const char*, const char*) override {}
  void keyRemoved(const char*) override {}
  void realArrived(const char*, double) override {}
  void touched(const char*) override {}
  void receiverDropped(const char*) override {}
};

class IDataStore : public virtual IQorUnknown {
 public:
  virtual int getInt(const char* key, int reserved) = 0;
  virtual double getDouble(const char* key, int reserved) = 0;
  virtual const char* getCString(const char* key, int reserved) = 0;
  virtual const QorString& getString(const char* key, int reserved) = 0;
  virtual uint8_t hasKey(const char* key) = 0;
  virtual void addReceiver(const char* key, IQorDataReceiver* receiver) = 0;
  virtual void removeReceiver(const char* key, IQorDataReceiver* receiver) = 0;
  virtual void setString(IQorDataReceiver* sender, const char* key, const QorString& value) = 0;
  virtual void setCString(IQorDataReceiver* sender, const char* key, const char* value) = 0;
  virtual void setDouble(IQorDataReceiver* sender, const char* key, double value) = 0;
  virtual void setInt(IQorDataReceiver* sender, const char* key, int value) = 0;
  virtual void touch(IQorDataReceiver* sender, const char* key) = 0;
  // The store's read of a boolean key.
  virtual bool getBool(const char* key, int reserved) = 0;
};
