#pragma once

#include "hostapi_export.h"

#include <QHash>
#include <QString>

#include <mutex>

/// Host settings the players consult; for now the font family mapping. Thread-safe.
class HOSTAPI_EXPORT PlayerSettings {
public:
    static PlayerSettings& getInstance();

    /// Rewrites a family name in place; names without a mapping stay unchanged.
    /// Matching ignores case, since content authors spell family names loosely.
    void convertFontFamily(QString& family) const;
    /// Maps `from` to `to` from now on; replaces an earlier mapping of `from`.
    void setFontFamilyMapping(const QString& from, const QString& to);
    void removeFontFamilyMapping(const QString& from);
    void clearFontFamilyMappings();

private:
    PlayerSettings() = default;
    Q_DISABLE_COPY(PlayerSettings)

    mutable std::mutex m_mutex;
    QHash<QString, QString> m_fontMap; // key folded to lower case
};
