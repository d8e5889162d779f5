#include "playerfactory.h"

#include "foldpattern.h"
#include "picturemarquee.h"

#include <effectInfo.h>
#include <officeplay.h>
#include <playtext.h>
#include <rssplayer.h>

PlayerFactory PlayerFactory::withBuiltinPlayers()
{
    PlayerFactory factory;
    factory.registerKind<EffectInfo>(QStringLiteral("picture"));
    factory.registerKind<PictureMarquee>(kPictureMarqueeKind);
    factory.registerKind<playtext>(QStringLiteral("text"));
    factory.registerKind<OfficePlay>(QStringLiteral("office"));
    factory.registerKind<RssPlayer>(QStringLiteral("rss"));
    factory.registerKind<FoldPattern>(kFoldPatternKind);
    return factory;
}

void PlayerFactory::registerKind(const QString& kind, Creator creator)
{
    m_creators.insert(kind, std::move(creator));
}

PlayerFactory::Player PlayerFactory::create(const QString& kind, QWidget* parent) const
{
    const auto it = m_creators.constFind(kind);
    if (it == m_creators.constEnd() || !*it)
        return {};
    return (*it)(parent);
}
