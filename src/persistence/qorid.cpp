#include "persistence/qorid.h"

#include <cstdio>
#include <cstring>

#include "persistence/binio.h"

QorID::QorID(uint32_t d1, uint16_t d2, uint16_t d3, const uint8_t (&d4)[8]) : GUID{} {
  Data1 = d1;
  Data2 = d2;
  Data3 = d3;
  std::memcpy(Data4, d4, 8);
}

bool QorID::isValid() const {
  return !(*this == QorID());
}

bool QorID::generate() {
  // The kernel's random source does not fail once the system is up: the platform call
  // retries until it has its bytes.
  static_cast<GUID&>(*this) = Platform::generateGuid();
  return true;
}

QorCString QorID::toString() const {
  char text[40];
  std::snprintf(text, sizeof text, "{%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}", Data1,
                Data2, Data3, Data4[0], Data4[1], Data4[2], Data4[3], Data4[4], Data4[5], Data4[6],
                Data4[7]);
  return QorCString(text);
}

// The value of `digits` hexadecimal characters at `text`, or false if one is not a digit.
static bool hexPart(const char* text, int digits, uint32_t* out) {
  uint32_t v = 0;
  for (int i = 0; i < digits; ++i) {
    char c = text[i];
    uint32_t d;
    if (c >= '0' && c <= '9')
      d = static_cast<uint32_t>(c - '0');
    else if (c >= 'a' && c <= 'f')
      d = static_cast<uint32_t>(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F')
      d = static_cast<uint32_t>(c - 'A' + 10);
    else
      return false;
    v = v << 4 | d;
  }
  *out = v;
  return true;
}

QorID QorID::fromString(const char* text) {
  if (!text || std::strlen(text) != 38) return QorID();
  // Fixed places: 1 (8 digits), 10 (4), 15 (4), 20 and 22 (2 each), 25 to 35 (2 each).
  static const int kBytePlaces[8] = {20, 22, 25, 27, 29, 31, 33, 35};
  QorID id;
  uint32_t v;
  if (!hexPart(text + 1, 8, &v)) return QorID();
  id.Data1 = v;
  if (!hexPart(text + 10, 4, &v)) return QorID();
  id.Data2 = static_cast<uint16_t>(v);
  if (!hexPart(text + 15, 4, &v)) return QorID();
  id.Data3 = static_cast<uint16_t>(v);
  for (int i = 0; i < 8; ++i) {
    if (!hexPart(text + kBytePlaces[i], 2, &v)) return QorID();
    id.Data4[i] = static_cast<uint8_t>(v);
  }
  return id;
}

QorCString QorID::toListString() const {
  char text[160];
  std::snprintf(
      text, sizeof text, "0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x", Data1,
      Data2, Data3, Data4[0], Data4[1], Data4[2], Data4[3], Data4[4], Data4[5], Data4[6], Data4[7]);
  return QorCString(text);
}

QorID QorID::fromListString(const char* text) {
  QorID id;
  if (!text) return id;
  char copy[151];
  std::strncpy(copy, text, 150);
  copy[150] = 0;
  char* piece = copy;
  for (int field = 0; field < 11; ++field) {
    if (!piece) break;
    char* comma = std::strchr(piece, ',');
    if (comma) *comma = 0;
    unsigned int v;
    if (std::sscanf(piece, "%x", &v) != 1) break;
    if (field == 0)
      id.Data1 = v;
    else if (field == 1)
      id.Data2 = static_cast<uint16_t>(v);
    else if (field == 2)
      id.Data3 = static_cast<uint16_t>(v);
    else
      id.Data4[field - 3] = static_cast<uint8_t>(v);
    piece = comma ? comma + 1 : nullptr;
  }
  return id;
}

bool QorID::write(BinOutput& out) const {
  uint8_t wire[16];
  qor::wire::storeBig(wire, &Data1, 1);
  qor::wire::storeBig(wire + 4, &Data2, 1);
  qor::wire::storeBig(wire + 6, &Data3, 1);
  std::memcpy(wire + 8, Data4, 8);
  return out.write(wire, uint64_t(16));
}

bool QorID::read(BinInput& in) {
  uint8_t wire[16];
  if (!in.read(wire, uint64_t(16))) return false;
  qor::wire::loadBig(&Data1, wire, 1);
  qor::wire::loadBig(&Data2, wire + 4, 1);
  qor::wire::loadBig(&Data3, wire + 6, 1);
  std::memcpy(Data4, wire + 8, 8);
  return true;
}
