#include "rendertext.h"

#include "imageplay.h"
#include "richtextplay.h"

#include <jsonrecords.h>
#include <playerpath.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QWidget>

#include <nlohmann/json.hpp>

bool renderTextRecord(const QString& recordFile, const QSize& size, const QString& outDir, QList<RenderedImage>* images,
    QList<MissingCharacter>* missing, QString* error)
{
    QFile file(recordFile);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(recordFile, file.errorString());
        return false;
    }
    ns::RichTextInfo info;
    try {
        ns::from_json(nlohmann::json::parse(file.readAll().toStdString()), info);
    } catch (const std::exception& e) {
        *error = QStringLiteral("%1 is no rich text record: %2").arg(recordFile, QString::fromUtf8(e.what()));
        return false;
    }
    if (!QDir().mkpath(outDir)) {
        *error = QStringLiteral("cannot create the directory %1").arg(outDir);
        return false;
    }
    PlayerPath::getInstance().setImageCachePath(QFileInfo(outDir).absoluteFilePath());

    const ns::RichTextContent& content = info.content;
    for (const RichTextPlay::MissingGlyph& glyph : RichTextPlay::missingGlyphs(content))
        missing->append(
            MissingCharacter { glyph.codePoint, glyph.paragraph + 1, glyph.line + 1, glyph.run + 1, glyph.runText });
    const bool marquee = ns::isMarquee(content.displayStyle);
    int height = size.height();
    if (marquee) {
        // The band is as high as the text player makes it.
        QWidget region;
        region.resize(size);
        ImagePlay measure(&region);
        measure.setRichTextInfo(info);
        height = measure.calMaxLineHeight();
    }

    RichTextPlay renderer;
    renderer.setTaskID(QFileInfo(recordFile).completeBaseName() + QLatin1Char('_'));
    QObject::connect(&renderer, &RichTextPlay::ImageValueChanged, [images](const QString& name, bool lastImage) {
        const QImageReader reader(name);
        images->append(RenderedImage { name, QFileInfo::exists(name) ? reader.size() : QSize(), lastImage });
    });
    if (marquee)
        renderer.creatMarqueeImage(content, size.width(), height);
    else
        renderer.creatImage(content, size.width(), height);
    return true;
}
