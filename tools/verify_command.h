// nycert verify: validates a certificate chain against trusted roots and CRLs.
#ifndef NYCERT_TOOLS_VERIFY_COMMAND_H_
#define NYCERT_TOOLS_VERIFY_COMMAND_H_

// argv holds the arguments after "verify": the exit status.
int VerifyCommand(int argc, char** argv);

#endif  // NYCERT_TOOLS_VERIFY_COMMAND_H_
