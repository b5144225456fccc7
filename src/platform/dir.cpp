#include "platform/dir.h"

#include <dirent.h>
#include <unistd.h>

#include <climits>

namespace Platform {

void* openSearch(const QorString& directory) {
  return ::opendir(directory.isEmpty() ? "." : directory.utf8());
}

bool nextName(void* search, QorString* name) {
  if (!search) return false;
  const dirent* d = ::readdir(static_cast<DIR*>(search));
  if (!d) return false;
  *name = QorString::fromUtf8(d->d_name);
  return true;
}

void closeSearch(void* search) {
  if (search) ::closedir(static_cast<DIR*>(search));
}

QorString currentDirectory(int32_t limit) {
  char buffer[PATH_MAX];
  if (!::getcwd(buffer, sizeof buffer)) return QorString();
  QorString dir = QorString::fromUtf8(buffer);
  if (dir.length() > limit) dir.truncate(limit);
  return dir;
}

}  // namespace Platform
