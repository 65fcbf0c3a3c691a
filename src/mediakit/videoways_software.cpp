// The ways of a platform without Direct3D 11: those of system memory. MIT licence.
#include "mediakit/videoconverter.h"

std::unique_ptr<MKVideoConverter> mkMakeVideoConverter()
{
    return std::make_unique<MKVideoConverter>(nullptr);
}
