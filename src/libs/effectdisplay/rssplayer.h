#pragma once

#include "effectdisplay_export.h"

#include <imediaplay.h>
#include <richtextrecords.h>
#include <rssrecords.h>

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <QXmlStreamReader>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class QTimer;
class RSSRequestThread;
class playtext;

/// The player of an RSS feed: fetches the document at `widget.path` off the GUI thread, turns its
/// items into rich text as `ns::RSSMetaData` in `widget.jsonText` says, shows it through an inner
/// text player, and renews it every update period with a second text player that takes over when
/// it is ready. All operations run on the GUI thread.
class EFFECTDISPLAY_EXPORT RssPlayer : public QWidget, public IMediaPlay {
    Q_OBJECT
public:
    /// `parent` must be sized already: the player takes its size as a fixed size.
    explicit RssPlayer(QWidget* parent);
    ~RssPlayer() override;

    /// Reads the feed settings from `jsonText` (a bad text throws nlohmann::json::exception) and
    /// the feed address from `path`; starts nothing.
    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override;
    /// Fetches the feed, or replays the text of this id that is still cached.
    int iPlay() override;
    void iPause() override;
    void iStop() override;
    int iResume() override;
    /// Ends a fetch in progress without waiting for its time-outs and frees both text players.
    void iDestory() override;

    /// Cache key of the feed's text.
    void setTaskID(const QString& taskID);
    /// A non-empty link replaces the feed address.
    void setRssLink(QString rssLink);
    /// Replaces the feed settings; the update period stays as iInit set it.
    void setRssData(ns::RSSMetaData& rssMetaData);
    /// Starts a fetch of the feed, ending the one in progress.
    void requestRss();

private slots:
    void slotTimerOut();
    void slotPlayTextReady();
    void slotsRequestEnd(QByteArray byteArray);

private:
    Q_DISABLE_COPY(RssPlayer)
    friend struct RssPlayerAccess; // the tests' and benchmarks' view of the reader

    void readXml();
    void readrss();
    void readchannel();
    void readitem();
    QXmlStreamReader::TokenType nextToken();
    QString readItemText();

    void toTitle();
    void toPubDate();
    void toLines();
    void initRss();
    void playRss();
    void stopRequest();
    void resetFeedText();
    void removeStaleImages();

    QString m_taskID;
    RSSRequestThread* m_pRequestThread = nullptr;
    QString m_strRssLink;
    ns::RSSMetaData m_rssMetaData;
    QXmlStreamReader m_xmlReader;
    std::string m_strTitle;
    std::string m_strPubDate;
    std::string m_strDescription;
    ns::TextRun m_textRun;
    std::vector<ns::TextRun> m_line;
    ns::Paragraph m_paragraph;
    ns::RichTextInfo m_richTextInfo;
    playtext* textPlay = nullptr;
    playtext* textplayRss = nullptr;
    int32_t m_duration = 10000;
    int32_t m_lUpdatePeriod = 300000;
    QTimer* m_pUpdateTimer = nullptr;
    bool m_bTextPlayTurn = true;
    std::function<void(EnumMediaStatus)> m_callback;

    // A fetch that was replaced or stopped may still have its result queued: only the latest counts.
    quint64 m_fetchSerial = 0;
    // Update periods that found the renewal before still on its way.
    int m_skippedTicks = 0;
    // What the reader has taken from the current document, against its bounds.
    qint64 m_readChars = 0;
    int m_readItems = 0;
    int m_cutTexts = 0;
    // Files of the text that the running renewal replaces; removed once the new text shows.
    QStringList m_listStaleImages;
};
