// A property change against a plain virtual call: setting an IntProperty that has one
// subscriber (two new value properties, the firing and a fresh argument object per change)
// and one with events off, each against a virtual setter that calls one virtual listener.
// The reference host provides the argument objects. Prints "ratio <name>: ours/peer = X"
// (time per iteration; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <string>

#include "core/locator.h"
#include "datamodel/intproperty.h"
#include "ratio_reporter.h"
#include "refhost/host.h"

namespace {

// The subscriber: counts deliveries.
class Counter : public IQorEventSubscriber {
 public:
  bool handleEvent(IQorDataEventSource*, const QorCString&, IQorDataEventArgs*) override {
    ++calls;
    return false;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Counter"; }
  int64_t calls = 0;
};

// The peer: a value behind a virtual setter that tells one virtual listener.
struct Listener {
  virtual ~Listener() = default;
  virtual void changed(int32_t oldValue, int32_t newValue) = 0;
};
struct CountingListener : Listener {
  void changed(int32_t oldValue, int32_t newValue) override { sum += newValue - oldValue; }
  int64_t sum = 0;
};
struct Holder {
  virtual ~Holder() = default;
  virtual void setValue(int32_t v) = 0;
};
struct PlainHolder : Holder {
  explicit PlainHolder(Listener* l) : listener(l) {}
  void setValue(int32_t v) override {
    const int32_t old = value;
    value = v;
    if (old != v) listener->changed(old, v);
  }
  int32_t value = 0;
  Listener* listener;
};

void setWithSubscriber(benchmark::State& state) {
  IPtr<IntProperty> p(new IntProperty("n", 0, false, true));
  Counter counter;
  p->subscribe("property_modified", &counter);
  int32_t v = 0;
  for (auto _ : state) p->setValue(++v);
  benchmark::DoNotOptimize(counter.calls);
}

void setEventsOff(benchmark::State& state) {
  IPtr<IntProperty> p(new IntProperty("n", 0, false, false));
  int32_t v = 0;
  for (auto _ : state) p->setValue(++v);
  benchmark::DoNotOptimize(p->getValue());
}

void virtualCall(benchmark::State& state) {
  CountingListener listener;
  PlainHolder plain(&listener);
  Holder* h = &plain;
  benchmark::DoNotOptimize(h);
  int32_t v = 0;
  for (auto _ : state) h->setValue(++v);
  benchmark::DoNotOptimize(listener.sum);
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  benchmark::RegisterBenchmark("set_one_subscriber/ours", setWithSubscriber);
  benchmark::RegisterBenchmark("set_events_off/ours", setEventsOff);
  benchmark::RegisterBenchmark("set/virtual", virtualCall);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printRatio("set_one_subscriber", "set_one_subscriber/ours", "set/virtual");
  reporter.printRatio("set_events_off", "set_events_off/ours", "set/virtual");
  return 0;
}
