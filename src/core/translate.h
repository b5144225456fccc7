// Message translation and the raising of errors, shared by every layer above the base
// types.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/platformexception.h"
#include "hostapi/iqortranslator.h"

// The translateN operations written once: look up, then substitute in one pass; and the
// sequential replacement of translateArray. A translator supplies lookUp and isTranslating.
class QorTranslatorBase : public IQorTranslator {
 public:
  QorString* translateArray(QorString* out, const char* key, int64_t count,
                            const QorString* args) override;
  QorString* translate6(QorString* out, const char* key, const QorString* a1, const QorString* a2,
                        const QorString* a3, const QorString* a4, const QorString* a5,
                        const QorString* a6) override;
  QorString* translate5(QorString* out, const char* key, const QorString* a1, const QorString* a2,
                        const QorString* a3, const QorString* a4, const QorString* a5) override;
  QorString* translate4(QorString* out, const char* key, const QorString* a1, const QorString* a2,
                        const QorString* a3, const QorString* a4) override;
  QorString* translate3(QorString* out, const char* key, const QorString* a1, const QorString* a2,
                        const QorString* a3) override;
  QorString* translate2(QorString* out, const char* key, const QorString* a1,
                        const QorString* a2) override;
  QorString* translate1(QorString* out, const char* key, const QorString* a1) override;
  QorString* translate0(QorString* out, const char* key) override;

 private:
  QorString* substituted(QorString* out, const char* key, const QorString* const* args);
};

// Gives every key back as it is: the English text.
class QorTrivialTranslator : public QorTranslatorBase {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorTrivialTranslator"; }
  bool isTranslating() override { return false; }
  bool lookUp(const char* key, QorString* out) override;
};

namespace qor {

// The translator in use: the host's once its service answers, the trivial one until then.
IQorTranslator* translator();

// Called first when a class error is raised, to reset the running progress; set by the
// progress singleton when it exists.
void setProgressResetHook(void (*hook)());

// Raises a class error: progress reset, the exception "Error in class %1: %2." (code 6),
// the log line "[%1] %2" through the host's IQorLog3, then the throw.
[[noreturn]] void classError(const char* label, const char* text);
// With a text already translated and formatted.
[[noreturn]] void classError(const char* label, const QorString& text);
// The same with "Internal Error in class %1: %2.", for what no script input should reach.
[[noreturn]] void internalClassError(const char* label, const char* text);
// With a text already translated and formatted.
[[noreturn]] void internalClassError(const char* label, const QorString& text);
// Writes the log line "[%1] %2" through the host's IQorLog3, without raising.
void logLine(const char* label, const QorString& text);
// A property error (codes 1 to 3): the text alone, no log line, no progress reset.
[[noreturn]] void raise(int32_t code, const QorString& message);

}  // namespace qor

// Translate `key` into `out` and replace its placeholders with the arguments.
QorString& tr(QorString& out, const char* key);
QorString& tr(QorString& out, const char* key, const QorString& a1);
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2);
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3);
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3, const QorString& a4);
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3, const QorString& a4, const QorString& a5);
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3, const QorString& a4, const QorString& a5, const QorString& a6);
QorString& tr(QorString& out, const char* key, int64_t count, const QorString* args);
