// Colours, materials and HLS colours: defaults, the float-exact HLS conversions against a
// double model written here, the gamma curves, material arithmetic and text forms.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>
#include <vector>

#include "math/qorcolor.h"
#include "math/qorhlscolor.h"
#include "math/qormaterial.h"
#include "testkit.h"

namespace {

// The textbook HLS conversion in double (hue as a fraction of a turn), with the system's
// achromatic hue of 2/3.
void modelHls(double r, double g, double b, double* h, double* l, double* s) {
  double mx = std::max({r, g, b}), mn = std::min({r, g, b});
  *l = (mx + mn) / 2;
  if (mx == mn) {
    *h = 2.0 / 3;
    *s = 0;
    return;
  }
  double d = mx - mn;
  *s = *l <= 0.5 ? d / (mx + mn) : d / (2 - mx - mn);
  double hh = r == mx ? (g - b) / d : g == mx ? 2 + (b - r) / d : 4 + (r - g) / d;
  *h = std::fmod(hh / 6 + 1, 1.0);
}

QorHlsColor hlsOf(float r, float g, float b) {
  QorHlsColor c(QorColor(r, g, b, 1));
  c.toHls();
  return c;
}

TEST(QorColor, DefaultsNamedColoursLuminanceAndContrast) {
  // Contrast turns black from a sum of 1.0; the packed word of a stored colour property
  // holds each channel to a byte.
  EXPECT_EQ(
      std::vector<QorColor>(
          {QorColor(), QorColor::Named::orange, QorColor(0.5f, 0.5f, 0, 1).contrastColor(),
           QorColor(0.4f, 0.5f, 0, 1).contrastColor(), QorColor::fromPackedWord(0x80FF0000u)}),
      std::vector<QorColor>({{0.5f, 0.5f, 0.5f, 1},
                             {1, 0.5f, 0, 1},
                             {0, 0, 0, 1},
                             {1, 1, 1, 1},
                             {0, 0, 1, 128 / 255.0f}}));
  EXPECT_NEAR(QorColor(1, 1, 1, 1).luminance(), 1.0, 1e-15);
  EXPECT_EQ(QorColor(0.25f, 0.5f, 1, 0).luminance(), 0.59 * 0.5 + 0.3 * 0.25 + 0.11 * 1.0);
  EXPECT_EQ(std::vector<uint32_t>({QorColor(1, 0.5f, 0, 1).packedWord(),
                                   QorColor(-0.2f, 2, 0.001f, 0.998f).packedWord()}),
            std::vector<uint32_t>({0xFF0080FF, 0xFE00FF00}));

  std::ostringstream os;
  os << QorColor(1, 0.25f, 0, 0.5f);
  EXPECT_EQ(os.str(), " 1 0.25 0 0.5");
}

TEST(QorHlsColor, KnownColoursAndTheDoubleModel) {
  // Grey takes the achromatic hue 2/3; rose's negative h wraps; sky is 220 degrees.
  QorHlsColor grey = hlsOf(0.3f, 0.3f, 0.3f), sky = hlsOf(0.25f, 0.5f, 1);
  EXPECT_EQ(std::vector<float>({grey.hue, grey.saturation, grey.lightness, hlsOf(1, 0, 0).hue,
                                sky.saturation, sky.lightness}),
            std::vector<float>({0.6666667f, 0, 0.3f, 0, 1, 0.625f}));
  EXPECT_THAT(
      std::vector<float>({hlsOf(0, 1, 0).hue, hlsOf(0, 0, 1).hue, hlsOf(1, 0, 0.5f).hue, sky.hue}),
      testing::Pointwise(testing::FloatEq(),
                         std::vector<float>({0.33333334f, 0.6666667f, 0.9166667f, 220.0f / 360})));

  std::mt19937_64 rng(1);
  std::uniform_int_distribution<int> byte(0, 255);
  for (int i = 0; i < 5000; ++i) {
    float r = byte(rng) / 255.0f, g = byte(rng) / 255.0f, b = byte(rng) / 255.0f;
    if (i % 7 == 0) g = r;  // ties between channels
    QorHlsColor c = hlsOf(r, g, b);
    double h, l, s;
    modelHls(r, g, b, &h, &l, &s);
    EXPECT_NEAR(c.lightness, l, 1e-6);
    EXPECT_NEAR(c.saturation, s, 2e-6);
    EXPECT_NEAR(std::fmod(c.hue - h + 1.5, 1.0) - 0.5, 0.0, 2e-6) << r << " " << g << " " << b;
    c.red = c.green = c.blue = -1;
    c.toRgb();
    EXPECT_LT(std::max({std::fabs(c.red - r), std::fabs(c.green - g), std::fabs(c.blue - b)}),
              2e-6);
  }
}

TEST(QorColor, GammaCurvesAndTheirAssertions) {
  QorColor grey(0.75f, 0.75f, 0.75f, 0.4f);
  QorColor lighter = grey.gammaLightness(2.0);
  EXPECT_NEAR(lighter.red, std::pow(0.5, 0.5) * 0.5 + 0.5, 1e-6);
  EXPECT_EQ(lighter.alpha, 0.4f);
  QorColor darkGrey(0.25f, 0.25f, 0.25f, 1);
  EXPECT_NEAR(darkGrey.gammaLightness(2.0).green, 0.5 - std::pow(0.5, 0.5) * 0.5, 1e-6);
  QorColor c(0.9f, 0.2f, 0.4f, 0.7f);
  QorColor same = c.gammaLightness(1.0);
  EXPECT_LT(std::max({std::fabs(same.red - c.red), std::fabs(same.green - c.green),
                      std::fabs(same.blue - c.blue)}),
            2e-6);

  QorColor round = c.gammaConvert(2.2, 2.2);
  EXPECT_NEAR(round.green, c.green, 1e-6);
  EXPECT_FLOAT_EQ(c.gammaConvert(1.0, 2.0).red, std::sqrt(0.9f));
  EXPECT_EQ(round.alpha, 0.7f);

  testkit::AssertRecorder recorder;
  c.gammaLightness(0.0);
  c.gammaConvert(-1.0, 0.0);
  EXPECT_EQ(recorder.exprs(), (std::vector<std::string>{"value > 0.0", "from > 0.0", "to > 0.0"}));
}

TEST(QorMaterial, DefaultsArithmeticEqualityAndText) {
  QorMaterial zero;
  EXPECT_TRUE(zero.ambient == QorColor(0, 0, 0, 0) && zero.face == 0) << "not the colour default";

  QorMaterial m(QorColor(0.2f, 0.2f, 0.2f, 1), QorColor(0.6f, 0.3f, 0.8f, 0.5f),
                QorColor(0, 0, 0, 1), QorColor(0.1f, 0, 0, 0.25f), 0.5f, 12, 2);
  QorMaterial twice = m.scaled(2.0);
  EXPECT_EQ(twice.diffuse, QorColor(1.0f, 0.6f, 1.0f, 1.0f)) << "clamped, alpha 1";
  EXPECT_TRUE(twice.emission.alpha == 1 && twice.shininess == 12 && twice.face == 2);
  EXPECT_EQ(m.scaled(-1.0).diffuse, QorColor(0, 0, 0, 1));
  QorMaterial a = m;
  a.setAlpha(0.25f);
  EXPECT_TRUE(a.transmission == 0.25f && a.specular.alpha == 0.25f && a != m && a == a);

  QorColor flat = m.flatColor();
  const double c40 = std::cos(0.6981317007977318);
  EXPECT_EQ(std::vector<float>({flat.red, flat.green, flat.alpha}),
            std::vector<float>({static_cast<float>((0.6f * c40 + (0.2f + 0.1f)) * 0.8),
                                static_cast<float>((0.3f * c40 + 0.2f) * 0.8), 1.0f}));
  QorMaterial bright(QorColor(1, 1, 1, 1), QorColor(1, 1, 1, 1), QorColor(), QorColor(), 0, 0, 0);
  EXPECT_EQ(bright.flatColor().blue, 1.0f) << "clamped";

  QorMaterial withNan = m;
  withNan.shininess = std::nanf("");
  EXPECT_FALSE(withNan == withNan);

  std::ostringstream os;
  os << zero;
  EXPECT_EQ(os.str(),
            "ambient:\t 0 0 0 0\ndiffuse:\t 0 0 0 0\nspecular:\t 0 0 0 0\nemission:\t 0 0 0 0\n"
            "transmission:\t0\nshininess:\t0\nface:\t\tFront");
  std::ostringstream both, none;
  both << m;
  EXPECT_NE(both.str().find("shininess:\t12\nface:\t\tFront and Back"), std::string::npos);
  m.face = 3;
  none << m;
  EXPECT_TRUE(none.str().ends_with("shininess:\t12\n")) << "face 3 prints no last line";
}

}  // namespace
