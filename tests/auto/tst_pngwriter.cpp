// The image files' PNG writer: whatever the image's format and the row filter, Qt reads back the
// pixels that were written, and a text page comes out no larger than Qt's smallest file.
#include <pngwriter.h>

#include <QBuffer>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>
#include <QtEndian>

#include <zlib.h>

#include <cstring>

namespace {

// Transparent, half-transparent and opaque pixels, with glyph-like edges and noise.
QImage sample(QSize size, QImage::Format format)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(255, 255, 255, 200));
    QFont font;
    font.setPixelSize(std::max(8, size.height() / 3));
    painter.setFont(font);
    painter.drawText(image.rect(), Qt::AlignCenter, QStringLiteral("Ag 東 9"));
    painter.fillRect(QRect(0, 0, size.width() / 3 + 1, size.height() / 4 + 1), QColor(30, 60, 200, 128));
    painter.end();
    QRandomGenerator random(size.width() * 7919 + size.height());
    for (int i = 0; i < size.width(); ++i)
        image.setPixel(random.bounded(size.width()), random.bounded(size.height()), random.generate() | 0x01000000u);
    return image.convertToFormat(format);
}

QImage readBack(const QByteArray& png)
{
    return QImage::fromData(png, "PNG").convertToFormat(QImage::Format_ARGB32);
}

// zlib's own check of the image data: the whole stream inflates, to the rows' size, and its
// checksum holds (a PNG reader may stop at the last row without looking).
bool inflatesWhole(const QByteArray& png, QSize size)
{
    QByteArray stream;
    for (int at = 8; at + 12 <= png.size();) {
        const int length = int(qFromBigEndian<quint32>(png.constData() + at));
        if (png.mid(at + 4, 4) == "IDAT")
            stream += png.mid(at + 8, length);
        at += length + 12;
    }
    QByteArray rows(size.height() * (4 * size.width() + 1), Qt::Uninitialized);
    uLongf rowsSize = uLongf(rows.size());
    return uncompress(reinterpret_cast<Bytef*>(rows.data()), &rowsSize,
               reinterpret_cast<const Bytef*>(stream.constData()), uLong(stream.size()))
        == Z_OK
        && rowsSize == uLongf(rows.size());
}

} // namespace

class TestPngWriter : public QObject {
    Q_OBJECT
private slots:
    void samePixels_data();
    void samePixels();
    void blankRows_data();
    void blankRows();
    void noLargerThanQt();
    void writeErrors();
    void decodeLeavesOthersToQt_data();
    void decodeLeavesOthersToQt();
};

void TestPngWriter::samePixels_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("filter");
    const QVector<QPair<const char*, pngwriter::Filter>> filters { { "none", pngwriter::Filter::None },
        { "sub", pngwriter::Filter::Sub }, { "up", pngwriter::Filter::Up }, { "paeth", pngwriter::Filter::Paeth },
        { "per row", pngwriter::Filter::PerRow } };
    for (const auto& [name, filter] : filters) {
        QTest::addRow("%s, ARGB32 page", name) << QSize(301, 97) << int(QImage::Format_ARGB32) << int(filter);
        QTest::addRow("%s, premultiplied", name)
            << QSize(64, 33) << int(QImage::Format_ARGB32_Premultiplied) << int(filter);
        QTest::addRow("%s, RGB32", name) << QSize(57, 20) << int(QImage::Format_RGB32) << int(filter);
        QTest::addRow("%s, one pixel", name) << QSize(1, 1) << int(QImage::Format_ARGB32) << int(filter);
        QTest::addRow("%s, one column", name) << QSize(1, 40) << int(QImage::Format_ARGB32) << int(filter);
    }
    QTest::newRow("indexed") << QSize(40, 40) << int(QImage::Format_Indexed8) << int(pngwriter::Filter::None);
}

void TestPngWriter::samePixels()
{
    QFETCH(QSize, size);
    QFETCH(int, format);
    QFETCH(int, filter);
    const QImage image = sample(size, QImage::Format(format));
    const QByteArray png = pngwriter::encode(image, { pngwriter::Filter(filter), 6 });
    const QImage back = readBack(png);
    QCOMPARE(back.size(), size);
    QCOMPARE(back, image.convertToFormat(QImage::Format_ARGB32));
    // The display's own reader gives what Qt's does.
    QCOMPARE(pngwriter::decode(png), back);
}

void TestPngWriter::blankRows_data()
{
    // Fully transparent rows above and below the ink are written apart from it: a page of a few
    // lines. Inked rows as [first, last), each row on its own a line of text.
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");

    QTest::newRow("page, text at the top") << QSize(1920, 1080) << 0 << 90;
    QTest::newRow("page, text in the middle") << QSize(1920, 1080) << 500 << 560;
    QTest::newRow("page, text at the bottom") << QSize(640, 360) << 300 << 360;
    QTest::newRow("blank page") << QSize(640, 360) << 0 << 0;
    QTest::newRow("one inked row") << QSize(333, 200) << 100 << 101;
    QTest::newRow("blank rows just half") << QSize(200, 200) << 50 << 150;
    QTest::newRow("one column") << QSize(1, 20000) << 3 << 4;
    QTest::newRow("small, too few blank bytes to set apart") << QSize(1, 700) << 3 << 4;
}

void TestPngWriter::blankRows()
{
    QFETCH(QSize, size);
    QFETCH(int, first);
    QFETCH(int, last);
    QImage image(size, QImage::Format_ARGB32);
    image.fill(0);
    if (last > first) {
        const QImage ink = sample(QSize(size.width(), last - first), QImage::Format_ARGB32);
        for (int y = first; y < last; ++y)
            std::memcpy(image.scanLine(y), ink.constScanLine(y - first), size_t(image.bytesPerLine()));
    }
    const QByteArray png = pngwriter::encode(image);
    QVERIFY(inflatesWhole(png, size));
    QCOMPARE(readBack(png), image);
    QCOMPARE(pngwriter::decode(png), image);

    QByteArray qt;
    QBuffer buffer(&qt);
    QVERIFY(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG", 0));
    QVERIFY2(png.size() <= qt.size(), qPrintable(QStringLiteral("%1 > %2").arg(png.size()).arg(qt.size())));
}

void TestPngWriter::noLargerThanQt()
{
    const QImage page = sample(QSize(960, 540), QImage::Format_ARGB32);
    QByteArray qt;
    QBuffer buffer(&qt);
    QVERIFY(buffer.open(QIODevice::WriteOnly) && page.save(&buffer, "PNG", 0));
    const QByteArray ours = pngwriter::encode(page);
    QVERIFY2(ours.size() <= qt.size(), qPrintable(QStringLiteral("%1 > %2").arg(ours.size()).arg(qt.size())));
    QCOMPARE(readBack(ours), page);
}

void TestPngWriter::writeErrors()
{
    QTemporaryDir dir;
    QString error;
    QVERIFY(pngwriter::save(sample(QSize(8, 8), QImage::Format_ARGB32), dir.filePath("ok.png"), &error));
    QVERIFY(!QImage(dir.filePath("ok.png")).isNull());
    QVERIFY(!pngwriter::save(sample(QSize(8, 8), QImage::Format_ARGB32), dir.filePath("missing/x.png"), &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!pngwriter::save(QImage(), dir.filePath("null.png"), &error));
    QVERIFY(pngwriter::encode(QImage()).isEmpty());
}

void TestPngWriter::decodeLeavesOthersToQt_data()
{
    // What the display's reader refuses (a null image, so that Qt reads it instead), from a file
    // of the writer: cut, damaged, or of a form it does not read.
    QTest::addColumn<int>("cutAt"); // bytes kept, -1 for all
    QTest::addColumn<int>("flipAt"); // byte whose bits are inverted, -1 for none
    QTest::addColumn<QByteArray>("chunkBeforeIend"); // type of a chunk slipped in before IEND

    QTest::newRow("whole: read") << -1 << -1 << QByteArray();
    QTest::newRow("empty") << 0 << -1 << QByteArray();
    QTest::newRow("signature only") << 8 << -1 << QByteArray();
    QTest::newRow("cut in the image data") << 90 << -1 << QByteArray();
    QTest::newRow("no end chunk") << -12 << -1 << QByteArray();
    QTest::newRow("damaged signature") << -1 << 1 << QByteArray();
    QTest::newRow("damaged width") << -1 << 17 << QByteArray();
    QTest::newRow("damaged colour type") << -1 << 25 << QByteArray();
    QTest::newRow("damaged image data") << -1 << 60 << QByteArray();
    QTest::newRow("gamma chunk") << -1 << -1 << QByteArray("gAMA");
    QTest::newRow("text chunk") << -1 << -1 << QByteArray("tEXt");
}

void TestPngWriter::decodeLeavesOthersToQt()
{
    QFETCH(int, cutAt);
    QFETCH(int, flipAt);
    QFETCH(QByteArray, chunkBeforeIend);
    const QImage image = sample(QSize(40, 30), QImage::Format_ARGB32);
    QByteArray png = pngwriter::encode(image);
    if (!chunkBeforeIend.isEmpty()) {
        // Four bytes of data, with a right checksum.
        QByteArray chunk = QByteArray::fromHex("00000004") + chunkBeforeIend + QByteArray::fromHex("0000b18f");
        const quint32 crc = quint32(crc32(0, reinterpret_cast<const Bytef*>(chunk.constData() + 4), 8));
        chunk.resize(16);
        qToBigEndian(crc, chunk.data() + 12);
        png.insert(png.size() - 12, chunk);
    }
    if (flipAt >= 0)
        png[flipAt] = char(~png.at(flipAt));
    if (cutAt != -1)
        png = cutAt >= 0 ? png.left(cutAt) : png.left(png.size() + cutAt);
    const bool whole = cutAt == -1 && flipAt < 0 && chunkBeforeIend.isEmpty();
    QCOMPARE(pngwriter::decode(png), whole ? image : QImage());
}

QTEST_MAIN(TestPngWriter)
#include "tst_pngwriter.moc"
