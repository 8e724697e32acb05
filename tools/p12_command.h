// `nycert p12`: lists, writes, unpacks and re-protects PKCS #12 key files.
#ifndef NYCERT_TOOLS_P12_COMMAND_H_
#define NYCERT_TOOLS_P12_COMMAND_H_

// args are the words after "p12". The exit status: 0 on success, 1 when a
// file cannot be read or written or a password is wrong, 2 for a usage error.
int P12Command(int argc, char** argv);

#endif  // NYCERT_TOOLS_P12_COMMAND_H_
