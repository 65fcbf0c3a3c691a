// Checks an AWS Signature Version 4 with code of its own. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_SIGNATURE_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_SIGNATURE_H

#include <ctime>

#include "services.h"

namespace loopback
{

// What is wrong with it, in the service's words; both empty if it is good.
struct SignatureFault {
    std::string type;
    std::string message;
};

// `now` is seconds since the epoch; a signature is good for 15 minutes around its time.
SignatureFault CheckSignature(const Request& request, const std::string& region, const std::string& service,
                              const Credentials& credentials, std::time_t now);

} // namespace loopback

#endif
