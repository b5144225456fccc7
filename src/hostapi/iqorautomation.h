// Host services of automation: the workflow of activities the user has open, and the
// engine that runs script files. Slot order as declared.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"

// One activity of a workflow that runs a piece of script text.
class IQorMacroActivity : public virtual IQorUnknown {
 public:
  virtual void setIgnore(uint8_t ignore) = 0;           // 0
  virtual void setNotes(const QorString& notes) = 0;    // 1
  virtual void setText(const QorString& text) = 0;      // 2
  virtual void setLanguage(const QorString& name) = 0;  // 3
};

class IQorWorkflow : public virtual IQorUnknown {
 public:
  // 0: a new activity, already in the workflow and owned by it; null when none was made.
  virtual IQorMacroActivity* newMacroActivity() = 0;
};

class IQorWorkflowManager : public virtual IQorUnknown {
 public:
  // 0: the open workflow, borrowed; null when none is open.
  virtual IQorWorkflow* currentWorkflow() = 0;
};

class IScriptEngine : public virtual IQorUnknown {
 public:
  // 0: runs the script `scriptName`; `extra` is passed on to the script as the engine sees fit.
  virtual void runScript(const QorString& scriptName, const QorString& extra) = 0;
  // 1: whether a script started by runScript is running now.
  virtual bool isActive() = 0;
};
