// QorHlsColor: a colour that also carries its hue, lightness and saturation.
#pragma once
#include <iosfwd>

#include "math/qorcolor.h"

class BinOutput;
class BinInput;

// Red, green, blue, hue, saturation and lightness, all floats. hue runs from 0 to 1 (the
// angle / 360); an achromatic colour has hue 0.6666667 and saturation 0. The two halves
// are kept in step only by toHls and toRgb.
class QorHlsColor {
 public:
  // The stored mark: id 478132, version 0.
  static constexpr int32_t kMagicId = 478132;

  float red = 0.0f;
  float green = 0.0f;
  float blue = 0.0f;
  float hue = 0.0f;
  float saturation = 0.0f;
  float lightness = 0.0f;

  // All six 0.
  constexpr QorHlsColor() = default;
  // Red, green and blue of c; hue, saturation and lightness 0 until toHls.
  explicit constexpr QorHlsColor(const QorColor& c) : red(c.red), green(c.green), blue(c.blue) {}

  // Computes hue, saturation and lightness from red, green and blue, in float.
  void toHls();
  // Computes red, green and blue from hue, saturation and lightness, in float.
  void toRgb();
  // Red, green and blue as an opaque-by-choice colour with the given alpha.
  QorColor toColor(float alpha = 1.0f) const { return {red, green, blue, alpha}; }

  // The mark (478132, 0), then red, green, blue as floats; answers the stream's good.
  bool write(BinOutput& out) const;
  // Reads the mark: another id, or a version above 0, answers false with nothing more read
  // and this colour unchanged. Else reads the three floats, applies toHls and answers the
  // stream's good.
  bool read(BinInput& in);
};

// " red green blue hue saturation lightness" in the stream's format.
std::ostream& operator<<(std::ostream& os, const QorHlsColor& c);
