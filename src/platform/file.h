// Files through the C runtime with 64-bit positions, opened by a path of 16-bit units, and
// the flush that reaches the disk.
#pragma once
#include <cstdint>
#include <cstdio>

class QorString;

namespace Platform {

// Opens `path` (UTF-16, handed to the system as UTF-8) with a C runtime mode such as "rb"
// or "w+bc". Null on failure or for an empty path.
std::FILE* openFile(const QorString& path, const char* mode);

// Whether `path` names a file this process may read.
bool isReadable(const QorString& path);

// Moves to `position` from the start (fromStart) or from the end; false on failure.
bool seekFile(std::FILE* file, int64_t position, bool fromStart);

// The current position, or -1 on failure.
int64_t tellFile(std::FILE* file);

// Hands the runtime's buffer to the system and waits until the system has put the file's
// data on the disk. The "c" of a mode commits nothing on this platform, so a flush that
// must reach the disk comes here.
bool commitFile(std::FILE* file);

}  // namespace Platform
