// Requests as lines for a reader, without what must stay secret. MIT licence.
#ifndef QXSPEECH_EXAMPLES_LOOPBACK_REQUESTLOG_H
#define QXSPEECH_EXAMPLES_LOOPBACK_REQUESTLOG_H

#include <string>

#include "support/services/services.h"

namespace loopbacktool
{

// One line for the request and its status, one for each header, one for the body, cut if it is long. Keys, tokens and
// signatures are "***"; bytes that would steer a terminal are "?".
std::string Describe(const loopback::Request& request);

} // namespace loopbacktool

#endif
