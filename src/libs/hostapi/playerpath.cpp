#include "playerpath.h"

#include "spdlogger.h"

#include <QDir>
#include <QStandardPaths>

PlayerPath& PlayerPath::getInstance()
{
    static PlayerPath instance;
    return instance;
}

QString PlayerPath::defaultImageCachePath()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (base.isEmpty())
        base = QDir::tempPath();
    return QDir(base).filePath(QStringLiteral("effectdisplay/images"));
}

QString PlayerPath::getImageCachePath()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_path.isEmpty()) {
        m_path = defaultImageCachePath();
        m_created = false;
    }
    if (!m_created) {
        // Checked once per path: renderers ask for it for every file they write.
        m_created = QDir().mkpath(m_path);
        if (!m_created) {
            PLAYER_LOG(error, "PlayerPath: cannot create the image cache directory {}", m_path.toStdString());
            return QString();
        }
    }
    return m_path;
}

void PlayerPath::setImageCachePath(const QString& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_path = path.isEmpty() ? QString() : QDir::cleanPath(QDir(path).absolutePath());
    m_created = false;
}
