// Globally unique identifiers: the 16-byte class and component identity.
#pragma once
#include <cstdint>
#include <string>

// Memory image of a GUID: Data1..Data3 little-endian on this host, Data4 as bytes.
struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};

namespace Platform {

// Field-by-field equality, never a memory compare (padding-free, but stated).
bool guidEqual(const GUID& a, const GUID& b);

// A fresh random (version 4) GUID from the kernel's random source.
GUID generateGuid();

// "5D68CF6F-4618-40B4-AE7D-34B224BB02BF": upper-case hex, no braces.
std::string guidToString(const GUID& g);

// Parses the 36-character form, with or without braces; false on any other text.
bool guidFromString(const char* text, GUID* out);

}  // namespace Platform

inline bool operator==(const GUID& a, const GUID& b) {
  return Platform::guidEqual(a, b);
}
