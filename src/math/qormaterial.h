// QorMaterial: a surface description of four colours and three more fields.
#pragma once
#include <cstdint>
#include <iosfwd>

#include "math/qorcolor.h"

// Ambient, diffuse, specular and emission colours, transmission, shininess and the face
// it applies to (0 front, 1 back, 2 both). A default material is all zeros, the alphas
// and the face included.
class QorMaterial {
 public:
  // Which faces a material applies to.
  enum Face : int32_t { kFront = 0, kBack = 1, kFrontAndBack = 2 };

  QorColor ambient{0.0f, 0.0f, 0.0f, 0.0f};
  QorColor diffuse{0.0f, 0.0f, 0.0f, 0.0f};
  QorColor specular{0.0f, 0.0f, 0.0f, 0.0f};
  QorColor emission{0.0f, 0.0f, 0.0f, 0.0f};
  float transmission = 0.0f;
  float shininess = 0.0f;
  int32_t face = 0;

  // All fields zero.
  constexpr QorMaterial() = default;
  // All seven fields in field order.
  constexpr QorMaterial(const QorColor& ambientColor, const QorColor& diffuseColor,
                        const QorColor& specularColor, const QorColor& emissionColor,
                        float transmissionValue, float shininessValue, int32_t faceValue)
      : ambient(ambientColor),
        diffuse(diffuseColor),
        specular(specularColor),
        emission(emissionColor),
        transmission(transmissionValue),
        shininess(shininessValue),
        face(faceValue) {}

  // A copy whose colours have red, green and blue times factor (in double, clamped to 0 to
  // 1) and alpha 1; transmission, shininess and face unchanged.
  QorMaterial scaled(double factor) const;
  // Sets the alpha of all four colours, and transmission, to value.
  void setAlpha(float value);
  // The opaque colour the surface shows under one light 40 degrees from its normal.
  QorColor flatColor() const;

  // The sixteen colour floats, transmission and shininess as floats, face as an integer. A
  // NaN anywhere makes two materials unequal, a material also with itself.
  bool operator==(const QorMaterial& o) const;
};

// One line per field: "ambient:\t" and the colour, ... "shininess:\t" and the value, each
// closed by a line end; then "face:\t\tFront", "face:\t\tBack" or "face:\t\tFront and
// Back" with no line end, or nothing for any other face.
std::ostream& operator<<(std::ostream& os, const QorMaterial& m);
