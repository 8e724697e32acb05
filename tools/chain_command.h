// `nycert chain`: puts a bag of certificates into chain order and anchors it
// at a trusted root.
#ifndef NYCERT_TOOLS_CHAIN_COMMAND_H_
#define NYCERT_TOOLS_CHAIN_COMMAND_H_

// args are the words after "chain". The exit status: 0 when the chain is
// anchored at a root, 1 when it is not, 2 for a usage error or input that
// cannot be read.
int ChainCommand(int argc, char** argv);

#endif  // NYCERT_TOOLS_CHAIN_COMMAND_H_
