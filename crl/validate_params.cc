#include "nycert/crl/validate_params.h"

#include <new>

ValidateParams::ValidateParams() : imp_(new ValidateParams_imp) {}

ValidateParams::ValidateParams(int crlValidation, int ocspValidation, int certStartGrace,
                               int certEndGrace, int crlStartGrace, int crlEndGrace,
                               int checkThisUpd, int checkNextUpd)
    : imp_(new ValidateParams_imp{crlValidation != 0, ocspValidation, certStartGrace,
                                  certEndGrace, crlStartGrace, crlEndGrace, checkThisUpd != 0,
                                  checkNextUpd != 0}) {}

ValidateParams::ValidateParams(const ValidateParams& other)
    : imp_(new ValidateParams_imp(*other.imp_)) {}

ValidateParams& ValidateParams::operator=(const ValidateParams& other) {
  *imp_ = *other.imp_;
  return *this;
}

ValidateParams::~ValidateParams() { delete imp_; }

ValidateParams* ValidateParams_New() { return new (std::nothrow) ValidateParams(); }

void ValidateParams_Set(ValidateParams* to, const ValidateParams* from) {
  if (to && from) to->Set(*from);
}

void ValidateParams_Free(ValidateParams* params) { delete params; }
