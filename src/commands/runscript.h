// The command that hands a script file to the host's script engine.
#pragma once
#include <cstdint>

#include "datamodel/dataobject.h"

class IQorRunScript : public virtual IQorUnknown {
 public:
  virtual const QorString& name() = 0;                // 0
  virtual void run(const QorString& scriptName) = 0;  // 1
  virtual void run() = 0;                             // 2
};

// One property: "scriptName" (string, ""), the script's file path.
class RunScript : public DataObject, public IQorRunScript {
 public:
  RunScript();

  // Answers "RunScript", "IQorUnknown", "IQorRunScript", then the names of DataObject.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RunScript"; }

  // The class name, "RunScript".
  const QorString& name() override;
  // Runs the script the property "scriptName" names.
  void run() override;
  // Runs `scriptName` through the host's engine with an empty extra text; the property is
  // left as it is. Raises a class error ("RunScript") for an empty name or no engine.
  void run(const QorString& scriptName) override;
};
