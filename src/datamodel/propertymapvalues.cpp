// The setters and getters of the property map for the math and colour value classes, the
// text helpers of their printValue, and the documentation table's special values.
#include "datamodel/propertymapvalues.h"

#include "core/translate.h"
#include "datamodel/propertymap.h"
#include "datamodel/qorboundsproperty.h"
#include "datamodel/qorcolorproperty.h"
#include "datamodel/qormaterialproperty.h"
#include "datamodel/qorquaternionproperty.h"
#include "datamodel/qorrectproperty.h"
#include "datamodel/transform3dproperty.h"
#include "datamodel/vector2dproperty.h"
#include "datamodel/vector2fproperty.h"
#include "datamodel/vector3dproperty.h"

namespace {
// The largest magnitude printed as a number: the largest float, 0x7EFFFFFF, widened.
constexpr double kShownLimit = 1.7014117331926443e38;
}  // namespace

namespace qor {

QorString componentText(double value) {
  if (value > kShownLimit) return QorString("+INF");
  if (value < -kShownLimit) return QorString("-INF");
  return QorString(value, QorNumberFormat(".2"));
}

void matrixText(const QorMatrix& m, QorString& out) {
  const QorNumberFormat twoDecimals(".2");
  out = QorString();
  for (int r = 0; r < 4; ++r) {
    QorString row;
    tr(row, "[%1 %2 %3 %4]\n", QorString(m.at(r, 0), twoDecimals),
       QorString(m.at(r, 1), twoDecimals), QorString(m.at(r, 2), twoDecimals),
       QorString(m.at(r, 3), twoDecimals));
    out += row;
  }
}

bool tableValueOfMathProperty(IQorProperty* property, QorString& out) {
  if (auto* b = qorQuery<QorBoundsProperty>(property, QorBoundsProperty::kClassName)) {
    if (!(b->value().minX > b->value().maxX)) return false;
    out = QorString("empty");
    return true;
  }
  if (auto* t = qorQuery<Transform3DProperty>(property, Transform3DProperty::kClassName)) {
    if (!t->value().isIdentity()) return false;
    out = QorString("identity");
    return true;
  }
  return false;
}

}  // namespace qor

void PropertyMap::set(const char* name, const QorRect& value) {
  setTyped<QorRectProperty>(name, value);
}
void PropertyMap::set(const char* name, const QorQuaternion& value) {
  setTyped<QorQuaternionProperty>(name, value);
}
void PropertyMap::set(const char* name, const QorMaterial& value) {
  setTyped<QorMaterialProperty>(name, value);
}
void PropertyMap::set(const char* name, const QorColor& value) {
  setTyped<QorColorProperty>(name, value);
}
void PropertyMap::set(const char* name, const QorBounds& value) {
  setTyped<QorBoundsProperty>(name, value);
}
void PropertyMap::set(const char* name, const Transform3D& value) {
  setTyped<Transform3DProperty>(name, value);
}
void PropertyMap::set(const char* name, const Vector2F& value) {
  setTyped<Vector2FProperty>(name, value);
}
void PropertyMap::set(const char* name, const Vector2D& value) {
  setTyped<Vector2DProperty>(name, value);
}
void PropertyMap::set(const char* name, const QorVector& value) {
  setTyped<Vector3DProperty>(name, value);
}

QorVector PropertyMap::getVector(const char* name) {
  QorVector value(0.0, 0.0, 0.0);
  if (auto* p = typedProperty<Vector3DProperty>(name, "Vector3D")) p->getValue(value);
  return value;
}

Vector2D PropertyMap::getVector2D(const char* name) {
  Vector2D value(0.0, 0.0);
  if (auto* p = typedProperty<Vector2DProperty>(name, "Vector2D")) p->getValue(value);
  return value;
}

Vector2F PropertyMap::getVector2F(const char* name) {
  Vector2F value(0.0f, 0.0f);
  if (auto* p = typedProperty<Vector2FProperty>(name, "Vector2F")) p->getValue(value);
  return value;
}

Transform3D PropertyMap::getTransform3D(const char* name) {
  Transform3D value = QorMatrix::identity();
  if (auto* p = typedProperty<Transform3DProperty>(name, "QorMatrix")) p->getValue(value);
  return value;
}

QorBounds PropertyMap::getBounds(const char* name) {
  // The empty box of the largest float on each axis.
  QorBounds value(kShownLimit, kShownLimit, kShownLimit, -kShownLimit, -kShownLimit, -kShownLimit);
  if (auto* p = typedProperty<QorBoundsProperty>(name, "QorBounds")) p->getValue(value);
  return value;
}

QorColor PropertyMap::getColor(const char* name) {
  QorColor value(0.5f, 0.5f, 0.5f, 1.0f);
  if (auto* p = typedProperty<QorColorProperty>(name, "QorColor")) p->getValue(value);
  return value;
}

QorMaterial PropertyMap::getMaterial(const char* name) {
  QorMaterial value(QorColor(0.2f, 0.2f, 0.2f, 1.0f), QorColor(0.8f, 0.8f, 0.8f, 1.0f),
                    QorColor(0.0f, 0.0f, 0.0f, 1.0f), QorColor(0.0f, 0.0f, 0.0f, 1.0f), 1.0f, 0.0f,
                    QorMaterial::kFrontAndBack);
  if (auto* p = typedProperty<QorMaterialProperty>(name, "QorMaterial")) p->getValue(value);
  return value;
}

QorQuaternion PropertyMap::getQuaternion(const char* name) {
  QorQuaternion value(0.0, 0.0, 0.0, 0.0);
  if (auto* p = typedProperty<QorQuaternionProperty>(name, "QorQuaternion")) p->getValue(value);
  return value;
}

QorRect PropertyMap::getRect(const char* name) {
  QorRect value;
  if (auto* p = typedProperty<QorRectProperty>(name, "QorRect")) p->getValue(value);
  return value;
}
