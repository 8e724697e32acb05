// Reading the objects of a file given on the command line: DER or PEM, one
// object or many.
#ifndef NYCERT_TOOLS_TOOL_INPUT_H_
#define NYCERT_TOOLS_TOOL_INPUT_H_

#include <string>
#include <vector>

#include "nycert/certs/cert.h"

// One object found in a file: its PEM label ("" for DER input) and its
// octets, or the reason it could not be read.
struct ToolObject {
  std::string label;
  std::vector<unsigned char> der;
  std::string error;
};

// The objects of the file at path, in file order: true, or false with error
// set when the file cannot be read or holds nothing recognisable.
bool ReadToolObjects(const std::string& path, std::vector<ToolObject>& objects, std::string& error);

// The same for bytes already read (a file's or a download's).
bool ParseToolObjects(const std::vector<unsigned char>& bytes, std::vector<ToolObject>& objects, std::string& error);

// The value of a "-d" option, "1", "2" or "3": true with details set, or false.
bool ParseDetailOption(const std::string& text, obCertHerrorDetails& details);

// The value of a time-out option, 1 to 3600 seconds: true with seconds
// set, or false.
bool ParseSecondsOption(const std::string& text, long& seconds);

// The value of a time option: seconds since 1970, or YYYY-MM-DD[THH:MM:SS]
// in UTC. True with seconds set, or false.
bool ParseTimeOption(const std::string& text, long& seconds);

#endif  // NYCERT_TOOLS_TOOL_INPUT_H_
