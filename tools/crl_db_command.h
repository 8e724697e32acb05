// `nycert crl-db`: looks into the CRL database the CRL cache keeps on disk.
#ifndef NYCERT_TOOLS_CRL_DB_COMMAND_H_
#define NYCERT_TOOLS_CRL_DB_COMMAND_H_

// args are the words after "crl-db". The exit status: 0 on success, 1 when
// the database or a record cannot be read or a record holds no CRL, 2 for
// a usage error.
int CrlDbCommand(int argc, char** argv);

#endif  // NYCERT_TOOLS_CRL_DB_COMMAND_H_
