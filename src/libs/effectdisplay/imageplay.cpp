#include "imageplay.h"

#include "ctrlimageplay.h"
#include "foldgeometry.h"

#include <imageplayhelper.h>
#include <spdlogger.h>

#include <QCoreApplication>
#include <QFont>
#include <QFontMetrics>
#include <QPointer>

#include <algorithm>
#include <list>
#include <utility>

namespace {

constexpr int kBoldWeight = 75;
const QString kCacheableTask = QStringLiteral("LUMORAX");

// Keeps every render thread alive until its work is over, however long the ImagePlay that started
// it lasts. GUI thread only. Finished threads are reaped by the next render.
std::list<std::shared_ptr<ImageThread>>& threadList()
{
    static std::list<std::shared_ptr<ImageThread>> list;
    static const bool stopAtExit = [] {
        // A thread still rendering when the application goes away would paint with a font system
        // that is being torn down, and a running QThread must not be destroyed.
        qAddPostRoutine(&ImagePlay::stopAllThreads);
        return true;
    }();
    Q_UNUSED(stopAtExit)
    return list;
}

std::shared_ptr<ImageThread> takeThread()
{
    auto& list = threadList();
    list.remove_if([](const std::shared_ptr<ImageThread>& thread) { return thread->isFinished(); });
    list.push_back(std::make_shared<ImageThread>());
    return list.back();
}

} // namespace

ImageThread::ImageThread() = default;

ImageThread::~ImageThread()
{
    // Only reached from the thread list or the end of the program; neither leaves a render running,
    // but a QThread destroyed while it runs takes the process down, so make sure.
    if (isRunning()) {
        stop();
        wait();
    }
}

void ImageThread::stop()
{
    m_richTextPlay.stop();
}

void ImageThread::run()
{
    const ns::RichTextContent& content = m_richTextInfo.content;
    if (ns::isMarquee(content.displayStyle))
        m_richTextPlay.creatMarqueeImage(content, m_imageWidth, m_imageHeight);
    else
        m_richTextPlay.creatImage(content, m_imageWidth, m_imageHeight);
}

ImagePlay::ImagePlay(QWidget* parent)
    : QWidget(parent)
{
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground, true);
    if (parent) {
        m_width = parent->width();
        m_height = parent->height();
    }
    setFixedSize(m_width, m_height);
}

ImagePlay::~ImagePlay()
{
    destory();
}

void ImagePlay::setRichTextInfo(const ns::RichTextInfo& richTextInfo)
{
    m_RichTextInfo = richTextInfo;
}

void ImagePlay::setDuration(int duration)
{
    m_duration = duration;
}

void ImagePlay::setFoldParaMeters(ns::Fold fold)
{
    m_fold = std::move(fold);
}

void ImagePlay::setTaskID(const QString& taskID)
{
    m_taskID = taskID;
}

void ImagePlay::play()
{
    if (m_pImagePlayCtrl) {
        // One play per object: a second one would leave the first control's files and timers
        // behind a new control.
        PLAYER_LOG(warn, "ImagePlay::play: already playing {}, ignored", m_taskID.toStdString());
        return;
    }
    const ns::RichTextContent& content = m_RichTextInfo.content;
    m_pImagePlayCtrl = new ImagePlayCtrl(this);
    connect(m_pImagePlayCtrl, &ImagePlayCtrl::signalsImageReady, this, &ImagePlay::signalsImageReady);
    m_pImagePlayCtrl->setFoldParaMeters(m_fold);
    if (!content.paragraphs.empty())
        m_pImagePlayCtrl->setbkColor(QString::fromStdString(content.paragraphs.front().bkColor));
    m_pImagePlayCtrl->setTaskID(m_taskID);

    PLAYER_LOG(debug, "ImagePlay::play()=======================start");
    if (content.paragraphs.empty()) {
        PLAYER_LOG(debug, "ImagePlay::play()======================m_RichTextInfo.content.paragraphs.size() = 0");
        return;
    }
    m_pImagePlayCtrl->initImagePlay(content.displayStyle, content.paragraphs.front().vAlignment, ns::ALIGN_LEFT);
    m_pImagePlayCtrl->setDuration(m_duration);
    m_pImagePlayCtrl->setTextSyncWithMusic(content.textSyncWithMusic);

    ImagePlayHelper& helper = ImagePlayHelper::getInstance();
    if (!helper.getFirstPlayFlag(m_taskID)) {
        m_pImagePlayCtrl->show();
        show();
        const QStringList names = helper.getImageName(m_taskID);
        if (names.isEmpty()) {
            helper.clearTaskImageCache(m_taskID);
            emit signalsImageReady();
            return;
        }
        // The control may be gone by the end of this loop if a ready signal led the owner to end
        // the text; stop feeding then.
        const QPointer<ImagePlayCtrl> ctrl = m_pImagePlayCtrl;
        for (int i = 0; i < names.size() && ctrl; ++i)
            ctrl->slotAppend(names.at(i), i == names.size() - 1);
        return;
    }

    m_pImageThread = takeThread();
    if (ns::isMarquee(content.displayStyle)) {
        m_pImageThread->m_imageWidth = m_fold.enabled ? calFoldPixmapSize().width() : m_width;
        m_pImageThread->m_imageHeight = calMaxLineHeight();
    } else {
        const QSize size = calFoldPixmapSize();
        m_pImageThread->m_imageWidth = size.width();
        m_pImageThread->m_imageHeight = size.height();
    }
    m_pImageThread->m_richTextPlay.setTaskID(m_taskID);
    m_pImageThread->m_richTextInfo = m_RichTextInfo;
    connect(&m_pImageThread->m_richTextPlay, &RichTextPlay::ImageValueChanged, this, &ImagePlay::slotsImageCreateOk);
    m_pImagePlayCtrl->show();
    m_pImageThread->start(QThread::InheritPriority);
}

void ImagePlay::pause()
{
    if (m_pImagePlayCtrl)
        m_pImagePlayCtrl->pause();
}

void ImagePlay::resume()
{
    if (m_pImagePlayCtrl)
        m_pImagePlayCtrl->resume();
}

void ImagePlay::stopThread()
{
    m_pImageThread->stop();
    m_pImageThread->quit();
}

void ImagePlay::destory()
{
    PLAYER_LOG(debug, "ImagePlay::destory()-------------------");
    if (m_pImageThread && m_pImageThread->isRunning())
        stopThread();
    // Images the worker has queued already must not reach a control that is gone.
    if (m_pImageThread)
        disconnect(&m_pImageThread->m_richTextPlay, nullptr, this, nullptr);
    delete m_pImagePlayCtrl;
    m_pImagePlayCtrl = nullptr;
}

void ImagePlay::slotsImageCreateOk(QString name, bool status)
{
    if (m_taskID.indexOf(kCacheableTask) != -1) {
        ImagePlayHelper& helper = ImagePlayHelper::getInstance();
        helper.setFirstPlayFlag(m_taskID, false);
        helper.appendImageName(m_taskID, name);
    }
    if (m_pImagePlayCtrl)
        m_pImagePlayCtrl->slotAppend(name, status);
}

int ImagePlay::calMaxLineHeight()
{
    int tallest = 0;
    for (const ns::Paragraph& paragraph : m_RichTextInfo.content.paragraphs) {
        for (const auto& line : paragraph.lines) {
            m_letterSpacing = paragraph.letterSpacing;
            tallest = std::max(tallest, calLineHeight(line));
        }
    }
    return tallest;
}

int ImagePlay::calLineHeight(const std::vector<ns::TextRun>& line)
{
    const auto& attributes = m_RichTextInfo.content.textAttributes;
    if (attributes.empty())
        return 0; // nothing renders without styles either
    int tallest = 0;
    for (const ns::TextRun& run : line) {
        const ns::TextStyle& style = attributes[RichTextPlay::attributeIndex(run.attributeId, attributes)].style;
        // Measured with the family as written: this measure does not go through the font mapping.
        QFont font;
        if (!style.fontFamilies.empty())
            font.setFamily(QString::fromStdString(style.fontFamilies.front()));
        font.setUnderline(style.underline);
        font.setPixelSize(style.pixelSize);
        font.setLetterSpacing(QFont::AbsoluteSpacing, m_letterSpacing);
        switch (style.fontStyle) {
        case ns::FONT_BOLD:
            font.setWeight(kBoldWeight);
            break;
        case ns::FONT_REGULAR:
            font.setStyle(QFont::StyleNormal);
            break;
        case ns::FONT_ITALIC:
            font.setStyle(QFont::StyleItalic);
            break;
        case ns::FONT_BOLD_ITALIC:
            font.setWeight(kBoldWeight);
            font.setStyle(QFont::StyleItalic);
            break;
        default:
            break;
        }
        tallest = std::max(tallest, QFontMetrics(font).height());
    }
    return tallest;
}

QSize ImagePlay::calFoldPixmapSize() const
{
    return composedFoldSize(m_fold, QSize(m_width, m_height));
}

void ImagePlay::stopAllThreads()
{
    for (const std::shared_ptr<ImageThread>& thread : threadList()) {
        thread->stop();
        thread->wait();
    }
    threadList().clear();
}
