// obValidationRC: the result codes of certificate validation. They live here,
// below the CRL cache that answers with them; their texts and the validation
// itself are in nycert/validate/.
#ifndef NYCERT_CRL_VALIDATION_RC_H_
#define NYCERT_CRL_VALIDATION_RC_H_

enum obValidationRC : int {
  obValidationRC_OK = 0,
  obValidationRC_Async = -1,
  obValidationRC_BadInput = -1000,
  obValidationRC_NotYetValid = -999,
  obValidationRC_Expired = -998,
  obValidationRC_UnhandledCriticalExt = -997,
  obValidationRC_IssuerNotCA = -996,
  obValidationRC_PathLenExceeded = -995,
  obValidationRC_ChainInconsistent = -994,
  obValidationRC_BadSignature = -993,
  obValidationRC_WrongKeyUsage = -992,
  obValidationRC_Revoked = -991,
  obValidationRC_NoValidCRL = -990,
  obValidationRC_Timeout = -989,
  obValidationRC_EntrustBlocking = -988,
  obValidationRC_NameConstraints = -987,
  obValidationRC_CRLNotRetrieved = -986,
  obValidationRC_CRLNotYetValid = -985,
  obValidationRC_CRLExpired = -984,
  obValidationRC_OCSPDecodeFailed = -983,
  obValidationRC_OCSPConnect = -982,
  obValidationRC_OCSPMalformedRequest = -981,
  obValidationRC_OCSPInternalError = -980,
  obValidationRC_OCSPTryLater = -979,
  obValidationRC_OCSPSigRequired = -978,
  obValidationRC_OCSPUnauthorized = -977,
  obValidationRC_OCSPStatusUnknown = -975,
  obValidationRC_OCSPNoURL = -974,
  obValidationRC_OCSPProcessFailed = -973,
  obValidationRC_OCSPNoResponderCert = -972,
  obValidationRC_OCSPTimeWindow = -971,
  obValidationRC_OCSPInternal = -970,
  obValidationRC_OCSPPostFailed = -969,
  obValidationRC_OCSPEncodeFailed = -968,
};

#endif  // NYCERT_CRL_VALIDATION_RC_H_
