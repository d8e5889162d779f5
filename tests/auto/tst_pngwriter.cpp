// The image files' PNG writer: whatever the image's format and the row filter, Qt and the
// display's own reader read back the pixels that were written, and a text page comes out no
// larger than Qt's smallest file.
#include <pngwriter.h>

#include <QBuffer>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <zlib.h>

namespace {

// Transparent, half-transparent and opaque pixels with glyph-like edges and noise, in rows
// [first, last) only: blank rows above and below are a page of a few lines.
QImage sample(QSize size, QImage::Format format = QImage::Format_ARGB32, int first = 0, int last = -1)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    const QRect ink(0, first, size.width(), (last < 0 ? size.height() : last) - first);
    QFont font("DejaVu Sans");
    font.setPixelSize(std::max(8, ink.height() / 3));
    QPainter painter(&image);
    painter.setClipRect(ink);
    painter.setPen(QColor(255, 255, 255, 200));
    painter.setFont(font);
    painter.drawText(ink, Qt::AlignCenter, QStringLiteral("Ag 東 9"));
    painter.fillRect(QRect(0, first, size.width() / 3 + 1, ink.height() / 4 + 1), QColor(30, 60, 200, 128));
    painter.end();
    QRandomGenerator random(size.width() * 7919 + size.height());
    for (int i = 0; i < size.width() && !ink.isEmpty(); ++i)
        image.setPixel(
            random.bounded(size.width()), first + random.bounded(ink.height()), random.generate() | 0x01000000u);
    return image.convertToFormat(format);
}

} // namespace

class TestPngWriter : public QObject {
    Q_OBJECT
private slots:
    void samePixels_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("filter");
        QTest::addColumn<QPoint>("ink"); // the inked rows, [x, y); blank rows above and below are written apart
        for (int filter = 0; filter <= int(pngwriter::Filter::PerRow); ++filter) {
            for (auto [size, format] : { std::pair(QSize(301, 97), QImage::Format_ARGB32),
                     std::pair(QSize(64, 33), QImage::Format_ARGB32_Premultiplied),
                     std::pair(QSize(57, 20), QImage::Format_RGB32), std::pair(QSize(1, 1), QImage::Format_ARGB32),
                     std::pair(QSize(1, 40), QImage::Format_ARGB32) })
                QTest::addRow("filter %d, %dx%d, format %d", filter, size.width(), size.height(), format)
                    << size << int(format) << filter << QPoint(0, -1);
        }
        QTest::newRow("indexed") << QSize(40, 40) << int(QImage::Format_Indexed8) << 0 << QPoint(0, -1);
        // Blank rows above and below the ink are written apart from it: a page of a few lines; the
        // last has too few blank bytes to set apart.
        for (auto [size, first, last] : { std::tuple(QSize(1920, 1080), 0, 90), std::tuple(QSize(1920, 1080), 500, 560),
                 std::tuple(QSize(640, 360), 300, 360), std::tuple(QSize(960, 540), 0, 540),
                 std::tuple(QSize(640, 360), 0, 0), std::tuple(QSize(333, 200), 100, 101),
                 std::tuple(QSize(200, 200), 50, 150), std::tuple(QSize(1, 20000), 3, 4),
                 std::tuple(QSize(1, 700), 3, 4) })
            QTest::addRow("page %dx%d, ink in rows %d to %d", size.width(), size.height(), first, last)
                << size << int(QImage::Format_ARGB32) << -1 << QPoint(first, last);
    }

    void samePixels()
    {
        QFETCH(QSize, size);
        QFETCH(int, format);
        QFETCH(int, filter);
        QFETCH(QPoint, ink);
        const QImage image = sample(size, QImage::Format(format), ink.x(), ink.y());
        const QByteArray png
            = filter < 0 ? pngwriter::encode(image) : pngwriter::encode(image, { pngwriter::Filter(filter), 6 });
        const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(QImage::fromData(png, "PNG").convertToFormat(QImage::Format_ARGB32), argb);
        // The display's own reader inflates the whole stream and checks its sum, as Qt's need not.
        QCOMPARE(pngwriter::decode(png), argb);
        QByteArray qt;
        QBuffer buffer(&qt);
        QVERIFY(filter >= 0
            || (buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG", 0) && png.size() <= qt.size()));
    }

    void writeErrors()
    {
        QTemporaryDir dir;
        QString error;
        QVERIFY(pngwriter::save(sample({ 8, 8 }), dir.filePath("ok.png"))
            && QImage(dir.filePath("ok.png")).convertToFormat(QImage::Format_ARGB32) == sample({ 8, 8 }));
        QVERIFY(!pngwriter::save(sample({ 8, 8 }), dir.filePath("missing/x.png"), &error) && !error.isEmpty());
        QVERIFY(
            !pngwriter::save(QImage(), dir.filePath("null.png"), &error) && !QFile::exists(dir.filePath("null.png")));
    }

    void decodeLeavesOthersToQt_data()
    {
        // What the display's reader refuses (a null image, so that Qt reads it instead), from a
        // file of the writer: cut, damaged, or of a form it does not read.
        QTest::addColumn<int>("keep"); // bytes kept, or dropped at the end when negative; 0: all
        QTest::addColumn<int>("flipAt"); // byte whose bits are inverted, -1 for none
        QTest::addColumn<QByteArray>("chunk"); // type of a chunk slipped in before IEND
        for (int keep : { 0, 1, 8, 90, -12 }) // all, one byte, the signature, into the image data, no end chunk
            QTest::addRow("kept %d", keep) << keep << -1 << QByteArray();
        for (int at : { 1, 17, 25, 60 }) // signature, width, colour type, image data
            QTest::addRow("damaged at %d", at) << 0 << at << QByteArray();
        for (const char* type : { "gAMA", "tEXt" })
            QTest::newRow(type) << 0 << -1 << QByteArray(type);
    }

    void decodeLeavesOthersToQt()
    {
        QFETCH(int, keep);
        QFETCH(int, flipAt);
        QFETCH(QByteArray, chunk);
        const QImage image = sample({ 40, 30 });
        QByteArray png = pngwriter::encode(image);
        if (!chunk.isEmpty()) {
            // Four bytes of data, with a right checksum.
            chunk = QByteArray::fromHex("00000004") + chunk + QByteArray(8, '\0');
            qToBigEndian(
                quint32(crc32(0, reinterpret_cast<const Bytef*>(chunk.constData() + 4), 8)), chunk.data() + 12);
            png.insert(png.size() - 12, chunk);
        }
        if (flipAt >= 0)
            png[flipAt] = char(~png.at(flipAt));
        png.truncate(keep > 0 ? keep : png.size() + keep);
        QCOMPARE(pngwriter::decode(png), png == pngwriter::encode(image) ? image : QImage());
    }
};

QTEST_MAIN(TestPngWriter)
#include "tst_pngwriter.moc"
