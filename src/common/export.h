// Marks what the shared library exports. MIT licence.
#ifndef QXSPEECH_COMMON_EXPORT_H
#define QXSPEECH_COMMON_EXPORT_H

#if defined(_WIN32)
#if defined(QXSPEECH_BUILDING)
#define QXSPEECH_API __declspec(dllexport)
#else
#define QXSPEECH_API __declspec(dllimport)
#endif
#else
#define QXSPEECH_API __attribute__((visibility("default")))
#endif

// At the definition of a class that is nested in an exported one and reached by no host.
#if defined(_WIN32)
#define QXSPEECH_HIDDEN
#else
#define QXSPEECH_HIDDEN __attribute__((visibility("hidden")))
#endif

#endif
