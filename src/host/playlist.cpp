#include "playlist.h"

#include "picturemarquee.h"

#include <jsonrecords.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <nlohmann/json.hpp>

#include <exception>
#include <limits>

namespace {

using json = nlohmann::json;

QString fromJsonString(const std::string& text)
{
    return QString::fromStdString(text);
}

// Reads an optional whole number into `value`; an absent key keeps it.
bool readInt(const json& object, const char* key, long long minimum, long long maximum, int& value, QString& problem)
{
    const auto it = object.find(key);
    if (it == object.end())
        return true;
    if (!it->is_number_integer()) {
        problem = QStringLiteral("\"%1\" must be a whole number").arg(QLatin1String(key));
        return false;
    }
    const bool tooLarge
        = it->is_number_unsigned() && it->get<unsigned long long>() > static_cast<unsigned long long>(maximum);
    const long long number = tooLarge ? maximum : it->get<long long>();
    if (tooLarge || number < minimum || number > maximum) {
        problem = QStringLiteral("\"%1\" is %2, outside %3..%4")
                      .arg(QLatin1String(key), fromJsonString(it->dump()))
                      .arg(minimum)
                      .arg(maximum);
        return false;
    }
    value = int(number);
    return true;
}

const QString kFeedKind = QStringLiteral("rss");

bool isUrl(const QString& path)
{
    return path.contains(QLatin1String("://"));
}

QString resolvePath(const QString& path, const QString& baseDir)
{
    if (path.isEmpty() || isUrl(path) || !QDir::isRelativePath(path))
        return path;
    return QDir::cleanPath(QDir(baseDir).absoluteFilePath(path));
}

// A marquee's pictures sit in its jsonText; relative ones resolve like `path`. Text that does not
// read is left as it is, for the player to say what is wrong with it. Returns the pictures.
QStringList resolveMarqueePictures(std::string& jsonText, const QString& baseDir)
{
    json record = json::parse(jsonText, nullptr, false);
    if (record.is_discarded() || !record.is_object())
        return {};
    const auto pictures = record.find("pictures");
    if (pictures == record.end() || !pictures->is_array())
        return {};
    QStringList resolved;
    for (json& picture : *pictures) {
        if (!picture.is_string())
            continue;
        const QString path = resolvePath(fromJsonString(picture.get<std::string>()), baseDir);
        picture = path.toStdString();
        resolved << path;
    }
    jsonText = record.dump();
    return resolved;
}

QString regionLabel(const QString& name)
{
    return QStringLiteral("region '%1'").arg(name);
}

class Parser {
public:
    Parser(const QString& baseDir, PlaylistLoad& result)
        : m_baseDir(baseDir)
        , m_result(result)
    {
    }

    void parse(const json& root)
    {
        if (!root.is_object())
            return fail(QStringLiteral("the playlist must be a JSON object, not %1").arg(typeName(root)));
        Playlist& playlist = m_result.playlist;
        playlist.screenSize = QSize(playlistdefaults::kScreenWidth, playlistdefaults::kScreenHeight);
        playlist.background = playlistdefaults::kBackground;
        if (const auto it = root.find("name"); it != root.end() && it->is_string())
            playlist.name = fromJsonString(it->get<std::string>());
        if (!parseScreen(root))
            return;

        const auto regions = root.find("regions");
        if (regions == root.end() || !regions->is_array())
            return fail(QStringLiteral("the playlist needs a \"regions\" list"));
        int number = 0;
        for (const json& region : *regions)
            parseRegion(region, ++number);
        if (playlist.regions.isEmpty())
            return fail(QStringLiteral("the playlist has no region that can be played"));
        assignMissingIds();
        m_result.ok = true;
    }

private:
    static QString typeName(const json& value) { return QString::fromLatin1(value.type_name()); }

    void fail(const QString& message) { m_result.errors << message; }

    bool parseScreen(const json& root)
    {
        const auto screen = root.find("screen");
        if (screen == root.end())
            return true;
        if (!screen->is_object()) {
            fail(QStringLiteral("\"screen\" must be an object with width, height and background"));
            return false;
        }
        Playlist& playlist = m_result.playlist;
        int width = playlist.screenSize.width();
        int height = playlist.screenSize.height();
        QString problem;
        if (!readInt(*screen, "width", 1, playlistdefaults::kMaxExtent, width, problem)
            || !readInt(*screen, "height", 1, playlistdefaults::kMaxExtent, height, problem)) {
            fail(QStringLiteral("screen: %1").arg(problem));
            return false;
        }
        playlist.screenSize = QSize(width, height);
        if (const auto it = screen->find("background"); it != screen->end()) {
            const QString colour = it->is_string() ? fromJsonString(it->get<std::string>()) : QString();
            if (QColor::isValidColor(colour))
                playlist.background = QColor(colour);
            else
                m_result.warnings << QStringLiteral("screen: background %1 is not a colour; using %2")
                                         .arg(fromJsonString(it->dump()), playlist.background.name());
        }
        return true;
    }

    void parseRegion(const json& object, int number)
    {
        QString name = QStringLiteral("region %1").arg(number);
        if (!object.is_object()) {
            m_result.errors << QStringLiteral("%1 is not a JSON object; left out").arg(name);
            return;
        }
        if (const auto it = object.find("name");
            it != object.end() && it->is_string() && !it->get<std::string>().empty())
            name = fromJsonString(it->get<std::string>());
        const QString label = regionLabel(name);

        PlaylistRegion region;
        region.name = name;
        QString problem;
        if (!parseGeometry(object, region.geometry, problem)) {
            m_result.errors << QStringLiteral("%1: %2; region left out").arg(label, problem);
            return;
        }
        const QRect screen(QPoint(0, 0), m_result.playlist.screenSize);
        if (!screen.intersects(region.geometry)) {
            m_result.errors << QStringLiteral("%1: geometry %2 lies outside the %3x%4 screen; region left out")
                                   .arg(label, rectText(region.geometry))
                                   .arg(screen.width())
                                   .arg(screen.height());
            return;
        }
        if (!screen.contains(region.geometry))
            m_result.warnings << QStringLiteral("%1: geometry %2 reaches beyond the %3x%4 screen and is cut")
                                     .arg(label, rectText(region.geometry))
                                     .arg(screen.width())
                                     .arg(screen.height());

        const auto single = object.find("item");
        const auto list = object.find("items");
        if (single != object.end() && list != object.end()) {
            m_result.errors << QStringLiteral("%1: has both \"item\" and \"items\"; region left out").arg(label);
            return;
        }
        if (single != object.end()) {
            parseItem(*single, label, 1, false, region);
        } else if (list != object.end() && list->is_array() && !list->empty()) {
            const bool loops = list->size() > 1;
            int itemNumber = 0;
            for (const json& item : *list)
                parseItem(item, label, ++itemNumber, loops, region);
        } else {
            m_result.errors << QStringLiteral("%1: needs an \"item\" object or a non-empty \"items\" list; "
                                              "region left out")
                                   .arg(label);
            return;
        }
        if (region.items.isEmpty()) {
            m_result.errors << QStringLiteral("%1: no item can be played; region left out").arg(label);
            return;
        }
        m_result.playlist.regions << region;
    }

    static QString rectText(const QRect& rect)
    {
        return QStringLiteral("(%1, %2, %3x%4)").arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
    }

    static bool parseGeometry(const json& object, QRect& geometry, QString& problem)
    {
        for (const char* key : { "width", "height" }) {
            if (!object.contains(key)) {
                problem = QStringLiteral("\"%1\" is missing").arg(QLatin1String(key));
                return false;
            }
        }
        const int maxExtent = playlistdefaults::kMaxExtent;
        int x = 0, y = 0, width = 0, height = 0;
        if (!readInt(object, "x", -maxExtent, maxExtent, x, problem)
            || !readInt(object, "y", -maxExtent, maxExtent, y, problem)
            || !readInt(object, "width", 1, maxExtent, width, problem)
            || !readInt(object, "height", 1, maxExtent, height, problem))
            return false;
        geometry = QRect(x, y, width, height);
        return true;
    }

    void parseItem(const json& object, const QString& regionText, int number, bool loops, PlaylistRegion& region)
    {
        const QString label = QStringLiteral("%1 item %2").arg(regionText).arg(number);
        QString problem;
        PlaylistItem item;
        item.number = number;
        bool hasId = false;
        if (!readItem(object, loops, item, hasId, problem)) {
            m_result.errors << QStringLiteral("%1: %2; item left out").arg(label, problem);
            return;
        }
        QStringList pictures;
        if (item.kind == playlistdefaults::kKind && !item.widget.path.empty())
            pictures << fromJsonString(item.widget.path);
        else if (item.kind == kPictureMarqueeKind)
            pictures = resolveMarqueePictures(item.widget.jsonText, m_baseDir);
        if (item.kind == kFeedKind) {
            const QUrl link(fromJsonString(item.widget.path).trimmed());
            if (link.host().isEmpty())
                m_result.warnings << QStringLiteral("%1: feed address '%2' names no host; write it as "
                                                    "https://host/path")
                                         .arg(label, fromJsonString(item.widget.path));
        }
        for (const QString& path : qAsConst(pictures)) {
            if (!path.isEmpty() && !isUrl(path) && !QFileInfo::exists(path))
                m_result.warnings << QStringLiteral("%1: picture file %2 does not exist").arg(label, path);
        }
        region.items << item;
        if (!hasId)
            m_missingIds << qMakePair(m_result.playlist.regions.size(), region.items.size() - 1);
        else
            m_maxId = qMax(m_maxId, item.widget.id);
    }

    bool readItem(const json& object, bool loops, PlaylistItem& item, bool& hasId, QString& problem) const
    {
        if (!object.is_object()) {
            problem = QStringLiteral("an item must be a JSON object, not %1").arg(typeName(object));
            return false;
        }
        item.kind = playlistdefaults::kKind;
        if (const auto it = object.find("kind"); it != object.end()) {
            if (!it->is_string() || it->get<std::string>().empty()) {
                problem = QStringLiteral("\"kind\" must be a player name such as \"picture\"");
                return false;
            }
            item.kind = fromJsonString(it->get<std::string>()).trimmed();
        }
        const auto widget = object.find("widget");
        if (widget == object.end() || !widget->is_object()) {
            problem = QStringLiteral("needs a \"widget\" object");
            return false;
        }
        // The reader keeps what an absent key leaves, so the host's default goes in first.
        item.widget.duration = playlistdefaults::kItemDurationMs;
        try {
            ns::from_json(*widget, item.widget);
        } catch (const std::exception& error) {
            problem = QStringLiteral("widget: %1").arg(QString::fromUtf8(error.what()));
            return false;
        }
        if (item.widget.duration < 0 || (loops && item.widget.duration == 0)) {
            problem = QStringLiteral("widget: duration %1 ms; an item in a loop needs a positive duration")
                          .arg(item.widget.duration);
            return false;
        }
        hasId = widget->contains("id");
        // A feed's path is its address, not a file.
        if (item.kind != kFeedKind)
            item.widget.path = resolvePath(fromJsonString(item.widget.path), m_baseDir).toStdString();
        return true;
    }

    // Items without an id get fresh ones above every id written, so that two items never
    // share the key of an image cache.
    void assignMissingIds()
    {
        int next = m_maxId < 0 ? 1 : m_maxId + 1;
        for (const auto& where : qAsConst(m_missingIds))
            m_result.playlist.regions[where.first].items[where.second].widget.id = next++;
    }

    QString m_baseDir;
    PlaylistLoad& m_result;
    QList<QPair<int, int>> m_missingIds;
    int m_maxId = std::numeric_limits<int>::min();
};

} // namespace

PlaylistLoad parsePlaylist(const QByteArray& jsonText, const QString& baseDir)
{
    PlaylistLoad result;
    json root;
    try {
        root = json::parse(jsonText.constData(), jsonText.constData() + jsonText.size());
    } catch (const std::exception& error) {
        result.errors << QStringLiteral("not valid JSON: %1").arg(QString::fromUtf8(error.what()));
        return result;
    }
    Parser(baseDir, result).parse(root);
    return result;
}

PlaylistLoad loadPlaylist(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        PlaylistLoad result;
        result.errors << QStringLiteral("cannot read playlist %1: %2").arg(fileName, file.errorString());
        return result;
    }
    PlaylistLoad result = parsePlaylist(file.readAll(), QFileInfo(fileName).absolutePath());
    if (!result.ok) {
        for (QString& error : result.errors)
            error = QStringLiteral("playlist %1: %2").arg(fileName, error);
    }
    return result;
}
