#include "nycert/certs/ext_names_internal.h"

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"

namespace {

//   GeneralName ::= CHOICE { otherName [0] AnotherName, rfc822Name [1] IA5String,
//       dNSName [2] IA5String, x400Address [3] ORAddress, directoryName [4] Name,
//       ediPartyName [5] EDIPartyName, uniformResourceIdentifier [6] IA5String,
//       iPAddress [7] OCTET STRING, registeredID [8] OBJECT IDENTIFIER }
// Name is a CHOICE, so [4] is explicit and holds one whole SEQUENCE.
bool IsDirectoryName(obDerSpan content) { return obExtReadWhole(content, kDerSequence, content); }

obGeneralName* FromText(obGNtype kind, obDerSpan text) {
  return new obGeneralName(kind, reinterpret_cast<const char*>(text.data), static_cast<int>(text.size));
}

// The kinds the generated codec converts: other names, x400 and EDI party
// names, registered identifiers.
obGeneralName* FromGenerated(obDerSpan tlv) {
  obASN_GeneralName asn;
  if (obAsnDecode(asn, tlv.data, tlv.size) < 0) return nullptr;
  return new obGeneralName(asn);
}

}  // namespace

bool obExtIsGeneralName(const obDerElement& element) {
  switch (element.tag) {
    case kGNother:
    case kGNrfc822:
    case kGNdns:
    case kGNx400:
    case kGNediParty:
    case kGNuri:
    case kGNip:
    case kGNregistered:
      return true;
    case kGNdirectory:
      return IsDirectoryName(element.content);
    default:
      return false;
  }
}

bool obExtCheckGeneralNames(obDerSpan content) {
  obDerReader r(content);
  obDerElement element;
  do {
    if (!r.Next(element) || !obExtIsGeneralName(element)) return false;
  } while (!r.AtEnd());
  return true;
}

obGeneralName* obExtMakeGeneralName(const obDerElement& element) {
  switch (element.tag) {
    case kGNrfc822:
      return FromText(obGN_rfc822Name, element.content);
    case kGNdns:
      return FromText(obGN_dNSName, element.content);
    case kGNuri:
      return FromText(obGN_uniformResourceIdentifier, element.content);
    case kGNip:
      return new obGeneralName(element.content.data, static_cast<int>(element.content.size));
    case kGNdirectory: {
      obDN dn(element.content.data, static_cast<int>(element.content.size));
      return dn.GetName() ? new obGeneralName(dn) : nullptr;
    }
    default:
      return FromGenerated(element.tlv);
  }
}

void obExtAddGeneralNames(obDerSpan content, obGeneralNames& out) {
  obDerReader r(content);
  obDerElement element;
  while (r.Next(element)) {
    if (obGeneralName* name = obExtMakeGeneralName(element)) out.Add(name);
  }
}

obASN_GeneralNames obExtAsnNames(const obGeneralNames* names, const char* owner) {
  obASN_GeneralNames out;
  for (int i = 0; names && i < names->Count(); ++i) {
    const obGeneralName* name = names->Get(i);
    if (!name) continue;
    if (name->ToAsn(out.Append()) < 0) {
      OB_HERROR("%s: Unsupported obGNtype: %d", owner, static_cast<int>(name->GetType()));
      out.items.pop_back();
    }
  }
  return out;
}
