// Shared helpers of the bit vector tests: stream bytes, hex building, and a plain model.
#pragma once
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "base/bitvector.h"
#include "persistence/memstream.h"

namespace bits_test {

using Bytes = std::vector<uint8_t>;

// Big-endian bytes of 32-bit words, written out by hand in the tests.
inline Bytes be(std::initializer_list<uint32_t> words) {
  Bytes b;
  for (uint32_t w : words)
    for (int s = 24; s >= 0; s -= 8) b.push_back(static_cast<uint8_t>(w >> s));
  return b;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// What a writer puts on a memory stream of the given version.
template <class V>
Bytes written(const V& v, int32_t version = 0) {
  BinOutputMemory out;
  out.setVersion(version);
  if (!v.write(out) || !out.flush()) return {};
  return Bytes(out.data(), out.data() + out.size());
}

// Set bits of a vector in ascending order, walked with nextSet.
template <class V>
std::vector<int32_t> members(const V& v) {
  std::vector<int32_t> m;
  for (int32_t i = v.nextSet(-1); i >= 0; i = v.nextSet(i)) m.push_back(i);
  return m;
}

// Set bits of a model.
inline std::vector<int32_t> members(const std::vector<bool>& model) {
  std::vector<int32_t> m;
  for (size_t i = 0; i < model.size(); ++i)
    if (model[i]) m.push_back(static_cast<int32_t>(i));
  return m;
}

}  // namespace bits_test
