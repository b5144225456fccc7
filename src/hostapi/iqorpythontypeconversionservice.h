// The host's registry of functions that turn native objects into script objects.
#pragma once
#include "core/qorobject.h"

struct _object;
using PyObject = _object;
class IQorDataObject;

// Turns one interface pointer into a new reference to a script object.
using QorScriptConverter = PyObject* (*)(IQorUnknown* object);

class IQorPythonTypeConversionService : public virtual IQorUnknown {
 public:
  virtual void registerObjectConverter(const char* tag, const char* typeName,
                                       QorScriptConverter converter) = 0;
  virtual void registerPropertyConverter(const char* tag, const char* typeName,
                                         QorScriptConverter converter) = 0;
  // A new reference to a script object for any data object.
  virtual PyObject* toScriptObject(const char* tag, IQorDataObject* object) = 0;
};
