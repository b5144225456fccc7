// The reference host's random numbers, offered as "IQorRandom": a deterministic linear
// congruential generator, so that every run and every test sees the same sequence.
//
//   state' = state * 6364136223846793005 + 1442695040888963407   (mod 2^64)
//   next(range) = ((state' >> 32) * range) >> 32                 (0 when range < 1)
//
// The state advances once per call of next. seed(s) sets the state to s as an unsigned
// 32-bit value widened to 64 bits; the state at start is seed(1). A model of it in any
// language needs only these two lines (unsigned 64-bit arithmetic).
#pragma once
#include <atomic>
#include <cstdint>

#include "hostapi/iqorrandom.h"

namespace refhost {

class RefRandom : public IQorRandom {
 public:
  // The multiplier and increment of the generator.
  static constexpr uint64_t kMultiplier = 6364136223846793005ull;
  static constexpr uint64_t kIncrement = 1442695040888963407ull;
  // The seed in force at start.
  static constexpr int32_t kDefaultSeed = 1;

  // Answers "RefRandom", "IQorRandom" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  // "RefRandom".
  const char* className() override { return "RefRandom"; }

  // The host's own slots: nothing.
  void reserved0() override {}
  void reserved1() override {}
  void reserved2() override {}
  // Advances the state and maps its high 32 bits onto 0 .. range - 1.
  int32_t next(int32_t range) override;
  // Restarts the sequence; counted.
  void seed(int32_t seed) override;

  // The last seed given (kDefaultSeed before any) and how many times seed was called.
  int32_t lastSeed() const { return lastSeed_.load(); }
  int64_t seedCalls() const { return seedCalls_.load(); }

 private:
  std::atomic<uint64_t> state_{static_cast<uint32_t>(kDefaultSeed)};
  std::atomic<int32_t> lastSeed_{kDefaultSeed};
  std::atomic<int64_t> seedCalls_{0};
};

// The host's generator, made on first use and never destroyed.
RefRandom& random();

}  // namespace refhost
