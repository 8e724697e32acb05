// The RDN scanner: cuts the string form of a distinguished name into
// relative distinguished names, each a few "keyword=value" assertions.
//
// A seven-state machine over the characters (space and line feed are blanks):
//   0 before a keyword   blanks skipped; anything else starts a keyword
//   1 in a keyword       "=" ends it (3); a blank ends it (2)
//   2 after a keyword    blanks skipped; "=" (3); anything else is an error
//   3 after "="          blanks skipped; a double quote opens a quoted value
//                        (5); anything else starts a plain value (4)
//   4 in a plain value   "," ends the RDN; "+" or ";" ends the assertion (0);
//                        blanks before either are dropped
//   5 in a quoted value  a double quote closes it (6)
//   6 after the quote    "," ends the RDN; any other character is skipped (0)
// In states 4 and 5 a backslash is stored and then overwritten by the next
// character; every backslash sets the escape, an escaped one included, so
// "\\x" keeps only the x. The end of the text completes the RDN in states 0,
// 4 (trailing blanks kept) and 6, and is an error in the others.
#ifndef NYCERT_NAMES_DN_SCANNER_INTERNAL_H_
#define NYCERT_NAMES_DN_SCANNER_INTERNAL_H_

// The most assertions one RDN may hold.
constexpr int kDNMaxAssertions = 5;

// One assertion: both texts are zero-terminated inside the scanned text.
struct obDNAssertionText {
  const char* keyword;
  const char* value;
};

class obDNScanner {
 public:
  // text is a private, writable copy that the scanner cuts up in place.
  explicit obDNScanner(char* text) : cur_(text) {}
  obDNScanner(const obDNScanner&) = delete;
  obDNScanner& operator=(const obDNScanner&) = delete;

  // Cuts off the next RDN and stores its assertions in string order: their
  // count, 0 when only blanks are left, or -1 (reported) on an error.
  int Next(obDNAssertionText (&out)[kDNMaxAssertions]);

 private:
  enum Step { kGoOn, kRdnEnd, kFail };

  Step Feed(char c);
  Step FeedPlain(char c);
  Step FeedQuoted(char c);
  // Stores a value character; an escaped one overwrites the backslash before it.
  void Store(char c);
  // Ends the value at end and adds the assertion: false (reported) past the limit.
  bool Add(char* end);
  int Finish();

  char* cur_;
  int state_ = 0;
  const char* keyword_ = nullptr;
  char* value_ = nullptr;
  char* write_ = nullptr;
  char* keep_ = nullptr;  // end of the value without trailing blanks
  bool escaped_ = false;
  obDNAssertionText* out_ = nullptr;
  int count_ = 0;
};

#endif  // NYCERT_NAMES_DN_SCANNER_INTERNAL_H_
