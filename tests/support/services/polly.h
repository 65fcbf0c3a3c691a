// Amazon Polly, with its signed requests. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_POLLY_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_POLLY_H

#include "backend.h"

namespace loopback
{

Answer PollyAnswer(const Request& request, const std::string& region, const Settings& settings);
// The type goes into x-amzn-ErrorType, with the service's own tail behind a colon.
Answer PollyError(int status, const std::string& type, const std::string& message);
std::string PollyErrorTypeOf(int status);
std::string PollyVoices(); // JSON

} // namespace loopback

#endif
