// QorMaterialProperty: a surface material; typeName "qorapi.datamodel.Material". Every setValue
// fires, also with the value it already holds. Stored as four packed colour words (ambient,
// diffuse, specular, emission), transmission and shininess as bare floats, and the face as
// a bare signed 32-bit number.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qormaterial.h"

// The typed interface of a QorMaterialProperty, in slot order.
class IQorMaterialProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorMaterial& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorMaterial& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorMaterial& value) = 0;
};

class QorMaterialProperty
    : public ValueProperty<QorMaterialProperty, IQorMaterialProperty, QorMaterial> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "QorMaterialProperty";
  static constexpr const char* kInterfaceName = "IQorMaterialProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.Material";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static QorMaterial emptyValue() { return QorMaterial(); }
  // c52c6309-0ad9-4555-83e3-db275f29e857.
  static QorID classIdentifier() {
    return QorID(0xc52c6309, 0x0ad9, 0x4555, {0x83, 0xe3, 0xdb, 0x27, 0x5f, 0x29, 0xe8, 0x57});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const QorMaterial& v) {
    return w->write(v.ambient.packedWord()) && w->write(v.diffuse.packedWord()) &&
           w->write(v.specular.packedWord()) && w->write(v.emission.packedWord()) &&
           w->write(v.transmission) && w->write(v.shininess) && w->write(v.face);
  }
  static bool readValue(IQorDataModelReader* r, QorMaterial& v) {
    uint32_t words[4] = {0, 0, 0, 0};
    bool ok = true;
    for (uint32_t& word : words) ok = r->read(word) && ok;
    ok = r->read(v.transmission) && ok;
    ok = r->read(v.shininess) && ok;
    ok = r->read(v.face) && ok;
    v.ambient = QorColor::fromPackedWord(words[0]);
    v.diffuse = QorColor::fromPackedWord(words[1]);
    v.specular = QorColor::fromPackedWord(words[2]);
    v.emission = QorColor::fromPackedWord(words[3]);
    return ok;
  }

  void getValue(QorMaterial& out) override { out = value_; }
  // an empty text.
  void printValue(const QorString&, QorString& out) override { out = QorString(); }
};
