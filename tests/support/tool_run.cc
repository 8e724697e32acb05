#include "support/tool_run.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

ToolResult RunNycert(const std::string& args) {
  ToolResult run{-1, ""};
#ifdef NYCERT_TOOL_PATH
  std::string command = std::string(NYCERT_TOOL_PATH) + " " + args + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return run;
  char chunk[4096];
  for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) run.output.append(chunk, n);
  int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#else
  (void)args;
#endif
  return run;
}

std::string ShellQuote(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

size_t CountOccurrences(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

pid_t Spawn(const std::function<int()>& body) {
  pid_t pid = fork();
  if (pid == 0) _exit(body());
  return pid;
}

int Wait(pid_t pid) {
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
