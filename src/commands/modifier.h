// Modifier: the base of script commands. A command is a property map whose properties are
// its inputs and outputs, with one operation, run. It is also a progress reporter, so a
// long command can report through the module's progress display.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "datamodel/progress.h"
#include "datamodel/propertymap.h"

// The command interface, in slot order.
class IQorModifier : public virtual IQorUnknown {
 public:
  // The command's own name field (not its "name" property).
  virtual const QorString& name() = 0;
  // Does the work; the base does nothing and answers 0.
  virtual int32_t run() = 0;
};

class Modifier : public PropertyMap, public IQorModifier, public ProgressCallbackBase {
 public:
  // Adds the routed read-write property "name" over the field. Properties fire no events.
  Modifier();

  // Answers "Modifier", "IQorUnknown", the names of PropertyMap, then "IQorModifier" and
  // "IQorProgressObject".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Modifier"; }

  const QorString& name() override { return name_; }
  int32_t run() override { return 0; }

  virtual int64_t id() { return id_; }
  // "[<class>] [id = <id>] Running" through the host's log.
  virtual void logRunning();
  // "[<class>] [id = <id>] Finished" through the host's log.
  virtual void logFinished();

 private:
  const QorString& nameValue() const { return name_; }
  void setNameValue(const QorString& value) { name_ = value; }

  QorString name_{u"None"};
  int64_t id_ = -1;
};
