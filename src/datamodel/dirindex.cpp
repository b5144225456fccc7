#include "datamodel/dirindex.h"

#include "core/listing.h"
#include "core/translate.h"

namespace {
constexpr const char* kVersionText = "version must have a value of 0 or 1.";
}  // namespace

DirIndex::DirIndex(int32_t index, int32_t version) {
  if (version > 1) qor::classError("DirIndex", kVersionText);
  value_ = pack(index, version);
}

void DirIndex::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("DirIndex", out);
    walkAddInterface("IQorDirIndex", out);
    Primitive::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "DirIndex"))
    *out = this;
  else if (qorNameIs(name, "IQorDirIndex"))
    *out = static_cast<IQorDirIndex*>(this);
  else
    Primitive::queryInterface(name, out, reserved);
}

void DirIndex::setIndex(int32_t index) {
  value_ = pack(index, version());
}

void DirIndex::setVersion(int32_t version) {
  if (version != 0 && version != 1) qor::classError("DirIndex", kVersionText);
  value_ = (value_ & ~1) | version;
}

IQorDirIndex* DirIndex::flipped() const {
  return new DirIndex(value_ ^ 1);
}
