#include "commands/modifier.h"

#include "core/iptr.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/messagerouter.h"
#include "datamodel/routedproperty.h"
#include "datamodel/stringproperty.h"

Modifier::Modifier() {
  // Commands never register with the database and their properties fire no events.
  setFlags(static_cast<uint8_t>(flags() & ~(kDynamicEvents | kRegisters)));
  using Name = RoutedPropertyTemplate<QorString, StringProperty, Modifier>;
  using Get = QorRetMsgRtr_const<Modifier, QorString, void*, void*, void*, void*, const QorString&>;
  using Set = QorSingleMsgRtr<Modifier, QorString, const QorString&>;
  IPtr<IQorProperty> name(new Name(QorString(u"name"), false, new Get(this, &Modifier::nameValue),
                                   new Set(this, &Modifier::setNameValue)));
  addProperty(name.get());
}

void Modifier::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Modifier", out);
    PropertyMap::queryInterface(nullptr, out, reserved);
    walkAddInterface("IQorModifier", out);
    walkAddInterface("IQorProgressObject", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Modifier"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(this));
  else if (qorNameIs(name, "IQorModifier"))
    *out = static_cast<IQorModifier*>(this);
  else if (qorNameIs(name, "IQorProgressObject"))
    *out = static_cast<IQorProgressObject*>(this);
  else
    PropertyMap::queryInterface(name, out, reserved);
}

namespace {
void logState(Modifier* m, const char* state) {
  QorString text;
  tr(text, "[id = %1] %2", QorString(static_cast<long long>(m->id())), QorString(state));
  qor::logLine(m->className(), text);
}
}  // namespace

void Modifier::logRunning() {
  logState(this, "Running");
}

void Modifier::logFinished() {
  logState(this, "Finished");
}
