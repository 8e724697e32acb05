#include "nycert/names/dn_scanner_internal.h"

#include "nycert/buffers/diag.h"
#include "nycert/names/dn_chars_internal.h"

namespace {

enum State { kBeforeKeyword, kKeyword, kAfterKeyword, kAfterEquals, kPlain, kQuoted, kAfterQuote };

}  // namespace

int obDNScanner::Next(obDNAssertionText (&out)[kDNMaxAssertions]) {
  out_ = out;
  count_ = 0;
  state_ = kBeforeKeyword;
  for (; *cur_; ++cur_) {
    Step step = Feed(*cur_);
    if (step == kFail) return -1;
    if (step == kRdnEnd) {
      ++cur_;
      return count_;
    }
  }
  return Finish();
}

obDNScanner::Step obDNScanner::Feed(char c) {
  switch (state_) {
    case kBeforeKeyword:
      if (!obDNIsBlank(c)) {
        keyword_ = cur_;
        state_ = kKeyword;
      }
      return kGoOn;
    case kKeyword:
      if (c == '=' || obDNIsBlank(c)) {
        *cur_ = '\0';
        state_ = c == '=' ? kAfterEquals : kAfterKeyword;
      }
      return kGoOn;
    case kAfterKeyword:
      if (obDNIsBlank(c)) return kGoOn;
      if (c != '=') {
        OB_HERROR("dn_explode_prefix: '=' expected after %s", keyword_);
        return kFail;
      }
      state_ = kAfterEquals;
      return kGoOn;
    case kAfterEquals:
      if (obDNIsBlank(c)) return kGoOn;
      value_ = write_ = keep_ = cur_;
      escaped_ = false;
      state_ = c == '"' ? kQuoted : kPlain;
      return c == '"' ? kGoOn : FeedPlain(c);
    case kPlain:
      return FeedPlain(c);
    case kQuoted:
      return FeedQuoted(c);
    default:  // after a closing quote
      if (c == ',') return kRdnEnd;
      state_ = kBeforeKeyword;
      return kGoOn;
  }
}

obDNScanner::Step obDNScanner::FeedPlain(char c) {
  if (!escaped_ && (c == ',' || c == '+' || c == ';')) {
    if (!Add(keep_)) return kFail;
    state_ = kBeforeKeyword;
    return c == ',' ? kRdnEnd : kGoOn;
  }
  bool significant = escaped_ || !obDNIsBlank(c);
  Store(c);
  if (significant) keep_ = write_;
  return kGoOn;
}

obDNScanner::Step obDNScanner::FeedQuoted(char c) {
  if (!escaped_ && c == '"') {
    if (!Add(write_)) return kFail;
    state_ = kAfterQuote;
    return kGoOn;
  }
  Store(c);
  return kGoOn;
}

void obDNScanner::Store(char c) {
  if (escaped_)
    write_[-1] = c;
  else
    *write_++ = c;
  escaped_ = c == '\\';
}

bool obDNScanner::Add(char* end) {
  if (count_ == kDNMaxAssertions) {
    OB_HERROR("dn_explode_prefix: Too many assertions in prefix. %d %d", count_ + 1, kDNMaxAssertions);
    return false;
  }
  *end = '\0';
  out_[count_++] = {keyword_, value_};
  return true;
}

int obDNScanner::Finish() {
  switch (state_) {
    case kBeforeKeyword:
    case kAfterQuote:
      return count_;
    case kPlain:
      return Add(write_) ? count_ : -1;
    default:
      OB_HERROR("dn_explode_prefix: unexpected end of name after %s", keyword_);
      return -1;
  }
}
