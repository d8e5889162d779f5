#include "officeplay.h"

#include "ctrlimageplay.h"
#include "fromstring.h"

#include <spdlogger.h>

#include <QCoreApplication>

#include <atomic>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

// What a group without pages shows by: no effect, a one-second effect, ten seconds per page.
constexpr int kDefaultPageEffect = 0;
constexpr int kDefaultPageEffectDuration = 1000;
constexpr int kDefaultPageStayTime = 10000;

std::mutex feedHandOff;

} // namespace

// The feeder's side of the player.
//
// The feeder is detached and nobody waits for it, so it must not touch the player, whose lifetime
// it cannot know: not its members, and not its signals either, since emitting on an object that the
// GUI thread is destroying races with the teardown of its connections. It works on its own copy of
// the paths and posts each page to the application object, which outlives every player, as a
// queued call. That call runs on the GUI thread, in posting order, and emits ImageValueChanged
// there if the player still stands; iDestory nulls `player` on the same thread, so a page posted
// late is dropped instead of reaching a deleted display.
//
// `feedHandOff` covers one check of `running` and one post on the feeder's side, the clearing of
// the flag in iDestory, and the first look of a posted call at what it carries. So once iDestory
// returns the feeder posts nothing more, even if the application object goes next, and every
// hand-over is ordered by a lock that thread checkers see, not only by Qt's event queue. The GUI
// thread waits for one post at most.
struct OfficePlay::Feed {
    std::vector<std::string> paths;
    int nextPage = 0; // moved by the feeder only
    std::atomic<bool> running { false };
    OfficePlay* player = nullptr; // under feedHandOff
};

OfficePlay::OfficePlay(QWidget* parent)
    : QWidget(parent)
{
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground, true);
    if (parent)
        setFixedSize(parent->size());
    else
        PLAYER_LOG(error, "OfficePlay: constructed without a parent widget, the player has no size");
    show();
}

OfficePlay::~OfficePlay()
{
    PLAYER_LOG(debug, "OfficePlay ~OfficePlay begin");
    iDestory();
    PLAYER_LOG(debug, "OfficePlay ~OfficePlay end");
}

int OfficePlay::iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback)
{
    if (m_feed) {
        // A second control and feeder would lay a second show over the first.
        PLAYER_LOG(warn, "OfficePlay::iInit: the player was initialised already, the call is ignored");
        return 0;
    }
    m_callback = std::move(callback);
    m_duration = widget.duration;
    from_string(widget.jsonText, m_group);

    const ns::PictureStyleGroup& group = m_group.styleGroup;
    ns::DisplayStyle style;
    style.type = group.type;
    style.styleFlag = false;
    style.pageEffect = kDefaultPageEffect;
    style.pageEffectDuration = kDefaultPageEffectDuration;
    style.pageStayTime = kDefaultPageStayTime;
    if (!m_group.pictures.empty()) {
        // The first page stands for the whole group.
        const ns::PictureGroupItem& first = m_group.pictures.front();
        style.pageEffect = first.effectCode;
        style.pageEffectDuration = first.effectTime;
        style.pageStayTime = first.stayTime;
    }
    style.scrollAttributes.effecs.speed = group.speed;
    style.scrollAttributes.effecs.moveType = group.moveType;
    style.scrollAttributes.gapText = group.gapText;
    style.scrollAttributes.useGap = group.useGap;
    style.scrollAttributes.speedIsPixels = group.speedIsPixels;
    style.posX = 0;
    style.posY = 0;

    m_pImagePlayCtrl = new ImagePlayCtrl(this);
    // The page files belong to the host: they must survive the show.
    m_pImagePlayCtrl->setDeletePic(false);
    m_pImagePlayCtrl->setNeedResize(true);
    m_pImagePlayCtrl->initImagePlay(style, ns::ALIGN_VCENTER, ns::ALIGN_LEFT);
    connect(m_pImagePlayCtrl, &ImagePlayCtrl::signalsImageReady, this, &OfficePlay::slotShow);
    connect(this, &OfficePlay::ImageValueChanged, m_pImagePlayCtrl, &ImagePlayCtrl::slotAppend);
    show();

    m_feed = std::make_shared<Feed>();
    m_feed->paths.reserve(m_group.pictures.size());
    for (const ns::PictureGroupItem& page : m_group.pictures)
        m_feed->paths.push_back(page.path);
    m_feed->player = this;
    m_feed->running = true;
    try {
        std::thread(feedPages, m_feed).detach();
    } catch (const std::system_error& e) {
        // Posting costs no more than a moment, so the pages still come, from here.
        PLAYER_LOG(
            warn, "OfficePlay::iInit: no feeder thread ({}), the pages are posted from the GUI thread", e.what());
        feedPages(m_feed);
    }
    return 0;
}

int OfficePlay::iPlay()
{
    if (m_callback)
        m_callback(MediaReady);
    else
        PLAYER_LOG(error, "OfficePlay: no status callback to report MediaReady to");
    return 0;
}

void OfficePlay::iPause()
{
    if (m_pImagePlayCtrl)
        m_pImagePlayCtrl->pause();
}

void OfficePlay::iStop()
{
}

int OfficePlay::iResume()
{
    if (m_pImagePlayCtrl)
        m_pImagePlayCtrl->resume();
    return 0;
}

void OfficePlay::iDestory()
{
    stopFeeder();
    PLAYER_LOG(debug, "OfficePlay::iDestory begin");
    delete m_pImagePlayCtrl;
    m_pImagePlayCtrl = nullptr;
    PLAYER_LOG(debug, "OfficePlay iDestory end");
}

void OfficePlay::slotShow()
{
    // The host hears of this item through iPlay alone; the display's readiness changes nothing.
}

void OfficePlay::stopFeeder()
{
    if (!m_feed)
        return;
    std::lock_guard<std::mutex> lock(feedHandOff);
    m_feed->running = false;
    m_feed->player = nullptr;
}

void OfficePlay::feedPages(const std::shared_ptr<Feed>& feed)
{
    const int count = int(feed->paths.size());
    while (feed->nextPage < count) {
        const int page = feed->nextPage;
        const QString name = QString::fromStdString(feed->paths[size_t(page)]);
        const bool isLast = page == count - 1;
        std::lock_guard<std::mutex> lock(feedHandOff);
        if (!feed->running)
            return;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [feed, name, isLast] {
                OfficePlay* player = nullptr;
                QString pageName;
                bool last = false;
                {
                    std::lock_guard<std::mutex> lock(feedHandOff);
                    player = feed->player;
                    pageName = name;
                    last = isLast;
                }
                // Emitted outside the lock: the slot may end this or another player.
                if (player)
                    emit player->ImageValueChanged(pageName, last);
            },
            Qt::QueuedConnection);
        ++feed->nextPage;
    }
}
