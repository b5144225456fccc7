#include "refhost/dirservice.h"

#include <cstdlib>
#include <cstring>

#include "refhost/componentmanager.h"

namespace refhost {

namespace {
const char* fromEnv(const char* name) {
  const char* v = std::getenv(name);
  return v && *v ? v : nullptr;
}
}  // namespace

void RefDirService::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefDirService") || qorNameIs(name, "IQorDirService"))
    *out = static_cast<IQorDirService*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

void RefDirService::directory(const QorCString& key, QorString& out) {
  const char* k = key.c_str();
  if (auto it = named_.find(k); it != named_.end()) {
    out = it->second;
    return;
  }
  const char* temp = fromEnv("TMPDIR");
  if (!temp) temp = "/tmp";
  if (k && std::strcmp(k, "temp") == 0) {
    out = QorString::fromUtf8(temp);
  } else if (k && std::strcmp(k, "logs") == 0) {
    const char* logs = fromEnv("BRINDLE_LOG_DIR");
    out = QorString::fromUtf8(logs ? logs : temp);
    if (!logs) out.append("/brindle-logs");
  } else {
    out = QorString();
  }
}

void RefDirService::set(const char* key, const QorString& directory) {
  if (directory.isEmpty())
    named_.erase(key);
  else
    named_[key] = directory;
}

RefDirService& dirService() {
  return immortal<RefDirService>();
}

}  // namespace refhost
