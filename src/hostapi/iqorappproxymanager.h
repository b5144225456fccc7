// The host's two-way relation between host objects and script-side objects, per interface
// name: proxy tables (made on demand for "IQorObject") and registries of shells.
#pragma once
#include "base/qorcstring.h"
#include "core/qorobject.h"

class IQorSubject;

// A proxy table: one script-side object per host object.
class IQorProxyTable : public virtual IQorUnknown {
 public:
  // 0: the script-side object for a host object; the "IQorObject" table makes a Model on
  // demand, the others answer what was bound or null. Null for a null host.
  virtual IQorUnknown* scriptObject(IQorUnknown* host) = 0;
  // 1: records a relation.
  virtual void bind(IQorUnknown* script, IQorUnknown* host) = 0;
  // 2: forgets it.
  virtual void unbind(IQorUnknown* host) = 0;
};

// A registry of shells: non-owning, never makes anything.
class IQorProxyRegistry : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* find(IQorUnknown* host) = 0;             // 0
  virtual void add(IQorUnknown* shell, IQorUnknown* host) = 0;  // 1
  virtual void remove(IQorUnknown* host) = 0;                   // 2
};

class IQorAppProxyManager : public virtual IQorUnknown {
 public:
  // 0: a notice about a subject for the host's proxies.
  virtual void notifySubject(const char* message, IQorSubject* subject, void* argument) = 0;
  // 1: the table for an interface name, or null.
  virtual IQorProxyTable* proxyTable(const QorCString& interfaceName) = 0;
  // 2: the registry of an interface name; one per name, living as long as the service.
  virtual IQorProxyRegistry* registry(const QorCString& interfaceName) = 0;
  // 3, 4: a guarded section; re-entrant.
  virtual void lock() = 0;
  virtual void unlock() = 0;
};
