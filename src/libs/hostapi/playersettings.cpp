#include "playersettings.h"

#include <initializer_list>
#include <utility>

namespace {

// Families of the fonts the host installs (Debian's fonts-liberation2 and fonts-wqy-microhei).
constexpr char kSans[] = "Liberation Sans";
constexpr char kSerif[] = "Liberation Serif";
constexpr char kMono[] = "Liberation Mono";
constexpr char kCjk[] = "WenQuanYi Micro Hei";

// Families that content made on other systems commonly names, by what stands in for them here:
// metric-compatible Latin faces where they exist, and one CJK face for every Chinese, Japanese and
// Korean family, so that such text gets real glyphs instead of whatever the fallback finds.
const std::initializer_list<std::pair<const char*, const char*>> kDefaultMappings = {
    { "Arial", kSans },
    { "Helvetica", kSans },
    { "Helvetica Neue", kSans },
    { "Arial Unicode MS", kSans },
    { "Tahoma", kSans },
    { "Verdana", kSans },
    { "Segoe UI", kSans },
    { "Calibri", kSans },
    { "Microsoft Sans Serif", kSans },
    { "Trebuchet MS", kSans },
    { "Times New Roman", kSerif },
    { "Times", kSerif },
    { "Georgia", kSerif },
    { "Cambria", kSerif },
    { "Courier New", kMono },
    { "Courier", kMono },
    { "Consolas", kMono },
    { "Lucida Console", kMono },
    { "Microsoft YaHei", kCjk },
    { "Microsoft YaHei UI", kCjk },
    { "微软雅黑", kCjk },
    { "SimSun", kCjk },
    { "NSimSun", kCjk },
    { "宋体", kCjk },
    { "新宋体", kCjk },
    { "SimHei", kCjk },
    { "黑体", kCjk },
    { "KaiTi", kCjk },
    { "楷体", kCjk },
    { "FangSong", kCjk },
    { "仿宋", kCjk },
    { "DengXian", kCjk },
    { "等线", kCjk },
    { "STHeiti", kCjk },
    { "STSong", kCjk },
    { "STKaiti", kCjk },
    { "PingFang SC", kCjk },
    { "Hiragino Sans GB", kCjk },
    { "Microsoft JhengHei", kCjk },
    { "微軟正黑體", kCjk },
    { "PMingLiU", kCjk },
    { "MingLiU", kCjk },
    { "新細明體", kCjk },
    { "MS Gothic", kCjk },
    { "MS Mincho", kCjk },
    { "Meiryo", kCjk },
    { "Yu Gothic", kCjk },
    { "Malgun Gothic", kCjk },
    { "Gulim", kCjk },
    { "Noto Sans CJK SC", kCjk },
    { "Source Han Sans SC", kCjk },
};

QString keyOf(const QString& family)
{
    return family.trimmed().toCaseFolded();
}

} // namespace

const char PlayerSettings::kDefaultReachabilityHost[] = "example.com";

PlayerSettings::PlayerSettings()
    : m_reachabilityHost(QString::fromLatin1(kDefaultReachabilityHost))
{
    resetFontFamilyMappings();
}

PlayerSettings& PlayerSettings::getInstance()
{
    static PlayerSettings instance;
    return instance;
}

void PlayerSettings::convertFontFamily(QString& family) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_fontMap.constFind(keyOf(family));
    if (it != m_fontMap.constEnd())
        family = *it;
}

void PlayerSettings::setFontFamilyMapping(const QString& from, const QString& to)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.insert(keyOf(from), to);
}

void PlayerSettings::removeFontFamilyMapping(const QString& from)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.remove(keyOf(from));
}

void PlayerSettings::clearFontFamilyMappings()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.clear();
}

void PlayerSettings::resetFontFamilyMappings()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fontMap.clear();
    for (const auto& mapping : kDefaultMappings)
        m_fontMap.insert(keyOf(QString::fromUtf8(mapping.first)), QString::fromUtf8(mapping.second));
}

QStringList PlayerSettings::defaultFontFamilies()
{
    QStringList families;
    for (const auto& mapping : kDefaultMappings)
        families.append(QString::fromUtf8(mapping.first));
    return families;
}

void PlayerSettings::setReachabilityHost(const QString& host)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_reachabilityHost = host.trimmed();
}

QString PlayerSettings::reachabilityHost() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_reachabilityHost;
}
