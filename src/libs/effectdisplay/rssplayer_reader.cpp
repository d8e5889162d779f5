#include "rssplayer.h"
#include "rssplayer_p.h"

#include <spdlogger.h>

#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QVariant>

#include <cstring>

namespace {

const QString kRss = QStringLiteral("rss");
const QString kChannel = QStringLiteral("channel");
const QString kItem = QStringLiteral("item");
const QString kTitle = QStringLiteral("title");
const QString kPubDate = QStringLiteral("pubDate");
const QString kDescription = QStringLiteral("description");

// The HTML importer asks its document for every style sheet, image and background the markup
// names, and a plain document reads local paths: a feed naming /dev/zero would exhaust memory.
// Feed text needs none of them.
class NoResources : public QTextDocument {
protected:
    QVariant loadResource(int, const QUrl&) override { return QVariant(); }
};

QString htmlToPlainText(const QString& html)
{
    NoResources resources;
    // An image leaves its placeholder character behind, which no font draws.
    return QTextDocumentFragment::fromHtml(html, &resources).toPlainText().remove(QChar::ObjectReplacementCharacter);
}

// UTF-8 up to the first zero character, as the text goes on in a std::string.
std::string toUtf8(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    return std::string(bytes.constData(), std::strlen(bytes.constData()));
}

} // namespace

QXmlStreamReader::TokenType RssPlayer::nextToken()
{
    const QXmlStreamReader::TokenType token = m_xmlReader.readNext();
    if (token == QXmlStreamReader::DTD && !m_xmlReader.entityDeclarations().isEmpty()) {
        // Qt bounds one entity's expansion, not how often it is used: a few hundred kilobytes of
        // references expand to gigabytes, in text and in attributes alike. Feeds have no use for them.
        PLAYER_LOG(warn, "RssPlayer: the feed declares entities of its own; it is not read");
        m_xmlReader.raiseError(QStringLiteral("entity declarations refused"));
        return QXmlStreamReader::Invalid;
    }
    if (token == QXmlStreamReader::Characters || token == QXmlStreamReader::EntityReference) {
        // Entities let a small document expand to any size: bound what is read, not only what came.
        m_readChars += m_xmlReader.text().size();
        if (m_readChars > rssbounds::kMaxDocumentChars) {
            PLAYER_LOG(warn, "RssPlayer: the feed's text runs past {} characters; reading stops there",
                rssbounds::kMaxDocumentChars);
            m_xmlReader.raiseError(QStringLiteral("text limit reached"));
            return QXmlStreamReader::Invalid;
        }
    }
    return token;
}

// The text of the element just started, as readElementText with ErrorOnUnexpectedElement reads
// it, kept up to the bound of one text.
QString RssPlayer::readItemText()
{
    QString text;
    bool cut = false;
    // Counted however the text ends, at its end tag or at an error.
    struct CountCut {
        bool& cut;
        int& count;
        ~CountCut() { count += cut ? 1 : 0; }
    } countCut { cut, m_cutTexts };
    while (!m_xmlReader.atEnd()) {
        switch (nextToken()) {
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference: {
            const auto piece = m_xmlReader.text();
            const int room = rssbounds::kMaxTextChars - text.size();
            if (piece.size() > room)
                cut = true;
            text.append(piece.left(room));
            break;
        }
        case QXmlStreamReader::ProcessingInstruction:
        case QXmlStreamReader::Comment:
            break;
        case QXmlStreamReader::EndElement:
            return text;
        default:
            if (!m_xmlReader.hasError())
                m_xmlReader.raiseError(QStringLiteral("Expected character data."));
            return text;
        }
    }
    return text;
}

void RssPlayer::readXml()
{
    if (m_xmlReader.atEnd())
        return;
    while (!m_xmlReader.atEnd()) {
        if (nextToken() == QXmlStreamReader::StartElement && m_xmlReader.name() == kRss)
            readrss();
    }
    if (m_cutTexts > 0) {
        PLAYER_LOG(warn, "RssPlayer: {} texts of the feed were longer than {} characters and were cut", m_cutTexts,
            rssbounds::kMaxTextChars);
    }
}

void RssPlayer::readrss()
{
    if (m_xmlReader.atEnd())
        return;
    while (!m_xmlReader.atEnd()) {
        const QXmlStreamReader::TokenType token = nextToken();
        if (token == QXmlStreamReader::StartElement && m_xmlReader.name() == kChannel)
            readchannel();
        else if (token == QXmlStreamReader::EndElement && m_xmlReader.name() == kRss)
            return;
    }
}

void RssPlayer::readchannel()
{
    if (m_xmlReader.atEnd())
        return;
    while (!m_xmlReader.atEnd()) {
        const QXmlStreamReader::TokenType token = nextToken();
        if (token == QXmlStreamReader::StartElement && m_xmlReader.name() == kItem) {
            if (m_readItems == rssbounds::kMaxItems) {
                PLAYER_LOG(
                    warn, "RssPlayer: the feed has more than {} items; the rest is left out", rssbounds::kMaxItems);
                m_xmlReader.raiseError(QStringLiteral("item limit reached"));
                return;
            }
            ++m_readItems;
            readitem();
        } else if (token == QXmlStreamReader::EndElement && m_xmlReader.name() == kChannel) {
            return;
        }
    }
}

void RssPlayer::readitem()
{
    if (m_xmlReader.atEnd())
        return;
    while (!m_xmlReader.atEnd()) {
        const QXmlStreamReader::TokenType token = nextToken();
        if (token == QXmlStreamReader::EndElement && m_xmlReader.name() == kItem)
            return;
        if (token != QXmlStreamReader::StartElement)
            continue;
        const auto name = m_xmlReader.name();
        if (name == kTitle && m_rssMetaData.showTitle) {
            m_strTitle = toUtf8(htmlToPlainText(readItemText()));
            toTitle();
        } else if (name == kPubDate && m_rssMetaData.showPubDate) {
            m_strPubDate = toUtf8(readItemText());
            toPubDate();
        } else if (name == kDescription && m_rssMetaData.showDescription) {
            m_strDescription = toUtf8(htmlToPlainText(readItemText()));
            toLines();
        }
    }
}
