#include "commands/runscript.h"

#include "core/iptr.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/stringproperty.h"
#include "hostapi/iqorautomation.h"

namespace {
constexpr const char* kLabel = "RunScript";
}  // namespace

RunScript::RunScript() {
  IPtr<IQorProperty> p(new StringProperty(QorString(u"scriptName"), QorString(), false, false));
  addProperty(p.get());
}

void RunScript::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("RunScript", out);
    walkAddInterface("IQorRunScript", out);
    Modifier::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "RunScript"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(this));
  else if (qorNameIs(name, "IQorRunScript"))
    *out = static_cast<IQorRunScript*>(&view_);
  else
    Modifier::queryInterface(name, out, reserved);
}

const QorString& RunScript::name() {
  static const QorString kName(u"RunScript");
  return kName;
}

int32_t RunScript::run() {
  const QorString scriptName = getString("scriptName");
  run(scriptName);
  return 0;
}

void RunScript::run(const QorString& scriptName) {
  if (scriptName.length() == 0) qor::classError(kLabel, "script name empty or not set.");
  SPtr<IScriptEngine> engine("IScriptEngine");
  if (!engine) qor::classError(kLabel, "Failed to load script engine.");
  engine->runScript(scriptName, QorString());
}
