#include "refhost/translator.h"

namespace refhost {

void TableTranslator::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "TableTranslator"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorTranslator"))
    *out = static_cast<IQorTranslator*>(this);
}

bool TableTranslator::lookUp(const char* key, QorString* out) {
  auto it = table_.find(key ? key : "");
  *out = QorString::fromUtf8(it == table_.end() ? (key ? key : "") : it->second.c_str());
  return true;
}

void TableTranslator::add(const std::string& key, const std::string& text) {
  table_[key] = text;
}

TableTranslatorService::TableTranslatorService() : translator_(new TableTranslator()) {
  translator_->addRef();  // kept for the process
  translator_->add("Error in class %1: %2.", "Fehler in Klasse %1: %2.");
  translator_->add("Internal Error in class %1: %2.", "Interner Fehler in Klasse %1: %2.");
  translator_->add("[%1] %2", "[%1] %2");
  translator_->add("Unable to get test service", "Testdienst nicht verfügbar");
}

void TableTranslatorService::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "TableTranslatorService"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorTranslatorService"))
    *out = static_cast<IQorTranslatorService*>(this);
}

IQorTranslator* TableTranslatorService::translatorFor(const GUID*) {
  ++requests_;
  return translator_;
}

}  // namespace refhost
