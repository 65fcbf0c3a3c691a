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

#endif
