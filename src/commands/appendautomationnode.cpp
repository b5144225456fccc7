#include "commands/appendautomationnode.h"

#include "core/iptr.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/boolproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/stringproperty.h"
#include "hostapi/iqorautomation.h"

namespace {
constexpr const char* kLabel = "AutomationSupport";

template <class P, class V>
void addOwn(DataObject* self, const char16_t* name, V value) {
  IPtr<IQorProperty> p(new P(QorString(name), value, false, true));
  self->addProperty(p.get());
}
}  // namespace

AppendAutomationNode::AppendAutomationNode() {
  addOwn<BoolProperty>(this, u"ignore", false);
  addOwn<StringProperty>(this, u"notes", QorString());
  addOwn<IntProperty>(this, u"language", int32_t{1});
  addOwn<StringProperty>(this, u"text", QorString());
}

void AppendAutomationNode::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("AppendAutomationNode", out);
    walkAddInterface("IQorAppendAutomationNode", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "AppendAutomationNode"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<DataObject*>(this));
  else if (qorNameIs(name, "IQorAppendAutomationNode"))
    *out = static_cast<IQorAppendAutomationNode*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

const char16_t* AppendAutomationNode::languageName(int32_t language) {
  static const char16_t* const names[] = {u"JavaScript", u"Python",  u"Python3",
                                          u"V8",         u"JScript", u"VBScript"};
  return language >= 0 && language < 6 ? names[language] : nullptr;
}

void AppendAutomationNode::run() {
  const bool ignore = getBool("ignore");
  const QorString notes = getString("notes");
  const int32_t language = getInt("language");
  const QorString text = getString("text");
  QorString message;
  if (text.length() == 0)
    qor::classError(kLabel, tr(message, "variable %1 cannot be empty.", QorString(u"text")));
  const char16_t* languageText = languageName(language);
  if (!languageText)
    qor::classError(kLabel, tr(message, "language %1 is not one of 0 to 5", QorString(language)));
  SPtr<IQorWorkflowManager> manager("IQorWorkflowManager");
  if (!manager) qor::classError(kLabel, "Workflow manager could not be loaded.");
  IQorWorkflow* workflow = manager->currentWorkflow();
  if (!workflow) qor::classError(kLabel, "Current workflow could not be loaded.");
  IQorMacroActivity* activity = workflow->newMacroActivity();
  if (!activity) qor::classError(kLabel, "Error creating new macro activity.");
  activity->setIgnore(ignore ? 1 : 0);
  activity->setNotes(notes);
  activity->setLanguage(QorString(languageText));
  activity->setText(text);
}
