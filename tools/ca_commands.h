// The commands that run a small CA: `nycert genkey`, `nycert req`,
// `nycert sign` and `nycert crl-sign`. args are the words after the
// command's name. Each exits with 0 on success, 1 when an input cannot be
// read or the output cannot be made, and 2 for a usage error.
#ifndef NYCERT_TOOLS_CA_COMMANDS_H_
#define NYCERT_TOOLS_CA_COMMANDS_H_

int GenkeyCommand(int argc, char** argv);
int ReqCommand(int argc, char** argv);
int SignCommand(int argc, char** argv);
int CrlSignCommand(int argc, char** argv);

#endif  // NYCERT_TOOLS_CA_COMMANDS_H_
