#include "tool_input.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>

#include "nycert/buffers/pem.h"

namespace {

bool ReadFile(const std::string& path, std::vector<unsigned char>& bytes, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = std::string("cannot open: ") + std::strerror(errno);
    return false;
  }
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in.bad()) {
    error = "read error";
    return false;
  }
  if (bytes.empty()) {
    error = "empty file";
    return false;
  }
  return true;
}

void ReadPemBlocks(const std::vector<unsigned char>& text, std::vector<ToolObject>& objects) {
  const char* chars = reinterpret_cast<const char*>(text.data());
  unsigned offset = 0;
  obPemBlock block;
  for (int rc; (rc = obPem_Next(chars, static_cast<unsigned>(text.size()), offset, block)) != 0;) {
    ToolObject object;
    object.label = block.label;
    if (rc < 0)
      object.error = "malformed PEM block" + (block.label.empty() ? std::string() : " \"" + block.label + "\"");
    else
      object.der.assign(block.der.Data(), block.der.Data() + block.der.Len());
    objects.push_back(std::move(object));
  }
}

}  // namespace

bool ReadToolObjects(const std::string& path, std::vector<ToolObject>& objects, std::string& error) {
  std::vector<unsigned char> bytes;
  return ReadFile(path, bytes, error) && ParseToolObjects(bytes, objects, error);
}

bool ParseToolObjects(const std::vector<unsigned char>& bytes, std::vector<ToolObject>& objects, std::string& error) {
  if (bytes.empty()) {
    error = "empty";
    return false;
  }
  if (!obPem_IsPem(bytes.data(), static_cast<unsigned>(bytes.size()))) {
    objects.push_back(ToolObject{"", bytes, ""});
    return true;
  }
  ReadPemBlocks(bytes, objects);
  if (objects.empty()) error = "no PEM block";
  return !objects.empty();
}

bool ParseDetailOption(const std::string& text, obCertHerrorDetails& details) {
  if (text.size() != 1 || text[0] < '1' || text[0] > '3') return false;
  details = static_cast<obCertHerrorDetails>(text[0] - '0');
  return true;
}

bool ParseSecondsOption(const std::string& text, long& seconds) {
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || value < 1 || value > 3600) return false;
  seconds = value;
  return true;
}

bool ParseTimeOption(const std::string& text, long& seconds) {
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (!text.empty() && *end == '\0') {
    seconds = value;
    return value > 0;
  }
  struct tm tm = {};
  const char* rest = strptime(text.c_str(), "%Y-%m-%d", &tm);
  if (rest && *rest == 'T') rest = strptime(rest + 1, "%H:%M:%S", &tm);
  if (!rest || *rest != '\0') return false;
  seconds = static_cast<long>(timegm(&tm));
  return seconds > 0;
}
