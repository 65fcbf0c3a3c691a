// How a stream's pictures are meant to be seen, from what the file says. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_PICTURESHAPE_H
#define QXSPEECH_MEDIAKIT_PICTURESHAPE_H

#include "mediakit/fileprovider.h"

struct AVFormatContext;
struct AVStream;

// The stream is one of the file's.
MKPictureShape mkPictureShape(AVFormatContext* file, AVStream* stream);

#endif
