// `nycert show`: prints certificates found in files.
#ifndef NYCERT_TOOLS_SHOW_COMMAND_H_
#define NYCERT_TOOLS_SHOW_COMMAND_H_

// args are the words after "show". The exit status: 0 when every file was
// read and every object in it decoded, 1 otherwise, 2 for a usage error.
int ShowCommand(int argc, char** argv);

#endif  // NYCERT_TOOLS_SHOW_COMMAND_H_
