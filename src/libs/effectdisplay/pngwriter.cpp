// PNG encoding on libdeflate. The rows are RGBA as QImage::Format_RGBA8888 lays them out (not
// premultiplied), filtered, deflated in one zlib stream and wrapped in IHDR, IDAT and IEND.
#include "pngwriter.h"

#include <QFile>

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

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

// Blank rows. A page of a few lines is mostly fully transparent rows above and below the text, and
// deflating megabytes of zeros costs libdeflate more than the text does. Those rows are written as
// blocks of our own (two bits for 258 zeros); libdeflate deflates the rows in between.

constexpr int kZlibHeader[] = { 0x78, 0x9c };
constexpr quint32 kAdlerModulus = 65521;
constexpr int kLongestMatch = 258;
// Blank rows are set apart from this many bytes on: fewer deflate smaller with the ink.
constexpr quint64 kBlankBytesWorthIt = 32 * 1024;

bool blankRow(const QImage& image, int y)
{
    const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    return std::all_of(row, row + image.width(), [](QRgb pixel) { return pixel == 0; });
}

// The Adler-32 of `count` more zero bytes.
quint32 adlerOfZeros(quint32 adler, quint64 count)
{
    const quint64 a = adler & 0xffff;
    const quint64 b = ((adler >> 16) + (count % kAdlerModulus) * a) % kAdlerModulus;
    return quint32(b << 16 | a);
}

// Writes a deflate bit stream, least significant bit first, as deflate packs it.
class BitWriter {
public:
    explicit BitWriter(QByteArray& out)
        : m_out(out)
    {
    }
    // Goes on after the first `bits` bits of `out`'s last bytes.
    void continueAfter(size_t bits)
    {
        m_out.resize(int((bits + 7) / 8));
        m_used = int(bits % 8);
        if (m_used > 0)
            m_byte = static_cast<unsigned char>(m_out.back()) & ((1u << m_used) - 1);
        if (m_used > 0)
            m_out.chop(1);
    }
    void bits(quint32 value, int count)
    {
        for (int i = 0; i < count; ++i)
            bit((value >> i) & 1u);
    }
    // Huffman codes go most significant bit first.
    void code(quint32 value, int length)
    {
        for (int i = length - 1; i >= 0; --i)
            bit((value >> i) & 1u);
    }
    void zeroBits(quint64 count)
    {
        for (; count > 0 && m_used > 0; --count)
            bit(0);
        m_out.append(int(count / 8), '\0');
        for (count %= 8; count > 0; --count)
            bit(0);
    }
    void alignToByte()
    {
        if (m_used > 0)
            zeroBits(8 - m_used);
    }

private:
    void bit(quint32 value)
    {
        m_byte |= static_cast<unsigned char>(value << m_used);
        if (++m_used == 8) {
            m_out.append(char(m_byte));
            m_byte = 0;
            m_used = 0;
        }
    }

    QByteArray& m_out;
    unsigned char m_byte = 0;
    int m_used = 0;
};

// Deflate's length codes 257 to 285: the shortest length of each and its extra bits.
constexpr int kLengthBase[] = { 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 17, 19, 23, 27, 31, 35, 43, 51, 59, 67, 83, 99,
    115, 131, 163, 195, 227, 258 };
constexpr int kLengthExtra[]
    = { 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0 };
constexpr int kLiteralCodes = 286;
constexpr int kFirstLengthCode = 257;
constexpr int kEndOfBlock = 256;
constexpr int kLongestMatchCode = 285;

// Deflate's canonical Huffman codes for `lengths` (0: unused).
std::vector<quint32> canonicalCodes(const std::vector<int>& lengths)
{
    constexpr int kMaxLength = 15;
    int count[kMaxLength + 1] = {};
    for (int length : lengths)
        ++count[length];
    count[0] = 0;
    quint32 next[kMaxLength + 2] = {};
    for (int bits = 1; bits <= kMaxLength; ++bits)
        next[bits + 1] = (next[bits] + quint32(count[bits])) << 1;
    std::vector<quint32> codes(lengths.size());
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        if (lengths[symbol] > 0)
            codes[symbol] = next[lengths[symbol]]++;
    }
    return codes;
}

// `count` zero bytes as one dynamic Huffman block: a literal 0 (the byte before need not be a
// zero), then matches of 258 at distance 1, two bits each, then one shorter match or a literal or
// two for what is left, and the end of block.
void writeZeroBlock(BitWriter& out, quint64 count, bool final)
{
    const quint64 rest = (count - 1) % kLongestMatch;
    int restCode = 0; // the length code of the rest, when the rest is a match
    if (rest >= quint64(kLengthBase[0])) {
        restCode = kFirstLengthCode;
        while (kLengthBase[restCode - kFirstLengthCode + 1] <= int(rest) && restCode + 1 < kLongestMatchCode)
            ++restCode;
    }
    std::vector<int> literal(kLiteralCodes, 0);
    literal[kLongestMatchCode] = 1;
    literal[0] = 2;
    literal[kEndOfBlock] = restCode ? 3 : 2;
    if (restCode)
        literal[std::size_t(restCode)] = 3;
    const std::vector<quint32> literalCodes = canonicalCodes(literal);

    // The code lengths, run-length coded: 18 is a run of 11 to 138 zeros, 17 of 3 to 10.
    std::vector<int> lengths = literal;
    lengths.push_back(1); // the one distance code, distance 1
    std::vector<std::pair<int, int>> sequence; // symbol, extra bits value
    for (std::size_t i = 0; i < lengths.size();) {
        if (lengths[i] != 0) {
            sequence.emplace_back(lengths[i++], 0);
            continue;
        }
        std::size_t run = 0;
        while (i + run < lengths.size() && lengths[i + run] == 0)
            ++run;
        i += run;
        for (; run >= 11; run -= std::min<std::size_t>(run, 138))
            sequence.emplace_back(18, int(std::min<std::size_t>(run, 138) - 11));
        if (run >= 3)
            sequence.emplace_back(17, int(run - 3));
        else
            sequence.insert(sequence.end(), run, { 0, 0 });
    }
    // A complete code over the code length symbols that can occur.
    std::vector<int> lengthLengths(19, 0);
    for (int symbol : { 0, 1, 3, 17 })
        lengthLengths[std::size_t(symbol)] = 3;
    lengthLengths[2] = 2;
    lengthLengths[18] = 2;
    const std::vector<quint32> lengthCodes = canonicalCodes(lengthLengths);
    constexpr int kOrder[] = { 16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1 };

    out.bits(final ? 1 : 0, 1);
    out.bits(2, 2); // dynamic codes
    out.bits(kLiteralCodes - kFirstLengthCode, 5);
    out.bits(0, 5); // one distance code
    out.bits(std::size(kOrder) - 4, 4);
    for (int symbol : kOrder)
        out.bits(quint32(lengthLengths[std::size_t(symbol)]), 3);
    for (const auto& [symbol, extra] : sequence) {
        out.code(lengthCodes[std::size_t(symbol)], lengthLengths[std::size_t(symbol)]);
        if (symbol == 18)
            out.bits(quint32(extra), 7);
        else if (symbol == 17)
            out.bits(quint32(extra), 3);
    }

    const auto symbol = [&](int code) { out.code(literalCodes[std::size_t(code)], literal[std::size_t(code)]); };
    symbol(0);
    // 258 and distance 1 are both "0".
    out.zeroBits((count - 1) / kLongestMatch * 2);
    if (restCode) {
        symbol(restCode);
        out.bits(quint32(rest) - quint32(kLengthBase[restCode - kFirstLengthCode]),
            kLengthExtra[restCode - kFirstLengthCode]);
        out.bits(0, 1); // distance 1
    } else {
        for (quint64 i = 0; i < rest; ++i)
            symbol(0);
    }
    symbol(kEndOfBlock);
}

// Where the final block of a raw deflate stream starts and where the stream ends, in bits.
bool finalBlock(const QByteArray& deflated, size_t* start, size_t* end)
{
    z_stream stream {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return false;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(deflated.constData()));
    stream.avail_in = uInt(deflated.size());
    std::vector<Bytef> sink(size_t(1) << 16);
    const auto bitsIn = [&stream] { return size_t(stream.total_in) * 8 - size_t(stream.data_type & 7); };
    int result = Z_OK;
    bool ended = false;
    *start = 0;
    while (result == Z_OK && !ended) {
        stream.next_out = sink.data();
        stream.avail_out = uInt(sink.size());
        // Z_BLOCK stops at every block boundary, flagged 128; 64 once the final block is read.
        result = inflate(&stream, Z_BLOCK);
        if (result == Z_OK && (stream.data_type & 128)) {
            ended = stream.data_type & 64;
            (ended ? *end : *start) = bitsIn();
        }
    }
    inflateEnd(&stream);
    return ended;
}

// The zlib stream of an image whose rows above `top` and from `bottom` on are all zero bytes;
// `middle` holds the filtered rows in between. Empty when it cannot be made.
QByteArray deflateAroundBlankRows(
    libdeflate_compressor* compressor, const QByteArray& middle, quint64 above, quint64 below)
{
    QByteArray out;
    out.append(char(kZlibHeader[0])).append(char(kZlibHeader[1]));
    BitWriter writer(out);
    if (middle.isEmpty()) {
        writeZeroBlock(writer, above + below, true);
        writer.alignToByte();
    } else {
        if (above > 0) {
            writeZeroBlock(writer, above, false);
            // An empty stored block brings the stream to a byte, where libdeflate's blocks start.
            writer.bits(0, 3);
            writer.alignToByte();
            writer.bits(0xffff0000u, 32);
        }
        QByteArray deflated(
            int(libdeflate_deflate_compress_bound(compressor, size_t(middle.size()))), Qt::Uninitialized);
        const size_t size = libdeflate_deflate_compress(
            compressor, middle.constData(), size_t(middle.size()), deflated.data(), size_t(deflated.size()));
        if (size == 0)
            return QByteArray();
        deflated.resize(int(size));
        if (below > 0) {
            size_t finalStart = 0;
            size_t end = 0;
            if (!finalBlock(deflated, &finalStart, &end))
                return QByteArray();
            deflated[int(finalStart / 8)] = char(deflated.at(int(finalStart / 8)) & ~(1 << (finalStart % 8)));
            const size_t before = size_t(out.size()) * 8;
            out.append(deflated);
            writer.continueAfter(before + end);
            writeZeroBlock(writer, below, true);
            writer.alignToByte();
        } else {
            out.append(deflated);
        }
    }
    quint32 adler = adlerOfZeros(1, above);
    adler = quint32(libdeflate_adler32(adler, middle.constData(), size_t(middle.size())));
    adler = adlerOfZeros(adler, below);
    unsigned char trailer[4];
    putBigEndian(trailer, adler);
    out.append(reinterpret_cast<const char*>(trailer), 4);
    return out;
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

// The PNG file around a zlib stream of filtered RGBA rows.
QByteArray wrap(int width, int height, const QByteArray& deflated)
{
    QByteArray png;
    png.reserve(int(sizeof(kSignature) + size_t(deflated.size()) + 64));
    png.append(reinterpret_cast<const char*>(kSignature), int(sizeof(kSignature)));
    unsigned char header[13] = {};
    putBigEndian(header, quint32(width));
    putBigEndian(header + 4, quint32(height));
    header[8] = kBitDepth;
    header[9] = kColourTypeRgba;
    appendChunk(png, "IHDR", header, sizeof(header));
    appendChunk(png, "IDAT", reinterpret_cast<const unsigned char*>(deflated.constData()), size_t(deflated.size()));
    appendChunk(png, "IEND", nullptr, 0);
    return png;
}

// Reading back. Only the form this writer makes is read here (IHDR, IDAT and IEND alone, 8-bit
// RGBA, not interlaced); anything else, or anything damaged, is left to Qt's reader.

constexpr int kChunkOverhead = 12;
constexpr int kHeaderSize = 13;
constexpr quint64 kMostPixelsRead = quint64(1) << 27; // 512 MiB of pixels

quint32 bigEndian(const unsigned char* in)
{
    return quint32(in[0]) << 24 | quint32(in[1]) << 16 | quint32(in[2]) << 8 | quint32(in[3]);
}

// Undoes one row's filter in place; `above` is the row above, already undone, or null.
bool unfilterRow(unsigned char filter, unsigned char* row, const unsigned char* above, int bytes)
{
    switch (filter) {
    case kNone:
        return true;
    case kSub:
        for (int i = kBytesPerPixel; i < bytes; ++i)
            row[i] = static_cast<unsigned char>(row[i] + row[i - kBytesPerPixel]);
        return true;
    case kUp:
        for (int i = 0; above && i < bytes; ++i)
            row[i] = static_cast<unsigned char>(row[i] + above[i]);
        return true;
    case kAverage:
    case kPaeth:
        for (int i = 0; i < bytes; ++i) {
            const int a = i >= kBytesPerPixel ? row[i - kBytesPerPixel] : 0;
            const int b = above ? above[i] : 0;
            const int c = above && i >= kBytesPerPixel ? above[i - kBytesPerPixel] : 0;
            row[i] = static_cast<unsigned char>(row[i] + (filter == kPaeth ? paeth(a, b, c) : (a + b) / 2));
        }
        return true;
    default:
        return false;
    }
}

libdeflate_decompressor* decompressor()
{
    struct Deleter {
        void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
    };
    thread_local std::unique_ptr<libdeflate_decompressor, Deleter> instance(libdeflate_alloc_decompressor());
    return instance.get();
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

    if (image.format() == QImage::Format_ARGB32 && options.filter == Filter::None) {
        int top = 0;
        while (top < height && blankRow(image, top))
            ++top;
        int bottom = height;
        while (bottom > top && blankRow(image, bottom - 1))
            --bottom;
        // A few blank rows cost less deflated with the ink than as a block of their own.
        if (quint64(stride) * quint64(top) < kBlankBytesWorthIt)
            top = 0;
        if (quint64(stride) * quint64(height - bottom) < kBlankBytesWorthIt)
            bottom = height;
        if (2 * (top + height - bottom) >= height && top + height - bottom > 0) {
            QByteArray middle(int(stride * size_t(bottom - top)), Qt::Uninitialized);
            for (int y = top; y < bottom; ++y) {
                auto* line = reinterpret_cast<unsigned char*>(middle.data()) + stride * size_t(y - top);
                line[0] = kNone;
                toRgba(reinterpret_cast<const QRgb*>(image.constScanLine(y)), width, false, line + 1);
            }
            const int level
                = std::clamp(options.level > 0 ? options.level : levelFor(image, true), kMinLevel, kMaxLevel);
            libdeflate_compressor* compressor = compressorFor(level);
            if (!compressor)
                return QByteArray();
            const QByteArray stream = deflateAroundBlankRows(
                compressor, middle, quint64(stride) * quint64(top), quint64(stride) * quint64(height - bottom));
            return stream.isEmpty() ? QByteArray() : wrap(width, height, stream);
        }
    }

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

    deflated.resize(int(deflatedSize));
    return wrap(width, height, deflated);
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

QImage decode(const QByteArray& png)
{
    const auto* data = reinterpret_cast<const unsigned char*>(png.constData());
    const qint64 size = png.size();
    if (size < qint64(sizeof(kSignature)) || std::memcmp(data, kSignature, sizeof(kSignature)) != 0)
        return QImage();
    int width = 0;
    int height = 0;
    QByteArray stream;
    bool ended = false;
    for (qint64 at = sizeof(kSignature); !ended;) {
        if (size - at < kChunkOverhead)
            return QImage();
        const quint32 length = bigEndian(data + at);
        if (length > quint32(size - at - kChunkOverhead))
            return QImage();
        const unsigned char* type = data + at + 4;
        const unsigned char* body = type + 4;
        if (bigEndian(body + length) != quint32(libdeflate_crc32(0, type, length + 4)))
            return QImage();
        if (std::memcmp(type, "IHDR", 4) == 0) {
            if (length != kHeaderSize || width > 0 || body[8] != kBitDepth || body[9] != kColourTypeRgba
                || body[10] != 0 || body[11] != 0 || body[12] != 0)
                return QImage();
            width = int(std::min<quint32>(bigEndian(body), INT_MAX));
            height = int(std::min<quint32>(bigEndian(body + 4), INT_MAX));
        } else if (std::memcmp(type, "IDAT", 4) == 0 && width > 0) {
            stream.append(reinterpret_cast<const char*>(body), int(length));
        } else if (std::memcmp(type, "IEND", 4) == 0) {
            ended = true;
        } else {
            return QImage();
        }
        at += kChunkOverhead + qint64(length);
    }
    // Absurd sizes are left to Qt's reader and its own checks.
    if (width <= 0 || height <= 0 || stream.isEmpty() || quint64(width) * quint64(height) > kMostPixelsRead)
        return QImage();
    QImage image(width, height, QImage::Format_ARGB32);
    if (image.isNull())
        return QImage();
    const int rowBytes = width * kBytesPerPixel;
    const size_t stride = size_t(rowBytes) + 1;
    std::vector<unsigned char> rows(stride * size_t(height));
    size_t inflated = 0;
    if (libdeflate_zlib_decompress(
            decompressor(), stream.constData(), size_t(stream.size()), rows.data(), rows.size(), &inflated)
            != LIBDEFLATE_SUCCESS
        || inflated != rows.size())
        return QImage();
    for (int y = 0; y < height; ++y) {
        unsigned char* row = rows.data() + stride * size_t(y);
        if (!unfilterRow(row[0], row + 1, y > 0 ? row + 1 - stride : nullptr, rowBytes))
            return QImage();
        auto* out = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const unsigned char* pixel = row + 1 + x * kBytesPerPixel;
            out[x] = qRgba(pixel[0], pixel[1], pixel[2], pixel[3]);
        }
    }
    return image;
}

} // namespace pngwriter
