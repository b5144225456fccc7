#include "core/translate.h"

#include <cstdio>
#include <vector>

#include "core/component.h"
#include "core/iptr.h"
#include "core/listing.h"
#include "hostapi/iqorlog3.h"

// ---- translators ----

QorString* QorTranslatorBase::substituted(QorString* out, const char* key,
                                          const QorString* const* args) {
  lookUp(key, out);
  out->substitute(args);
  return out;
}

QorString* QorTranslatorBase::translate6(QorString* out, const char* key, const QorString* a1,
                                         const QorString* a2, const QorString* a3,
                                         const QorString* a4, const QorString* a5,
                                         const QorString* a6) {
  const QorString* args[] = {a1, a2, a3, a4, a5, a6, nullptr};
  return substituted(out, key, args);
}
QorString* QorTranslatorBase::translate5(QorString* out, const char* key, const QorString* a1,
                                         const QorString* a2, const QorString* a3,
                                         const QorString* a4, const QorString* a5) {
  const QorString* args[] = {a1, a2, a3, a4, a5, nullptr};
  return substituted(out, key, args);
}
QorString* QorTranslatorBase::translate4(QorString* out, const char* key, const QorString* a1,
                                         const QorString* a2, const QorString* a3,
                                         const QorString* a4) {
  const QorString* args[] = {a1, a2, a3, a4, nullptr};
  return substituted(out, key, args);
}
QorString* QorTranslatorBase::translate3(QorString* out, const char* key, const QorString* a1,
                                         const QorString* a2, const QorString* a3) {
  const QorString* args[] = {a1, a2, a3, nullptr};
  return substituted(out, key, args);
}
QorString* QorTranslatorBase::translate2(QorString* out, const char* key, const QorString* a1,
                                         const QorString* a2) {
  const QorString* args[] = {a1, a2, nullptr};
  return substituted(out, key, args);
}
QorString* QorTranslatorBase::translate1(QorString* out, const char* key, const QorString* a1) {
  const QorString* args[] = {a1, nullptr};
  return substituted(out, key, args);
}
QorString* QorTranslatorBase::translate0(QorString* out, const char* key) {
  lookUp(key, out);
  return out;
}

QorString* QorTranslatorBase::translateArray(QorString* out, const char* key, int64_t count,
                                             const QorString* args) {
  lookUp(key, out);
  for (int64_t n = 1; n <= count; ++n) {
    // "%" and the digits of n; each step searches the text the earlier steps left.
    char digits[24];
    int len = std::snprintf(digits, sizeof digits, "%%%lld", static_cast<long long>(n));
    std::vector<char16_t> pattern(digits, digits + len);
    const char16_t* text = out->wide();
    int32_t size = out->length();
    int32_t at = -1;
    // Scan from the start up to the one but last character.
    for (int32_t i = 0; text && i + len <= size && i < size - 1 && at < 0; ++i) {
      int32_t k = 0;
      while (k < len && text[i + k] == pattern[static_cast<size_t>(k)]) ++k;
      if (k == len) at = i;
    }
    if (at < 0) continue;
    const QorString& arg = args[n - 1];
    std::vector<char16_t> next(text, text + at);
    if (arg.wide()) next.insert(next.end(), arg.wide(), arg.wide() + arg.length());
    next.insert(next.end(), text + at + len, text + size);
    *out = QorString(next.data(), static_cast<int32_t>(next.size()));
  }
  return out;
}

void QorTrivialTranslator::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) {
    walkEnterClass("QorTrivialTranslator", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorTranslator", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "QorTrivialTranslator"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorTranslator"))
    *out = static_cast<IQorTranslator*>(this);
}

bool QorTrivialTranslator::lookUp(const char* key, QorString* out) {
  // An owned copy: substitution works only on text the string owns.
  *out = QorString(key);
  return true;
}

// ---- the translator in use ----

namespace qor {

namespace {

IPtr<IQorTranslator>& currentTranslator() {
  static auto* t = new IPtr<IQorTranslator>();  // lives to process end
  return *t;
}
bool translatorResolved = false;
void (*progressReset)() = nullptr;

void resolveTranslator() {
  SPtr<IQorTranslatorService> service("IQorTranslatorService");
  if (!service) return;
  IQorTranslator* t = service->translatorFor(&componentId);
  currentTranslator() = t;
  if (!t) {
    SPtr<IQorTranslator> fallback("IQorTranslator");
    currentTranslator() = fallback.get();
  }
  translatorResolved = true;
}

IQorLog3* log() {
  static SPtr<IQorLog3> log("IQorLog3");
  return log.get();
}

// `translated` is the message text already in the user's language.
[[noreturn]] void raiseClass(const char* pattern, const char* label, const QorString& translated) {
  if (progressReset) progressReset();
  QorString labelText(label);
  auto* e = new PlatformException{kErrClass, QorString()};
  tr(e->message, pattern, labelText, translated);
  if (IQorLog3* l = log()) {
    QorString line;
    tr(line, "[%1] %2", labelText, translated);
    l->logError(line);
  }
  throw e;
}

}  // namespace

IQorTranslator* translator() {
  IPtr<IQorTranslator>& current = currentTranslator();
  if (!current) {
    resolveTranslator();
    if (!current) current = new QorTrivialTranslator();
  } else if (!translatorResolved) {
    resolveTranslator();
    if (!current) current = new QorTrivialTranslator();
  }
  return current.get();
}

void logLine(const char* label, const QorString& text) {
  if (IQorLog3* l = log()) {
    QorString line;
    tr(line, "[%1] %2", QorString(label), text);
    l->logError(line);
  }
}

void setProgressResetHook(void (*hook)()) {
  progressReset = hook;
}

void classError(const char* label, const char* text) {
  QorString t;
  raiseClass("Error in class %1: %2.", label, tr(t, text));
}
void classError(const char* label, const QorString& text) {
  raiseClass("Error in class %1: %2.", label, text);
}
void internalClassError(const char* label, const char* text) {
  QorString t;
  raiseClass("Internal Error in class %1: %2.", label, tr(t, text));
}
void internalClassError(const char* label, const QorString& text) {
  raiseClass("Internal Error in class %1: %2.", label, text);
}

void raise(int32_t code, const QorString& message) {
  throw new PlatformException{code, message};
}

}  // namespace qor

QorString& tr(QorString& out, const char* key) {
  qor::translator()->translate0(&out, key);
  return out;
}
QorString& tr(QorString& out, const char* key, const QorString& a1) {
  qor::translator()->translate1(&out, key, &a1);
  return out;
}
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2) {
  qor::translator()->translate2(&out, key, &a1, &a2);
  return out;
}
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3) {
  qor::translator()->translate3(&out, key, &a1, &a2, &a3);
  return out;
}
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3, const QorString& a4) {
  qor::translator()->translate4(&out, key, &a1, &a2, &a3, &a4);
  return out;
}
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3, const QorString& a4, const QorString& a5) {
  qor::translator()->translate5(&out, key, &a1, &a2, &a3, &a4, &a5);
  return out;
}
QorString& tr(QorString& out, const char* key, const QorString& a1, const QorString& a2,
              const QorString& a3, const QorString& a4, const QorString& a5, const QorString& a6) {
  qor::translator()->translate6(&out, key, &a1, &a2, &a3, &a4, &a5, &a6);
  return out;
}
QorString& tr(QorString& out, const char* key, int64_t count, const QorString* args) {
  qor::translator()->translateArray(&out, key, count, args);
  return out;
}
