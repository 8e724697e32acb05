#include "nycert/names/ip_text_internal.h"

#include <arpa/inet.h>

#include <cstdio>

namespace {

std::string AddressText(const unsigned char* octets, int len) {
  char text[INET6_ADDRSTRLEN];
  if (len == 4) {
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", octets[0], octets[1], octets[2], octets[3]);
    return text;
  }
  return len == 16 && inet_ntop(AF_INET6, octets, text, sizeof text) ? text : "";
}

}  // namespace

bool obIPLengthOk(int len) { return len == 4 || len == 16 || len == 8 || len == 32; }

std::string obIPText(const unsigned char* octets, int len) {
  if (len == 8 || len == 32) return AddressText(octets, len / 2) + "/" + AddressText(octets + len / 2, len / 2);
  return AddressText(octets, len);
}
