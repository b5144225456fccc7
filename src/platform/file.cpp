#include "platform/file.h"

#include <unistd.h>

#include "base/qorstring.h"

namespace Platform {

std::FILE* openFile(const QorString& path, const char* mode) {
  if (path.isEmpty() || !mode) return nullptr;
  return std::fopen(path.utf8(), mode);
}

bool isReadable(const QorString& path) {
  return !path.isEmpty() && ::access(path.utf8(), R_OK) == 0;
}

bool seekFile(std::FILE* file, int64_t position, bool fromStart) {
  return file && ::fseeko(file, static_cast<off_t>(position), fromStart ? SEEK_SET : SEEK_END) == 0;
}

int64_t tellFile(std::FILE* file) {
  return file ? static_cast<int64_t>(::ftello(file)) : -1;
}

bool commitFile(std::FILE* file) {
  if (!file || std::fflush(file) != 0) return false;
  return ::fsync(::fileno(file)) == 0;
}

}  // namespace Platform
