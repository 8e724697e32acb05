// Running the built nycert program as a user runs it.
#ifndef NYCERT_TESTS_SUPPORT_TOOL_RUN_H_
#define NYCERT_TESTS_SUPPORT_TOOL_RUN_H_

#include <string>

struct ToolResult {
  int status;          // the exit status, or -1 when it did not exit normally
  std::string output;  // standard output and error together
};

// Runs "<nycert> args" through the shell (args are shell words, quote as
// needed). Without a built tool the status is -1.
ToolResult RunNycert(const std::string& args);

// text in single quotes for the shell.
std::string ShellQuote(const std::string& text);

// How often what occurs in text.
size_t CountOccurrences(const std::string& text, const std::string& what);

#endif  // NYCERT_TESTS_SUPPORT_TOOL_RUN_H_
