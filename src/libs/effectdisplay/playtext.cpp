#include "playtext.h"

#include "imageplay.h"

#include <jsonrecords.h>
#include <spdlogger.h>

#include <QBrush>
#include <QColor>
#include <QPalette>

#include <nlohmann/json.hpp>

playtext::playtext(QWidget* parent)
    : QWidget(parent)
{
    if (parent)
        setFixedSize(parent->width(), parent->height());
    else
        PLAYER_LOG(error, "playtext: no parent widget, the player has no size");
    PLAYER_LOG(debug, "playtext::================playtext()");
}

playtext::~playtext()
{
    PLAYER_LOG(debug, "playtext ~playtext begin");
    iDestory();
    PLAYER_LOG(debug, "playtext ~playtext end");
}

int playtext::iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback)
{
    m_callback = std::move(callback);
    m_fold = widget.fold;
    m_taskID.append(QStringLiteral("LUMORAX%1").arg(widget.id));
    try {
        ns::from_json(nlohmann::json::parse(widget.jsonText), m_richTextInfo);
    } catch (const std::exception& e) {
        // The host's record is broken: show it as an empty text rather than fail the host, and
        // keep what was read before the error out of the way.
        PLAYER_LOG(error, "playtext::iInit: jsonText of item {} is no rich text record: {}", widget.id, e.what());
        m_richTextInfo = ns::RichTextInfo();
    }
    m_duration = widget.duration;
    play(m_richTextInfo);
    return 0;
}

int playtext::iPlay()
{
    return 0;
}

void playtext::iPause()
{
    if (m_pImagePlay)
        m_pImagePlay->pause();
}

void playtext::iStop()
{
}

int playtext::iResume()
{
    if (m_pImagePlay)
        m_pImagePlay->resume();
    return 0;
}

void playtext::iDestory()
{
    PLAYER_LOG(info, "playtext iDestory begin");
    if (m_pImagePlay) {
        m_pImagePlay->destory();
        delete m_pImagePlay;
        m_pImagePlay = nullptr;
    }
    PLAYER_LOG(info, "playtext::iDestory  end");
}

void playtext::play(ns::RichTextInfo& richTextInfo)
{
    const auto& paragraphs = richTextInfo.content.paragraphs;
    if (paragraphs.empty()) {
        PLAYER_LOG(error, "richTextInfo.content.paragraphs is empty");
        slotAcceptImage();
        return;
    }
    m_bkColor = QString::fromStdString(paragraphs.front().bkColor);
    if (paragraphs.size() == 1 && paragraphs.front().lines.empty()) {
        PLAYER_LOG(error, "empty arch_text");
        slotAcceptImage();
        return;
    }
    if (m_pImagePlay) {
        PLAYER_LOG(warn, "playtext::play: {} plays already, ignored", m_taskID.toStdString());
        return;
    }
    m_pImagePlay = new ImagePlay(this);
    m_pImagePlay->setFoldParaMeters(m_fold);
    m_pImagePlay->setTaskID(m_taskID);
    connect(m_pImagePlay, &ImagePlay::signalsImageReady, this, &playtext::slotAcceptImage);
    m_pImagePlay->setRichTextInfo(richTextInfo);
    m_pImagePlay->setDuration(int(m_duration));
    m_pImagePlay->play();
}

void playtext::setDuration(long duration)
{
    m_duration = duration;
}

void playtext::setTaskID(const QString& taskID)
{
    m_taskID = taskID;
}

void playtext::slotAcceptImage()
{
    if (m_callback) {
        show();
        m_callback(MediaReady);
        if (!m_fold.enabled) {
            QPalette palette;
            QColor color;
            color.setNamedColor(m_bkColor);
            palette.setBrush(QPalette::All, QPalette::Window, QBrush(color, Qt::SolidPattern));
            setAutoFillBackground(true);
            setPalette(palette);
        }
    }
    show();
    // A player that was already visible when the render started does not show a child made since:
    // bring the text up with the player.
    if (m_pImagePlay)
        m_pImagePlay->show();
    emit playTextReady();
}
