// Standard UTF-8 for the system's boundaries with other software (files, XML, names handed
// across from scripts): a surrogate pair is one four-byte sequence. QorString's own UTF-8
// form encodes each 16-bit unit by itself and its decoder refuses four-byte sequences; use
// these where the other side expects standard UTF-8.
#pragma once
#include <cstdint>
#include <string>

#include "base/qorstring.h"

namespace qor {
// Appends one code point (at most U+10FFFF) as UTF-8.
void appendUtf8(std::string& out, uint32_t codePoint);
// 16-bit text up to its terminator as UTF-8; a lone surrogate is encoded by itself. Null
// gives "".
std::string standardUtf8(const char16_t* text);
// Decodes UTF-8 into 16-bit units, characters above U+FFFF as surrogate pairs; a byte that
// starts no valid sequence (overlong forms included) becomes U+FFFD. Null gives a null
// string.
QorString wideOfStandardUtf8(const char* text);
}  // namespace qor
