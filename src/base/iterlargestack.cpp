#include "base/iterlargestack.h"

#include "persistence/binio.h"

namespace {

// Elements written or read per call, for the stacks that do not hold them in one block.
constexpr int32_t kChunk = 1024;

// The count at the head of a stream form, or false when it is negative or promises more
// elements than the stream has bytes left.
bool readCount(BinInput& in, int32_t* count) {
  int32_t n = 0;
  if (!in.read(&n, uint64_t{1})) return false;
  if (n < 0) return false;
  const int64_t left = in.size() - in.tell();
  if (int64_t{n} * 4 > left) return false;
  *count = n;
  return true;
}

// Writes elements 1..count, fetched through `get`, in chunks.
template <class Get>
bool writeElements(BinOutput& out, int32_t count, Get get) {
  int buffer[kChunk];
  for (int32_t i = 1; i <= count;) {
    int32_t n = 0;
    for (; n < kChunk && i <= count; ++n, ++i) buffer[n] = get(i);
    if (!out.write(buffer, static_cast<uint64_t>(n))) return false;
  }
  return true;
}

// Reads elements 1..count in chunks and hands each to `put`.
template <class Put>
bool readElements(BinInput& in, int32_t count, Put put) {
  int buffer[kChunk];
  for (int32_t i = 1; i <= count;) {
    const int32_t n = count - i + 1 < kChunk ? count - i + 1 : kChunk;
    if (!in.read(buffer, static_cast<uint64_t>(n))) return false;
    for (int32_t k = 0; k < n; ++k, ++i) put(i, buffer[k]);
  }
  return true;
}

}  // namespace

bool writeStack(BinOutput& out, const IterStack<int>& stack) {
  const int32_t n = stack.count();
  if (!out.write(n)) return false;
  return n <= 0 || out.write(stack.items() + 1, static_cast<uint64_t>(n));
}

bool writeStack(BinOutput& out, const IterBlockStack<int>& stack) {
  const int32_t n = stack.count();
  if (!out.write(n)) return false;
  return writeElements(out, n, [&](int32_t i) { return stack.get(i); });
}

bool writeStack(BinOutput& out, const IterLargeStack<int>& stack) {
  const int32_t n = stack.count();
  if (!out.write(n)) return false;
  return writeElements(out, n, [&](int32_t i) { return stack.get(i); });
}

bool readStack(BinInput& in, IterStack<int>& stack) {
  int32_t n = 0;
  if (!readCount(in, &n)) return false;
  IterStack<int> fresh(n);  // exactly n + 1 slots
  fresh.setCount(n);
  const bool ok = n == 0 || in.read(fresh.items() + 1, static_cast<uint64_t>(n));
  stack.swap(fresh);
  return ok;
}

bool readStack(BinInput& in, IterBlockStack<int>& stack) {
  int32_t n = 0;
  if (!readCount(in, &n)) return false;
  stack.resize(n + 2);
  stack.setCount(n);
  return readElements(in, n, [&](int32_t i, int v) { stack.at(i) = v; });
}

bool readStack(BinInput& in, IterLargeStack<int>& stack) {
  int32_t n = 0;
  if (!readCount(in, &n)) return false;
  stack.setCount(n);
  return readElements(in, n, [&](int32_t i, int v) { stack.set(i, v); });
}

void remapThrough(IterStack<int>& stack, const QorMM::Array<int>& array) {
  const int32_t n = stack.count();
  int* items = stack.items();
  for (int32_t i = 1; i <= n; ++i) {
    const int e = items[i];
    if (e < array.size()) {
      if (const int to = array.get(e)) items[i] = to;
    }
  }
}
