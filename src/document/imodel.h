// IModel: what the module's Model offers the host and the commands. Slot order as
// declared.
#pragma once
#include "base/qorcstring.h"
#include "core/qorobject.h"

class IQorObject;
class QorMatrix;

class IModel : public virtual IQorUnknown {
 public:
  // 0: binds the model to a host object (null unbinds); the "IQorObject" proxy table
  // gives this model for that object from then on.
  virtual void setHostObject(IQorObject* object) = 0;
  // 1, 2: visibility of a display primitive of the host object.
  virtual bool getPrimVisible(const QorCString& prim) = 0;
  virtual void setPrimVisible(const QorCString& prim, bool visible) = 0;
  // 3: the host object, or null.
  virtual IQorObject* hostObject() = 0;
  // 4: transforms the host object; false without one.
  virtual bool transform(const QorMatrix& matrix) = 0;
};
