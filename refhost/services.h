// The reference host's reporting and settings services.
#pragma once
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "hostapi/idatastore.h"
#include "hostapi/iqorerrorservice.h"
#include "hostapi/iqorlog3.h"

namespace refhost {

// Records every report it receives; a failure dialog has no place in a headless host.
class RecordingErrorService : public IQorErrorService {
 public:
  struct Report {
    std::string message;  // UTF-8
    int32_t level;
    std::string where;
  };
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RecordingErrorService"; }
  void reserved1() override {}
  void reserved2() override {}
  void report(const QorString& message, int32_t* level, const QorCString& where) override;

  std::vector<Report> reports();
  void clear();

 private:
  std::mutex lock_;
  std::vector<Report> reports_;
};

// Keeps the last lines written and hands each to a sink (the script layer sends them to
// Python's logging).
class RecordingLog : public IQorLog3 {
 public:
  enum Level { kInfo = 0, kError = 1 };
  struct Line {
    Level level;
    std::string text;  // UTF-8
  };
  using Sink = void (*)(int level, const char* utf8);

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RecordingLog"; }
  void logInfo(const QorString& text) override;
  void logError(const QorString& text) override;

  void setSink(Sink sink);
  std::vector<Line> lines();
  void clear();
  static constexpr size_t kKeep = 1000;

 private:
  void add(Level level, const QorString& text);
  std::mutex lock_;
  std::deque<Line> lines_;  // the newest kKeep lines
  Sink sink_ = nullptr;
};

// An in-memory typed store. Each key holds one value of one type; a setter replaces value
// and type. Receivers of a key, other than the sender of a change, are told:
//   setInt -> intArrived, setDouble -> realArrived (the fifth operation),
//   setString -> stringArrived, setCString -> cstringArrived, touch -> touched,
//   removeKey -> keyRemoved, after which the key has no receivers.
class MemoryDataStore : public IDataStore {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "MemoryDataStore"; }

  // Missing keys read as 0, 0.0, "" and a null text. Reads convert between number types.
  int getInt(const char* key, int reserved) override;
  double getDouble(const char* key, int reserved) override;
  const char* getCString(const char* key, int reserved) override;
  const QorString& getString(const char* key, int reserved) override;
  uint8_t hasKey(const char* key) override;
  void addReceiver(const char* key, IQorDataReceiver* receiver) override;
  void removeReceiver(const char* key, IQorDataReceiver* receiver) override;
  void setString(IQorDataReceiver* sender, const char* key, const QorString& value) override;
  void setCString(IQorDataReceiver* sender, const char* key, const char* value) override;
  void setDouble(IQorDataReceiver* sender, const char* key, double value) override;
  void setInt(IQorDataReceiver* sender, const char* key, int value) override;
  void touch(IQorDataReceiver* sender, const char* key) override;
  bool getBool(const char* key, int reserved) override;

  void removeKey(const char* key);
  int receiverCount(const char* key);
  std::vector<std::string> touches();

  // What a key holds, for the settings file.
  enum class Kind { Missing, Int, Real, Text };
  Kind kindOf(const std::string& key);
  std::vector<std::string> keys();

 private:
  using Value = std::variant<int, double, QorString, std::string>;
  std::vector<IQorDataReceiver*> receiversOf(const std::string& key, IQorDataReceiver* sender);
  std::recursive_mutex lock_;
  std::map<std::string, Value> values_;
  std::map<std::string, std::vector<IQorDataReceiver*>> receivers_;
  std::vector<std::string> touches_;
  QorString empty_;
};

}  // namespace refhost
