// Feeds arbitrary text to the GUID parser and to the interface query of the component.
// A parsed GUID must print back to the same text (modulo case and braces); an unknown
// interface name must leave the out pointer null.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/component.h"
#include "platform/guid.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  GUID g{};
  if (Platform::guidFromString(text.c_str(), &g)) {
    std::string back = Platform::guidToString(g);
    std::string in = text.c_str();
    if (in.size() == 38) in = in.substr(1, 36);
    for (auto& c : in) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (back != in) __builtin_trap();
  }
  static QorStaticBaseComponent component;
  void* out = &component;
  component.queryInterface(text.c_str(), &out, 0);
  const char* known[] = {"QorStaticBaseComponent", "IQorUnknown", "IQorComponent",
                         "IQorCompInternal"};
  bool isKnown = false;
  for (const char* k : known) isKnown |= std::strcmp(k, text.c_str()) == 0;
  if (isKnown != (out != nullptr)) __builtin_trap();
  return 0;
}
