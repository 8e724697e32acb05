// What the examples share: certificates, CRLs and keys read from PEM files
// (any number of blocks, text around them) or from one DER object, trusted
// roots put into a key holder, and PEM files written.
#ifndef NYCERT_EXAMPLES_EXAMPLE_FILES_H_
#define NYCERT_EXAMPLES_EXAMPLE_FILES_H_

#include <vector>

#include "nycert/buffers/filebuf.h"
#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"

// The DER objects of path: its PEM blocks labelled label, or the whole file
// when it is not PEM. Empty when the file cannot be read.
inline std::vector<nyBinBuf> ReadDerObjects(const char* path, const char* label) {
  std::vector<nyBinBuf> objects;
  nyBinBuf file;
  if (File2Buf(obString(path), file) != 0) return objects;
  if (!obPem_IsPem(file.Data(), file.Len())) {
    objects.push_back(file);
    return objects;
  }
  unsigned offset = 0;
  obPemBlock block;
  while (int rc = obPem_Next(reinterpret_cast<const char*>(file.Data()), file.Len(), offset, block)) {
    if (rc > 0 && block.label == label) objects.push_back(block.der);
  }
  return objects;
}

// Decodes every object of path as a T (obCert or obCRL) into list, which
// takes the references: false when there is none or one does not decode.
template <class T, class List>
bool ReadSignedObjects(const char* path, const char* label, List& list) {
  std::vector<nyBinBuf> objects = ReadDerObjects(path, label);
  for (const nyBinBuf& der : objects) {
    T* object = new T(der.Data(), der.Len());
    if (!object->OK()) {
      obFreeSigned(object);
      return false;
    }
    list.Add(object);
  }
  return !objects.empty();
}

inline bool ReadCertificates(const char* path, obCerts& certs) {
  return ReadSignedObjects<obCert>(path, "CERTIFICATE", certs);
}

inline bool ReadCrls(const char* path, obCRLs& crls) { return ReadSignedObjects<obCRL>(path, "X509 CRL", crls); }

// The first certificate of path with a reference for the caller, or null.
inline obCert* ReadCertificate(const char* path) {
  obCerts certs;
  if (!ReadCertificates(path, certs)) return nullptr;
  obSaveSigned(certs.Get(0));
  return certs.Get(0);
}

// An RSA private key from a PEM file ("PRIVATE KEY" or "RSA PRIVATE KEY"),
// or null; release it with obFreePubKey.
inline obPubKey* ReadPrivateKey(const char* path) {
  nyBinBuf text;
  if (File2Buf(obString(path), text) != 0) return nullptr;
  return obImportRSAKeyPEM(reinterpret_cast<const char*>(text.Data()), text.Len());
}

// Trusts every certificate of roots as a root CA named by its subject. The
// holder takes its own reference to each root CA object, so ours is
// released at once.
inline void TrustRoots(const obCerts& roots, obKeyHolder& holder) {
  for (int i = 0; i < roots.Count(); ++i) {
    obCert* cert = roots.Get(i);
    obRootCA* root = new obRootCA(cert->Subject()->GetStr(), cert, 0, obCaType_Internal, 0, nullptr, 0, nullptr, 0);
    holder.AddCA(root);
    obFreePKobj(root);
  }
}

// Writes der to path as one PEM block under label: false when it cannot.
inline bool WritePem(const char* path, const char* label, const nyBinBuf& der) {
  obString pem;
  if (Base64Encode_PEM(label, der.Data(), der.Len(), pem) != 0) return false;
  nyBinBuf text(pem.getstr(), pem.length());
  return Buf2File(obString(path), text) == 0;
}

#endif  // NYCERT_EXAMPLES_EXAMPLE_FILES_H_
