// What the media kit needs of Direct3D 11; one source for builds that have it, one for those that don't. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_D3D11DEVICE_H
#define QXSPEECH_MEDIAKIT_D3D11DEVICE_H

struct AVBufferRef;
struct ID3D11Device;
struct ID3D11DeviceContext;

// False where the library is built without Direct3D 11; then the functions below are not called.
bool mkHasD3D11();
// Adds and drops a reference to each; nulls are left alone.
void mkAddRefD3D11(ID3D11Device* device, ID3D11DeviceContext* context);
void mkReleaseD3D11(ID3D11Device* device, ID3D11DeviceContext* context);
// FFmpeg's device context on the two, with a reference to each, owned by the caller; null if either is null or FFmpeg
// refuses.
AVBufferRef* mkCreateD3D11DeviceContext(ID3D11Device* device, ID3D11DeviceContext* context);

#endif
