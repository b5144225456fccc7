// The reference host's per-point colours ("IQorPointExtraInfo") and its maker of point
// arrays ("IRealPArrayFactory"). Colours are kept as three floats a point, from index 1;
// the registered object is a prototype whose clone is what an array holds.
#pragma once
#include <vector>

#include "hostapi/iqorpointextrainfo.h"
#include "hostapi/irealparrayfactory.h"

namespace refhost {

class RefPointExtraInfo : public IQorPointExtraInfo {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefPointExtraInfo"; }
  IQorPointExtraInfo* clone() override;
  bool hasData() override { return !rgb_.empty(); }
  bool allocate(int32_t size) override;
  void clear() override { rgb_.clear(); }
  bool setColor(int32_t index, const double* color) override;
  bool setColor(int32_t index, const float* color) override;
  void reserved6() override {}
  bool color(int32_t index, double* color) override;
  bool color(int32_t index, float* color) override;
  void reserved9() override {}
  int32_t size() override { return rgb_.empty() ? 0 : int32_t(rgb_.size() / 3) - 1; }
  bool equals(IQorPointExtraInfo* other, int32_t size) override;
  void move(int32_t to, int32_t from) override;
  void setSize(int32_t size) override;
  bool isEmpty() override { return rgb_.empty(); }
  void reserved15() override {}
  void reserved16() override {}
  void reserved17() override {}
  void reserved18() override {}
  void assign(IQorPointExtraInfo* other) override;
  void permute(const QorMM::Array<int>& indices, int32_t first, int32_t last) override;
  void materialise() override {}
  void trim() override { rgb_.shrink_to_fit(); }
  bool isValid() override { return true; }

 private:
  bool inside(int32_t index) const { return index >= 0 && size_t(index) * 3 + 3 <= rgb_.size(); }
  std::vector<float> rgb_;  // index 0 unused, as for the points
};

class RefRealPArrayFactory : public IRealPArrayFactory {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefRealPArrayFactory"; }
  void reserved0() override {}
  void reserved1() override {}
  void reserved2() override {}
  // A QorVectorArray.
  RealPArray* create(int32_t capacity) override;
  // A QorVectorArray for its magic, else null.
  RealPArray* create(uint32_t word, int32_t capacity) override;
};

RefPointExtraInfo& pointExtraInfo();
RefRealPArrayFactory& realPArrayFactory();

}  // namespace refhost
