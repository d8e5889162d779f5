#include "picturemarquee.h"

#include <effectdisplay.h>
#include <spdlogger.h>

#include <QImage>
#include <QImageReader>
#include <QPixmap>
#include <QTimer>

#include <nlohmann/json.hpp>

#include <exception>
#include <vector>

namespace {

using json = nlohmann::json;

// The marquee draws from its own timer; the transition clock of EffectDisplay has nothing to time.
constexpr long kNoEffectTimeMs = 0;

QString typeName(const json& value)
{
    return QString::fromLatin1(value.type_name());
}

// An absent key keeps `value`.
bool readInt(const json& object, const char* key, int minimum, int maximum, int& value, QString* error)
{
    const auto it = object.find(key);
    if (it == object.end())
        return true;
    // Non-negative numbers read as unsigned; one past the int range must not wrap on the way to long long.
    const bool tooLarge
        = it->is_number_unsigned() && it->get<unsigned long long>() > static_cast<unsigned long long>(maximum);
    const bool inRange
        = it->is_number_integer() && !tooLarge && it->get<long long>() >= minimum && it->get<long long>() <= maximum;
    if (!inRange) {
        if (error)
            *error = QStringLiteral("\"%1\" is %2; it must be a whole number from %3 to %4")
                         .arg(QLatin1String(key), QString::fromStdString(it->dump()))
                         .arg(minimum)
                         .arg(maximum);
        return false;
    }
    value = it->get<int>();
    return true;
}

} // namespace

bool readPictureMarqueeSettings(const std::string& jsonText, PictureMarqueeSettings& settings, QString* error)
{
    const auto fail = [error](const QString& message) {
        if (error)
            *error = message;
        return false;
    };
    json root;
    try {
        root = json::parse(jsonText);
    } catch (const std::exception& parseError) {
        return fail(QStringLiteral("jsonText is not valid JSON: %1").arg(QString::fromUtf8(parseError.what())));
    }
    if (!root.is_object())
        return fail(QStringLiteral("jsonText must be a JSON object, not %1").arg(typeName(root)));

    PictureMarqueeSettings read;
    const auto pictures = root.find("pictures");
    if (pictures == root.end() || !pictures->is_array() || pictures->empty())
        return fail(QStringLiteral("jsonText needs a non-empty \"pictures\" list of file names"));
    for (const json& picture : *pictures) {
        if (!picture.is_string() || picture.get<std::string>().empty())
            return fail(QStringLiteral("\"pictures\" holds %1; every entry must be a file name")
                            .arg(QString::fromStdString(picture.dump())));
        read.pictures << QString::fromStdString(picture.get<std::string>());
    }
    if (!readInt(root, "code", PictureMarqueeSettings::kFirstCode, PictureMarqueeSettings::kLastCode, read.code, error)
        || !readInt(root, "interval", 1, PictureMarqueeSettings::kMaxIntervalMs, read.interval, error)
        || !readInt(root, "step", 0, PictureMarqueeSettings::kMaxPixels, read.step, error)
        || !readInt(root, "gap", 0, PictureMarqueeSettings::kMaxPixels, read.gap, error))
        return false;
    if (const auto it = root.find("useGap"); it != root.end()) {
        if (!it->is_boolean())
            return fail(
                QStringLiteral("\"useGap\" is %1; it must be true or false").arg(QString::fromStdString(it->dump())));
        read.useGap = it->get<bool>();
    }
    settings = read;
    return true;
}

PictureMarquee::PictureMarquee(QWidget* parent)
    : QWidget(parent)
{
    if (parent)
        resize(parent->width(), parent->height());
    else
        PLAYER_LOG(error, "PictureMarquee: constructed without a parent widget, the player has no size");
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
}

PictureMarquee::~PictureMarquee()
{
    iDestory();
}

int PictureMarquee::iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback)
{
    m_callback = std::move(callback);
    start(widget);
    // The player is the shot's context: a player deleted before the loop turns reports nothing.
    QTimer::singleShot(0, this, [this] {
        if (m_callback)
            m_callback(MediaReady);
    });
    return 0;
}

void PictureMarquee::start(const ns::Widget& widget)
{
    PictureMarqueeSettings settings;
    QString error;
    if (!readPictureMarqueeSettings(widget.jsonText, settings, &error)) {
        PLAYER_LOG(error, "picture-marquee {}: {}; nothing is shown", widget.id, error.toStdString());
        return;
    }

    // Loaded here first so that a picture that does not load drops out of the ring instead of
    // leaving the display without a size to run in.
    QString firstPath;
    std::vector<QImage> rest;
    for (const QString& path : qAsConst(settings.pictures)) {
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        const QImage image = reader.read();
        if (image.isNull()) {
            PLAYER_LOG(warn, "picture-marquee {}: cannot load picture {}: {}; left out of the ring", widget.id,
                path.toStdString(), reader.errorString().toStdString());
            continue;
        }
        if (firstPath.isEmpty())
            firstPath = path;
        else
            rest.push_back(image);
    }
    if (firstPath.isEmpty()) {
        PLAYER_LOG(error, "picture-marquee {}: none of its {} pictures loads; nothing is shown", widget.id,
            settings.pictures.size());
        return;
    }

    m_display = new EffectDisplay(this);
    m_display->setFoldParaMeters(widget.fold);
    m_display->setPlayMarquee(true);
    m_display->setMarqueeSpeed(settings.interval, settings.step);
    m_display->setMarqueeParaMeters(settings.useGap, settings.gap);
    m_display->showEffect(settings.code, firstPath, kNoEffectTimeMs, kNoEffectTimeMs);
    for (const QImage& image : rest)
        m_display->appendPixmap(QPixmap::fromImage(image));
    m_display->playMarquee();
    m_display->show();
    PLAYER_LOG(debug, "picture-marquee {}: {} pictures, code {}, {} px every {} ms", widget.id, rest.size() + 1,
        settings.code, settings.step, settings.interval);
}

int PictureMarquee::iPlay()
{
    return 0;
}

void PictureMarquee::iPause()
{
    if (m_display)
        m_display->pauseInterface();
}

void PictureMarquee::iStop()
{
}

int PictureMarquee::iResume()
{
    if (m_display)
        m_display->resumeInterface();
    return 0;
}

void PictureMarquee::iDestory()
{
    m_callback = nullptr;
    delete m_display;
    m_display = nullptr;
}
