#include "refhost/services.h"

#include <algorithm>
#include <cstdlib>

#include "refhost/strsupport.h"

namespace refhost {

// ---- error service ----

void RecordingErrorService::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RecordingErrorService"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorErrorService"))
    *out = static_cast<IQorErrorService*>(this);
}

void RecordingErrorService::report(const QorString& message, int32_t* level,
                                   const QorCString& where) {
  std::lock_guard<std::mutex> g(lock_);
  reports_.push_back({message.utf8(), level ? *level : 0, where.c_str()});
}

std::vector<RecordingErrorService::Report> RecordingErrorService::reports() {
  std::lock_guard<std::mutex> g(lock_);
  return reports_;
}

void RecordingErrorService::clear() {
  std::lock_guard<std::mutex> g(lock_);
  reports_.clear();
}

// ---- log ----

void RecordingLog::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RecordingLog"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorLog3"))
    *out = static_cast<IQorLog3*>(this);
}

void RecordingLog::logInfo(const QorString& text) {
  add(kInfo, text);
}
void RecordingLog::logError(const QorString& text) {
  add(kError, text);
}

void RecordingLog::add(Level level, const QorString& text) {
  std::string utf8 = text.utf8();
  Sink sink;
  {
    std::lock_guard<std::mutex> g(lock_);
    if (lines_.size() >= kKeep) lines_.pop_front();
    lines_.push_back({level, utf8});
    sink = sink_;
  }
  if (sink) sink(level, utf8.c_str());
}

void RecordingLog::setSink(Sink sink) {
  std::lock_guard<std::mutex> g(lock_);
  sink_ = sink;
}

std::vector<RecordingLog::Line> RecordingLog::lines() {
  std::lock_guard<std::mutex> g(lock_);
  return std::vector<Line>(lines_.begin(), lines_.end());
}

void RecordingLog::clear() {
  std::lock_guard<std::mutex> g(lock_);
  lines_.clear();
}

// ---- settings ----

void MemoryDataStore::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "MemoryDataStore"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IDataStore"))
    *out = static_cast<IDataStore*>(this);
}

int MemoryDataStore::getInt(const char* key, int) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = values_.find(key ? key : "");
  if (it == values_.end()) return 0;
  if (auto* i = std::get_if<int>(&it->second)) return *i;
  if (auto* d = std::get_if<double>(&it->second)) return static_cast<int>(*d);
  if (auto* s = std::get_if<std::string>(&it->second)) return std::atoi(s->c_str());
  return std::atoi(std::get<QorString>(it->second).narrow());
}

double MemoryDataStore::getDouble(const char* key, int) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = values_.find(key ? key : "");
  if (it == values_.end()) return 0.0;
  if (auto* i = std::get_if<int>(&it->second)) return *i;
  if (auto* d = std::get_if<double>(&it->second)) return *d;
  if (auto* s = std::get_if<std::string>(&it->second)) return std::atof(s->c_str());
  return std::atof(std::get<QorString>(it->second).narrow());
}

const char* MemoryDataStore::getCString(const char* key, int) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = values_.find(key ? key : "");
  if (it == values_.end()) return nullptr;
  if (auto* s = std::get_if<std::string>(&it->second)) return s->c_str();
  if (auto* q = std::get_if<QorString>(&it->second)) return q->utf8();
  return nullptr;
}

const QorString& MemoryDataStore::getString(const char* key, int) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = values_.find(key ? key : "");
  if (it == values_.end()) return empty_;
  if (auto* q = std::get_if<QorString>(&it->second)) return *q;
  if (auto* s = std::get_if<std::string>(&it->second)) {
    // Keep a wide copy beside the narrow value so the reference stays valid.
    it->second = utf8ToWide(s->c_str());
    return std::get<QorString>(it->second);
  }
  return empty_;
}

uint8_t MemoryDataStore::hasKey(const char* key) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return values_.count(key ? key : "") ? 1 : 0;
}

void MemoryDataStore::addReceiver(const char* key, IQorDataReceiver* receiver) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (receiver) receivers_[key ? key : ""].push_back(receiver);
}

void MemoryDataStore::removeReceiver(const char* key, IQorDataReceiver* receiver) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto& v = receivers_[key ? key : ""];
  auto it = std::find(v.begin(), v.end(), receiver);
  if (it != v.end()) v.erase(it);
}

std::vector<IQorDataReceiver*> MemoryDataStore::receiversOf(const std::string& key,
                                                            IQorDataReceiver* sender) {
  std::vector<IQorDataReceiver*> out;
  auto it = receivers_.find(key);
  if (it != receivers_.end())
    for (auto* r : it->second)
      if (r != sender) out.push_back(r);
  return out;
}

void MemoryDataStore::setString(IQorDataReceiver* sender, const char* key, const QorString& value) {
  if (!key) return;
  std::vector<IQorDataReceiver*> rs;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    values_[key] = value;
    rs = receiversOf(key, sender);
  }
  for (auto* r : rs) r->stringArrived(key, value);
}

void MemoryDataStore::setCString(IQorDataReceiver* sender, const char* key, const char* value) {
  if (!key) return;
  std::vector<IQorDataReceiver*> rs;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    values_[key] = std::string(value ? value : "");
    rs = receiversOf(key, sender);
  }
  for (auto* r : rs) r->cstringArrived(key, value ? value : "");
}

void MemoryDataStore::setDouble(IQorDataReceiver* sender, const char* key, double value) {
  if (!key) return;
  std::vector<IQorDataReceiver*> rs;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    values_[key] = value;
    rs = receiversOf(key, sender);
  }
  for (auto* r : rs) r->realArrived(key, value);
}

void MemoryDataStore::setInt(IQorDataReceiver* sender, const char* key, int value) {
  if (!key) return;
  std::vector<IQorDataReceiver*> rs;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    values_[key] = value;
    rs = receiversOf(key, sender);
  }
  for (auto* r : rs) r->intArrived(key, value);
}

void MemoryDataStore::touch(IQorDataReceiver* sender, const char* key) {
  if (!key) return;
  std::vector<IQorDataReceiver*> rs;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    touches_.push_back(key);
    rs = receiversOf(key, sender);
  }
  for (auto* r : rs) r->touched(key);
}

bool MemoryDataStore::getBool(const char* key, int) {
  return getInt(key, 0) != 0;
}

void MemoryDataStore::removeKey(const char* key) {
  if (!key) return;
  std::vector<IQorDataReceiver*> rs;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    values_.erase(key);
    rs = receiversOf(key, nullptr);
    // A removed key has no receivers: a handle deleted later won't unsubscribe, and must
    // not be called afterwards.
    receivers_.erase(key);
  }
  for (auto* r : rs) r->keyRemoved(key);
}

int MemoryDataStore::receiverCount(const char* key) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = receivers_.find(key ? key : "");
  return it == receivers_.end() ? 0 : static_cast<int>(it->second.size());
}

MemoryDataStore::Kind MemoryDataStore::kindOf(const std::string& key) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = values_.find(key);
  if (it == values_.end()) return Kind::Missing;
  if (std::holds_alternative<int>(it->second)) return Kind::Int;
  if (std::holds_alternative<double>(it->second)) return Kind::Real;
  return Kind::Text;
}

std::vector<std::string> MemoryDataStore::keys() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  std::vector<std::string> out;
  for (auto& kv : values_) out.push_back(kv.first);
  return out;
}

std::vector<std::string> MemoryDataStore::touches() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return touches_;
}

}  // namespace refhost
