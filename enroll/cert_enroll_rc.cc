#include "nycert/enroll/cert_enroll_rc.h"

namespace {

// The texts of -46 to 3, one slot per value; unassigned values are null.
constexpr int kFirstRC = -46;
const char* const kRCTexts[] = {
    "Cannot connect to the Enforcement Module.\nCheck that the Module is accessible and that\n"
    "'Tessaly Foundation' service is started.",
    "Failed to send data to the Enforcement Module.",
    "Invalid module IP Address.",
    "Timeout exceeded. Check that the Enforcement Module is\n"
    "accessible and that 'Tessaly Foundation' service is started.",
    "Failed to read data from the Enforcement Module.",
    "DN is not valid.",
    "Cannot connect to the Enforcement Module. \nCheck that the Module is accessible and that\n"
    "'Tessaly Foundation' service is started on the module.",
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // -39 to -32
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,           // -31 to -25
    "Failed to generate keys on module.",
    "Illegal key length.",
    "Failed to get CA reply.",
    "Failed to read current certificate.",
    "Failed preparing certificate request.",
    "Invalid enrollment parameters.",
    "DKM is not supported.",
    "Bad CA address.",
    "Bad response. The response is too long.",
    "Failed to send message to the CA.",
    "Failed to connect the CA enrollment server. Check the connectivity to the CA enrollment server machine.",
    "Failed to initialize TCP connection (Internal error).",
    "Got an error response from the CA.",
    "The new issued certificate does not match the enrollment request.",
    "Bad certificate chain in the response.",
    "The CA has rejected the enrollment request.",
    "The CA does not support this enrollment version.",
    "Bad Response format.",
    "Response Authentication failure.",
    "Unsupported Algorithm (signature / hash).",
    "Internal Error (Encoding failure).",
    "Bad CA certificate.",
    "Memory allocation problem.",
    "Internal Error.",
    "No Problem.",
    "Will return async.",
    "Operation finished successfully (hardware keys).",
    "Operation finished successfully (software keys).",
};
constexpr int kRCCount = static_cast<int>(sizeof kRCTexts / sizeof kRCTexts[0]);
static_assert(kFirstRC + kRCCount - 1 == nyCertEnroll_RC_OKSoftwareKeys, "one text slot per value from -46 to 3");

const char* const kOperationTexts[] = {"Certificate Enrollment.", "Certificate Renewal.",
                                       "Pending Certificate Retrieval."};

}  // namespace

const char* nyCertEnroll_RC_2str(nyCertEnroll_RC rc) {
  int slot = static_cast<int>(rc) - kFirstRC;
  if (slot < 0 || slot >= kRCCount || !kRCTexts[slot]) return "";
  return kRCTexts[slot];
}

const char* nyCertEnroll_Operation_2str(nyCertEnroll_Operation op) {
  int slot = static_cast<int>(op) - nyCertEnroll_Operation_Enroll;
  if (slot < 0 || slot >= 3) return "";
  return kOperationTexts[slot];
}
