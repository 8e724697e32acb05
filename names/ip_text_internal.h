// The text form of the octets of an iPAddress general name.
#ifndef NYCERT_NAMES_IP_TEXT_INTERNAL_H_
#define NYCERT_NAMES_IP_TEXT_INTERNAL_H_

#include <string>

// True for the lengths an iPAddress may have: an IPv4 or IPv6 address (4,
// 16), or such an address followed by its mask as name constraints use (8, 32).
bool obIPLengthOk(int len);

// "a.b.c.d" for 4 octets, the usual IPv6 text for 16, and "address/mask"
// for 8 and 32; empty for other lengths.
std::string obIPText(const unsigned char* octets, int len);

#endif  // NYCERT_NAMES_IP_TEXT_INTERNAL_H_
