// The system's proxy configuration as the library asks for it, declared for systems that lack it. MIT licence.
#ifndef QXSPEECH_WIN32API_WININET_H
#define QXSPEECH_WIN32API_WININET_H

#include <windows.h>

using HINTERNET = LPVOID;

#define INTERNET_OPTION_PER_CONNECTION_OPTION 75

#define INTERNET_PER_CONN_FLAGS 1
#define INTERNET_PER_CONN_PROXY_SERVER 2

#define PROXY_TYPE_DIRECT 0x00000001
#define PROXY_TYPE_PROXY 0x00000002
#define PROXY_TYPE_AUTO_PROXY_URL 0x00000004
#define PROXY_TYPE_AUTO_DETECT 0x00000008

struct INTERNET_PER_CONN_OPTIONW {
    DWORD dwOption;
    union {
        DWORD dwValue;
        LPWSTR pszValue; // from a query: freed with GlobalFree; null for none
    } Value;
};
using LPINTERNET_PER_CONN_OPTIONW = INTERNET_PER_CONN_OPTIONW*;

struct INTERNET_PER_CONN_OPTION_LISTW {
    DWORD dwSize;
    LPWSTR pszConnection; // null: the default connection
    DWORD dwOptionCount;
    DWORD dwOptionError;
    LPINTERNET_PER_CONN_OPTIONW pOptions;
};

BOOL InternetQueryOptionW(HINTERNET internet, DWORD option, LPVOID buffer, LPDWORD bufferLength);

#endif
