// The settings file of the reference host: one "key = value" per line, which a user can
// edit. Lines starting with # are comments; blank lines are ignored. A value in double
// quotes keeps surrounding blanks and understands \" \\ \n \t; any other value is taken
// as it stands, without surrounding blanks. Keys may contain blanks; the first " = " or
// "=" ends the key.
#pragma once
#include <string>
#include <vector>

#include "refhost/services.h"

namespace refhost {

// The keys the system reads, with their defaults, installed into a fresh store.
//   Memory/UseErrorService                          int 0
//   Memory/MemLimit                                 real: this machine's physical memory
//   Directories/Logs Directory                      text: $XDG_STATE_HOME/brindle/logs
//                                                   (else ~/.local/state/brindle/logs)
//   Directories/Temp Directory                      text: $TMPDIR, else /tmp
//   General/Texture Image Format                    int 2 (PNG)
//   Advanced/Warning About Non-Existing Properties  int 0 (missing names become dynamic)
//   Advanced/Warning About Bogus Dynamic Properties int 0
//   GUI/DisableInCommandSensitivity                 int 0
//   Document/ModelInfo                              int 0 (touched after redraws)
void installDefaultSettings(MemoryDataStore& store);

// Where the settings file is: $BRINDLE_SETTINGS when set (empty means "no file"), else
// $XDG_CONFIG_HOME/brindle/settings.conf (else ~/.config/brindle/settings.conf).
std::string settingsPath();

// Reads a settings file into the store. A key with a default keeps the default's type;
// another key is an int, a real or a text, whichever parses. Returns false when the file
// can't be read; `problems` receives one line per line that could not be understood.
bool loadSettings(MemoryDataStore& store, const std::string& path,
                  std::vector<std::string>* problems);

// Writes every key of the store, sorted, creating the folder when needed.
bool saveSettings(MemoryDataStore& store, const std::string& path, std::string* error);

}  // namespace refhost
