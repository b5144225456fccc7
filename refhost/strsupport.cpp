#include "refhost/strsupport.h"

#include <locale.h>
#include <wctype.h>

#include <string>

#include "base/qorstring.h"

namespace refhost {

namespace {
bool isSurrogate(char16_t u) {
  return u >= 0xD800 && u <= 0xDFFF;
}
}  // namespace

RefStrSupport::RefStrSupport() : locale_(newlocale(LC_ALL_MASK, "C.UTF-8", nullptr)) {}

void RefStrSupport::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefStrSupport"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorStrSupport"))
    *out = static_cast<IQorStrSupport*>(this);
}

void RefStrSupport::count(int slot) {
  calls_[slot].fetch_add(1, std::memory_order_relaxed);
}

int RefStrSupport::calls(int slot) const {
  if (slot < 0 || slot > 9) return 0;
  return calls_[slot].load(std::memory_order_relaxed);
}

char16_t RefStrSupport::lower(char16_t u) const {
  if (isSurrogate(u)) return u;
  wint_t r = locale_ ? towlower_l(u, static_cast<locale_t>(locale_)) : towlower(u);
  return r <= 0xFFFF ? static_cast<char16_t>(r) : u;
}

char16_t RefStrSupport::upper(char16_t u) const {
  if (isSurrogate(u)) return u;
  wint_t r = locale_ ? towupper_l(u, static_cast<locale_t>(locale_)) : towupper(u);
  return r <= 0xFFFF ? static_cast<char16_t>(r) : u;
}

void RefStrSupport::toNarrow(const char16_t* text, QorCString& out) {
  count(1);
  out = QorCString(wideToUtf8(text).c_str());
}

int32_t RefStrSupport::compare(const char16_t* a, const char16_t* b) {
  count(2);
  while (*a && *a == *b) ++a, ++b;
  return (*a > *b) - (*a < *b);
}

bool RefStrSupport::isSpace(char16_t unit) {
  count(3);
  return locale_ ? iswspace_l(unit, static_cast<locale_t>(locale_)) != 0 : iswspace(unit) != 0;
}

bool RefStrSupport::isDigit(char16_t unit) {
  count(4);
  return locale_ ? iswdigit_l(unit, static_cast<locale_t>(locale_)) != 0 : iswdigit(unit) != 0;
}

bool RefStrSupport::contains(const char16_t* text, const char16_t* needle, bool caseSensitive) {
  count(5);
  if (!*needle) return true;
  for (const char16_t* s = text; *s; ++s) {
    const char16_t* a = s;
    const char16_t* b = needle;
    if (caseSensitive)
      while (*a && *a == *b) ++a, ++b;
    else
      while (*a && lower(*a) == lower(*b)) ++a, ++b;
    if (!*b) return true;
  }
  return false;
}

void RefStrSupport::stripWhitespace(char16_t* text) {
  count(6);
  char16_t* d = text;
  for (const char16_t* p = text; *p; ++p)
    if (!(locale_ ? iswspace_l(*p, static_cast<locale_t>(locale_)) : iswspace(*p))) *d++ = *p;
  *d = 0;
}

void RefStrSupport::simplify(char16_t* text) {
  count(7);
  auto space = [this](char16_t u) {
    return (locale_ ? iswspace_l(u, static_cast<locale_t>(locale_)) : iswspace(u)) != 0;
  };
  char16_t* d = text;
  const char16_t* p = text;
  while (*p && space(*p)) ++p;
  while (*p) {
    if (space(*p)) {
      while (*p && space(*p)) ++p;
      if (*p) *d++ = u' ';
    } else {
      *d++ = *p++;
    }
  }
  *d = 0;
}

void RefStrSupport::toLower(char16_t* text) {
  count(8);
  for (char16_t* p = text; *p; ++p) *p = lower(*p);
}

void RefStrSupport::toUpper(char16_t* text) {
  count(9);
  for (char16_t* p = text; *p; ++p) *p = upper(*p);
}

}  // namespace refhost
