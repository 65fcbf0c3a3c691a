// The classes that CoCreateInstance knows without being told. MIT licence.
#include "platform/posix/audioclasses.h"
#include "platform/posix/com.h"
#include "platform/posix/speechclasses.h"

namespace qxplatform
{

const std::vector<DefaultClass>& DefaultClasses()
{
    static const std::vector<DefaultClass>* const classes = new std::vector<DefaultClass>{
        {&CLSID_MMDeviceEnumerator, CreateMMDeviceEnumerator},
        {&CLSID_SpObjectTokenCategory, CreateSpObjectTokenCategory},
        {&CLSID_SpObjectToken, CreateSpObjectToken},
#ifndef QXSPEECH_NO_ESPEAK
        {&CLSID_SpStream, CreateSpStream},
        {&CLSID_SpVoice, CreateSpVoice},
#endif
    };
    return *classes;
}

} // namespace qxplatform
