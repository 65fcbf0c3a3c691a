// Builds without Direct3D 11: no device is ever taken. MIT licence.
#include "mediakit/d3d11device.h"

bool mkHasD3D11()
{
    return false;
}

void mkAddRefD3D11(ID3D11Device*, ID3D11DeviceContext*) {}

void mkReleaseD3D11(ID3D11Device*, ID3D11DeviceContext*) {}

AVBufferRef* mkCreateD3D11DeviceContext(ID3D11Device*, ID3D11DeviceContext*)
{
    return nullptr;
}
