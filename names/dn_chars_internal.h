// Character classes of the string form of distinguished names.
#ifndef NYCERT_NAMES_DN_CHARS_INTERNAL_H_
#define NYCERT_NAMES_DN_CHARS_INTERNAL_H_

// Space and line feed separate words in names and fold in comparisons.
inline bool obDNIsBlank(int c) { return c == ' ' || c == '\n'; }

inline bool obDNIsDigit(int c) { return c >= '0' && c <= '9'; }

inline bool obDNIsLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// ASCII case folding only: names compare the same in every locale.
inline unsigned char obDNLower(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c - 'A' + 'a') : c;
}

// Characters a parsed value may hold and still be written as a PrintableString.
inline bool obDNIsPrintableChar(int c) {
  if (obDNIsLetter(c) || obDNIsDigit(c)) return true;
  switch (c) {
    case '\'': case '"': case '(': case ')': case '+': case ',': case '-':
    case '.': case '/': case ':': case '=': case '?': case ' ':
      return true;
    default:
      return false;
  }
}

// Characters a printed text value puts a backslash before.
inline bool obDNNeedsEscape(int c) {
  switch (c) {
    case ',': case '+': case '=': case '\n': case '<': case '>': case '#': case ';':
      return true;
    default:
      return false;
  }
}

// Octets a printed text value writes as a backslash and two hex digits:
// controls other than line feed and DEL always, and octets above ASCII
// when the value failed its string type's check (kept as received), so
// what was not text in its own type never reads as text.
inline bool obDNIsOddOctet(unsigned char c, bool checked) {
  return (c < 0x20 && c != '\n') || c == 0x7F || (c >= 0x80 && !checked);
}

#endif  // NYCERT_NAMES_DN_CHARS_INTERNAL_H_
