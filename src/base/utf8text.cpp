#include "base/utf8text.h"

namespace qor {

void appendUtf8(std::string& s, uint32_t c) {
  if (c < 0x80) {
    s += static_cast<char>(c);
  } else if (c < 0x800) {
    s += static_cast<char>(0xC0 | (c >> 6));
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    s += static_cast<char>(0xE0 | (c >> 12));
    s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    s += static_cast<char>(0xF0 | (c >> 18));
    s += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::string standardUtf8(const char16_t* text) {
  std::string s;
  for (const char16_t* p = text; p && *p; ++p) {
    uint32_t c = *p;
    if (c >= 0xD800 && c <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (p[1] - 0xDC00);
      ++p;
    }
    appendUtf8(s, c);
  }
  return s;
}

QorString wideOfStandardUtf8(const char* text) {
  if (!text) return QorString();
  std::u16string out;
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  while (*s) {
    uint32_t c = *s;
    int extra = c < 0x80 ? 0 : c < 0xC2 ? -1 : c < 0xE0 ? 1 : c < 0xF0 ? 2 : c < 0xF5 ? 3 : -1;
    uint32_t cp = extra > 0 ? (c & (0x3F >> extra)) : c;
    int k = 1;
    for (; extra > 0 && k <= extra; ++k) {
      if ((s[k] & 0xC0) != 0x80) break;
      cp = (cp << 6) | (s[k] & 0x3F);
    }
    bool ok = extra == 0 || (extra > 0 && k == extra + 1 && !(extra == 2 && cp < 0x800) &&
                             !(extra == 3 && (cp < 0x10000 || cp > 0x10FFFF)));
    if (!ok) {
      out += u'\uFFFD';
      ++s;
      continue;
    }
    s += extra + 1;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out += static_cast<char16_t>(0xD800 | (cp >> 10));
      out += static_cast<char16_t>(0xDC00 | (cp & 0x3FF));
    } else {
      out += static_cast<char16_t>(cp);
    }
  }
  return QorString(out.c_str(), static_cast<int32_t>(out.size()));
}

}  // namespace qor
