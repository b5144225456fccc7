// The command that adds a macro activity with a piece of script text to the workflow that
// is open in the host.
#pragma once
#include <cstdint>

#include "datamodel/dataobject.h"

class IQorAppendAutomationNode : public virtual IQorUnknown {
 public:
  virtual void run() = 0;  // 0
};

// Properties, in this order: "ignore" (bool, false), "notes" (string, ""), "language"
// (int, 1: an index in the table of language names, 0 to 5) and "text" (string, "").
class AppendAutomationNode : public DataObject, public IQorAppendAutomationNode {
 public:
  AppendAutomationNode();

  // Answers "AppendAutomationNode", "IQorUnknown", "IQorAppendAutomationNode", then the
  // names of DataObject.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "AppendAutomationNode"; }

  // Adds one activity to the current workflow: ignore flag, notes, language name, text.
  // Raises a class error ("AutomationSupport") for an empty text, a language outside the
  // table, a missing workflow manager, no open workflow, or no new activity.
  void run() override;

  // The host's name of a language index; null outside 0 to 5.
  static const char16_t* languageName(int32_t language);
};
