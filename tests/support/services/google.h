// Google Cloud Text-to-Speech. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_GOOGLE_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_GOOGLE_H

#include "backend.h"

namespace loopback
{

Answer GoogleAnswer(const Request& request, const Settings& settings);
Answer GoogleError(int status, const std::string& message);
std::string GoogleVoices(); // JSON

} // namespace loopback

#endif
