// The image files' PNG writer: whatever the image's format and the row filter, Qt reads back the
// pixels that were written, and a text page comes out no larger than Qt's smallest file.
#include <pngwriter.h>

#include <QBuffer>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

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

} // namespace

class TestPngWriter : public QObject {
    Q_OBJECT
private slots:
    void samePixels_data();
    void samePixels();
    void noLargerThanQt();
    void writeErrors();
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

QTEST_MAIN(TestPngWriter)
#include "tst_pngwriter.moc"
