// BinInput over arbitrary bytes. The input's first byte picks how many bytes the source hands
// out per raw read; the rest is both the program (pairs of op and argument bytes, taken from
// the front) and the source. Every value read is checked against a decoding of the source
// written here, and tell must always be the exact position of the next byte.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "persistence/memstream.h"

namespace {

class Trickle : public BinInputMemory {
 public:
  Trickle(const uint8_t* d, size_t n, uint64_t step) : BinInputMemory(d, n), step_(step) {}
  uint64_t readRaw(void* b, uint64_t n) override {
    return BinInputMemory::readRaw(b, n < step_ ? n : step_);
  }

 private:
  uint64_t step_;
};

void check(bool ok) {
  if (!ok) __builtin_trap();
}

// The value of `wire` bytes at src as T, by the stream's rules, decoded independently.
template <class T>
T model(const uint8_t* src, uint32_t wire) {
  unsigned __int128 u = 0;
  for (uint32_t i = 0; i < wire; ++i) u = u << 8 | src[i];
  bool negative = std::is_signed_v<T> && (src[0] & 0x80);
  uint64_t bits = static_cast<uint64_t>(u);
  if (negative && wire < 8) bits |= ~uint64_t(0) << (8 * wire);
  T out;
  if constexpr (sizeof(T) == 8) {
    std::memcpy(&out, &bits, 8);
  } else if constexpr (sizeof(T) == 4) {
    uint32_t b = static_cast<uint32_t>(bits);
    std::memcpy(&out, &b, 4);
  } else if constexpr (sizeof(T) == 2) {
    uint16_t b = static_cast<uint16_t>(bits);
    std::memcpy(&out, &b, 2);
  } else {
    uint8_t b = static_cast<uint8_t>(bits);
    std::memcpy(&out, &b, 1);
  }
  return out;
}

template <class T>
void readSome(BinInput& in, const uint8_t* src, int64_t size, uint8_t arg) {
  uint32_t wire = 1 + arg % sizeof(T);
  if (!std::is_integral_v<T>) wire = sizeof(T);
  uint64_t count = 1 + (arg >> 3) % 300;
  int64_t start = in.tell();
  T values[300];
  std::memset(values, 0, sizeof values);
  bool ok = in.read(values, wire, count);
  int64_t whole = (size - start) / static_cast<int64_t>(wire);
  check(ok == (whole >= static_cast<int64_t>(count)));
  uint64_t converted = ok ? count : static_cast<uint64_t>(whole < 0 ? 0 : whole);
  for (uint64_t i = 0; i < converted; ++i) {
    T expected = model<T>(src + start + static_cast<int64_t>(i * wire), wire);
    check(std::memcmp(&values[i], &expected, sizeof(T)) == 0);
  }
  if (ok) check(in.tell() == start + static_cast<int64_t>(count * wire));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  uint64_t step = 1 + data[0] % 40;
  const uint8_t* src = data + 1;
  int64_t n = static_cast<int64_t>(size - 1);
  Trickle in(src, static_cast<size_t>(n), step);
  check(in.size() == n);
  for (int64_t pc = 0; pc + 1 < n && pc < 64; pc += 2) {
    uint8_t op = src[pc], arg = src[pc + 1];
    int64_t before = in.tell();
    switch (op % 12) {
      case 0:
        readSome<int8_t>(in, src, n, arg);
        break;
      case 1:
        readSome<uint16_t>(in, src, n, arg);
        break;
      case 2:
        readSome<int16_t>(in, src, n, arg);
        break;
      case 3:
        readSome<int32_t>(in, src, n, arg);
        break;
      case 4:
        readSome<uint32_t>(in, src, n, arg);
        break;
      case 5:
        readSome<int64_t>(in, src, n, arg);
        break;
      case 6:
        readSome<uint64_t>(in, src, n, arg);
        break;
      case 7:
        readSome<double>(in, src, n, arg);
        break;
      case 8:
        readSome<float>(in, src, n, arg);
        break;
      case 9: {
        int32_t v = in.peekInt();
        check(in.tell() == before);
        if (before + 4 <= n) check(v == model<int32_t>(src + before, 4));
        break;
      }
      case 10: {
        const uint8_t* p = nullptr;
        uint64_t got = in.readBuffered(&p, arg * 5u);
        check(got <= arg * 5u && before + static_cast<int64_t>(got) <= n);
        check(got == 0 || std::memcmp(p, src + before, got) == 0);
        break;
      }
      default:
        check(in.seek(arg % (n + 1), true));
        check(in.tell() == arg % (n + 1));
        break;
    }
    check(in.tell() >= 0 && in.tell() <= n);
  }
  return 0;
}
