// IQorWriteable: the interface of every class that stores itself in a data-model file.
#pragma once
#include "core/qorobject.h"
#include "persistence/qorid.h"

class IQorDataModelWriter;
class IQorDataModelReader;

class IQorWriteable : public virtual IQorUnknown {
 public:
  // The class's identifier, from which a reader creates the object again.
  virtual QorID classId() = 0;
  // Stores the object: an object chunk opened with beginObject(this, version), its fields,
  // endObject.
  virtual bool write(IQorDataModelWriter* writer) = 0;
  // Reads the object back, by the version its chunk carries.
  virtual bool read(IQorDataModelReader* reader) = 0;
  virtual void setWriteable(bool writeable) = 0;
  virtual bool isWriteable() = 0;
};
