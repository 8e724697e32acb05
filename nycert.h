// nycert: certificate and public-key-infrastructure library.
// The umbrella header: including it declares the whole public interface.
#ifndef NYCERT_NYCERT_H_
#define NYCERT_NYCERT_H_

#include "nycert/platform/mtmutex.h"
#include "nycert/platform/nybcrypt.h"
#include "nycert/platform/obd_env.h"
#include "nycert/platform/obrand.h"
#include "nycert/platform/obset.h"
#include "nycert/platform/obstream.h"
#include "nycert/platform/oserr.h"

#include "nycert/buffers/diag.h"
#include "nycert/buffers/filebuf.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"

#include "nycert/asn1/runtime/asn_any.h"
#include "nycert/asn1/runtime/asn_bits.h"
#include "nycert/asn1/runtime/asn_bool.h"
#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_enum.h"
#include "nycert/asn1/runtime/asn_external.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/asn1/runtime/asn_octs.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/asn1/runtime/asn_time.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/asn1/runtime/asn_unicode.h"
#include "nycert/asn1/runtime/asn_universal.h"

#include "nycert/asn1/modules/name_attributes.h"
#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkcs9.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"

#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "nycert/names/obdn_flat.h"

#include "nycert/keys/digest_info.h"
#include "nycert/keys/nysrsa.h"
#include "nycert/keys/pk_types.h"
#include "nycert/keys/pkcs1_pad.h"
#include "nycert/keys/pkobj.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_gen.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/keys/rsa_key_formats.h"

#endif  // NYCERT_NYCERT_H_
