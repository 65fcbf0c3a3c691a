// Stands in for the voice and its streams until they are written: refuses to make them. MIT licence.
#include "platform/posix/speechclasses.h"

namespace qxplatform
{

HRESULT CreateSpVoice(REFIID, void**)
{
    return E_NOTIMPL;
}

HRESULT CreateSpStream(REFIID, void**)
{
    return E_NOTIMPL;
}

} // namespace qxplatform
