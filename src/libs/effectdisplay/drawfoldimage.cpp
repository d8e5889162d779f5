// The folded strip: images laid end to end on a belt that moves a step per frame, drawn on a strip
// as long as the fold's rectangles together and cut into them. Rotating the lists instead of
// rebuilding them makes the belt endless.
#include "drawfoldimage.h"

#include "foldgeometry.h"

#include <spdlogger.h>

#include <algorithm>

namespace {

// One image on its own is repeated so that the belt covers the strip and one more comes in.
constexpr int kOneImageExtraCopies = 2;

} // namespace

DrawFoldImage::DrawFoldImage(QWidget* parent)
    : QWidget(parent)
{
    resize(parent->size());
    m_foldSize = size();
    connect(this, &DrawFoldImage::signalsTimeout, this, &DrawFoldImage::slotTimeout);
}

DrawFoldImage::~DrawFoldImage() = default;

void DrawFoldImage::slotTimeout()
{
}

void DrawFoldImage::setFoldParaMeters(ns::Fold fold)
{
    m_fold = std::move(fold);
    m_listFoldRect.clear();
    m_pieces = 0;
    if (!m_fold.enabled) {
        m_foldSize = size();
        return;
    }
    for (const ns::FoldRect& rect : m_fold.rects) {
        QRect r;
        r.setRect(rect.x, rect.y, rect.width, rect.height);
        m_listFoldRect.append(r);
    }
    m_foldSize = composedFoldSize(m_fold, size());
    m_pieces = std::clamp(int(m_fold.count), 0, int(m_listFoldRect.size()));
    if (m_pieces != m_fold.count) {
        PLAYER_LOG(warn, "DrawFoldImage: fold count {} with {} rectangles; {} pieces are shown", m_fold.count,
            m_listFoldRect.size(), m_pieces);
    }
}

void DrawFoldImage::setMarqueeParaMeters(ns::MoveType moveType, bool useGap, int gap)
{
    m_moveType = moveType;
    m_useGap = useGap;
    m_gap = gap;
}

void DrawFoldImage::setMarqueeSpeed(int interval, int step)
{
    m_interval = interval;
    m_step = step;
}

void DrawFoldImage::setSrcRect(QRect rect)
{
    m_srcRect = rect;
    m_foldPixmap = QPixmap(rect.size());
}

void DrawFoldImage::appendImage(QImage& image)
{
    m_ListPix.append(QPixmap::fromImage(image));
}

bool DrawFoldImage::horizontal() const
{
    return m_moveType == ns::MOVE_LEFT || m_moveType == ns::MOVE_RIGHT;
}

int DrawFoldImage::lengthOf(const QSize& size) const
{
    return horizontal() ? size.width() : size.height();
}

void DrawFoldImage::initPlay()
{
    if (m_ListPix.isEmpty()) {
        PLAYER_LOG(error, "DrawFoldImage::initPlay m_ListPix.isEmpty");
        return;
    }
    m_firstImageSize = m_ListPix.first().size();
    // The first image scaled to the strip would have the strip's size; a null image stays null.
    m_refSize = m_ListPix.first().isNull() ? QSize() : m_foldSize;
    m_strip = QPixmap(m_refSize);

    const bool forward = m_moveType == ns::MOVE_LEFT || m_moveType == ns::MOVE_UP;
    if (!forward && m_moveType != ns::MOVE_RIGHT && m_moveType != ns::MOVE_DOWN) {
        PLAYER_LOG(error, "DrawFoldImage::initPlay move type {} is none of left, right, up and down", int(m_moveType));
        return;
    }
    const int reference = lengthOf(m_refSize);
    if (!m_useGap) {
        m_gap = reference;
    } else if (m_gap < 0) {
        PLAYER_LOG(warn, "DrawFoldImage::initPlay gap {} is negative; the rounds touch", m_gap);
        m_gap = 0;
    }
    if (forward)
        m_offset = reference;

    const int count = int(m_ListPix.size());
    if (count == 1) {
        const int round = lengthOf(m_firstImageSize) + m_gap;
        if (round <= 0) {
            PLAYER_LOG(error, "DrawFoldImage::initPlay the image has no length and there is no gap; nothing moves");
            return;
        }
        for (int copies = reference / round + kOneImageExtraCopies; copies > 0; --copies)
            m_ListPix.append(m_ListPix.first());
        m_ListLen.clear();
        for (const QPixmap& pixmap : qAsConst(m_ListPix))
            m_ListLen.append(lengthOf(pixmap.size()) + m_gap);
        m_listShape = 1;
    } else if (count == 2) {
        m_ListPix << m_ListPix.at(0) << m_ListPix.at(1);
        const int a = lengthOf(m_ListPix.at(0).size());
        const int b = lengthOf(m_ListPix.at(1).size()) + m_gap;
        m_ListLen = { a, b, a, b };
        m_listShape = 2;
    } else {
        if (m_listShape != 0)
            return;
        m_listShape = 3;
        m_ListLen.clear();
        for (const QPixmap& pixmap : qAsConst(m_ListPix))
            m_ListLen.append(lengthOf(pixmap.size()));
        m_ListLen.last() += m_gap;
    }
    if (!forward)
        m_offset = m_gap - calListWidth(int(m_ListLen.size()), m_ListLen);
}

void DrawFoldImage::startPlay()
{
    switch (m_moveType) {
    case ns::MOVE_LEFT:
        drawFoldImageToLeft();
        break;
    case ns::MOVE_RIGHT:
        drawFoldImageToRight();
        break;
    case ns::MOVE_DOWN:
        drawFoldImageToDown();
        break;
    case ns::MOVE_UP:
        drawFoldImageToUp();
        break;
    default:
        break;
    }
    QPixmap frame = drawFoldPixmap();
    m_framesMade.fetch_add(1, std::memory_order_release);
    emit signalsAppendImage(frame);
}

void DrawFoldImage::stopPlay()
{
}

int DrawFoldImage::calFoldLocal(int index) const
{
    return foldPieceStart(m_fold, index);
}

int DrawFoldImage::calListWidth(int n, const QList<int>& list)
{
    int sum = 0;
    for (int i = 0; i < std::min(n, int(list.size())); ++i)
        sum += list.at(i);
    return sum;
}

void DrawFoldImage::drawFoldImageToLeft()
{
    drawForward(true);
}

void DrawFoldImage::drawFoldImageToUp()
{
    drawForward(false);
}

void DrawFoldImage::drawFoldImageToRight()
{
    drawBackward(true);
}

void DrawFoldImage::drawFoldImageToDown()
{
    drawBackward(false);
}

void DrawFoldImage::drawForward(bool alongX)
{
    if (m_strip.isNull())
        return;
    m_strip.fill(Qt::transparent);
    m_stripPainter.begin(&m_strip);
    const int limit = alongX ? m_refSize.width() : m_refSize.height();
    // The lists are parallel once initPlay has built them; before that nothing is drawn.
    const int count = std::min(int(m_ListPix.size()), int(m_ListLen.size()));
    int position = m_offset;
    for (int i = 0; i < count; ++i) {
        if (position < limit)
            m_stripPainter.drawPixmap(alongX ? QPoint(position, 0) : QPoint(0, position), m_ListPix.at(i));
        position += m_ListLen.at(i);
    }
    m_offset -= m_step;
    // The first image has left: it goes behind the last, and the belt starts again at 0.
    if (!m_ListLen.isEmpty() && m_offset <= -m_ListLen.first()) {
        m_ListPix.append(m_ListPix.takeFirst());
        m_ListLen.append(m_ListLen.takeFirst());
        m_offset = 0;
    }
    m_stripPainter.end();
}

void DrawFoldImage::drawBackward(bool alongX)
{
    if (m_strip.isNull())
        return;
    m_strip.fill(Qt::transparent);
    m_stripPainter.begin(&m_strip);
    const int limit = alongX ? m_refSize.width() : m_refSize.height();
    const int count = std::min(int(m_ListPix.size()), int(m_ListLen.size()));
    const int total = calListWidth(count, m_ListLen);
    int before = 0;
    bool rotated = false;
    for (int i = 0; i < count; ++i) {
        const int position = before + m_offset;
        m_stripPainter.drawPixmap(alongX ? QPoint(position, 0) : QPoint(0, position), m_ListPix.at(i));
        before += m_ListLen.at(i);
        // The last image has left at the far edge: it comes round to the front. Once a frame, so
        // that images of no length cannot keep the loop turning.
        if (!rotated && m_offset >= limit + m_ListLen.last() - total) {
            m_ListPix.prepend(m_ListPix.takeLast());
            m_ListLen.prepend(m_ListLen.takeLast());
            m_offset = limit - total;
            before = m_ListLen.first();
            i = 0;
            rotated = true;
        }
    }
    m_offset += m_step;
    m_stripPainter.end();
}

QPixmap DrawFoldImage::drawFoldPixmap()
{
    if (m_foldPixmap.isNull())
        return QPixmap();
    m_foldPixmap.fill(Qt::transparent);
    m_foldPainter.begin(&m_foldPixmap);
    if (m_fold.enabled) {
        const bool stacked = m_fold.orientation != ns::ORIENTATION_HORIZONTAL;
        for (int i = 0; i < m_pieces && !m_strip.isNull(); ++i) {
            const QRect& target = m_listFoldRect.at(i);
            const int local = calFoldLocal(i);
            const QRect source(stacked ? QPoint(0, local) : QPoint(local, 0), target.size());
            m_foldPainter.drawPixmap(target, m_strip, source);
        }
    } else if (!m_strip.isNull()) {
        m_foldPainter.drawPixmap(
            m_srcRect, m_strip.scaled(m_srcRect.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    m_foldPainter.end();
    return m_foldPixmap;
}

void FoldImageThread::releaseDrawFoldImage()
{
    delete m_pDrawFoldImage;
    m_pDrawFoldImage = nullptr;
}

void FoldImageThread::waitForLoopEnd()
{
    wait();
    m_loopEnds.load(std::memory_order_acquire);
}

void FoldImageThread::run()
{
    if (!m_pDrawFoldImage)
        return;
    m_running = true;
    while (!m_retired) {
        m_pDrawFoldImage->startPlay();
        if (!m_running)
            break;
    }
    m_loopEnds.fetch_add(1, std::memory_order_release);
}
