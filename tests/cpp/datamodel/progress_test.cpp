// The reporter against a recording display, the forwarder against the host's callback
// object, the progress property, and the reset on the class error road.
#include "refhost/progress.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "datamodel/dataobject.h"
#include "datamodel/progressproperty.h"
#include "testkit.h"

namespace {

using testkit::printed;
using testkit::raised;

class Display : public IQorProgress {
 public:
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Display"; }
  bool report(float f) override {
    reports.push_back(f);
    return answer;
  }
  bool isCancelled() override {
    ++asked;
    return cancelled;
  }
  std::vector<float> reports;
  bool answer = true, cancelled = false;
  int asked = 0;
};

// The texts in order (a braced list is evaluated left to right).
std::string cat(std::initializer_list<std::string> parts) {
  std::string s;
  for (const std::string& p : parts) s += p;
  return s;
}

// Raw range and flags: "low,high,last/flags".
std::string state(ProgressCallbackBase& o) {
  int32_t l, h, last;
  o.getRawRange(&l, &h, &last);
  char b[64];
  std::snprintf(b, sizeof b, "%d,%d,%d/%d", l, h, last, o.stateFlags());
  return b;
}

struct Case {
  const char* name;
  std::function<std::string(ProgressCallbackObject&, Display&)> run;
  std::string expected;        // what run answers
  std::vector<float> reports;  // what the display saw
};

TEST(Reporter, CasesAgainstARecordingDisplay) {
  using O = ProgressCallbackObject;
  using D = Display;
  auto r = [](bool b) { return std::string(b ? "T " : "F "); };
  const std::vector<Case> cases = {
      {"sub-range and its limits",
       [&](O& o, D&) {
         o.setRange(20, 60);
         return cat({r(o.update(0.5f)), state(o), r(o.update(-1.f)), r(o.update(2.f))});
       },
       "T 200,600,400/2T T ",
       {0.4f, 0.2f, 0.6f}},
      {"same position: asked once per call, only when cancellable",
       [&](O& o, D& d) {
         o.update(0.5f);
         std::string s = cat({r(o.update(0.5f)), std::to_string(d.asked)});
         o.setCancellable(false);
         return cat({s, r(o.update(0.5f)), std::to_string(d.asked)});
       },
       "T 1T 1",
       {0.5f}},
      {"ranges",
       [&](O& o, D&) {
         std::string s;
         for (auto [lo, hi] : {std::pair{70, 30}, {20, 60}, {-1, 50}, {150, 200}}) {
           o.setRange(lo, hi);
           s += state(o) + " ";
         }
         int32_t a, b;
         o.getRange(&a, &b);
         return s + std::to_string(a) + "," + std::to_string(b);
       },
       "300,300,0/2 200,600,0/2 200,500,0/2 1000,1000,0/2 100,100",
       {}},
      {"off",
       [&](O& o, D&) {
         o.enable(false);
         o.setRange(20, 60);
         int32_t a = 9, b = 9;
         o.getRange(&a, &b);
         return cat({r(o.update(0.5f)), r(o.begin()), state(o), " ", std::to_string(a + b)});
       },
       "T T -1,1000,0/2 0",
       {}},
      {"silent",
       [&](O& o, D&) {
         o.setVisible(false);
         return cat({r(o.begin()), r(o.update(0.5f)), r(o.end()), state(o)});
       },
       "T T T 0,1000,0/10",
       {}},
      {"stop, not cancellable",
       [&](O& o, D& d) {
         o.setCancellable(false);
         d.answer = false;
         return cat({r(o.update(0.5f)), state(o)});
       },
       "F 0,1000,500/0",
       {0.5f}},
      {"stop, cancellable",
       [&](O& o, D& d) {
         d.answer = false;
         return cat({r(o.update(0.5f)), r(o.update(0.5f)), state(o), " ", std::to_string(d.asked)});
       },
       "F F 0,1000,500/3 0",
       {0.5f}},
      {"cancel asked on the same position",
       [&](O& o, D& d) {
         o.update(0.5f);
         d.cancelled = true;
         return cat({r(o.update(0.5f)), r(o.wasCancelled()), r(o.begin()), r(o.wasCancelled())});
       },
       "F T T F ",
       {0.5f, 0.0f}},
      {"step over zero total, NaN as zero",
       [&](O& o, D&) {
         return cat({r(o.update(3, 0)), r(o.update(0, 0))});
       },
       "T T ",
       {1.0f, 0.0f}},
      // Float arithmetic: in double 0.7f * 1000 truncates to 699.
      {"float positions",
       [&](O& o, D&) {
         std::string s;
         for (float f : {0.7f, 0.9f, 0.57f}) {
           o.update(f);
           s += state(o) + " ";
         }
         return s;
       },
       "0,1000,700/2 0,1000,900/2 0,1000,570/2 ",
       {700 * .001f, 900 * .001f, 570 * .001f}},
      {"copies",
       [&](O& o, D&) {
         o.setCancelled(true);
         o.update(0.5f);
         O copy(o);
         std::string s = cat({state(copy), " ", r(copy.wasCancelled()), r(copy.update(0.5f))});
         copy.enable(true);
         s = cat({s, r(copy.progressTarget() == o.progressTarget()), state(copy), " "});
         copy.setRawRange(1, 2, 3);
         copy.copyFrom(&o);
         return cat({s, state(copy)});
       },
       "-1,1000,0/3 T T T 0,1000,0/3 0,1000,0/3",
       {0.5f}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Display d;
    IPtr<ProgressCallbackObject> o(new ProgressCallbackObject());
    o->setProgressTarget(&d);
    EXPECT_EQ(c.run(*o, d), c.expected);
    EXPECT_EQ(d.reports, c.reports);
  }
}

// Each operation of the forwarder reaches its slot of the callback object; "direct" ones
// only reach a callback already held, and those that must have one do nothing without it.
TEST(Forwarder, SlotsAndGuards) {
  IPtr<Progress> p(new Progress());
  refhost::RefProgressCallback& service = refhost::progressCallback();
  service.clearCalls();
  EXPECT_FALSE(p->end());
  EXPECT_FALSE(p->isCancelled());
  EXPECT_TRUE(service.calls().empty());
  EXPECT_EQ(p->getCallback(), &service);

  IPtr<refhost::RefProgressCallback> own(new refhost::RefProgressCallback());
  p->setCallback(own.get());
  const std::vector<std::function<void()>> ops = {
      [&] { p->setSteps(4); },      [&] { p->begin(); },     [&] { p->end(); },
      [&] { p->step(); },           [&] { p->fraction(); },  [&] { p->isCancelled(); },
      [&] { p->setFraction(.5f); }, [&] { p->reset(); },     [&] { p->update(.25f); },
      [&] { p->cancel(); },         [&] { p->isRunning(); }, [&] { p->setCancellable(true); },
      [&] { p->isCancellable(); },  [&] { p->steps(); },     [&] { p->setVisible(true); },
      [&] { p->isVisible(); }};
  for (auto& op : ops) op();
  std::vector<int32_t> slots;
  for (auto& c : own->calls()) slots.push_back(c.slot);
  EXPECT_EQ(slots, (std::vector<int32_t>{7, 1, 2, 8, 9, 10, 3, 4, 11, 12, 13, 15, 16, 17, 5, 6}));

  struct Orphan : Progress {
    const char* callbackService() override { return "NoSuchCallback"; }
  };
  IPtr<Orphan> orphan(new Orphan());
  orphan->cancel();
  EXPECT_FALSE(orphan->setCancellable(true) || orphan->isCancellable() || orphan->begin());
  EXPECT_EQ(orphan->steps(), 0);
  EXPECT_EQ(orphan->getCallback(), nullptr);

  IPtr<ProgressInstance> instance(new ProgressInstance());
  EXPECT_EQ(instance->getCallback(), &refhost::progressCallbackInstance());
  EXPECT_NE(qorQuery<IProgressInstance>(instance.get(), "IProgressInstance"), nullptr);
}

TEST(Forwarder, AClassErrorResetsTheRunningDisplay) {
  ASSERT_NE(progressSingleton(), nullptr);
  refhost::progressCallback().clearCalls();
  EXPECT_EQ(raised([] { qor::classError("Probe", "failed"); }).code, 6);
  auto calls = refhost::progressCallback().calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].slot, 4);
}

TEST(ProgressPropertyTest, SharesHasNoStoredFormAndSitsInTheMap) {
  IPtr<Progress> value(new Progress());
  IPtr<DataObject> object(new DataObject());
  object->setProgress("p", value.get());
  EXPECT_EQ(object->getProgress("p"), value.get());
  EXPECT_EQ(object->getIProgress("p"), static_cast<IProgress*>(value.get()));
  object->set("n", 1);
  EXPECT_EQ(raised([&] { object->getProgress("n"); }).code, 3);

  auto* p = qorQuery<ProgressProperty>(object->getProperty("p"), "ProgressProperty");
  ASSERT_NE(p, nullptr);
  EXPECT_STREQ(p->typeName(), "qorapi.datamodel.Progress");
  EXPECT_EQ(printed(p), "Progress\n");
  EXPECT_EQ(std::string(p->classId().toString().c_str()), "{b5ec7610-1abd-4d96-949a-b3c2228adb64}");
  EXPECT_TRUE(p->write(nullptr) && p->read(nullptr));  // touches no stream
  IPtr<Property> copy(p->clone());
  EXPECT_EQ(qorQuery<ProgressProperty>(copy.get(), "ProgressProperty")->getValue(),
            static_cast<IProgress*>(value.get()));
  EXPECT_EQ(value->refCount(), 3u);
  p->clearValue();
  EXPECT_EQ(p->getValue(), nullptr);
  EXPECT_EQ(value->refCount(), 2u);
}

}  // namespace
