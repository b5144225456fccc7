// QorID: the 16-byte identifier of a stored class, in the usual GUID layout, with its wire
// form and its two text forms.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "platform/guid.h"

class BinInput;
class BinOutput;

// A class identifier. It holds the four GUID fields, so a QorID passes wherever a GUID is
// expected (createInstance takes it as it is).
struct QorID : GUID {
  // The null id: all fields zero.
  QorID() : GUID{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}} {}
  QorID(const GUID& g) : GUID(g) {}  // NOLINT: an id is a GUID
  QorID(uint32_t d1, uint16_t d2, uint16_t d3, const uint8_t (&d4)[8]);

  // Whether the id differs from the null id.
  bool isValid() const;
  // Fills the id from the platform's GUID creation; false, with the id unchanged, if that
  // fails.
  bool generate();

  // Braced form, 38 characters, lower case: "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}".
  QorCString toString() const;
  // Parses the braced form. A text of exactly 38 characters is read part by part at the
  // fixed places, each part hexadecimal; the separators and braces are not looked at. Any
  // other length, a part that is not hexadecimal, or a null text gives the null id.
  static QorID fromString(const char* text);

  // List form: "0x%x, 0x%x, ..." with the three fields and then the eight bytes.
  QorCString toListString() const;
  // Reads the first 150 characters of the list form, split at ",", each piece scanned as
  // "%x". Reading stops at the first piece that is missing or does not scan: the fields
  // read so far stay, the others are 0. A null text gives the null id.
  static QorID fromListString(const char* text);

  // Wire form, 16 bytes: first field 32-bit big-endian, second and third 16-bit
  // big-endian, then the eight bytes as they stand.
  bool write(BinOutput& out) const;
  // Reads the wire form; false if the stream ran short (the id is then undefined).
  bool read(BinInput& in);

  bool operator==(const QorID& o) const { return Platform::guidEqual(*this, o); }
};
