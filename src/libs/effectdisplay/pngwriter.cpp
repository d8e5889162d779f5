// PNG encoding on libdeflate. The rows are RGBA as QImage::Format_RGBA8888 lays them out (not
// premultiplied), filtered, deflated in one zlib stream and wrapped in IHDR, IDAT and IEND.
#include "pngwriter.h"

#include <QFile>

#include <libdeflate.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace pngwriter {
namespace {

constexpr int kBytesPerPixel = 4;
constexpr unsigned char kSignature[] = { 0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n' };
constexpr unsigned char kBitDepth = 8;
constexpr unsigned char kColourTypeRgba = 6;
constexpr int kMinLevel = 1;
constexpr int kMaxLevel = 12;

enum RowFilter : unsigned char { kNone = 0, kSub = 1, kUp = 2, kAverage = 3, kPaeth = 4 };

void putBigEndian(unsigned char* out, quint32 value)
{
    out[0] = static_cast<unsigned char>(value >> 24);
    out[1] = static_cast<unsigned char>(value >> 16);
    out[2] = static_cast<unsigned char>(value >> 8);
    out[3] = static_cast<unsigned char>(value);
}

void appendChunk(QByteArray& png, const char type[4], const unsigned char* data, size_t size)
{
    unsigned char length[4];
    putBigEndian(length, quint32(size));
    png.append(reinterpret_cast<const char*>(length), 4);
    const int typeAt = png.size();
    png.append(type, 4);
    if (size > 0)
        png.append(reinterpret_cast<const char*>(data), int(size));
    const auto* crcFrom = reinterpret_cast<const unsigned char*>(png.constData() + typeAt);
    unsigned char crc[4];
    putBigEndian(crc, quint32(libdeflate_crc32(0, crcFrom, size + 4)));
    png.append(reinterpret_cast<const char*>(crc), 4);
}

unsigned char paeth(int a, int b, int c)
{
    const int p = a + b - c;
    const int pa = std::abs(p - a);
    const int pb = std::abs(p - b);
    const int pc = std::abs(p - c);
    if (pa <= pb && pa <= pc)
        return static_cast<unsigned char>(a);
    return static_cast<unsigned char>(pb <= pc ? b : c);
}

// Filters one row into `out` (without the filter byte); `above` is null for the first row.
void filterRow(RowFilter filter, const unsigned char* row, const unsigned char* above, int bytes, unsigned char* out)
{
    const int left = std::min(kBytesPerPixel, bytes);
    switch (filter) {
    case kNone:
        std::memcpy(out, row, size_t(bytes));
        return;
    case kSub:
        std::memcpy(out, row, size_t(left));
        for (int i = left; i < bytes; ++i)
            out[i] = static_cast<unsigned char>(row[i] - row[i - kBytesPerPixel]);
        return;
    case kUp:
        for (int i = 0; i < bytes; ++i)
            out[i] = static_cast<unsigned char>(row[i] - (above ? above[i] : 0));
        return;
    case kAverage:
    case kPaeth:
        for (int i = 0; i < bytes; ++i) {
            const int a = i >= kBytesPerPixel ? row[i - kBytesPerPixel] : 0;
            const int b = above ? above[i] : 0;
            const int c = above && i >= kBytesPerPixel ? above[i - kBytesPerPixel] : 0;
            out[i] = static_cast<unsigned char>(row[i] - (filter == kPaeth ? paeth(a, b, c) : (a + b) / 2));
        }
        return;
    }
}

// The usual heuristic: the filter whose bytes, read as signed, sum to the least.
long long signedSum(const unsigned char* bytes, int count)
{
    long long sum = 0;
    for (int i = 0; i < count; ++i)
        sum += bytes[i] < 128 ? bytes[i] : 256 - bytes[i];
    return sum;
}

void toRgba(const QRgb* pixels, int width, bool opaque, unsigned char* out)
{
    for (int x = 0; x < width; ++x, out += kBytesPerPixel) {
        const QRgb pixel = pixels[x];
        out[0] = static_cast<unsigned char>(qRed(pixel));
        out[1] = static_cast<unsigned char>(qGreen(pixel));
        out[2] = static_cast<unsigned char>(qBlue(pixel));
        out[3] = opaque ? 0xff : static_cast<unsigned char>(qAlpha(pixel));
    }
}

// Mostly transparent pages deflate to their smallest at a fast level already; pages full of text
// need level 7 to come out no larger than Qt's smallest files. The ink is sampled on every 16th row.
constexpr int kSparseLevel = 3;
constexpr int kDenseLevel = 7;
constexpr int kSampledRow = 16;
constexpr double kSparseInk = 0.02;

int levelFor(const QImage& image, bool argb)
{
    if (!argb || image.format() == QImage::Format_RGB32 || !image.hasAlphaChannel())
        return kDenseLevel;
    qint64 inked = 0;
    qint64 sampled = 0;
    for (int y = 0; y < image.height(); y += kSampledRow) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
            inked += qAlpha(row[x]) != 0;
        sampled += image.width();
    }
    return double(inked) < kSparseInk * double(sampled) ? kSparseLevel : kDenseLevel;
}

struct CompressorDeleter {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

// One compressor per thread and level: allocating one costs more than deflating a small piece.
libdeflate_compressor* compressorFor(int level)
{
    thread_local std::unique_ptr<libdeflate_compressor, CompressorDeleter> compressors[kMaxLevel + 1];
    auto& compressor = compressors[level];
    if (!compressor)
        compressor.reset(libdeflate_alloc_compressor(level));
    return compressor.get();
}

} // namespace

QByteArray encode(const QImage& image, const Options& options)
{
    if (image.isNull())
        return QByteArray();
    // The renderer's ARGB32 rows are swizzled while they are filtered; other formats convert first.
    const bool argb = image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_RGB32;
    const QImage rgba = argb ? image : image.convertToFormat(QImage::Format_RGBA8888);
    const int width = rgba.width();
    const int height = rgba.height();
    const int rowBytes = width * kBytesPerPixel;
    const size_t stride = size_t(rowBytes) + 1;

    QByteArray raw(int(stride * size_t(height)), Qt::Uninitialized);
    auto* out = reinterpret_cast<unsigned char*>(raw.data());
    QByteArray trial(options.filter == Filter::PerRow ? rowBytes : 0, Qt::Uninitialized);
    QByteArray swizzled(argb ? 2 * rowBytes : 0, Qt::Uninitialized);
    for (int y = 0; y < height; ++y) {
        const unsigned char* row = rgba.constScanLine(y);
        const unsigned char* above = y > 0 ? rgba.constScanLine(y - 1) : nullptr;
        unsigned char* line = out + stride * size_t(y);
        if (argb && options.filter == Filter::None) {
            line[0] = kNone;
            toRgba(reinterpret_cast<const QRgb*>(row), width, image.format() == QImage::Format_RGB32, line + 1);
            continue;
        }
        if (argb) {
            // Two row buffers in turn: this row and the one above, in RGBA order.
            auto* current = reinterpret_cast<unsigned char*>(swizzled.data()) + (y % 2) * rowBytes;
            toRgba(reinterpret_cast<const QRgb*>(row), width, image.format() == QImage::Format_RGB32, current);
            above = y > 0 ? reinterpret_cast<const unsigned char*>(swizzled.constData()) + ((y + 1) % 2) * rowBytes
                          : nullptr;
            row = current;
        }
        RowFilter filter = kNone;
        switch (options.filter) {
        case Filter::None:
            break;
        case Filter::Sub:
            filter = kSub;
            break;
        case Filter::Up:
            filter = kUp;
            break;
        case Filter::Paeth:
            filter = kPaeth;
            break;
        case Filter::PerRow: {
            long long best = -1;
            auto* scratch = reinterpret_cast<unsigned char*>(trial.data());
            for (RowFilter candidate : { kNone, kSub, kUp, kPaeth }) {
                filterRow(candidate, row, above, rowBytes, scratch);
                const long long sum = signedSum(scratch, rowBytes);
                if (best < 0 || sum < best) {
                    best = sum;
                    filter = candidate;
                }
            }
            break;
        }
        }
        line[0] = filter;
        filterRow(filter, row, above, rowBytes, line + 1);
    }

    const int level = std::clamp(options.level > 0 ? options.level : levelFor(rgba, argb), kMinLevel, kMaxLevel);
    libdeflate_compressor* compressor = compressorFor(level);
    if (!compressor)
        return QByteArray();
    QByteArray deflated(int(libdeflate_zlib_compress_bound(compressor, size_t(raw.size()))), Qt::Uninitialized);
    const size_t deflatedSize = libdeflate_zlib_compress(
        compressor, raw.constData(), size_t(raw.size()), deflated.data(), size_t(deflated.size()));
    if (deflatedSize == 0)
        return QByteArray();

    QByteArray png;
    png.reserve(int(sizeof(kSignature) + deflatedSize + 64));
    png.append(reinterpret_cast<const char*>(kSignature), int(sizeof(kSignature)));
    unsigned char header[13] = {};
    putBigEndian(header, quint32(width));
    putBigEndian(header + 4, quint32(height));
    header[8] = kBitDepth;
    header[9] = kColourTypeRgba;
    appendChunk(png, "IHDR", header, sizeof(header));
    appendChunk(png, "IDAT", reinterpret_cast<const unsigned char*>(deflated.constData()), deflatedSize);
    appendChunk(png, "IEND", nullptr, 0);
    return png;
}

bool save(const QImage& image, const QString& path, QString* error, const Options& options)
{
    const QByteArray png = encode(image, options);
    if (png.isEmpty()) {
        if (error)
            *error
                = image.isNull() ? QStringLiteral("the image is empty") : QStringLiteral("the image cannot be encoded");
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(png) != png.size()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}

} // namespace pngwriter
