#include "nycert/asn1/runtime/asn_universal.h"

#include "nycert/asn1/runtime/asn_bits.h"
#include "nycert/asn1/runtime/asn_bool.h"
#include "nycert/asn1/runtime/asn_enum.h"
#include "nycert/asn1/runtime/asn_external.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/asn1/runtime/asn_octs.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/asn_time.h"

namespace {

template <class T>
obAsnType* Make() {
  return new T;
}

using Factory = obAsnType* (*)();

// Indexed by universal tag number.
constexpr Factory kFactories[] = {
    nullptr,                          // 0 end-of-contents
    Make<obAsnBool>,                  // 1
    Make<obAsnInt>,                   // 2
    Make<obAsnBits>,                  // 3
    Make<obAsnOcts>,                  // 4
    Make<obAsnNull>,                  // 5
    Make<obAsnOid>,                   // 6
    Make<obAsnObjectDescriptor>,      // 7
    Make<obAsnEXTERNAL>,              // 8
    nullptr,                          // 9 REAL
    Make<obAsnEnum>,                  // 10
    nullptr,                          // 11 EMBEDDED PDV
    Make<obAsnUTF8String>,            // 12
    nullptr, nullptr, nullptr,        // 13 RELATIVE-OID, 14, 15
    nullptr, nullptr,                 // 16 SEQUENCE, 17 SET
    Make<obAsnNumericString>,         // 18
    Make<obAsnPrintableString>,       // 19
    Make<obAsnTeletexString>,         // 20
    Make<obAsnVideotexString>,        // 21
    Make<obAsnIA5String>,             // 22
    Make<obAsnUTCTime>,               // 23
    Make<obAsnGeneralizedTime>,       // 24
    Make<obAsnGraphicString>,         // 25
    Make<obAsnVisibleString>,         // 26
    Make<obAsnGeneralString>,         // 27
    Make<obAsnUniversalString>,       // 28
    nullptr,                          // 29 CHARACTER STRING
    Make<obAsnBMPString>,             // 30
};

}  // namespace

obAsnType* obAsnNewUniversal(unsigned tagNumber) {
  if (tagNumber >= sizeof kFactories / sizeof kFactories[0] || !kFactories[tagNumber]) return nullptr;
  return kFactories[tagNumber]();
}
