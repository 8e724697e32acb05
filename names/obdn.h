// obDN: a distinguished name, held as its ASN.1 tree, with a string form for
// people and configuration files.
//
// A name decoded from DER keeps the DER and, after a strict check of it, only
// its RDN count: the tree is decoded from the DER the first time a member
// needs it (GetName, GetStr, GetRDN, IsSub, the edits, ...). Const members may
// run on one name from several threads at once: the tree and the string form
// are each made once and published atomically. Edits and the setters need
// the name to themselves.
//
// The tree runs from the root RDN (normally the country) to the most
// specific one (normally the common name); the string form lists them the
// other way round, so "CN=host,O=Example,C=US" holds C, then O, then CN.
// A name that failed to parse or decode has no tree: Count() is 0 and
// GetName() and GetStr() are null.
#ifndef NYCERT_NAMES_OBDN_H_
#define NYCERT_NAMES_OBDN_H_

#include <cstdio>
#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/platform/export.h"
#include "nycert/platform/publish_once.h"

class ObStream;

class NYCERT_EXPORT obDN_imp {
 public:
  obDN_imp();
  // Parses the string form.
  explicit obDN_imp(const char* text);
  // Checks the DER of an X.509 Name and keeps it; the tree comes later.
  obDN_imp(const unsigned char* der, int len);
  // A copy of the tree.
  explicit obDN_imp(const obASN_RDNSequence& name);
  // Deep copies: the DER, or without it the tree; the string cache is not copied.
  obDN_imp(const obDN_imp& other);
  obDN_imp& operator=(const obDN_imp& other);
  ~obDN_imp();

  // The number of RDNs; 0 without a tree.
  int Count() const;
  // Replace the name from a string, a tree or DER; each drops the string
  // cache. 0, or -1 (reported) leaving no tree. Decode refuses what DER
  // forbids and BER allows (indefinite lengths, constructed strings), and
  // empty RDNs.
  int Set(const char* text);
  int Set(const obASN_RDNSequence& name);
  int Decode(const unsigned char* der, int len);

  // The string form, owned by the name and valid until the next edit; null
  // without a tree or when a value cannot be printed. It is made on the
  // first call and kept. Unknown attribute types print through one buffer
  // shared by all names, so names holding them must not print from several
  // threads at once.
  const char* GetStr() const;
  // The tree, still owned by the name; null when there is none.
  const obASN_RDNSequence* GetName() const { return Tree(); }
  // The DER in a new block for the caller to release with delete[]: 0, or -1.
  int DerEncode(unsigned char** out, int* len) const;

  // Copies the printed value of the first attribute of type, searching from
  // the most specific RDN to the root: 0, or -1 when there is no tree, no
  // such attribute, no dst, size below 1, or the text does not fit.
  int GetRDN(const obAsnOid& type, char* dst, int size) const;
  int GetCN(char* dst, int size) const;
  int GetO(char* dst, int size) const;
  int GetOU(char* dst, int size) const;

  // 1 when other is this name or one of its ancestors: walking both from the
  // root, each RDN of other matches the RDN of this name at its place.
  int IsSub(const obDN_imp& other) const;
  // 1 when both have trees, the same number of RDNs, and IsSub holds.
  int Equal(const obDN_imp& other) const;
  bool operator==(const obDN_imp& other) const { return Equal(other) != 0; }
  bool operator!=(const obDN_imp& other) const { return Equal(other) == 0; }
  // 0 when some RDN holds an attribute of type; -1 when none does or there
  // is no tree. Note the sense: 0 means found.
  int IsContain(const obAsnOid& type) const;

  // Removes the most specific RDN when it holds a common name: 1, else 0
  // and the name is unchanged. Edits end the comparison by DER.
  int RemoveCN();
  // Removes every attribute of type, and RDNs left empty: the count removed.
  int RemoveOid(const obAsnOid& type);
  // When sub is an ancestor of this name (IsSub), removes the RDNs it
  // contributes, leaving the part below it: 1, else 0 and no change.
  int RemoveSubDN(const obDN_imp& sub);

  // "<title>: <string form>" through the diagnostic channel.
  void Herror(const char* title) const;
  // One line: indent tabs and the string form ("<none>" without a tree).
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

  // How many trees have been decoded from kept DER, by all names: lets tests
  // see that construction from DER builds none.
  static unsigned long TreesDecoded();

 private:
  // The tree, decoding it from der_ on first need; null when there is no name.
  const obASN_RDNSequence* Tree() const;
  obASN_RDNSequence* EditableTree();
  // Holds tree (or no name) and nothing else.
  void Reset(obASN_RDNSequence* tree);
  // The tree was changed: the DER and the string form no longer hold.
  void Edited();

  // Null until decoded from der_ or set from text or a tree.
  obPublishOnce<obASN_RDNSequence> name_;
  // The DER the name came from, until an edit: names decoded from
  // certificates compare by these octets first, which settles the common
  // case (an issuer against its CA's subject) without building the trees.
  obAsnBytes der_;
  // The RDN count of der_.
  int derCount_ = 0;
  obPublishOnce<std::string> str_;
};

// The handle: every member forwards to the implementation it owns.
class NYCERT_EXPORT obDN {
 public:
  obDN();
  explicit obDN(const char* text);
  obDN(const unsigned char* der, int len);
  explicit obDN(const obASN_RDNSequence& name);
  obDN(const obDN& other);
  obDN& operator=(const obDN& other);
  ~obDN();

  int Count() const;
  int Set(const char* text);
  int Set(const obASN_RDNSequence& name);
  int Decode(const unsigned char* der, int len);
  const char* GetStr() const;
  const obASN_RDNSequence* GetName() const;
  int DerEncode(unsigned char** out, int* len) const;
  int GetRDN(const obAsnOid& type, char* dst, int size) const;
  int GetCN(char* dst, int size) const;
  int GetO(char* dst, int size) const;
  int GetOU(char* dst, int size) const;
  int IsSub(const obDN& other) const;
  int Equal(const obDN& other) const;
  bool operator==(const obDN& other) const;
  bool operator!=(const obDN& other) const;
  int IsContain(const obAsnOid& type) const;
  int RemoveCN();
  int RemoveOid(const obAsnOid& type);
  int RemoveSubDN(const obDN& sub);
  void Herror(const char* title) const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

 private:
  obDN_imp* imp_;
};

#endif  // NYCERT_NAMES_OBDN_H_
