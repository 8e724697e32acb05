#include "nycert/keys/dh_params.h"

#include <string>

#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/buffers/diag.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/dh_groups.h"
#include "nycert/platform/obstream.h"

class obDhParams_imp {
 public:
  obDhParams_imp(const char* name, const unsigned char* mod, int modLen, const unsigned char* gen, int genLen,
                 int privBits)
      : name_(name ? name : "") {
    if (!mod || modLen < 1 || !gen || genLen < 1 || privBits < 1) return;
    mod_.Set(mod, static_cast<unsigned>(modLen));
    gen_.Set(gen, static_cast<unsigned>(genLen));
    privBits_ = privBits;
  }

  std::string name_;
  nyBinBuf mod_;
  nyBinBuf gen_;
  int privBits_ = 0;
};

obDhParams::obDhParams(const char* name, const unsigned char* mod, int modLen, const unsigned char* gen, int genLen,
                       int privBits)
    : imp_(std::make_shared<obDhParams_imp>(name, mod, modLen, gen, genLen, privBits)) {}

obDhParams::obDhParams(const obDhGroupDef& group)
    : obDhParams(group.name, group.modulus, group.modLen, group.generator, group.genLen, group.privBits) {}

obDhParams::~obDhParams() = default;

const unsigned char* obDhParams::Mod() const { return imp_->mod_.Data(); }
int obDhParams::ModLen() const { return static_cast<int>(imp_->mod_.Len()); }
const unsigned char* obDhParams::Gen() const { return imp_->gen_.Data(); }
int obDhParams::GenLen() const { return static_cast<int>(imp_->gen_.Len()); }
int obDhParams::PrivBits() const { return imp_->privBits_; }
int obDhParams::PrivBytes() const { return (imp_->privBits_ + 7) / 8; }
int obDhParams::OK() const { return imp_->privBits_ > 0; }
const char* obDhParams::Name() const { return imp_->name_.c_str(); }

namespace {

// Bits of a big-endian number with no leading zero octet counted.
int NumberBits(const unsigned char* p, int len) {
  while (len > 0 && *p == 0) {
    ++p;
    --len;
  }
  if (len == 0) return 0;
  int bits = 8 * (len - 1);
  for (unsigned top = *p; top; top >>= 1) ++bits;
  return bits;
}

}  // namespace

void obDhParams::Sprint(ObStream* s, int indent) const {
  if (!s) return;
  const char* pad = obAsnIndent(indent);
  if (!OK()) {
    s->Printf("%sNot Ok\n", pad);
    return;
  }
  s->Printf("%sDH parameters:\n%s==============\n", pad, pad);
  s->Printf("%sPrivate bits %d:\n", pad, PrivBits());
  s->Printf("%sModulus:\n", pad);
  s->Printf("%sSize(bits): %d\n", pad, NumberBits(Mod(), ModLen()));
  obAsnSprintHex(s, Mod(), static_cast<unsigned long>(ModLen()), indent + 1);
  s->Printf("%sGenerator:\n", pad);
  s->Printf("%sSize(bits): %d\n", pad, NumberBits(Gen(), GenLen()));
  obAsnSprintHex(s, Gen(), static_cast<unsigned long>(GenLen()), indent + 1);
}

void obDhParams::Fprint(FILE* f, int indent) const {
  ObStream text;
  Sprint(&text, indent);
  std::fputs(text.c_str(), f ? f : stdout);
}

void obDhParams::Herror() const {
  if (!obDiagOn()) return;
  ObStream text;
  Sprint(&text, 0);
  obAsnHerrorLines(text.c_str());
}
