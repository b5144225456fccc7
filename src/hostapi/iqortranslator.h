// Translation of the system's English message texts. The English text is the key.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"
#include "platform/guid.h"

class IQorTranslator : public virtual IQorUnknown {
 public:
  // Looks `key` up, then replaces %1, %2 ... in order, each in the text the earlier steps
  // left (so a placeholder inside an inserted argument is replaced too). %10 and up are
  // two-digit placeholders.
  virtual QorString* translateArray(QorString* out, const char* key, int64_t count,
                                    const QorString* args) = 0;
  // Look up, then one pass over the text replacing %1 ... %N.
  virtual QorString* translate6(QorString* out, const char* key, const QorString* a1,
                                const QorString* a2, const QorString* a3, const QorString* a4,
                                const QorString* a5, const QorString* a6) = 0;
  virtual QorString* translate5(QorString* out, const char* key, const QorString* a1,
                                const QorString* a2, const QorString* a3, const QorString* a4,
                                const QorString* a5) = 0;
  virtual QorString* translate4(QorString* out, const char* key, const QorString* a1,
                                const QorString* a2, const QorString* a3, const QorString* a4) = 0;
  virtual QorString* translate3(QorString* out, const char* key, const QorString* a1,
                                const QorString* a2, const QorString* a3) = 0;
  virtual QorString* translate2(QorString* out, const char* key, const QorString* a1,
                                const QorString* a2) = 0;
  virtual QorString* translate1(QorString* out, const char* key, const QorString* a1) = 0;
  virtual QorString* translate0(QorString* out, const char* key) = 0;
  virtual bool isTranslating() = 0;
  // The text for `key` into `out`, which then owns it. False when there is none.
  virtual bool lookUp(const char* key, QorString* out) = 0;
};

// The host's source of translators.
class IQorTranslatorService : public virtual IQorUnknown {
 public:
  virtual void reserved1() = 0;  // the host's; not called here
  // The translator for a component's texts, or null.
  virtual IQorTranslator* translatorFor(const GUID* componentId) = 0;
};
