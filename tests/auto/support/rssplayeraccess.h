#pragma once

#include <rssplayer.h>

#include <QByteArray>

/// What the tests and benchmarks see of a feed player's reader: the document read as a fetch would
/// hand it over, without starting a text player.
struct RssPlayerAccess {
    /// Reads `document` with the player's switches into a fresh record, as a renewal does.
    static const ns::RichTextInfo& read(RssPlayer& player, const QByteArray& document)
    {
        player.resetFeedText();
        player.m_xmlReader.addData(document);
        player.readXml();
        return player.m_richTextInfo;
    }
    static void setSwitches(RssPlayer& player, bool title, bool pubDate, bool description)
    {
        player.m_rssMetaData.showTitle = title;
        player.m_rssMetaData.showPubDate = pubDate;
        player.m_rssMetaData.showDescription = description;
    }
    static const ns::RichTextInfo& record(const RssPlayer& player) { return player.m_richTextInfo; }
    static const ns::RSSMetaData& settings(const RssPlayer& player) { return player.m_rssMetaData; }
    static int updatePeriod(const RssPlayer& player) { return player.m_lUpdatePeriod; }
    static playtext* textPlay(const RssPlayer& player) { return player.textPlay; }
    static playtext* textplayRss(const RssPlayer& player) { return player.textplayRss; }
    static void renew(RssPlayer& player) { player.slotTimerOut(); }
    static void requestEnd(RssPlayer& player, const QByteArray& document) { player.slotsRequestEnd(document); }
    static RSSRequestThread* requestThread(const RssPlayer& player) { return player.m_pRequestThread; }
};
