// A translator service for the reference host's "translator" profile: it really
// translates, from a small German table, so that tests can see that every message goes
// through the translator.
#pragma once
#include <map>
#include <string>

#include "core/translate.h"

namespace refhost {

class TableTranslator : public QorTranslatorBase {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "TableTranslator"; }
  bool isTranslating() override { return true; }
  // The table's text for `key`; a key the table doesn't have stays as it is.
  bool lookUp(const char* key, QorString* out) override;
  void add(const std::string& key, const std::string& text);

 private:
  std::map<std::string, std::string> table_;
};

class TableTranslatorService : public IQorTranslatorService {
 public:
  TableTranslatorService();
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "TableTranslatorService"; }
  void reserved1() override {}
  IQorTranslator* translatorFor(const GUID* componentId) override;
  TableTranslator& translator() { return *translator_; }
  int requests() const { return requests_; }

 private:
  TableTranslator* translator_;
  int requests_ = 0;
};

}  // namespace refhost
