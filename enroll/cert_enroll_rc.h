// The outcome of an enrollment exchange and the kind of exchange, with the
// texts shown to the operator. Negative values are failures; -39 to -25 are
// unassigned.
#ifndef NYCERT_ENROLL_CERT_ENROLL_RC_H_
#define NYCERT_ENROLL_CERT_ENROLL_RC_H_

#include "nycert/platform/export.h"

enum nyCertEnroll_RC : int {
  nyCertEnroll_RC_ModuleConnectFailed = -46,
  nyCertEnroll_RC_ModuleSendFailed = -45,
  nyCertEnroll_RC_BadModuleAddress = -44,
  nyCertEnroll_RC_ModuleTimeout = -43,
  nyCertEnroll_RC_ModuleReadFailed = -42,
  nyCertEnroll_RC_BadDN = -41,
  nyCertEnroll_RC_ModuleServiceDown = -40,
  nyCertEnroll_RC_ModuleKeyGenFailed = -24,
  nyCertEnroll_RC_BadKeyLength = -23,
  nyCertEnroll_RC_NoCAReply = -22,
  nyCertEnroll_RC_CurrentCertUnreadable = -21,
  nyCertEnroll_RC_RequestFailed = -20,
  nyCertEnroll_RC_BadParameters = -19,
  nyCertEnroll_RC_DKMUnsupported = -18,
  nyCertEnroll_RC_BadCAAddress = -17,
  nyCertEnroll_RC_ResponseTooLong = -16,
  nyCertEnroll_RC_CASendFailed = -15,
  nyCertEnroll_RC_CAConnectFailed = -14,
  nyCertEnroll_RC_TcpInitFailed = -13,
  nyCertEnroll_RC_CAErrorResponse = -12,
  nyCertEnroll_RC_CertMismatch = -11,
  nyCertEnroll_RC_BadChain = -10,
  nyCertEnroll_RC_Rejected = -9,
  nyCertEnroll_RC_VersionUnsupported = -8,
  nyCertEnroll_RC_BadResponseFormat = -7,
  nyCertEnroll_RC_AuthFailure = -6,
  nyCertEnroll_RC_UnsupportedAlg = -5,
  nyCertEnroll_RC_EncodingFailed = -4,
  nyCertEnroll_RC_BadCACert = -3,
  nyCertEnroll_RC_NoMemory = -2,
  nyCertEnroll_RC_InternalError = -1,
  nyCertEnroll_RC_OK = 0,
  nyCertEnroll_RC_Async = 1,
  nyCertEnroll_RC_OKHardwareKeys = 2,
  nyCertEnroll_RC_OKSoftwareKeys = 3,
};

enum nyCertEnroll_Operation : int {
  nyCertEnroll_Operation_Enroll = 1,
  nyCertEnroll_Operation_Renew = 2,
  nyCertEnroll_Operation_Pending = 3,
};

// The text of rc, or "" for a value without one (never null).
NYCERT_EXPORT const char* nyCertEnroll_RC_2str(nyCertEnroll_RC rc);
// The text of op, or "" for a value without one (never null).
NYCERT_EXPORT const char* nyCertEnroll_Operation_2str(nyCertEnroll_Operation op);

#endif  // NYCERT_ENROLL_CERT_ENROLL_RC_H_
