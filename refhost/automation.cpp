#include "refhost/automation.h"

#include "core/translate.h"
#include "refhost/componentmanager.h"
#include "refhost/document.h"
#include "refhost/host.h"
#include "refhost/services.h"
#include "refhost/strsupport.h"

namespace refhost {

namespace {
template <class Iface, class Self>
void answerOne(Self* self, const char* iface, const char* name, void** out) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, iface) || qorNameIs(name, self->className()))
    *out = static_cast<Iface*>(self);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(self);
}
}  // namespace

void RefMacroActivity::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorMacroActivity>(this, "IQorMacroActivity", name, out);
}

void RefMacroActivity::setIgnore(uint8_t value) {
  ignore = value != 0;
  callLog().add("activity.setIgnore " + std::to_string(value));
}

void RefMacroActivity::setNotes(const QorString& value) {
  notes = logText(value);
  callLog().add("activity.setNotes " + notes);
}

void RefMacroActivity::setText(const QorString& value) {
  text = logText(value);
  callLog().add("activity.setText " + text);
}

void RefMacroActivity::setLanguage(const QorString& value) {
  language = logText(value);
  callLog().add("activity.setLanguage " + language);
}

void RefWorkflow::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorWorkflow>(this, "IQorWorkflow", name, out);
}

IQorMacroActivity* RefWorkflow::newMacroActivity() {
  if (failCreation) return nullptr;
  activities.emplace_back(new RefMacroActivity());
  return activities.back().get();
}

RefWorkflowManager::RefWorkflowManager() : workflow_(new RefWorkflow()) {}

void RefWorkflowManager::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorWorkflowManager>(this, "IQorWorkflowManager", name, out);
}

IQorWorkflow* RefWorkflowManager::currentWorkflow() {
  return open ? workflow_.get() : nullptr;
}

void RefScriptEngine::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IScriptEngine>(this, "IScriptEngine", name, out);
}

std::string RefScriptEngine::pathOf(const std::string& name) {
  if (!name.empty() && name[0] == '/') return name;
  MemoryDataStore& store = dataStore();
  const char* key = "Directories/Scripts Directory";
  std::string dir = store.hasKey(key) ? logText(store.getString(key, 0)) : std::string();
  if (dir.empty()) return name;
  return dir.back() == '/' ? dir + name : dir + "/" + name;
}

void RefScriptEngine::runScript(const QorString& scriptName, const QorString& extra) {
  const std::string name = logText(scriptName);
  callLog().add("engine.runScript " + name + " [" + logText(extra) + "]");
  if (!runner_) return;
  const std::string path = pathOf(name);
  std::string error;
  ++depth_;
  const bool ok = runner_(path, logText(extra), &error);
  --depth_;
  if (!ok) {
    QorString message;
    qor::classError("RunScript", tr(message, "script %1 failed: %2", utf8ToWide(path.c_str()),
                                    utf8ToWide(error.c_str())));
  }
}

RefWorkflowManager& workflowManager() {
  return immortal<RefWorkflowManager>();
}

RefScriptEngine& scriptEngine() {
  return immortal<RefScriptEngine>();
}

void registerAutomation(RefComponentManager& m) {
  m.registerService("IQorWorkflowManager", static_cast<IQorWorkflowManager*>(&workflowManager()));
  m.registerService("IScriptEngine", static_cast<IScriptEngine*>(&scriptEngine()));
}

}  // namespace refhost
