// Aspect and display matrix of a stream. MIT licence.
#include "mediakit/pictureshape.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cmath>

namespace
{

constexpr double kQuarterTurn = 1.57079632679489661923;
constexpr size_t kMatrixSize = 9 * sizeof(int32_t);

// The matrix turns a point (x, y), y downward, into (m[0] x + m[3] y, m[1] x + m[4] y). Other angles than right ones go
// to the nearest of those.
void TakeMatrix(const int32_t* m, MKPictureShape& shape)
{
    const double determinant = static_cast<double>(m[0]) * m[4] - static_cast<double>(m[1]) * m[3];
    shape.isMirrored = determinant < 0;
    const double sign = shape.isMirrored ? -1 : 1;
    const long quarters = std::lround(std::atan2(sign * m[1], sign * m[0]) / kQuarterTurn);
    shape.rotation = static_cast<int32_t>((quarters + 4) % 4 * 90);
}

} // namespace

MKPictureShape mkPictureShape(AVFormatContext* file, AVStream* stream)
{
    MKPictureShape shape;
    const AVRational pixel = av_guess_sample_aspect_ratio(file, stream, nullptr);
    if (pixel.num > 0 && pixel.den > 0) {
        shape.pixelWidth = pixel.num;
        shape.pixelHeight = pixel.den;
    }
    size_t size = 0;
    const uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (matrix && size >= kMatrixSize)
        TakeMatrix(reinterpret_cast<const int32_t*>(matrix), shape);
    return shape;
}
