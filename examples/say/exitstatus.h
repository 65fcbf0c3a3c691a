// The exit statuses. Shared with the other programs. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_EXITSTATUS_H
#define QXSPEECH_EXAMPLES_SAY_EXITSTATUS_H

#include "../common/exitstatus.h"

namespace say
{

using namespace tool;

} // namespace say

#endif
