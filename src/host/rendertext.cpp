#include "rendertext.h"

#include "richtextplay.h"

#include <jsonrecords.h>
#include <playerpath.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QImageReader>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

constexpr int kBoldWeight = 75;

int lineHeight(const ns::RichTextContent& content, const std::vector<ns::TextRun>& line, int letterSpacing)
{
    int tallest = 0;
    for (const ns::TextRun& run : line) {
        const ns::TextStyle& style
            = content.textAttributes[RichTextPlay::attributeIndex(run.attributeId, content.textAttributes)].style;
        QFont font;
        if (!style.fontFamilies.empty())
            font.setFamily(QString::fromStdString(style.fontFamilies.front()));
        font.setUnderline(style.underline);
        font.setPixelSize(style.pixelSize);
        font.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
        switch (style.fontStyle) {
        case ns::FONT_BOLD:
            font.setWeight(kBoldWeight);
            break;
        case ns::FONT_REGULAR:
            font.setStyle(QFont::StyleNormal);
            break;
        case ns::FONT_ITALIC:
            font.setStyle(QFont::StyleItalic);
            break;
        case ns::FONT_BOLD_ITALIC:
            font.setWeight(kBoldWeight);
            font.setStyle(QFont::StyleItalic);
            break;
        default:
            break;
        }
        tallest = std::max(tallest, QFontMetrics(font).height());
    }
    return tallest;
}

} // namespace

int marqueeBandHeight(const ns::RichTextContent& content)
{
    if (content.textAttributes.empty())
        return 0;
    int tallest = 0;
    for (const ns::Paragraph& paragraph : content.paragraphs) {
        for (const auto& line : paragraph.lines)
            tallest = std::max(tallest, lineHeight(content, line, paragraph.letterSpacing));
    }
    return tallest;
}

bool renderTextRecord(
    const QString& recordFile, const QSize& size, const QString& outDir, QList<RenderedImage>* images, QString* error)
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
    const bool marquee = ns::isMarquee(content.displayStyle);
    const int height = marquee ? marqueeBandHeight(content) : size.height();

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
