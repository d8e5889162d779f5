#include "rssplayer.h"
#include "rssplayer_p.h"

#include "playtext.h"

#include <imageplayhelper.h>
#include <jsonrecords.h>
#include <playerpath.h>
#include <spdlogger.h>

#include <QDir>
#include <QFile>
#include <QTimer>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace {

constexpr int32_t kDefaultUpdatePeriodMs = 60000;
constexpr int32_t kMinUpdatePeriodMs = 1000;
constexpr int kMaxSkippedTicks = 3;
constexpr int32_t kTitleId = 1;
constexpr int32_t kPubDateId = 2;
constexpr int32_t kDescriptionId = 3;
constexpr int kOpaqueColorLength = 7; // "#RRGGBB"
constexpr int32_t kPlaceholderPixelSize = 14;

const char kTransparent[] = "#00000000";

ns::Paragraph feedParagraph(ns::HAlignment hAlignment)
{
    ns::Paragraph paragraph;
    paragraph.vAlignment = ns::ALIGN_TOP;
    paragraph.hAlignment = hAlignment;
    paragraph.bkColor = kTransparent;
    paragraph.lineSpacing = 0;
    paragraph.letterSpacing = 0;
    return paragraph;
}

void resetBKColor(ns::TextStyle& style)
{
    style.bkColor = kTransparent;
}

void resetTextColor(ns::TextStyle& style)
{
    if (style.textColor.size() == kOpaqueColorLength)
        style.textColor.insert(1, "FF");
}

} // namespace

RssPlayer::RssPlayer(QWidget* parent)
    : QWidget(parent)
    , m_pUpdateTimer(new QTimer(this))
{
    connect(m_pUpdateTimer, &QTimer::timeout, this, &RssPlayer::slotTimerOut);
    if (parent)
        setFixedSize(parent->width(), parent->height());
    else
        PLAYER_LOG(error, "RssPlayer: no parent widget, the player has no size");
    PLAYER_LOG(debug, "logdebug:{},{},{},{}", " RssPlayer==========", "init rss player", width(), height());
    m_xmlReader.clear();
}

RssPlayer::~RssPlayer()
{
    PLAYER_LOG(debug, "RssPlayer ~RssPlayer begin");
    iDestory();
    PLAYER_LOG(debug, "RssPlayer ~RssPlayer end");
    m_callback = nullptr;
}

int RssPlayer::iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback)
{
    const nlohmann::json value = nlohmann::json::parse(widget.jsonText);
    m_callback = std::move(callback);
    ns::from_json(value, m_rssMetaData);
    m_strRssLink = QString::fromStdString(widget.path).trimmed();
    m_taskID.append(QStringLiteral("LUMORAX%1").arg(widget.id));
    PLAYER_LOG(debug, "Rss src Link is{}", widget.path);
    m_duration = widget.duration;
    m_lUpdatePeriod = m_rssMetaData.updatePeriod;
    if (m_lUpdatePeriod == 0) {
        PLAYER_LOG(error, "RssPlayer m_lUpdatePeriod == 0");
        m_lUpdatePeriod = kDefaultUpdatePeriodMs;
    } else if (m_lUpdatePeriod < 0) {
        PLAYER_LOG(error, "RssPlayer: updatePeriod {} ms is negative; the feed is renewed every {} ms", m_lUpdatePeriod,
            kDefaultUpdatePeriodMs);
        m_lUpdatePeriod = kDefaultUpdatePeriodMs;
    } else if (m_lUpdatePeriod < kMinUpdatePeriodMs) {
        // Each renewal fetches and renders the whole feed: a few milliseconds would keep a core busy.
        PLAYER_LOG(warn, "RssPlayer: updatePeriod {} ms is too short; the feed is renewed every {} ms", m_lUpdatePeriod,
            kMinUpdatePeriodMs);
        m_lUpdatePeriod = kMinUpdatePeriodMs;
    }
    m_pUpdateTimer->setInterval(m_lUpdatePeriod);
    return 0;
}

int RssPlayer::iPlay()
{
    if (ImagePlayHelper::getInstance().getFirstPlayFlag(m_taskID)) {
        requestRss();
        return 0;
    }
    // The text of this id is still cached: show it without a fetch. Two empty paragraphs carry the
    // background and alignment; one alone would count as no text.
    resetFeedText();
    initRss();
    const ns::Paragraph empty = feedParagraph(ns::ALIGN_LEFT);
    m_richTextInfo.content.paragraphs.push_back(empty);
    m_richTextInfo.content.paragraphs.push_back(empty);
    playRss();
    return 0;
}

void RssPlayer::iPause()
{
    for (playtext* player : { textPlay, textplayRss }) {
        if (player)
            player->iPause();
    }
}

void RssPlayer::iStop()
{
    for (playtext* player : { textPlay, textplayRss }) {
        if (player)
            player->iStop();
    }
}

int RssPlayer::iResume()
{
    for (playtext* player : { textPlay, textplayRss }) {
        if (player)
            player->iResume();
    }
    return 0;
}

void RssPlayer::iDestory()
{
    stopRequest();
    PLAYER_LOG(debug, "RssPlayer iDestory begin");
    m_strRssLink.clear();
    if (textPlay) {
        textPlay->iDestory();
        PLAYER_LOG(debug, "release textPlay begin");
        delete textPlay;
        PLAYER_LOG(debug, "release textPlay end");
        textPlay = nullptr;
    }
    if (textplayRss) {
        PLAYER_LOG(debug, "release textplayRss begin");
        textplayRss->iDestory();
        delete textplayRss;
        PLAYER_LOG(debug, "release textplayRss end");
        textplayRss = nullptr;
    }
    m_pUpdateTimer->stop();
    m_xmlReader.clear();
    QWidget::close();
    PLAYER_LOG(debug, "RssPlayer iDestory end");
}

void RssPlayer::setTaskID(const QString& taskID)
{
    m_taskID = taskID;
}

void RssPlayer::setRssLink(QString rssLink)
{
    if (rssLink.isEmpty()) {
        PLAYER_LOG(debug, "RssPlayer::setRssLink---------------rsslink is empty");
        return;
    }
    m_strRssLink = std::move(rssLink);
}

void RssPlayer::setRssData(ns::RSSMetaData& rssMetaData)
{
    m_rssMetaData = rssMetaData;
}

void RssPlayer::stopRequest()
{
    if (!m_pRequestThread)
        return;
    if (m_pRequestThread->isRunning())
        PLAYER_LOG(debug, "rss thread is running");
    // Its result may be queued already; the serial turns it away.
    ++m_fetchSerial;
    disconnect(m_pRequestThread, nullptr, this, nullptr);
    rssrequest::retire(m_pRequestThread);
    m_pRequestThread = nullptr;
}

void RssPlayer::requestRss()
{
    stopRequest();
    m_pRequestThread = new RSSRequestThread(m_strRssLink);
    const quint64 serial = ++m_fetchSerial;
    connect(m_pRequestThread, &RSSRequestThread::signalsRequestOK, this, [this, serial](QByteArray content) {
        if (serial == m_fetchSerial)
            slotsRequestEnd(std::move(content));
    });
    m_pRequestThread->start(QThread::InheritPriority);
}

void RssPlayer::slotsRequestEnd(QByteArray byteArray)
{
    if (byteArray.isEmpty() && m_callback) {
        m_callback(MediaReady);
        m_callback = nullptr;
    }
    if (byteArray.size() > rssbounds::kMaxDocumentBytes) {
        PLAYER_LOG(warn, "RssPlayer: feed document of {} bytes; its first {} bytes are read", byteArray.size(),
            rssbounds::kMaxDocumentBytes);
        byteArray.truncate(rssbounds::kMaxDocumentBytes);
    }
    // Each renewal shows the feed just fetched and nothing of the one before.
    resetFeedText();
    m_xmlReader.addData(byteArray);
    readXml();
    initRss();
    playRss();
}

void RssPlayer::resetFeedText()
{
    m_xmlReader.clear();
    m_readChars = 0;
    m_readItems = 0;
    m_cutTexts = 0;
    m_richTextInfo.content.paragraphs.clear();
    m_richTextInfo.content.textAttributes.clear();
}

void RssPlayer::toTitle()
{
    if (m_strTitle.empty())
        return;
    std::string text = m_strTitle;
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n'; }), text.end());
    m_textRun.attributeId = kTitleId;
    m_textRun.text = std::move(text);
    m_line.assign(1, m_textRun);
    m_paragraph = feedParagraph(ns::ALIGN_LEFT);
    m_paragraph.lines.assign(1, m_line);
    m_richTextInfo.content.paragraphs.push_back(m_paragraph);
}

void RssPlayer::toPubDate()
{
    if (m_strPubDate.empty())
        return;
    m_textRun.attributeId = kPubDateId;
    m_textRun.text = m_strPubDate;
    m_line.assign(1, m_textRun);
    m_paragraph = feedParagraph(ns::ALIGN_RIGHT);
    m_paragraph.lines.assign(1, m_line);
    m_richTextInfo.content.paragraphs.push_back(m_paragraph);
}

void RssPlayer::toLines()
{
    QString description = QString::fromStdString(m_strDescription);
    description.remove(QLatin1Char('\t'));
    const int feeds = description.count(QLatin1Char('\n'));
    m_paragraph = feedParagraph(ns::ALIGN_LEFT);
    m_paragraph.lines.clear();
    for (int i = 0; i <= feeds; ++i) {
        const QString section = description.section(QLatin1Char('\n'), i, i);
        if (section.isEmpty())
            continue;
        m_textRun.attributeId = kDescriptionId;
        m_textRun.text = section.trimmed().toStdString();
        m_line.assign(1, m_textRun);
        m_paragraph.lines.push_back(m_line);
    }
    m_richTextInfo.content.paragraphs.push_back(m_paragraph);
}

void RssPlayer::initRss()
{
    ns::TextAttribute attribute;
    static const char* const kPlaceholderColors[] = { "#FFFF0000", "#FFFFFF00", "#FF90EE90" };
    for (size_t i = 0; i < attribute.auxStyles.size(); ++i) {
        ns::TextStyle& style = attribute.auxStyles[i];
        style.bkColor = kTransparent;
        style.textColor = kPlaceholderColors[i];
        style.pixelSize = kPlaceholderPixelSize;
        style.underline = false;
        style.fontStyle = ns::FONT_REGULAR;
        style.fontFamilies.push_back("Arial");
    }
    m_richTextInfo.content.displayStyle = m_rssMetaData.displayStyle;
    auto& feedStyles = m_rssMetaData.textAttribute.auxStyles;
    for (ns::TextStyle& style : feedStyles) {
        resetBKColor(style);
        resetTextColor(style);
    }
    const int32_t ids[] = { kTitleId, kPubDateId, kDescriptionId };
    for (size_t i = 0; i < feedStyles.size(); ++i) {
        attribute.style = feedStyles[i];
        attribute.id = ids[i];
        m_richTextInfo.content.textAttributes.push_back(attribute);
    }
}

void RssPlayer::playRss()
{
    playtext*& slot = m_bTextPlayTurn ? textPlay : textplayRss;
    if (slot)
        return;
    slot = new playtext(this);
    connect(slot, &playtext::playTextReady, this, &RssPlayer::slotPlayTextReady);
    slot->setTaskID(m_taskID);
    slot->setDuration(m_duration);
    // A ticker shows as it comes; every other mode stays hidden until its text is ready.
    if (!ns::isMarquee(m_richTextInfo.content.displayStyle))
        slot->hide();
    slot->play(m_richTextInfo);
}

void RssPlayer::slotPlayTextReady()
{
    // The player that is ready is the new one, whatever the turn says by now; the other one goes.
    if (auto* ready = qobject_cast<playtext*>(sender()))
        m_bTextPlayTurn = ready == textPlay;
    playtext*& old = m_bTextPlayTurn ? textplayRss : textPlay;
    if (old) {
        old->hide();
        old->iStop();
        old->iDestory();
        delete old;
        old = nullptr;
        removeStaleImages();
    }
    if (playtext* current = m_bTextPlayTurn ? textPlay : textplayRss)
        current->show();
    show();
    if (m_pUpdateTimer->isActive())
        m_pUpdateTimer->stop();
    m_pUpdateTimer->start();
    if (m_callback) {
        m_callback(MediaReady);
        m_callback = nullptr;
    }
}

void RssPlayer::slotTimerOut()
{
    // A renewal still on its way (a slow feed, a long render) is given a few periods before it is
    // abandoned; cancelling it at every tick would never let a slow feed through.
    const bool fetching = m_pRequestThread && m_pRequestThread->isRunning();
    if (fetching || (textPlay && textplayRss)) {
        if (++m_skippedTicks < kMaxSkippedTicks) {
            PLAYER_LOG(debug, "RssPlayer: the renewal before is not ready; this one waits");
            return;
        }
        PLAYER_LOG(warn, "RssPlayer: the feed {} was not renewed within {} periods; trying afresh",
            m_strRssLink.toStdString(), kMaxSkippedTicks);
        playtext*& pending = m_bTextPlayTurn ? textPlay : textplayRss;
        if (pending && textPlay && textplayRss) {
            pending->iDestory();
            delete pending;
            pending = nullptr;
        }
        m_bTextPlayTurn = !m_bTextPlayTurn;
    }
    m_skippedTicks = 0;
    m_bTextPlayTurn = !m_bTextPlayTurn;
    // The files of the text on screen go once its successor shows; the cache is renewed with it.
    const QStringList current = ImagePlayHelper::getInstance().getImageName(m_taskID);
    for (const QString& name : current) {
        if (!m_listStaleImages.contains(name))
            m_listStaleImages.append(name);
    }
    ImagePlayHelper::getInstance().clearTaskImageCache(m_taskID);
    requestRss();
}

void RssPlayer::removeStaleImages()
{
    const QStringList live = ImagePlayHelper::getInstance().getImageName(m_taskID);
    // Only what the renderer wrote: names in the cache directory, never a marker or a stranger's file.
    const QString cacheDir = QDir(PlayerPath::getInstance().getImageCachePath()).absolutePath() + QLatin1Char('/');
    int removed = 0;
    for (const QString& name : std::as_const(m_listStaleImages)) {
        if (!name.startsWith(cacheDir) || live.contains(name))
            continue;
        if (QFile::remove(name))
            ++removed;
    }
    m_listStaleImages.clear();
    if (removed > 0)
        PLAYER_LOG(debug, "RssPlayer: removed {} image files of the previous feed text", removed);
}
