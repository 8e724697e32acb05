#include "nycert/platform/registry.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

struct obRegKey {
  std::string path;  // lower case, without the hive's name
  // Values by name: a type and the data as the query hands it out.
  std::map<std::string, std::pair<unsigned long, std::string>> values;
};

namespace {

obRegKey g_localMachine;

const char kHiveName[] = "hkey_local_machine\\";

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Trim(const std::string& text) {
  size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return "";
  size_t end = text.find_last_not_of(" \t\r");
  return text.substr(begin, end - begin + 1);
}

// A quoted text at the start of s: its contents, with s advanced past it.
bool TakeQuoted(std::string& s, std::string& out) {
  if (s.size() < 2 || s[0] != '"') return false;
  size_t close = s.find('"', 1);
  if (close == std::string::npos) return false;
  out = s.substr(1, close - 1);
  s = Trim(s.substr(close + 1));
  return true;
}

// One value line into key; lines that do not parse are skipped.
void ParseValue(std::string line, obRegKey* key) {
  std::string name, text;
  if (!TakeQuoted(line, name) || line.empty() || line[0] != '=') return;
  line = Trim(line.substr(1));
  if (TakeQuoted(line, text)) {
    key->values[name] = {REG_SZ, text + '\0'};
    return;
  }
  if (line.compare(0, 6, "dword:") != 0 || line.size() == 6 || line.size() > 14) return;
  char* end = nullptr;
  unsigned long number = std::strtoul(line.c_str() + 6, &end, 16);
  if (*end != '\0') return;
  std::uint32_t dword = static_cast<std::uint32_t>(number);
  key->values[name] = {REG_DWORD, std::string(reinterpret_cast<const char*>(&dword), sizeof dword)};
}

void LoadKey(obRegKey* key) {
  const char* file = std::getenv("NYCERT_REGISTRY");
  std::ifstream in(file && *file ? file : "/etc/nycert/registry");
  bool inKey = false;
  for (std::string line; std::getline(in, line);) {
    line = Trim(line);
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '[' && line.back() == ']') {
      std::string section = Lower(line.substr(1, line.size() - 2));
      inKey = section.compare(0, sizeof kHiveName - 1, kHiveName) == 0 &&
              section.substr(sizeof kHiveName - 1) == key->path;
    } else if (inKey) {
      ParseValue(line, key);
    }
  }
}

}  // namespace

const HKEY HKEY_LOCAL_MACHINE = &g_localMachine;

long RegCreateKeyA(HKEY hive, const char* subKey, HKEY* result) {
  if (hive != HKEY_LOCAL_MACHINE || !subKey || !result) return ERROR_INVALID_PARAMETER;
  obRegKey* key = new obRegKey;
  key->path = Lower(subKey);
  LoadKey(key);
  *result = key;
  return ERROR_SUCCESS;
}

long RegQueryValueExA(HKEY key, const char* name, unsigned long* reserved, unsigned long* type, unsigned char* data,
                      unsigned long* size) {
  if (!key || key == HKEY_LOCAL_MACHINE || !name || reserved) return ERROR_INVALID_PARAMETER;
  auto found = key->values.find(name);
  if (found == key->values.end()) return ERROR_FILE_NOT_FOUND;
  const std::string& value = found->second.second;
  if (type) *type = found->second.first;
  if (!size) return data ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
  unsigned long room = *size;
  *size = static_cast<unsigned long>(value.size());
  if (!data) return ERROR_SUCCESS;
  if (room < value.size()) return ERROR_MORE_DATA;
  std::memcpy(data, value.data(), value.size());
  return ERROR_SUCCESS;
}

long RegCloseKey(HKEY key) {
  if (!key || key == HKEY_LOCAL_MACHINE) return ERROR_INVALID_PARAMETER;
  delete key;
  return ERROR_SUCCESS;
}
