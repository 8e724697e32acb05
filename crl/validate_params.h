// ValidateParams: the settings of one certificate validation. A plain value
// type kept here, below the CRL cache that reads its CRL graces; validation
// itself is in nycert/validate/.
#ifndef NYCERT_CRL_VALIDATE_PARAMS_H_
#define NYCERT_CRL_VALIDATE_PARAMS_H_

#include <cstdint>

#include "nycert/platform/export.h"

struct NYCERT_EXPORT ValidateParams_imp {
  int32_t crlValidation = 1;
  int32_t ocspValidation = 0;
  int32_t certStartGrace = -1;  // -1: the process-wide certificate start grace
  int32_t certEndGrace = -1;    // -1: none
  int32_t crlStartGrace = -1;   // -1: the CRL cache's global setting
  int32_t crlEndGrace = -1;     // -1: the CRL cache's global setting
  int32_t checkThisUpd = 1;
  int32_t checkNextUpd = 1;
};

class NYCERT_EXPORT ValidateParams {
 public:
  ValidateParams();
  // The fields in order. The CRL flag and both update checks are stored as
  // 0/1; the OCSP flag and the graces exactly as given.
  ValidateParams(int crlValidation, int ocspValidation, int certStartGrace, int certEndGrace,
                 int crlStartGrace, int crlEndGrace, int checkThisUpd, int checkNextUpd);
  ValidateParams(const ValidateParams& other);
  ValidateParams& operator=(const ValidateParams& other);
  ~ValidateParams();

  void Set(const ValidateParams& other) { *this = other; }

  int CRL_validation() const { return imp_->crlValidation; }
  int OCSP_validation() const { return imp_->ocspValidation; }
  int Cert_start_grace() const { return imp_->certStartGrace; }
  int Cert_end_grace() const { return imp_->certEndGrace; }
  int Crl_start_grace() const { return imp_->crlStartGrace; }
  int Crl_end_grace() const { return imp_->crlEndGrace; }
  int Check_this_upd() const { return imp_->checkThisUpd; }
  int Check_next_upd() const { return imp_->checkNextUpd; }

  // Plain stores, without normalisation.
  void Set_crl_validation(int v) { imp_->crlValidation = v; }
  void Set_ocsp_validation(int v) { imp_->ocspValidation = v; }
  void Set_cert_start_grace(int v) { imp_->certStartGrace = v; }
  void Set_cert_end_grace(int v) { imp_->certEndGrace = v; }
  void Set_crl_start_grace(int v) { imp_->crlStartGrace = v; }
  void Set_crl_end_grace(int v) { imp_->crlEndGrace = v; }
  void Set_check_this_upd(int v) { imp_->checkThisUpd = v; }
  void Set_check_next_upd(int v) { imp_->checkNextUpd = v; }

 private:
  ValidateParams_imp* imp_;
};

extern "C" {
// A new object with the default values, or null.
NYCERT_EXPORT ValidateParams* ValidateParams_New();
// Copies from into to; either null does nothing.
NYCERT_EXPORT void ValidateParams_Set(ValidateParams* to, const ValidateParams* from);
NYCERT_EXPORT void ValidateParams_Free(ValidateParams* params);
}

#endif  // NYCERT_CRL_VALIDATE_PARAMS_H_
