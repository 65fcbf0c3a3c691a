// An engine's failure record in this program's terms. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_FAILURES_H
#define QXSPEECH_EXAMPLES_SAY_FAILURES_H

#include "exitstatus.h"
#include "speech/speechfailure.h"

namespace say
{

// What happened and, behind a colon, what the service itself said; "" for no failure.
wxString Describe(const wxTTSFailure& failure);
// With the exit status of its category. The text says it if there is no failure to describe.
Failure ToFailure(const wxTTSFailure& failure, const wxString& otherwise);
// Whether the next request would wait for the same host, or the way to it, in vain.
bool IsOutOfReach(const wxTTSFailure& failure);

} // namespace say

#endif
