// Factories of the speech classes that the class table lists. MIT licence.
#ifndef QXSPEECH_PLATFORM_SPEECHCLASSES_H
#define QXSPEECH_PLATFORM_SPEECHCLASSES_H

#include <string>
#include <windows.h>

#include <sapi.h>

namespace qxplatform
{

HRESULT CreateSpVoice(REFIID iid, void** object);
HRESULT CreateSpStream(REFIID iid, void** object);
HRESULT CreateSpObjectToken(REFIID iid, void** object);
HRESULT CreateSpObjectTokenCategory(REFIID iid, void** object);

// A token that stands for the installed voice of that full id; the caller owns the reference. SPERR_NOT_FOUND if there
// is no such voice.
HRESULT CreateVoiceToken(const std::wstring& id, ISpObjectToken** token);

} // namespace qxplatform

#endif
