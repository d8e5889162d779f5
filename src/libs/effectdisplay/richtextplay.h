#pragma once

#include <richtextrecords.h>

#include <QColor>
#include <QFont>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>
#include <QStringList>

#include <atomic>
#include <optional>
#include <utility>
#include <vector>

class ImageFileQueue;
class QPainter;

/// Renders a rich text record into PNG files in the image cache, one after the other, with its
/// own line breaking: pages of the widget's size (creatImage) or pieces of a single-line band
/// (creatMarqueeImage). Runs on a worker thread; only stop() may be called from elsewhere.
class RichTextPlay : public QObject {
    Q_OBJECT
public:
    using Line = std::vector<ns::TextRun>;
    using TextAttributes = std::vector<ns::TextAttribute>;

    /// How a collected piece of a line looks until the line is painted.
    struct SegmentFormat {
        QFont font;
        QColor textColor;
        QColor bkColor;
    };

    explicit RichTextPlay(QObject* parent = nullptr);
    ~RichTextPlay() override;

    /// Renders pages of `width` x `height` pixels; one ImageValueChanged per file, the last with true.
    void creatImage(const ns::RichTextContent& richTextContant, int width, int height);
    /// Renders all lines end to end as one band, cut into pieces at most `width` wide.
    void creatMarqueeImage(const ns::RichTextContent& richTextContant, int width, int height);
    /// Ends a render at its next check; callable from any thread.
    void stop();

    /// A character of the text that no mapped font can draw: it would show as an empty box.
    struct MissingGlyph {
        char32_t codePoint = 0;
        int paragraph = 0; ///< indexes into the record, from 0
        int line = 0;
        int run = 0;
        QString runText;
    };
    /// Every such character in `content`, in text order (each code point once per run), looked up
    /// in the fonts the renderer would use with Qt's fallbacks. Any thread.
    static std::vector<MissingGlyph> missingGlyphs(const ns::RichTextContent& content);
    /// The font a run of `style` is drawn in, after the host's font mapping.
    static QFont fontOf(const ns::TextStyle& style, double letterSpacing);

    /// Head of every image name; set before the render starts.
    void setTaskID(const QString& taskID) { m_taskID = taskID; }
    QString taskID() const { return m_taskID; }

    /// Longest head of `text` that is strictly narrower than `maxWidth` in `font`: the first
    /// QFontMetrics::horizontalAdvance(text, n) above `maxWidth` gives n - 1 units. Costs in
    /// proportion to the head, not to the whole text.
    static QString cutTextToWidth(const QString& text, const QFont& font, double maxWidth);
    /// How a run meets the room left on a line: `width` is QFontMetrics::horizontalAdvance(text)
    /// when that is not greater than the room; otherwise `head` is the cut, as cutTextToWidth.
    struct RunFit {
        std::optional<int> width;
        QString head;
    };
    /// Fits or cuts `text` for `available` pixels in one pass, in time proportional to the line.
    static RunFit fitRun(const QString& text, const QFont& font, double available);
    /// Index of the first font of greatest QFontMetrics::height.
    static int tallestFontIndex(const QList<QFont>& fonts);
    /// x of a line of width `used` + `extra` inside `available` pixels.
    static double lineOffset(double available, double used, double extra, ns::HAlignment alignment);
    /// Underline thickness of a line of several segments.
    static double underlineThickness(const TextAttributes& textAttributes);
    /// First index whose id equals `id`.
    static int attributeIndex(int id, const TextAttributes& textAttributes);

signals:
    /// A finished image file (full path), or "isEmpty" for none; `lastImage` on the last one.
    void ImageValueChanged(QString imageName, bool lastImage);

private:
    Q_DISABLE_COPY(RichTextPlay)

    // Pages.
    std::pair<bool, QPoint> paintLine(
        QPainter& painter, const Line& line, const TextAttributes& textAttributes, QPoint pos);
    void applyTextStyle(QPainter& painter, const ns::TextAttribute& attribute);
    void applySegmentFormat(QPainter& painter, const SegmentFormat& format);
    void paintSegments(
        double x, double bottom, const QStringList& texts, const QList<SegmentFormat>& formats, QPainter& painter);
    void paintText(double x, double bottom, const QString& text, QPainter& painter);
    void closePage(int height, const char* what);
    void emitOversizeLine(QPainter& painter, double h, double x, bool pending, const QStringList& texts,
        const QList<SegmentFormat>& formats, const QString& part, const char* what);

    // Band.
    std::pair<bool, double> paintMarqueeLine(
        QPainter& painter, const Line& line, const TextAttributes& textAttributes, double x);
    double paintMarqueeSegments(
        double x, double bottom, const QStringList& texts, const QList<SegmentFormat>& formats, QPainter& painter);
    double paintMarqueeText(double x, double bottom, const QString& text, QPainter& painter);

    // Files. A render hands its files to a queue that writes them while painting goes on.
    class FileQueueScope {
    public:
        /// `shownSize`: see ImageFileQueue.
        FileQueueScope(RichTextPlay* renderer, QSize shownSize);
        ~FileQueueScope();

    private:
        Q_DISABLE_COPY(FileQueueScope)
        RichTextPlay* m_renderer;
    };
    void stageImageFile(const QImage& image);
    void publish(const QString& name, bool last);
    void reportMissingGlyphs() const;
    QString saveImage(QImage& image, int height, int vAlignment);
    QString saveImageSpecial(QImage& image, int width, int fullHeight, int height, int vAlignment);
    QString saveMarqueeImage(QImage& image, int width);
    QString randomImageName();

    bool m_hasPending = false;
    ns::RichTextContent m_content;
    double m_lineSpacing = 0;
    double m_letterSpacing = 0;
    double m_imageWidth = 0;
    double m_imageHeight = 0;
    double m_underlineThickness = 1.0;
    QColor m_bkColor;
    QImage m_pageImage;
    std::atomic<bool> m_running { true };
    bool m_oversizeChar = false;
    bool m_pageDirty = false;
    ns::VAlignment m_vAlignment = ns::ALIGN_VCENTER;
    ns::HAlignment m_hAlignment = ns::ALIGN_HCENTER;
    QString m_taskID;
    ImageFileQueue* m_files = nullptr;
    QImage m_stagedImage;
};
