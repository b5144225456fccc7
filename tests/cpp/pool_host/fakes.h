// Host services that the pool and allocation tests drive: a memory manager whose answers
// and calls the tests control, and an assertion handler that records.
#pragma once
#include <string>
#include <vector>

#include "hostapi/iqorasserthandlercb.h"
#include "hostapi/iqormmanager.h"

class FakeMManager : public IQorMManager {
 public:
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "IQorMManager"))
      *out = static_cast<IQorMManager*>(this);
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(this);
  }
  const char* className() override { return "FakeMManager"; }
  void* allocatePage(int32_t, bool) override { return nullptr; }
  void freePage(void*) override {}
  void reserved2() override {}
  // Answers true while trueAnswers is above 0 (counting it down), or always when it is -1.
  bool releaseMemory() override {
    ++releases;
    if (trueAnswers < 0) return true;
    if (trueAnswers == 0) return false;
    --trueAnswers;
    return true;
  }
  void reserved4() override {}
  void reserved5() override {}
  void reserved6() override {}
  void reserved7() override {}
  void reserved8() override {}
  void reserved9() override {}
  int64_t coreLimit() override { return 0; }
  int64_t swapLimit() override { return 0; }
  int64_t swapInUse() override { return 0; }
  void reserved13() override {}
  void reserved14() override {}
  void reserved15() override {}
  void reserved16() override {}
  int64_t coreInUse() override { return 0; }

  int releases = 0;
  int trueAnswers = 0;
};

class RecordingAssertHandler : public IQorAssertHandlerCB {
 public:
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "IQorAssertHandlerCB"))
      *out = static_cast<IQorAssertHandlerCB*>(this);
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(this);
  }
  const char* className() override { return "RecordingAssertHandler"; }
  int assertFailed(const char* expression, const char* file, int32_t line) override {
    seen.push_back(std::string(expression) + "|" + file + "|" + std::to_string(line));
    return 5;
  }
  std::vector<std::string> seen;
};

FakeMManager& fakeManager();
RecordingAssertHandler& assertHandler();
