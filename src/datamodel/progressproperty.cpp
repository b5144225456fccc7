#include "datamodel/progressproperty.h"

#include "datamodel/valueproperty.h"

ProgressProperty::ProgressProperty(const QorString& name, IProgress* value, bool readOnly,
                                   bool withEvents)
    : Property(name, readOnly, withEvents), value_(value) {}

ProgressProperty::ProgressProperty() : Property(false, true) {}

ProgressProperty::ProgressProperty(const ProgressProperty& other)
    : IQorUnknown(), Property(other), IProgressProperty(), value_(other.value_) {}

QorID ProgressProperty::classIdentifier() {
  return QorID(0xb5ec7610, 0x1abd, 0x4d96, {0x94, 0x9a, 0xb3, 0xc2, 0x22, 0x8a, 0xdb, 0x64});
}

void ProgressProperty::queryInterface(const char* name, void** out, uintptr_t reserved) {
  queryTyped(kClassName, this, kInterfaceName, static_cast<IProgressProperty*>(this), name, out,
             reserved);
}

void ProgressProperty::printValue(const QorString&, QorString& out) {
  out = QorString("Progress\n");
}

void ProgressProperty::assignFrom(IQorProperty* other) {
  if (!other) return;
  auto* same = qorQuery<ProgressProperty>(other, kClassName);
  if (!same) qor::assignMismatch(this, other);
  setValue(same->getValue());
}

void ProgressProperty::initialize(const QorString& name, IProgress* value, bool readOnly) {
  initializeBase(name, readOnly);
  value_ = value;
}

void ProgressProperty::setValue(IProgress* value) {
  IPtr<IProgress> old(value_);
  value_ = value;
  fireValueChanged<ProgressProperty, IProgress*>(old.get(), value);
}
