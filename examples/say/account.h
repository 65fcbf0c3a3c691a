// Credentials of the web engines, from the environment and a private file. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_ACCOUNT_H
#define QXSPEECH_EXAMPLES_SAY_ACCOUNT_H

#include <map>
#include <string>
#include <wx/string.h>

#include "speech/tts.h"

namespace say
{

// By the names of the environment: AWS_ACCESS_KEY_ID, AWS_SECRET_ACCESS_KEY, AWS_REGION, AZURE_SPEECH_KEY,
// AZURE_SPEECH_REGION, GOOGLE_API_KEY; AWS_SESSION_TOKEN, which nothing uses; and PROXY, which is in the file alone.
using AccountValues = std::map<wxString, wxString>;

// Lines of NAME=VALUE; "#" begins a comment line, blanks round name and value, and a pair of quotes round the value, do
// not count. False with a reason, which names the line and holds no value, for an unknown name and for a line that is
// none of these.
bool ParseAccount(const wxString& text, AccountValues& values, wxString& reason);

// The environment's values without blanks round them, those of the file in their place; an empty path: no file. Throws
// Failure (kExitFile) if the file cannot be read or others may, or holds what ParseAccount refuses.
AccountValues LoadAccount(const std::string& path);

QXTTSAuthInfo AuthInfoOf(const AccountValues& values);

// "Microsoft Azure needs ..." with the names that the engine needs and those that are missing; empty if none is, or if
// the engine needs none.
wxString DescribeMissing(const wxString& engineId, const AccountValues& values);
// What is set for the engine and yet not used, in words; empty if nothing is.
wxString DescribeUnused(const wxString& engineId, const AccountValues& values);
// The region that the engine's requests go to; empty if it has none.
wxString RegionOf(const wxString& engineId, const AccountValues& values);
// Whether the engine needs credentials, that is, speaks over the network.
bool NeedsAccount(const wxString& engineId);

} // namespace say

#endif
