// NYCERT_EXPORT marks the public interface of the shared library. The library
// is built with hidden visibility by default, so a class, function or object
// that the umbrella header declares carries this mark, and internal helpers
// (scanners, span parsers, *_internal.h) do not.
#ifndef NYCERT_PLATFORM_EXPORT_H_
#define NYCERT_PLATFORM_EXPORT_H_

#if defined(__GNUC__)
#define NYCERT_EXPORT __attribute__((visibility("default")))
#else
#define NYCERT_EXPORT
#endif

#endif  // NYCERT_PLATFORM_EXPORT_H_
