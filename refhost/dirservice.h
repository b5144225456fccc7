// The reference host's named directories, offered as "IQorDirService":
//   "temp"  $TMPDIR when set and not empty, else /tmp
//   "logs"  $BRINDLE_LOG_DIR when set and not empty, else <temp>/brindle-logs
// Any other key answers an empty text, unless `set` named it. The directories are named,
// not made.
#pragma once
#include <map>
#include <string>

#include "hostapi/iqordirservice.h"

namespace refhost {

class RefDirService : public IQorDirService {
 public:
  // Answers "RefDirService", "IQorDirService" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefDirService"; }
  void directory(const QorCString& key, QorString& out) override;
  // Names the directory of `key` in place of the above (an empty text removes it); call it
  // before other threads ask.
  void set(const char* key, const QorString& directory);

 private:
  std::map<std::string, QorString> named_;
};

// The host's directory service, made on first use and never destroyed.
RefDirService& dirService();

}  // namespace refhost
