// The local engine's decisions that need no voice: flags, wrappers, language values, texts of errors. MIT licence.
#ifndef QXSPEECH_SPEECH_SAPILOGIC_H
#define QXSPEECH_SPEECH_SAPILOGIC_H

#include <windows.h>

#include <sapi.h>

#include <wx/string.h>

#include "speech/speechfailure.h"

// What a transformation of this "Input format" (compared with case) has to do, before the properties add their bits.
int qxSapiTransformerOptions(const wxString& inputFormat);

// The flags of a speak call. options: bits of wxTTSSpeakOption; isXml: native input that declares itself XML.
DWORD qxSapiSpeakFlags(int options, bool isFile, bool isXml);

// The value of the property "Priority" as the voice takes it; unknown values are normal.
SPVPRIORITY qxSapiPriority(long priority);

// The text stripped on its left and, unless "<speak" stands anywhere in it, put into a speak element of this language.
wxString qxWrapSsml(const wxString& text, const wxString& language);

// The first language of a token's "Language" value, a list of hexadecimal ids separated by ";". A first item of more
// than four characters does not count as an item: the whole value is read then. SPERR_INVALID_TOKEN_ID, with language
// as it was, if what is read is empty, longer than eight characters or no number.
HRESULT qxParseSapiLanguage(const wxString& value, DWORD& language);

// Splits a token's id into the registry's root and the key below it. False for any root but the machine's and the
// user's.
bool qxSplitTokenId(const wxString& id, HKEY& root, wxString& key);

// What a speech suffered from. hasBegun: it may have been heard or written in part, as a call that waits for the end
// cannot tell from one that was refused; outputFile: where it went then, empty for the device.
wxTTSFailure qxSapiFailure(HRESULT hr, bool hasBegun, const wxString& outputFile);

// The output file does not open, or has no room.
wxTTSFailure qxUnwritable(const wxString& outputFile);

// The translated text of a failure code; empty for success. Logs the code of every failure.
wxString qxGetSAPIErrorDesc(HRESULT hr);

#endif
