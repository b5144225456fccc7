// A property change against a plain virtual call. Rows:
//   set_no_listener       an IntProperty of a DataObject that nobody listens to (the object
//                         hears its properties but has no subscriber of its own)
//   set_events_off        an IntProperty with events off
//   set_one_subscriber    an IntProperty with one C++ subscriber (two new value properties
//                         and the firing per change)
// against virtual setters: one that stores only, and one that tells one virtual listener.
// The reference host provides the argument objects. Prints "ratio <name>: ours/peer = X"
// (time per iteration; below 1 means ours is faster) and "ns <name>: X" for our rows.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "core/locator.h"
#include "datamodel/dataobject.h"
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

// The peers: a value behind a virtual setter that stores it, or also tells one virtual
// listener.
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
  int32_t value = 0;
};
struct PlainHolder : Holder {
  void setValue(int32_t v) override { value = v; }
};
struct TellingHolder : Holder {
  explicit TellingHolder(Listener* l) : listener(l) {}
  void setValue(int32_t v) override {
    const int32_t old = value;
    value = v;
    if (old != v) listener->changed(old, v);
  }
  Listener* listener;
};

void setNoListener(benchmark::State& state) {
  IPtr<DataObject> object(new DataObject());
  object->set("n", 0);
  IQorIntProperty* p = qorQuery<IQorIntProperty>(object->getProperty("n"), "IQorIntProperty");
  benchmark::DoNotOptimize(p);
  int32_t v = 0;
  for (auto _ : state) p->setValue(++v);
  benchmark::DoNotOptimize(p->getValue());
}

void setEventsOff(benchmark::State& state) {
  IPtr<IntProperty> p(new IntProperty("n", 0, false, false));
  IQorIntProperty* typed = p.get();
  benchmark::DoNotOptimize(typed);
  int32_t v = 0;
  for (auto _ : state) typed->setValue(++v);
  benchmark::DoNotOptimize(p->getValue());
}

void setWithSubscriber(benchmark::State& state) {
  IPtr<IntProperty> p(new IntProperty("n", 0, false, true));
  Counter counter;
  p->subscribe("property_modified", &counter);
  int32_t v = 0;
  for (auto _ : state) p->setValue(++v);
  benchmark::DoNotOptimize(counter.calls);
}

void plainVirtual(benchmark::State& state) {
  PlainHolder plain;
  Holder* h = &plain;
  benchmark::DoNotOptimize(h);
  int32_t v = 0;
  for (auto _ : state) h->setValue(++v);
  benchmark::DoNotOptimize(h->value);
}

void virtualWithListener(benchmark::State& state) {
  CountingListener listener;
  TellingHolder telling(&listener);
  Holder* h = &telling;
  benchmark::DoNotOptimize(h);
  int32_t v = 0;
  for (auto _ : state) h->setValue(++v);
  benchmark::DoNotOptimize(listener.sum);
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  benchmark::RegisterBenchmark("set_no_listener/ours", setNoListener);
  benchmark::RegisterBenchmark("set_events_off/ours", setEventsOff);
  benchmark::RegisterBenchmark("set_one_subscriber/ours", setWithSubscriber);
  benchmark::RegisterBenchmark("set/plain_virtual", plainVirtual);
  benchmark::RegisterBenchmark("set/virtual_listener", virtualWithListener);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  std::printf("\n");  // after the console reporter's last colour code
  for (const char* row : {"set_no_listener", "set_events_off", "set_one_subscriber"}) {
    auto t = reporter.times.find(std::string(row) + "/ours");
    if (t != reporter.times.end()) std::printf("ns %s: %.1f\n", row, t->second);
  }
  reporter.printRatio("set_no_listener", "set_no_listener/ours", "set/plain_virtual");
  reporter.printRatio("set_events_off", "set_events_off/ours", "set/plain_virtual");
  reporter.printRatio("set_one_subscriber", "set_one_subscriber/ours", "set/virtual_listener");
  return 0;
}
