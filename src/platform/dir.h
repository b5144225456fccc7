// Directory searches and the current directory, by paths of 16-bit units.
#pragma once
#include "base/qorstring.h"

namespace Platform {

// Opens a search over every name in `directory`; null on failure.
void* openSearch(const QorString& directory);
// The next name of the search; false at the end.
bool nextName(void* search, QorString* name);
void closeSearch(void* search);
// The process's current directory, at most `limit` units long; empty on failure.
QorString currentDirectory(int32_t limit);

}  // namespace Platform
