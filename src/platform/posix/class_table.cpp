// The classes that CoCreateInstance knows without being told. MIT licence.
#include "platform/posix/audioclasses.h"
#include "platform/posix/com.h"
#include "platform/posix/speechclasses.h"

namespace qxplatform
{

const std::vector<DefaultClass>& DefaultClasses()
{
    static const std::vector<DefaultClass>* const classes = new std::vector<DefaultClass>{
        {&CLSID_MMDeviceEnumerator, CreateMMDeviceEnumerator, false},
        {&CLSID_SpObjectTokenCategory, CreateSpObjectTokenCategory, true},
        {&CLSID_SpObjectToken, CreateSpObjectToken, true},
#ifndef QXSPEECH_NO_ESPEAK
        {&CLSID_SpStream, CreateSpStream, true},
        {&CLSID_SpVoice, CreateSpVoice, true},
#endif
    };
    return *classes;
}

bool NeedsStart(REFCLSID clsid)
{
    for (const DefaultClass& known : DefaultClasses()) {
        if (*known.clsid == clsid)
            return known.needsStart;
    }
    return true;
}

} // namespace qxplatform
