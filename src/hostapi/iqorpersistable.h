// IQorPersistable: how a host object stores itself in a data-model file.
#pragma once
#include "core/qorobject.h"
#include "persistence/qorid.h"

class QorFileWrite;
class QorFileRead;

class IQorPersistable : public virtual IQorUnknown {
 public:
  virtual bool write(QorFileWrite* writer) = 0;
  virtual bool read(QorFileRead* reader) = 0;
  virtual QorID classId() = 0;
};
