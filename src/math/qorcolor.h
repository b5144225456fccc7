// QorColor: the colour value of the whole system, four floats from 0 to 1.
#pragma once
#include <cstdint>
#include <iosfwd>
#include <type_traits>

class BinOutput;
class BinInput;

// Red, green, blue and alpha as floats, each from 0.0 to 1.0. The default is an opaque mid
// grey, (0.5, 0.5, 0.5, 1.0).
class QorColor {
 public:
  float red = 0.5f;
  float green = 0.5f;
  float blue = 0.5f;
  float alpha = 1.0f;

  // The named colours, all opaque: QorColor::Named::red and so on.
  struct Named;

  // Opaque mid grey.
  constexpr QorColor() = default;
  // The colour (r, g, b, a).
  constexpr QorColor(float r, float g, float b, float a) : red(r), green(g), blue(b), alpha(a) {}

  // The colour with its lightness moved along a gamma curve of 1 / value that is symmetric
  // round 0.5 (0, 0.5 and 1 stay); hue and alpha are kept. Asserts "value > 0.0".
  QorColor gammaLightness(double value) const;
  // Each of red, green, blue as pow(pow(c, from), 1 / to), in double; alpha kept. Asserts
  // "from > 0.0" and "to > 0.0".
  QorColor gammaConvert(double from, double to) const;
  // 0.59 green + 0.3 red + 0.11 blue, in double.
  double luminance() const;
  // Opaque white when red + green + blue is below 1.0, else opaque black.
  QorColor contrastColor() const;

  // The colour as a packed word: red in bits 0 to 7, green 8 to 15, blue 16 to 23, alpha
  // 24 to 31, each channel the truncation of channel * 255 + 0.5, held to 0 to 255.
  uint32_t packedWord() const;
  // The colour of a packed word: each byte / 255.
  static QorColor fromPackedWord(uint32_t word);

  // Four floats on the stream, in field order, no magic; answers the stream's good.
  bool write(BinOutput& out) const;
  // Four floats from the stream; answers the stream's good.
  bool read(BinInput& in);

  // Compares the four floats (a NaN is unequal to everything).
  bool operator==(const QorColor& o) const {
    return red == o.red && green == o.green && blue == o.blue && alpha == o.alpha;
  }
};

// The named colours, all with alpha 1.
struct QorColor::Named {
  static constexpr QorColor blue{0.0f, 0.0f, 1.0f, 1.0f};
  static constexpr QorColor green{0.0f, 1.0f, 0.0f, 1.0f};
  static constexpr QorColor orange{1.0f, 0.5f, 0.0f, 1.0f};
  static constexpr QorColor red{1.0f, 0.0f, 0.0f, 1.0f};
  static constexpr QorColor yellow{1.0f, 1.0f, 0.0f, 1.0f};
};

static_assert(std::is_standard_layout_v<QorColor> && sizeof(QorColor) == 4 * sizeof(float),
              "QorColor is stored as four floats in field order");
static_assert(std::is_trivially_copyable_v<QorColor>);

// For each field in order, a blank and the value in the stream's format; no end of line.
std::ostream& operator<<(std::ostream& os, const QorColor& c);
