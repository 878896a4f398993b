#include "tests/support/PngReference.h"

#include <QBuffer>

#include <png.h>

#include <cstring>

namespace qm {

static void readBytes(png_structp png, png_bytep out, size_t count)
{
    auto *file = static_cast<QBuffer *>(png_get_io_ptr(png));
    if (file->read(reinterpret_cast<char *>(out), qint64(count)) != qint64(count))
        png_error(png, "end of file");
}

static void fail(png_structp png, png_const_charp)
{
    png_longjmp(png, 1);
}

static void ignore(png_structp, png_const_charp) {}

PngReference PngReference::read(const QByteArray &file)
{
    PngReference result;
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    volatile bool interlaced = false; // survives the longjmp
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, &fail, &ignore);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &buffer, &readBytes);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_read_info(png, info);
        const int depth = png_get_bit_depth(png, info);
        png_set_expand(png);
        png_set_gray_to_rgb(png);
        png_set_add_alpha(png, 0xffff, PNG_FILLER_AFTER);
        if (depth == 16)
            png_set_swap(png);
        interlaced = png_get_interlace_type(png, info) != PNG_INTERLACE_NONE;
        const int passes = png_set_interlace_handling(png);
        png_read_update_info(png, info);
        const QSize size(int(png_get_image_width(png, info)), int(png_get_image_height(png, info)));
        if (qint64(size.width()) * size.height() <= 64'000'000) {
            result.pixels = QImage(size, depth == 16 ? QImage::Format_RGBA64 : QImage::Format_RGBA8888);
            result.pixels.fill(0);
            for (int pass = 0; pass < passes; ++pass) {
                for (int y = 0; y < size.height(); ++y) {
                    png_read_row(png, result.pixels.scanLine(y), nullptr);
                    result.refused = false;
                    if (passes == 1)
                        ++result.wholeRows;
                }
            }
            result.wholeRows = size.height();
        }
    }
    // libpng may find the fault just after it has put a row's pixels; that row does not count.
    for (int y = result.wholeRows; !interlaced && y < result.pixels.height(); ++y)
        std::memset(result.pixels.scanLine(y), 0, size_t(result.pixels.bytesPerLine()));
    png_destroy_read_struct(&png, &info, nullptr);
    return result;
}

} // namespace qm
