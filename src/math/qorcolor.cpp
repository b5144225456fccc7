#include "math/qorcolor.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "base/wexrealloc.h"
#include "math/qorhlscolor.h"
#include "math/qormaterial.h"
#include "persistence/binio.h"

namespace {
// One channel of a packed word: the truncation of c * 255 + 0.5, held to a byte.
uint32_t packChannel(float c) {
  float v = c * 255.0f + 0.5f;
  if (!(v > 0.0f)) return 0;
  if (v >= 255.0f) return 255;
  return static_cast<uint32_t>(v);
}

// c clamped to 0 to 1 and stored as a float.
float unitFloat(double c) {
  return static_cast<float>(std::clamp(c, 0.0, 1.0));
}
}  // namespace

// ---- QorColor ----

QorColor QorColor::gammaLightness(double value) const {
  QOR_ASSERT(value > 0.0);
  QorHlsColor hls(*this);
  hls.toHls();
  double l = hls.lightness;
  double p = 1.0 / value;
  double nl =
      l > 0.5 ? std::pow(2.0 * l - 1.0, p) * 0.5 + 0.5 : 0.5 - std::pow(1.0 - 2.0 * l, p) * 0.5;
  hls.lightness = static_cast<float>(nl);
  hls.toRgb();
  return {hls.red, hls.green, hls.blue, alpha};
}

QorColor QorColor::gammaConvert(double from, double to) const {
  QOR_ASSERT(from > 0.0);
  QOR_ASSERT(to > 0.0);
  auto conv = [&](float c) {
    return static_cast<float>(std::pow(std::pow(static_cast<double>(c), from), 1.0 / to));
  };
  return {conv(red), conv(green), conv(blue), alpha};
}

double QorColor::luminance() const {
  return 0.59 * static_cast<double>(green) + 0.3 * static_cast<double>(red) +
         0.11 * static_cast<double>(blue);
}

QorColor QorColor::contrastColor() const {
  if (red + green + blue < 1.0f) return {1.0f, 1.0f, 1.0f, 1.0f};
  return {0.0f, 0.0f, 0.0f, 1.0f};
}

uint32_t QorColor::packedWord() const {
  return packChannel(red) | packChannel(green) << 8 | packChannel(blue) << 16 |
         packChannel(alpha) << 24;
}

QorColor QorColor::fromPackedWord(uint32_t word) {
  auto channel = [word](int shift) { return static_cast<float>((word >> shift) & 0xFF) / 255.0f; };
  return {channel(0), channel(8), channel(16), channel(24)};
}

bool QorColor::write(BinOutput& out) const {
  float v[4] = {red, green, blue, alpha};
  return out.write(v, 4) && out.good();
}

bool QorColor::read(BinInput& in) {
  float v[4];
  if (!in.read(v, 4)) return false;
  *this = QorColor(v[0], v[1], v[2], v[3]);
  return in.good();
}

std::ostream& operator<<(std::ostream& os, const QorColor& c) {
  return os << ' ' << c.red << ' ' << c.green << ' ' << c.blue << ' ' << c.alpha;
}

// ---- QorMaterial ----

QorMaterial QorMaterial::scaled(double factor) const {
  auto scale = [factor](const QorColor& c) {
    return QorColor(unitFloat(c.red * factor), unitFloat(c.green * factor),
                    unitFloat(c.blue * factor), 1.0f);
  };
  return QorMaterial(scale(ambient), scale(diffuse), scale(specular), scale(emission), transmission,
                     shininess, face);
}

void QorMaterial::setAlpha(float value) {
  ambient.alpha = value;
  diffuse.alpha = value;
  specular.alpha = value;
  emission.alpha = value;
  transmission = value;
}

QorColor QorMaterial::flatColor() const {
  const double cos40 = std::cos(0.6981317007977318);
  auto channel = [cos40](float d, float s, float a, float e) {
    float lit = d + s;
    float base = a + e;
    return unitFloat((lit * cos40 + base) * 0.8);
  };
  return {channel(diffuse.red, specular.red, ambient.red, emission.red),
          channel(diffuse.green, specular.green, ambient.green, emission.green),
          channel(diffuse.blue, specular.blue, ambient.blue, emission.blue), 1.0f};
}

bool QorMaterial::operator==(const QorMaterial& o) const {
  return ambient == o.ambient && diffuse == o.diffuse && specular == o.specular &&
         emission == o.emission && transmission == o.transmission && shininess == o.shininess &&
         face == o.face;
}

std::ostream& operator<<(std::ostream& os, const QorMaterial& m) {
  os << "ambient:\t" << m.ambient << '\n';
  os << "diffuse:\t" << m.diffuse << '\n';
  os << "specular:\t" << m.specular << '\n';
  os << "emission:\t" << m.emission << '\n';
  os << "transmission:\t" << m.transmission << '\n';
  os << "shininess:\t" << m.shininess << '\n';
  switch (m.face) {
    case QorMaterial::kFront:
      os << "face:\t\tFront";
      break;
    case QorMaterial::kBack:
      os << "face:\t\tBack";
      break;
    case QorMaterial::kFrontAndBack:
      os << "face:\t\tFront and Back";
      break;
    default:
      break;
  }
  return os;
}

// ---- QorHlsColor ----

namespace {
// The hue of an achromatic colour.
constexpr float kAchromaticHue = 0.6666667f;

// One channel of toRgb at hue h.
float hueChannel(float m1, float m2, float h) {
  float k = (m2 - m1) * 6.0f;
  if (h >= 1.0f)
    h -= 1.0f;
  else if (h < 0.0f)
    h += 1.0f;
  if (h < 0.16666667f) return k * h + m1;
  if (h < 0.5f) return m2;
  if (h < 0.6666667f) return k * (0.6666667f - h) + m1;
  return m1;
}
}  // namespace

void QorHlsColor::toHls() {
  float mx = std::max(red, std::max(green, blue));
  float mn = std::min(red, std::min(green, blue));
  lightness = (mn + mx) * 0.5f;
  if (mx == mn) {
    saturation = 0.0f;
    hue = kAchromaticHue;
    return;
  }
  float d = mx - mn;
  saturation = lightness <= 0.5f ? d / (mn + mx) : d / (2.0f - mx - mn);
  float h;
  if (red == mx)
    h = (green - blue) / d;
  else if (green == mx)
    h = (blue - red) / d + 2.0f;
  else
    h = (red - green) / d + 4.0f;
  h *= 60.0f;
  if (h < 0.0f)
    h += 360.0f;
  else if (h >= 360.0f)
    h -= 360.0f;
  hue = h / 360.0f;
}

void QorHlsColor::toRgb() {
  if (saturation == 0.0f) {
    red = green = blue = lightness;
    return;
  }
  float m2 = lightness <= 0.5f ? (saturation + 1.0f) * lightness
                               : lightness + saturation - lightness * saturation;
  float m1 = lightness + lightness - m2;
  red = hueChannel(m1, m2, hue + 0.33333334f);
  green = hueChannel(m1, m2, hue);
  blue = hueChannel(m1, m2, hue - 0.33333334f);
}

bool QorHlsColor::write(BinOutput& out) const {
  bool ok = BinMagic(kMagicId, 0).write(out);
  float v[3] = {red, green, blue};
  ok = out.write(v, 3) && ok;
  return ok && out.good();
}

bool QorHlsColor::read(BinInput& in) {
  BinMagic magic(kMagicId, 0);
  if (!magic.read(in) || magic.version() > 0) return false;
  float v[3];
  if (!in.read(v, 3)) return false;
  red = v[0];
  green = v[1];
  blue = v[2];
  toHls();
  return in.good();
}

std::ostream& operator<<(std::ostream& os, const QorHlsColor& c) {
  return os << ' ' << c.red << ' ' << c.green << ' ' << c.blue << ' ' << c.hue << ' '
            << c.saturation << ' ' << c.lightness;
}
