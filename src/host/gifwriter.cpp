#include "gifwriter.h"

#include <QFile>

#include <vector>

namespace {

// 6 levels of red, 7 of green, 6 of blue: 252 colours, index 252 is transparent.
constexpr int kRedLevels = 6;
constexpr int kGreenLevels = 7;
constexpr int kBlueLevels = 6;
constexpr int kTransparentIndex = 252;
constexpr int kMinCodeSize = 8;
constexpr int kClearCode = 1 << kMinCodeSize;
constexpr int kEndCode = kClearCode + 1;
// Codes stay 9 bits wide when the table is cleared this often, so no dictionary is needed.
constexpr int kCodesPerClear = 128;

int level(int value, int levels)
{
    return (value * (levels - 1) + 127) / 255;
}

quint8 paletteIndex(QRgb pixel)
{
    if (qAlpha(pixel) < 128)
        return kTransparentIndex;
    const int r = level(qRed(pixel), kRedLevels);
    const int g = level(qGreen(pixel), kGreenLevels);
    const int b = level(qBlue(pixel), kBlueLevels);
    return quint8((r * kGreenLevels + g) * kBlueLevels + b);
}

class BitWriter {
public:
    void write(int code, int width)
    {
        m_acc |= quint32(code) << m_bits;
        m_bits += width;
        while (m_bits >= 8) {
            m_bytes.push_back(char(m_acc & 0xff));
            m_acc >>= 8;
            m_bits -= 8;
        }
    }
    QByteArray finish()
    {
        if (m_bits > 0)
            m_bytes.push_back(char(m_acc & 0xff));
        return m_bytes;
    }

private:
    QByteArray m_bytes;
    quint32 m_acc = 0;
    int m_bits = 0;
};

void putShort(QByteArray& out, int value)
{
    out.append(char(value & 0xff));
    out.append(char((value >> 8) & 0xff));
}

QByteArray imageData(const QImage& frame)
{
    const QImage image = frame.convertToFormat(QImage::Format_ARGB32);
    BitWriter bits;
    int sinceClear = 0;
    bits.write(kClearCode, kMinCodeSize + 1);
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (sinceClear == kCodesPerClear) {
                bits.write(kClearCode, kMinCodeSize + 1);
                sinceClear = 0;
            }
            bits.write(paletteIndex(line[x]), kMinCodeSize + 1);
            ++sinceClear;
        }
    }
    bits.write(kEndCode, kMinCodeSize + 1);
    const QByteArray lzw = bits.finish();

    QByteArray out;
    out.append(char(kMinCodeSize));
    for (int pos = 0; pos < lzw.size(); pos += 255) {
        const QByteArray block = lzw.mid(pos, 255);
        out.append(char(block.size()));
        out.append(block);
    }
    out.append(char(0));
    return out;
}

} // namespace

bool writeAnimatedGif(const QString& fileName, const QList<QImage>& frames, int delayMs)
{
    if (frames.isEmpty() || frames.first().isNull())
        return false;
    const QSize size = frames.first().size();
    for (const QImage& frame : frames) {
        if (frame.size() != size)
            return false;
    }

    QByteArray out("GIF89a");
    putShort(out, size.width());
    putShort(out, size.height());
    out.append(char(0xf7)); // global colour table of 256 entries
    out.append(char(0));
    out.append(char(0));
    for (int i = 0; i < 256; ++i) {
        int r = 0, g = 0, b = 0;
        if (i < kTransparentIndex) {
            r = (i / (kGreenLevels * kBlueLevels)) * 255 / (kRedLevels - 1);
            g = (i / kBlueLevels % kGreenLevels) * 255 / (kGreenLevels - 1);
            b = (i % kBlueLevels) * 255 / (kBlueLevels - 1);
        }
        out.append(char(r));
        out.append(char(g));
        out.append(char(b));
    }
    // Loop forever.
    out.append("\x21\xff\x0bNETSCAPE2.0\x03\x01", 16);
    putShort(out, 0);
    out.append(char(0));

    for (const QImage& frame : frames) {
        out.append("\x21\xf9\x04", 3);
        out.append(char(0x09)); // restore to background, transparent index present
        putShort(out, qMax(1, delayMs / 10));
        out.append(char(kTransparentIndex));
        out.append(char(0));
        out.append(char(0x2c));
        putShort(out, 0);
        putShort(out, 0);
        putShort(out, size.width());
        putShort(out, size.height());
        out.append(char(0));
        out.append(imageData(frame));
    }
    out.append(char(0x3b));

    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(out) == out.size();
}
