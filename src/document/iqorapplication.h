// IQorApplication: the application facade as the host and the commands see it. Slot order
// as declared.
#pragma once
#include "base/iterstack.h"
#include "base/qorstring.h"
#include "core/qorobject.h"

class DataObject;
class IModel;

class IQorApplication : public virtual IQorUnknown {
 public:
  virtual void redraw(bool rebuildAll) = 0;                                  // 0
  virtual void updateGUI() = 0;                                              // 1
  virtual void rebuildGfx() = 0;                                             // 2
  virtual IQorUnknown* activeObject() = 0;                                   // 3
  virtual IterStack<DataObject*> activeObjects() = 0;                        // 4
  virtual void setActiveObject(IModel* model) = 0;                           // 5
  virtual void addActiveObject(IModel* model) = 0;                           // 6
  virtual IQorUnknown* namedReferenceObject(const char* ref) = 0;            // 7
  virtual void setNamedReferenceObject(const char* ref, IModel* model) = 0;  // 8
  virtual bool isNamedReferenceObject(const char* ref, IModel* model) = 0;   // 9
  virtual void clearNamedReference(const char* ref) = 0;                     // 10
  virtual IterStack<DataObject*> getModels() = 0;                            // 11
  virtual IQorUnknown* getModelByName(const QorString& name) = 0;            // 12
  virtual IQorUnknown* getModelById(int id) = 0;                             // 13
  virtual IQorUnknown* newGroup(const QorString& name) = 0;                  // 14
};
