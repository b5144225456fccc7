#include "platform/guid.h"

#include <sys/random.h>

#include <cctype>
#include <cstdio>
#include <cstring>

namespace Platform {

bool guidEqual(const GUID& a, const GUID& b) {
  if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
  for (int i = 0; i < 8; ++i)
    if (a.Data4[i] != b.Data4[i]) return false;
  return true;
}

GUID generateGuid() {
  uint8_t raw[16];
  size_t got = 0;
  while (got < sizeof raw) {
    ssize_t n = getrandom(raw + got, sizeof raw - got, 0);
    if (n > 0) got += static_cast<size_t>(n);
  }
  GUID g;
  g.Data1 = uint32_t(raw[0]) << 24 | uint32_t(raw[1]) << 16 | uint32_t(raw[2]) << 8 | raw[3];
  g.Data2 = uint16_t(raw[4] << 8 | raw[5]);
  g.Data3 = uint16_t(((raw[6] << 8 | raw[7]) & 0x0FFF) | 0x4000);  // version 4
  std::memcpy(g.Data4, raw + 8, 8);
  g.Data4[0] = uint8_t((g.Data4[0] & 0x3F) | 0x80);  // RFC 4122 variant
  return g;
}

std::string guidToString(const GUID& g) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", g.Data1,
                g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4],
                g.Data4[5], g.Data4[6], g.Data4[7]);
  return buf;
}

static int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool guidFromString(const char* text, GUID* out) {
  if (!text || !out) return false;
  size_t len = std::strlen(text);
  if (len == 38 && text[0] == '{' && text[37] == '}') {
    ++text;
    len = 36;
  }
  if (len != 36) return false;
  uint8_t bytes[16];
  int b = 0;
  for (size_t i = 0; i < 36;) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i] != '-') return false;
      ++i;
      continue;
    }
    int hi = hexValue(text[i]), lo = hexValue(text[i + 1]);
    if (hi < 0 || lo < 0) return false;
    bytes[b++] = uint8_t(hi << 4 | lo);
    i += 2;
  }
  out->Data1 =
      uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
  out->Data2 = uint16_t(bytes[4] << 8 | bytes[5]);
  out->Data3 = uint16_t(bytes[6] << 8 | bytes[7]);
  std::memcpy(out->Data4, bytes + 8, 8);
  return true;
}

}  // namespace Platform
