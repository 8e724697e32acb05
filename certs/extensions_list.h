// obExtensionsList: the handled extensions of a certificate or CRL, in the
// order they were met, and the table-driven processing that fills it.
//
//   Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
//   Extension  ::= SEQUENCE { extnID OBJECT IDENTIFIER,
//                             critical BOOLEAN DEFAULT FALSE,
//                             extnValue OCTET STRING }
#ifndef NYCERT_CERTS_EXTENSIONS_LIST_H_
#define NYCERT_CERTS_EXTENSIONS_LIST_H_

#include <cstdio>
#include <memory>
#include <vector>

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/extension.h"
#include "nycert/platform/export.h"
#include "nycert/platform/publish_once.h"

class obExtension;
class obASN_Extensions;
class ObStream;

// Turns the octets inside one extension's extnValue into an object (or
// null), and sets accepted when it understood the value. A critical
// extension counts as handled only when both hold.
typedef obExtension* (*obExtHandlerFn)(obDerSpan value, int critical, int& accepted);

// One row of a handler table; a null handle is the "ignore" handler: the
// extension is skipped whatever its criticality.
struct NYCERT_EXPORT obExtHandler {
  const obAsnOid* oid;
  obExtHandlerFn handle;
};

struct NYCERT_EXPORT obExtHandlerTable {
  const obExtHandler* rows;
  size_t count;
};

// The table certificates are decoded with.
NYCERT_EXPORT const obExtHandlerTable& obCertExtHandlers();

// When Process makes the objects of handled extensions that are not critical.
enum class obExtMaking {
  kAtOnce,
  // When first asked for (threads may ask at once): the octets processed
  // must then stay unchanged for the list's life, as a certificate's own
  // copy does. One whose value turns out malformed is then listed, and At()
  // gives null for it, where kAtOnce would have left it out.
  kOnFirstUse,
};

class NYCERT_EXPORT obExtensionsList {
 public:
  obExtensionsList() = default;
  obExtensionsList(const obExtensionsList&) = delete;
  obExtensionsList& operator=(const obExtensionsList&) = delete;
  ~obExtensionsList();

  // Appends (oid, critical, ext), taking ext over; a null ext is refused: 0, or -1.
  int Add(const obAsnOid& oid, int critical, obExtension* ext);
  int Count() const { return static_cast<int>(entries_.size()); }
  // The object of the first entry with oid that has one, or null; the
  // critical flag of the first entry with oid (0 when absent).
  obExtension* Get(const obAsnOid& oid) const;
  int IsCritical(const obAsnOid& oid) const;
  // Entry i in insertion order (null outside 0..Count()-1, and for a
  // malformed one listed by kOnFirstUse).
  obExtension* At(int i) const;
  const obAsnOid* OidAt(int i) const;
  int CriticalAt(int i) const;
  void Clear();

  // Runs the content octets of an Extensions SEQUENCE through table, adding
  // what the handlers return. 0 when processing reached the end; 1 when it
  // stopped at a critical extension nobody handled, whose OID goes to
  // unhandled (the rest is only checked for form); -1 when the DER is
  // malformed.
  int Process(obDerSpan extensionsContent, const obExtHandlerTable& table, obAsnOid& unhandled,
              obExtMaking making = obExtMaking::kAtOnce);
  // The same over a decoded sequence, with the certificate table.
  int Set(const obASN_Extensions& extensions, obAsnOid& unhandled);
  // Writes the list as an Extensions sequence, OIDs in insertion order, each
  // extension's DER as its extnValue: 0, or -1.
  int Compose(obASN_Extensions& out) const;

  void Sprint(ObStream* s, int indent) const;
  void Fprint(FILE* f, int indent) const;
  void Herror() const;

 private:
  // Process refers to the handler table's identifier instead of copying it,
  // so a table's identifiers must outlive the lists it fills (the library's
  // tables use its constants).
  struct Entry {
    const obAsnOid* known = nullptr;
    std::unique_ptr<obAsnOid> own;  // an identifier given to Add
    int critical = 0;
    obPublishOnce<obExtension> ext;
    // For an object made on first use: its handler and extnValue content.
    obExtHandlerFn make = nullptr;
    obDerSpan value;
    const obAsnOid& Oid() const { return known ? *known : *own; }
  };
  // The entry's object, made now if it is made on first use; null when its value is malformed.
  static obExtension* Made(const Entry& entry);
  std::vector<Entry> entries_;
};

// The C interface; the list takes ext over.
NYCERT_EXPORT obExtensionsList* obExtensionsList_New();
NYCERT_EXPORT void obExtensionsList_Delete(obExtensionsList* list);
NYCERT_EXPORT int obExtensionsList_Add(obExtensionsList* list, obAsnOid* oid, int critical, obExtension* ext);

#endif  // NYCERT_CERTS_EXTENSIONS_LIST_H_
