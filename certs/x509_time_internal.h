// The time fields of certificates and CRLs, written the way RFC 5280 asks:
// UTCTime for the years 1950 to 2049, GeneralizedTime outside them.
#ifndef NYCERT_CERTS_X509_TIME_INTERNAL_H_
#define NYCERT_CERTS_X509_TIME_INTERNAL_H_

class obASN_Time;

// Sets time to seconds since 1970 UTC: 0, or -1 for a time no form can hold.
int obX509SetTime(obASN_Time& time, long seconds);
// Seconds since 1970 UTC of either form: 0, or -1 when none is chosen or
// the text is not a valid time.
int obX509GetTime(const obASN_Time& time, long* seconds);

#endif  // NYCERT_CERTS_X509_TIME_INTERNAL_H_
