#include "refhost/random.h"

#include "refhost/componentmanager.h"

namespace refhost {

void RefRandom::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefRandom") || qorNameIs(name, "IQorRandom"))
    *out = static_cast<IQorRandom*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

int32_t RefRandom::next(int32_t range) {
  uint64_t s = state_.load(std::memory_order_relaxed);
  uint64_t n;
  do {
    n = s * kMultiplier + kIncrement;
  } while (!state_.compare_exchange_weak(s, n, std::memory_order_relaxed));
  if (range < 1) return 0;
  return static_cast<int32_t>(((n >> 32) * static_cast<uint64_t>(range)) >> 32);
}

void RefRandom::seed(int32_t seed) {
  state_.store(static_cast<uint32_t>(seed));
  lastSeed_.store(seed);
  seedCalls_.fetch_add(1);
}

RefRandom& random() {
  return immortal<RefRandom>();
}

}  // namespace refhost
