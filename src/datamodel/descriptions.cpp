#include "datamodel/descriptions.h"

Descriptions& Descriptions::instance() {
  static auto* table = new Descriptions();  // lives to process end
  return *table;
}

Descriptions::Descriptions() : table_(17) {}

Descriptions::~Descriptions() = default;

void Descriptions::store(const QorString& key, const QorString& text) {
  // Owned copies: a borrowed key or text may go away after the call.
  table_[QorString(key.text())] = QorString(text.text());
}

const QorString& Descriptions::lookup(const QorString& key) {
  return table_.get(key);
}

bool Descriptions::contains(const QorString& key) {
  return table_.contains(key);
}
