// Standard output and standard error. Shared with the other programs. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_CONSOLE_H
#define QXSPEECH_EXAMPLES_SAY_CONSOLE_H

#include "../common/console.h"

namespace say
{

using namespace tool;

} // namespace say

#endif
