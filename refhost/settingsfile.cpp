#include "refhost/settingsfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "refhost/strsupport.h"

namespace refhost {

namespace {

std::string envOr(const char* name, const std::string& fallback) {
  const char* v = std::getenv(name);
  return v && *v ? v : fallback;
}

std::string home() {
  return envOr("HOME", "/tmp");
}

double physicalMemory() {
  long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
  return pages > 0 && size > 0 ? double(pages) * double(size) : 0.0;
}

enum class Type { Int, Real, Text };

// Keys with defaults, and so a fixed type.
const std::map<std::string, Type>& knownKeys() {
  static const std::map<std::string, Type> keys = {
      {"Memory/UseErrorService", Type::Int},
      {"Memory/MemLimit", Type::Real},
      {"Directories/Logs Directory", Type::Text},
      {"Directories/Temp Directory", Type::Text},
      {"General/Texture Image Format", Type::Int},
      {"Advanced/Warning About Non-Existing Properties", Type::Int},
      {"Advanced/Warning About Bogus Dynamic Properties", Type::Int},
      {"GUI/DisableInCommandSensitivity", Type::Int},
      {"Document/ModelInfo", Type::Int},
  };
  return keys;
}

std::string trim(const std::string& s) {
  size_t a = s.find_first_not_of(" \t\r");
  if (a == std::string::npos) return "";
  size_t b = s.find_last_not_of(" \t\r");
  return s.substr(a, b - a + 1);
}

bool parseInt(const std::string& s, int* out) {
  if (s.empty()) return false;
  errno = 0;
  char* end = nullptr;
  long v = std::strtol(s.c_str(), &end, 10);
  if (*end || errno || v < INT32_MIN || v > INT32_MAX) return false;
  *out = static_cast<int>(v);
  return true;
}

bool parseReal(const std::string& s, double* out) {
  if (s.empty()) return false;
  char* end = nullptr;
  double v = std::strtod(s.c_str(), &end);
  if (*end) return false;
  *out = v;
  return true;
}

// Undoes the quoting of a value; false for a broken quoted value.
bool unquote(const std::string& raw, std::string* out) {
  if (raw.size() < 2 || raw.front() != '"') {
    *out = raw;
    return true;
  }
  if (raw.back() != '"') return false;
  std::string r;
  for (size_t i = 1; i + 1 < raw.size(); ++i) {
    char c = raw[i];
    if (c == '\\' && i + 2 < raw.size()) {
      char n = raw[++i];
      r += n == 'n' ? '\n' : n == 't' ? '\t' : n;
    } else {
      r += c;
    }
  }
  *out = r;
  return true;
}

std::string quoteIfNeeded(const std::string& v) {
  bool plain = !v.empty() && v == trim(v) && v.front() != '"' &&
               v.find_first_of("\n\t\\") == std::string::npos;
  if (plain) return v;
  std::string r = "\"";
  for (char c : v) {
    if (c == '"' || c == '\\')
      r += '\\', r += c;
    else if (c == '\n')
      r += "\\n";
    else if (c == '\t')
      r += "\\t";
    else
      r += c;
  }
  return r + "\"";
}

bool makeDirs(const std::string& dir) {
  if (dir.empty()) return true;
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (ec) errno = ec.value();
  return !ec;
}

}  // namespace

void installDefaultSettings(MemoryDataStore& store) {
  store.setInt(nullptr, "Memory/UseErrorService", 0);
  store.setDouble(nullptr, "Memory/MemLimit", physicalMemory());
  std::string state = envOr("XDG_STATE_HOME", home() + "/.local/state");
  store.setCString(nullptr, "Directories/Logs Directory", (state + "/brindle/logs").c_str());
  store.setCString(nullptr, "Directories/Temp Directory", envOr("TMPDIR", "/tmp").c_str());
  store.setInt(nullptr, "General/Texture Image Format", 2);
  store.setInt(nullptr, "Advanced/Warning About Non-Existing Properties", 0);
  store.setInt(nullptr, "Advanced/Warning About Bogus Dynamic Properties", 0);
  store.setInt(nullptr, "GUI/DisableInCommandSensitivity", 0);
  store.setInt(nullptr, "Document/ModelInfo", 0);
}

std::string settingsPath() {
  if (const char* v = std::getenv("BRINDLE_SETTINGS")) return v;
  return envOr("XDG_CONFIG_HOME", home() + "/.config") + "/brindle/settings.conf";
}

bool loadSettings(MemoryDataStore& store, const std::string& path,
                  std::vector<std::string>* problems) {
  std::ifstream in(path);
  if (!in) return false;
  std::string line;
  int number = 0;
  auto problem = [&](const std::string& what) {
    if (problems) problems->push_back(path + ":" + std::to_string(number) + ": " + what);
  };
  while (std::getline(in, line)) {
    ++number;
    std::string t = trim(line);
    if (t.empty() || t[0] == '#') continue;
    size_t eq = t.find('=');
    if (eq == std::string::npos) {
      problem("no '=' in \"" + t + "\"");
      continue;
    }
    std::string key = trim(t.substr(0, eq));
    std::string value;
    if (key.empty()) {
      problem("empty key");
      continue;
    }
    if (!unquote(trim(t.substr(eq + 1)), &value)) {
      problem("unterminated quoted value for \"" + key + "\"");
      continue;
    }
    auto known = knownKeys().find(key);
    int i = 0;
    double d = 0;
    if (known != knownKeys().end()) {
      if (known->second == Type::Int) {
        if (parseInt(value, &i))
          store.setInt(nullptr, key.c_str(), i);
        else
          problem("\"" + key + "\" needs a whole number, not \"" + value + "\"");
      } else if (known->second == Type::Real) {
        if (parseReal(value, &d))
          store.setDouble(nullptr, key.c_str(), d);
        else
          problem("\"" + key + "\" needs a number, not \"" + value + "\"");
      } else {
        store.setString(nullptr, key.c_str(), utf8ToWide(value.c_str()));
      }
    } else if (parseInt(value, &i)) {
      store.setInt(nullptr, key.c_str(), i);
    } else if (parseReal(value, &d)) {
      store.setDouble(nullptr, key.c_str(), d);
    } else {
      store.setString(nullptr, key.c_str(), utf8ToWide(value.c_str()));
    }
  }
  return true;
}

bool saveSettings(MemoryDataStore& store, const std::string& path, std::string* error) {
  size_t slash = path.rfind('/');
  if (slash != std::string::npos && !makeDirs(path.substr(0, slash))) {
    if (error) *error = "cannot create the folder of " + path + ": " + std::strerror(errno);
    return false;
  }
  std::ofstream out(path, std::ios::trunc);
  if (!out) {
    if (error) *error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }
  out << "# brindle settings: one \"key = value\" per line; # starts a comment.\n"
         "# A value in double quotes keeps surrounding blanks.\n";
  for (const std::string& key : store.keys()) {
    out << key << " = ";
    switch (store.kindOf(key)) {
      case MemoryDataStore::Kind::Int:
        out << store.getInt(key.c_str(), 0);
        break;
      case MemoryDataStore::Kind::Real: {
        char buf[40];
        std::snprintf(buf, sizeof buf, "%.17g", store.getDouble(key.c_str(), 0));
        out << buf;
        break;
      }
      default: {
        const char* v = store.getCString(key.c_str(), 0);
        out << quoteIfNeeded(v ? v : "");
      }
    }
    out << "\n";
  }
  out.flush();
  if (!out) {
    if (error) *error = "cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace refhost
