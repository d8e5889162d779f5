#include "playersettings.h"

PlayerSettings& PlayerSettings::getInstance()
{
    static PlayerSettings instance;
    return instance;
}

void PlayerSettings::convertFontFamily(QString& family) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_fontMap.constFind(family.trimmed().toCaseFolded());
    if (it != m_fontMap.constEnd())
        family = *it;
}

void PlayerSettings::setFontFamilyMapping(const QString& from, const QString& to)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.insert(from.trimmed().toCaseFolded(), to);
}

void PlayerSettings::removeFontFamilyMapping(const QString& from)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.remove(from.trimmed().toCaseFolded());
}

void PlayerSettings::clearFontFamilyMappings()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.clear();
}
