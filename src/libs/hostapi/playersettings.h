#pragma once

#include "hostapi_export.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <mutex>

/// Host settings the players consult: the font family mapping and the host name that tells a feed
/// fetch whether names resolve at all. Thread-safe.
/// It starts with a default mapping of the families content commonly names (Arial, Times New Roman,
/// Microsoft YaHei, SimSun, SimHei...) to the Liberation and WenQuanYi fonts the host installs.
class HOSTAPI_EXPORT PlayerSettings {
public:
    static PlayerSettings& getInstance();

    /// Rewrites a family name in place; names without a mapping stay unchanged.
    /// Matching ignores case, since content authors spell family names loosely.
    void convertFontFamily(QString& family) const;
    /// Maps `from` to `to` from now on; replaces an earlier mapping of `from`.
    void setFontFamilyMapping(const QString& from, const QString& to);
    void removeFontFamilyMapping(const QString& from);
    /// Drops every mapping, the default ones too: names then reach QFont as they are.
    void clearFontFamilyMappings();
    /// Back to the default mapping.
    void resetFontFamilyMappings();
    /// The family names the default mapping rewrites.
    static QStringList defaultFontFamilies();

    /// The host name a feed fetch looks up first: when it does not resolve, no request is made.
    /// Default: kDefaultReachabilityHost. Installations without public names set one that resolves.
    void setReachabilityHost(const QString& host);
    QString reachabilityHost() const;
    static const char kDefaultReachabilityHost[];

private:
    PlayerSettings();
    Q_DISABLE_COPY(PlayerSettings)

    mutable std::mutex m_mutex;
    QHash<QString, QString> m_fontMap; // key folded to lower case
    QString m_reachabilityHost;
};
