// Automation services of the reference host: one open workflow that keeps its macro
// activities in order, and a script engine that hands script files to a runner the script
// layer installs.
#pragma once
#include <string>
#include <vector>

#include "core/iptr.h"
#include "hostapi/iqorautomation.h"

namespace refhost {

class RefComponentManager;

// What an activity was given; each setter also writes its call to the call log.
class RefMacroActivity : public IQorMacroActivity {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMacroActivity"; }
  void setIgnore(uint8_t ignore) override;
  void setNotes(const QorString& notes) override;
  void setText(const QorString& text) override;
  void setLanguage(const QorString& name) override;

  bool ignore = false;
  std::string notes, text, language;
};

class RefWorkflow : public IQorWorkflow {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefWorkflow"; }
  // Null while told to fail.
  IQorMacroActivity* newMacroActivity() override;

  std::vector<IPtr<RefMacroActivity>> activities;
  bool failCreation = false;
};

// The workflow is open from the start; closing it makes currentWorkflow answer null.
class RefWorkflowManager : public IQorWorkflowManager {
 public:
  RefWorkflowManager();
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefWorkflowManager"; }
  IQorWorkflow* currentWorkflow() override;

  RefWorkflow& workflow() { return *workflow_; }
  bool open = true;

 private:
  IPtr<RefWorkflow> workflow_;
};

// Runs a script file: the name as given when absolute, else under the settings value
// "Directories/Scripts Directory" (the current directory when unset). A runner that
// reports failure turns into a class error "RunScript" naming the script and the failure.
class RefScriptEngine : public IScriptEngine {
 public:
  // Runs the file at `path`; false with `error` set when the script failed.
  using Runner = bool (*)(const std::string& path, const std::string& extra, std::string* error);

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefScriptEngine"; }
  void runScript(const QorString& scriptName, const QorString& extra) override;
  bool isActive() override { return depth_ > 0; }

  void setRunner(Runner runner) { runner_ = runner; }
  // The file a name resolves to.
  std::string pathOf(const std::string& name);

 private:
  Runner runner_ = nullptr;
  int depth_ = 0;
};

RefWorkflowManager& workflowManager();
RefScriptEngine& scriptEngine();
void registerAutomation(RefComponentManager& m);

}  // namespace refhost
