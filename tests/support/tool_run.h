// Running the built nycert program as a user runs it, and test bodies in
// child processes.
#ifndef NYCERT_TESTS_SUPPORT_TOOL_RUN_H_
#define NYCERT_TESTS_SUPPORT_TOOL_RUN_H_

#include <sys/types.h>

#include <functional>
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

// Runs body in a forked child whose exit status is body's answer: its pid.
pid_t Spawn(const std::function<int()>& body);
// The exit status of child pid, or 128 + the signal that ended it.
int Wait(pid_t pid);

#endif  // NYCERT_TESTS_SUPPORT_TOOL_RUN_H_
