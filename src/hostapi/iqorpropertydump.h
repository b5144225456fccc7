// The property dump: the host's XML tree of named values about the document. Providers
// each own one element of it; the host writes the whole tree as XML.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"
#include "datamodel/iqordataevent.h"

// One element of the dump tree. The service "IQorPropDumpXmlElement" makes a new, unnamed
// element on each fetch (count 0). Elements a parent gives out are borrowed: the parent
// holds them.
class IQorPropDumpXmlElement : public virtual IQorUnknown {
 public:
  virtual void setName(const QorString& name) = 0;  // 0
  virtual void addAttribute(const char* name, const QorString& value,
                            const QorString& type) = 0;  // 1
  // A new child; null when the host refuses it.
  virtual IQorPropDumpXmlElement* addChild(const char* name, const QorString& value,
                                           const QorString& type) = 0;  // 2
  // The first child of that name, or null.
  virtual IQorPropDumpXmlElement* findChild(const char* name) = 0;  // 3
  // Removes all children and attributes (the name stays).
  virtual void clear() = 0;  // 4
};

// Whoever contributes a branch to the dump.
class IQorPropDumpProvider : public virtual IQorUnknown {
 public:
  // The provider's element (borrowed), or null.
  virtual void xmlElement(IQorPropDumpXmlElement** out) = 0;  // 0
};

// A provider announces its death through the data model's lifetime channel
// (IQorLifetimeSubject: addListener, removeListener; listeners hear subjectDeleted).

// The dump, a service.
class IQorPropertyDump : public virtual IQorUnknown {
 public:
  virtual void reserved0() = 0;  // 0
  virtual void reserved1() = 0;  // 1
  virtual void reserved2() = 0;  // 2
  virtual void reserved3() = 0;  // 3
  virtual void reserved4() = 0;  // 4
  virtual void reserved5() = 0;  // 5
  // Registers a provider (counted by the dump) whose element the dump writes.
  virtual void addProvider(IQorPropDumpProvider* provider) = 0;  // 6
};

// Writes host data into an element, a service.
class IQorPropertyDumpUtil : public virtual IQorUnknown {
 public:
  virtual void addFeature(IQorUnknown* hostFeature, const QorString& name,
                          IQorPropDumpXmlElement* element) = 0;                         // 0
  virtual void addCADModel(IQorUnknown* hostCAD, IQorPropDumpXmlElement* element) = 0;  // 1
};
