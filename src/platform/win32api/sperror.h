// Result codes of the speech interfaces that the library meets. MIT licence.
#ifndef QXSPEECH_WIN32API_SPERROR_H
#define QXSPEECH_WIN32API_SPERROR_H

#include <windows.h>

#define SPERR_UNINITIALIZED (static_cast<HRESULT>(0x80045001u))
#define SPERR_ALREADY_INITIALIZED (static_cast<HRESULT>(0x80045002u))
#define SPERR_UNSUPPORTED_FORMAT (static_cast<HRESULT>(0x80045003u))
#define SPERR_INVALID_FLAGS (static_cast<HRESULT>(0x80045004u))
#define SPERR_DEVICE_BUSY (static_cast<HRESULT>(0x80045006u))
#define SPERR_DEVICE_NOT_SUPPORTED (static_cast<HRESULT>(0x80045007u))
#define SPERR_NO_MORE_ITEMS (static_cast<HRESULT>(0x80045039u))
#define SPERR_NOT_FOUND (static_cast<HRESULT>(0x8004503Au))
#define SPERR_INVALID_TOKEN_ID (static_cast<HRESULT>(0x80045041u))
#define SPERR_XML_BAD_SYNTAX (static_cast<HRESULT>(0x80045042u))

#endif
