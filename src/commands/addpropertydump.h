// The script's pen on the host's property dump: it keeps a position in the dump's tree and
// adds named values there. Every script value goes under one branch of the module's single
// provider "Custom"; objects with the same `basename` share a branch.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "hostapi/iqorpropertydump.h"

class QorMatrix;
class QorBounds;

// A contributor to the dump that tells lifetime observers when it dies.
class QorPropDumpProvider : public IQorPropDumpProvider, public IQorLifetimeSubject {
 public:
  QorPropDumpProvider();
  // Calls subjectDeleted(this) on each observer, first to last.
  ~QorPropDumpProvider() override;

  // Answers "IQorUnknown", "QorPropDumpProvider", "IQorPropDumpProvider",
  // "IQorLifetimeSubject".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorPropDumpProvider"; }

  void addListener(IQorLifetimeListener* observer) override;
  // Removes the first entry equal to `observer`, closing the gap.
  void removeListener(IQorLifetimeListener* observer) override;

  int32_t observerCount() const { return observers_.count(); }

 private:
  IterStack<IQorLifetimeListener*> observers_;
};

// The provider of the script values: registers itself with the host's dump (when there is
// one) and holds an element made by the host, named after the provider.
class AddPropertyDumpProvider : public QorPropDumpProvider {
 public:
  explicit AddPropertyDumpProvider(const QorString& name);

  // Answers "AddPropertyDumpProvider", then the names of QorPropDumpProvider.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "AddPropertyDumpProvider"; }

  void xmlElement(IQorPropDumpXmlElement** out) override;

  // The module's one provider, "Custom": made on first call, never deleted.
  static AddPropertyDumpProvider* instance();
  // The provider if it has been made, else null (makes none).
  static AddPropertyDumpProvider* existing();

 private:
  IPtr<IQorPropDumpXmlElement, IQorUnknown> element_;
};

// A data object (className "DataObject") with the string property "basename" ("Custom",
// or the constructor's argument). Nothing here raises: a missing service or a refused child
// shows as a false result.
class AddPropertyDump : public DataObject {
 public:
  AddPropertyDump();
  explicit AddPropertyDump(const char* basename);
  ~AddPropertyDump() override;

  const char* typeString() override { return "qorapi.datamodel.AddPropertyDump"; }

  virtual void makeProperties();
  // A child with an empty value and type, which becomes the current element.
  virtual bool push(const char* propname);
  // The same with `stringVal` as the child's type.
  virtual bool push(const char* propname, const QorString& stringVal);
  // Closes the element of the last push; false when none is open.
  virtual bool pop();
  // Closes every open element and empties this object's branch (for every object sharing
  // it). Makes no provider.
  virtual bool reset();
  virtual bool add(const char* propname, double doubleVal);
  virtual bool add(const char* propname, int intVal);
  virtual bool add(const char* propname, const QorString& stringVal);
  // A "point" child with the children "X", "Y", "Z".
  virtual bool addPoint(const char* propname, const QorVector& vec);
  // A "vector" child with the children "XDir", "YDir", "ZDir".
  virtual bool addDirection(const char* propname, const QorVector& vec);
  // A "matrix" child with the attributes "M0".."M15", row by row.
  virtual bool addMatrix(const char* propname, const QorMatrix& mat);
  // A "boundbox" child with the attributes "XMin", "XMax", "YMin", "YMax", "ZMin", "ZMax".
  virtual bool addBounds(const char* propname, const QorBounds& bnds);
  // A "feature" child that the host's dump utility fills from the script feature's host
  // feature.
  virtual bool addFeature(const char* propName, DataObject* dobj);
  // A "cadModel" child that the host's dump utility fills from the CAD model's mesh.
  virtual bool addCADModel(const char* propName, DataObject* dobj);

 private:
  // The top of the stack, else the branch (found or made on first need); null without one.
  IQorPropDumpXmlElement* currentElement();
  // Finds or adds this object's branch under the provider's element.
  void resolveBase(AddPropertyDumpProvider* provider);
  bool addVector(const char* propname, const QorVector& vec, const char* type,
                 const char* const names[3]);
  bool haveUtil();

  IPtr<IQorPropDumpXmlElement, IQorUnknown> baseElement_;
  IterStack<IQorPropDumpXmlElement*> elementStack_;
  IPtr<IQorPropertyDumpUtil, IQorUnknown> propertyDumpUtil_;
};
