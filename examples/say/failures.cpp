// Sentences and statuses. MIT licence.
#include "failures.h"

namespace say
{

wxString Describe(const wxTTSFailure& failure)
{
    if (failure.serviceMessage.empty() || failure.message.Contains(failure.serviceMessage))
        return failure.message;
    wxString sentence = failure.message;
    if (sentence.EndsWith("."))
        sentence.RemoveLast();
    return sentence + ": " + failure.serviceMessage;
}

Failure ToFailure(const wxTTSFailure& failure, const wxString& otherwise)
{
    const wxString told = Describe(failure);
    const wxString& text = told.empty() ? otherwise : told;
    switch (failure.category) {
    case wxTTS_FAILURE_DEVICE:
        return {kExitNoDevice, text};
    case wxTTS_FAILURE_STORAGE:
        return {kExitFile, text};
    default:
        return {kExitRefused, text};
    }
}

bool IsOutOfReach(const wxTTSFailure& failure)
{
    return failure.category == wxTTS_FAILURE_NETWORK || failure.category == wxTTS_FAILURE_PROXY ||
           failure.category == wxTTS_FAILURE_CERTIFICATE;
}

} // namespace say
