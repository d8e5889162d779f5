// The feed reader against the documents it will meet: a feed parser's test corpus, compared with
// that parser's expected values wherever a strict XML reader can agree with them, and hostile
// documents, each of which must end in a bounded result with the log line of the bound it hit.
#include "logcapture.h"
#include "rssplayer_p.h"
#include "rssplayeraccess.h"

#include <playerpath.h>

#include <QDirIterator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QtTest>

#include <atomic>
#include <functional>
#include <numeric>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum Switch { kTitle = 1, kDate = 2, kDescription = 4, kAll = 7 };

// Where a strict XML reader must differ from the corpus's lenient parser. A file that starts to
// match fails the test, so that this list stays true.
const QHash<QString, const char*> kKnownDifferences = {
    { "encoding/demoronize-1.xml", "C1 code points are kept, not mapped to cp1252" },
    { "encoding/demoronize-2.xml", "C1 code points are kept, not mapped to cp1252" },
    { "encoding/http_text_xml_charset_2.xml", "the charset is only in the HTTP header" },
    { "encoding/http_text_xml_charset_overrides_encoding_2.xml", "the charset is only in the HTTP header" },
    { "wellformed/media-rss/item_media_title2.xml", "media:title is a title too: two paragraphs" },
    { "wellformed/media-rss/item_media_title3.xml", "media:title is a title too: two paragraphs" },
    { "wellformed/namespace/rss2.0NSwithModulesNoDefNSLocalNameClash.xml", "two elements named description" },
    { "wellformed/namespace/rss2.0noNSwithModulesLocalNameClash.xml", "two elements named description" },
    { "wellformed/rdf/rss090_item_title.xml", "the root is RDF, not rss" },
    { "wellformed/rss/item_description_naked_markup.xml", "an element inside description ends reading" },
    { "wellformed/rss/item_description_not_a_doctype.xml", "no channel around the item" },
    { "wellformed/rss/item_description_not_a_doctype2.xml", "no channel around the item" },
    { "wellformed/sanitize/item_description_crazy.xml", "the expected text keeps what <title> and <script> held" },
    { "wellformed/sanitize/item_description_link.xml", "Qt's importer hides what follows an unclosed <link>" },
};

// Each paragraph as "alignment:" and its lines as "attributeId=text", one a line.
QStringList describe(const ns::RichTextInfo& record)
{
    QStringList out;
    for (const ns::Paragraph& paragraph : record.content.paragraphs) {
        QStringList lines;
        for (const auto& line : paragraph.lines) {
            lines << QString();
            for (const ns::TextRun& run : line)
                lines.last() += QString::number(run.attributeId) + QLatin1Char('=') + QString::fromStdString(run.text);
        }
        out << QString::number(paragraph.hAlignment) + QLatin1Char(':') + lines.join(QLatin1Char('\n'));
    }
    return out;
}

// ---- The corpus's expected values: Python expressions of the simple forms its files use.

struct Expectation {
    int item = 0;
    QString field; // title, description, summary or published
    QString value;
};

QString unescaped(const QString& text)
{
    static const QRegularExpression escape(QStringLiteral(R"(\\(x[0-9a-fA-F]{2}|u[0-9a-fA-F]{4}|U[0-9a-fA-F]{8}|.))"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QHash<QChar, QString> simple
        = { { 'n', "\n" }, { 't', "\t" }, { 'r', "\r" }, { '\\', "\\" }, { '\'', "'" }, { '"', "\"" }, { '\n', "" } };
    QString out;
    int from = 0;
    for (auto it = escape.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        out += text.midRef(from, m.capturedStart() - from);
        const uint code = m.captured(1).mid(1).toUInt(nullptr, 16);
        out += m.capturedLength(1) > 1 ? QString::fromUcs4(&code, 1) : simple.value(m.captured(1)[0], m.captured());
        from = m.capturedEnd();
    }
    return out + text.midRef(from);
}

// `[not bozo and] entries[N]['field'] == 'a' + 'b' [and ...]`; nothing when it is anything else.
QVector<Expectation> parseExpect(const QString& expression)
{
    static const QString literal = QStringLiteral(R"((?:'''.*?'''|""".*?"""|'(?:[^'\\]|\\.)*'|"(?:[^"\\]|\\.)*"))");
    static const QRegularExpression clause(
        QStringLiteral(R"(\s*entries\[(\d+)\]\['(title|description|summary|published)'\])"
                       R"(\s*==\s*(%1(?:\s*\+\s*%1)*)\s*(and\b|$))")
            .arg(literal),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression piece(literal, QRegularExpression::DotMatchesEverythingOption);
    const QString notBozo = QStringLiteral("not bozo and");
    QVector<Expectation> out;
    for (int at = expression.startsWith(notBozo) ? notBozo.size() : 0; at < expression.size();) {
        const QRegularExpressionMatch m
            = clause.match(expression, at, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption);
        if (!m.hasMatch())
            return {};
        Expectation e { m.captured(1).toInt(), m.captured(2), QString() };
        for (auto it = piece.globalMatch(m.captured(3)); it.hasNext();) {
            const QString quoted = it.next().captured();
            const int q = quoted.size() >= 6 && quoted.startsWith(QString(3, quoted[0])) ? 3 : 1;
            e.value += unescaped(quoted.mid(q, quoted.size() - 2 * q));
        }
        out << e;
        at = m.capturedEnd();
    }
    return out;
}

const QHash<QString, QString> kElementOf = { { "title", "title" }, { "description", "description" },
    { "summary", "description" }, { "published", "pubDate" } };

// How many elements of this local name each item holds, from the raw text, so that a reader's
// failure cannot hide a checkable file.
QVector<int> elementsPerItem(const QString& body, const QString& name)
{
    static const QRegularExpression item(QStringLiteral("<([\\w.-]+:)?item[\\s>].*?</([\\w.-]+:)?item\\s*>"),
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression element(QStringLiteral("<([\\w.-]+:)?%1[\\s/>]").arg(name));
    QVector<int> counts;
    for (auto it = item.globalMatch(body); it.hasNext();)
        counts << int(it.next().captured().count(element));
    return counts;
}

// The HTML importer's document, without the files and URLs that markup names.
class NoResources : public QTextDocument {
protected:
    QVariant loadResource(int, const QUrl&) override { return QVariant(); }
};

// An expected value as the reader writes it: through the same HTML step, with no resources.
QStringList expectedParagraphs(const Expectation& e)
{
    if (e.field == QLatin1String("published"))
        return e.value.isEmpty() ? QStringList() : QStringList { QStringLiteral("2:2=") + e.value };
    NoResources resources;
    QString text
        = QTextDocumentFragment::fromHtml(e.value, &resources).toPlainText().remove(QChar::ObjectReplacementCharacter);
    if (e.field == QLatin1String("title")) {
        text.remove(QRegularExpression(QStringLiteral("[\t\n]")));
        return text.isEmpty() ? QStringList() : QStringList { QStringLiteral("0:1=") + text };
    }
    QStringList lines;
    for (const QString& section : text.remove(QLatin1Char('\t')).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        lines << QStringLiteral("3=") + section.trimmed();
    return { QStringLiteral("0:") + lines.join(QLatin1Char('\n')) };
}

// ---- Hostile documents.

// How often the FIFO was opened for reading while `work` ran. Each opener is freed at once by an
// open for writing, so that a reader that should not have opened it fails the test instead of hanging.
int fifoOpens(const QString& fifo, const std::function<void()>& work)
{
    std::atomic<bool> done { false };
    std::atomic<int> opens { 0 };
    std::thread watch([&, name = QFile::encodeName(fifo)] {
        for (; !done; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
            const int fd = ::open(name.constData(), O_WRONLY | O_NONBLOCK);
            if (fd >= 0) {
                ++opens;
                ::close(fd);
            }
        }
    });
    work();
    done = true;
    watch.join();
    return opens;
}

QByteArray feed(const QByteArray& items, const QByteArray& head = QByteArray())
{
    return head + "<rss version=\"2.0\"><channel><title>Channel</title>" + items + "</channel></rss>";
}

// One entity of about 4000 characters, under Qt's limit for one entity, referenced 100 000 times.
QByteArray entityBomb(bool inAttribute)
{
    const QByteArray dtd = "<!DOCTYPE rss [<!ENTITY e \"" + QByteArray(4000, 'x') + "\">]>";
    const QByteArray refs = QByteArray("&e;").repeated(100000);
    return feed(inAttribute ? "<item a=\"" + refs + "\"><title>after</title></item>"
                            : "<item><description>" + refs + "</description><title>after</title></item>",
        dtd);
}

} // namespace

class TestRssReader : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void corpus_data();
    void corpus();
    void reader_data();
    void reader();
    void htmlOpensNoFile_data();
    void htmlOpensNoFile();
    void documentBeyondByteBound();

private:
    QWidget m_parent;
    std::unique_ptr<RssPlayer> m_player;
    std::unique_ptr<LogCapture> m_log;
};

void TestRssReader::init()
{
    m_parent.resize(320, 240);
    m_player = std::make_unique<RssPlayer>(&m_parent);
    m_log = std::make_unique<LogCapture>();
}

void TestRssReader::cleanup()
{
    m_player.reset();
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

void TestRssReader::corpus_data()
{
    const QDir dir(qEnvironmentVariable("EFFECTDISPLAY_SOURCE_DIR") + QStringLiteral("/../shared/corpus/rss"));
    if (!dir.exists())
        QSKIP("the RSS corpus is not beside the project");
    QStringList files;
    for (QDirIterator it(dir.path(), { "*.xml" }, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        files << dir.relativeFilePath(it.next());
    files.sort();
    QTest::addColumn<QString>("path");
    for (const QString& file : files)
        QTest::newRow(qPrintable(file)) << dir.filePath(file);
}

void TestRssReader::corpus()
{
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    RssPlayerAccess::setSwitches(*m_player, true, true, true);
    RssPlayerAccess::read(*m_player, bytes); // no crash, no hang

    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const int commentEnd = bytes.indexOf("-->");
    const QString comment = QString::fromLatin1(bytes.left(commentEnd));
    const QString expect = comment.mid(comment.indexOf(QLatin1String("Expect:")) + 7).trimmed();
    const QVector<Expectation> expectations = parseExpect(expect);
    // Checkable where the item has an element of that name. Each element of the item's kind gives
    // one paragraph when only its switch is on, and those of earlier items come first.
    const QString body = QString::fromLatin1(bytes.mid(commentEnd));
    QVector<QStringList> actual;
    for (const Expectation& e : expectations) {
        const QString element = kElementOf[e.field];
        const QVector<int> counts = elementsPerItem(body, element);
        if (e.item >= counts.size() || counts[e.item] == 0) {
            actual.clear();
            break;
        }
        RssPlayerAccess::setSwitches(*m_player, element == QLatin1String("title"), element == QLatin1String("pubDate"),
            element == QLatin1String("description"));
        const QStringList paragraphs = describe(RssPlayerAccess::read(*m_player, bytes));
        actual << paragraphs.mid(std::accumulate(counts.begin(), counts.begin() + e.item, 0), counts[e.item]);
    }
    if (actual.isEmpty()) {
        QVERIFY2(!kKnownDifferences.contains(name), "listed as a known difference but not checked");
        return;
    }
    for (int i = 0; i < actual.size(); ++i) {
        if (kKnownDifferences.contains(name))
            QEXPECT_FAIL("", kKnownDifferences.value(name), Continue);
        QCOMPARE(actual[i], expectedParagraphs(expectations[i]));
    }
}

void TestRssReader::reader_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<int>("switches");
    QTest::addColumn<QStringList>("paragraphs");
    QTest::addColumn<QString>("bound"); // the one warn line expected; empty: none at all
    const auto row
        = [](const char* name, const QByteArray& document, int switches, const QStringList& paragraphs,
              const QString& bound = QString()) { QTest::newRow(name) << document << switches << paragraphs << bound; };

    const QByteArray item = "<item><title>t</title><pubDate>Mon</pubDate><description>d</description></item>";
    const QByteArray mixed = "<item><description>d</description><pubDate>Mon</pubDate><title>t</title><title/>"
                             "<description/></item>";
    const QByteArray paragraphs = "&lt;p&gt; one &lt;/p&gt;&lt;p&gt;&lt;/p&gt;&lt;p&gt;two&lt;/p&gt;";
    const QByteArray pre = "<title>&lt;pre&gt;a\tb\nc&lt;/pre&gt;</title>"
                           "<description>&lt;pre&gt;\ta\tb \n\n  c&lt;/pre&gt;</description>";
    const QByteArray media = "<rss xmlns:media=\"http://search.yahoo.com/mrss/\"><channel><item>"
                             "<media:description>m</media:description></item></channel></rss>";
    const QByteArray broken = "<rss><channel><item><title>one</title></item><item><title>two</title></item></oops>";
    row("kinds in document order", feed(mixed), kAll, { "0:3=d", "2:2=Mon", "0:1=t", "0:" });
    row("one switch", feed(item), kDate, { "2:2=Mon" });
    row("all switches off", feed(item), 0, {});
    row("root not rss", "<feed><channel>" + item + "</channel></feed>", kAll, {});
    row("title escaped twice", feed("<item><title>AT&amp;amp;T &amp;lt;3</title></item>"), kAll, { "0:1=AT&T <3" });
    row("pubDate as written", feed("<item><pubDate>&lt;b&gt;x&lt;/b&gt;</pubDate></item>"), kAll, { "2:2=<b>x</b>" });
    row("html paragraphs are lines", feed("<item><description>" + paragraphs + "</description></item>"), kAll,
        { "0:3=one\n3=two" });
    row("tabs and line feeds", feed("<item>" + pre + "</item>"), kAll, { "0:1=abc", "0:3=ab\n3=c" });
    row("media:description counts", media, kAll, { "0:3=m" });
    row("broken after item 2", broken + item, kAll, { "0:1=one", "0:1=two" });
    row("element in a text ends reading",
        feed("<item><description>before<b>x</b>after</description><title>t</title></item>"), kAll, { "0:3=before" });

    const QString cut = QStringLiteral("texts of the feed were longer than %1").arg(rssbounds::kMaxTextChars);
    const QString kept(rssbounds::kMaxTextChars, 'x');
    const QByteArray longText(rssbounds::kMaxTextChars + 5000, 'x');
    const QByteArray divs
        = QByteArray("&lt;div&gt;").repeated(10000) + "deep" + QByteArray("&lt;/div&gt;").repeated(10000);
    const QByteArray nested
        = QByteArray("<a>").repeated(10000) + "<title>deep</title>" + QByteArray("</a>").repeated(10000);
    const QByteArray items = QByteArray("<item><pubDate>d</pubDate></item>").repeated(rssbounds::kMaxItems + 1);
    // Refused at the declaration, before any reference expands, in text or in an attribute.
    row("entity amplification in text", entityBomb(false), kAll, {}, QStringLiteral("declares entities of its own"));
    row("entity amplification in an attribute", entityBomb(true), kAll, {},
        QStringLiteral("declares entities of its own"));
    row("10 000 escaped divs", feed("<item><description>" + divs + "</description></item>"), kAll, { "0:" },
        QStringLiteral("1 ") + cut);
    row("10 000 nested elements", feed("<item>" + nested + "</item>"), kAll, { "0:1=deep" });
    row("too many items", feed(items), kAll, QVector<QString>(rssbounds::kMaxItems, "2:2=d").toList(),
        QStringLiteral("more than %1 items").arg(rssbounds::kMaxItems));
    row("two long texts",
        feed("<item><title>" + longText + "</title><description>" + longText + "</description></item>"), kAll,
        { "0:1=" + kept, "0:3=" + kept }, QStringLiteral("2 ") + cut);
}

void TestRssReader::reader()
{
    QFETCH(QByteArray, document);
    QFETCH(int, switches);
    QFETCH(QStringList, paragraphs);
    QFETCH(QString, bound);
    RssPlayerAccess::setSwitches(*m_player, switches & kTitle, switches & kDate, switches & kDescription);
    const QStringList actual = describe(RssPlayerAccess::read(*m_player, document));
    const QStringList warnings = m_log->lines().filter(QRegularExpression(QStringLiteral("^warning ")));
    QCOMPARE(warnings.size(), bound.isEmpty() ? 0 : 1);
    if (!bound.isEmpty())
        QVERIFY2(warnings.first().contains(bound), qPrintable(warnings.first()));
    QCOMPARE(actual, paragraphs);
}

void TestRssReader::htmlOpensNoFile_data()
{
    QTest::addColumn<QString>("html"); // %1: the FIFO
    QTest::newRow("style sheet link") << "<link rel=\"stylesheet\" type=\"text/css\" href=\"%1\"/><p>text</p>";
    QTest::newRow("css background") << "<span style=\"background-image:url(%1)\">text</span>";
    QTest::newRow("css import") << "<style>@import url(%1);</style>text";
    QTest::newRow("table background") << "<table background=\"%1\"><tr><td>text</td></tr></table>";
    QTest::newRow("image") << "text<img src=\"%1\">";
}

// Opening a FIFO for reading blocks until a writer comes: a reader that opened a file named in the
// markup would hang here, were it not freed at once.
void TestRssReader::htmlOpensNoFile()
{
    QFETCH(QString, html);
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("fifo"));
    QVERIFY(::mkfifo(QFile::encodeName(fifo).constData(), 0600) == 0);
    const QString markup = html.arg(fifo);
    if (!html.contains(QLatin1String("<img"))) // the trap works: Qt's importer left to itself opens it
        QVERIFY(fifoOpens(fifo, [&] { QTextDocumentFragment::fromHtml(markup).toPlainText(); }) > 0);
    RssPlayerAccess::setSwitches(*m_player, true, true, true);
    const QByteArray escaped = markup.toHtmlEscaped().toUtf8();
    const QByteArray document
        = feed("<item><title>" + escaped + "</title><description>" + escaped + "</description></item>");
    QStringList paragraphs;
    QCOMPARE(fifoOpens(fifo, [&] { paragraphs = describe(RssPlayerAccess::read(*m_player, document)); }), 0);
    QCOMPARE(paragraphs.size(), 2);
    QVERIFY2(paragraphs.at(1).contains(QLatin1String("3=text")), qPrintable(paragraphs.at(1)));
}

// A body past the byte bound is cut before reading: a comment runs past the cut, and the item
// after it is not read.
void TestRssReader::documentBeyondByteBound()
{
    QTemporaryDir cache;
    PlayerPath::getInstance().setImageCachePath(cache.path());
    constexpr int kBodyBytes = 200 * 1024 * 1024;
    const QByteArray head = "<rss><channel><item><title>first</title></item><!--";
    const QByteArray tail = "--><item><title>past the cut</title></item></channel></rss>";
    QByteArray body(kBodyBytes, 'x');
    body.replace(0, head.size(), head);
    body.replace(body.size() - tail.size(), tail.size(), tail);
    RssPlayerAccess::setSwitches(*m_player, true, true, true);
    RssPlayerAccess::requestEnd(*m_player, body);
    body.clear();
    const QString line = QStringLiteral("feed document of %1 bytes; its first %2 bytes are read");
    QCOMPARE(m_log->count(line.arg(kBodyBytes).arg(rssbounds::kMaxDocumentBytes)), 1);
    QCOMPARE(describe(RssPlayerAccess::record(*m_player)), QStringList { "0:1=first" });
    m_player.reset();
    PlayerPath::getInstance().setImageCachePath(QString());
}

QTEST_MAIN(TestRssReader)
#include "tst_rssreader.moc"
