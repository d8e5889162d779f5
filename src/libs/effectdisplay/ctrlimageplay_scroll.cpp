#include "ctrlimageplay.h"

#include <spdlogger.h>

// The scrolling belt is built in a later change; until then a scroll shows nothing and says so.

int ImagePlayCtrl::calScrollSpeed(bool, int)
{
    return m_speed;
}

void ImagePlayCtrl::calSyncSpeed(int, int)
{
}

void ImagePlayCtrl::appendScroll(bool)
{
    PLAYER_LOG(warn, "ImagePlayCtrl: scrolling is not available yet");
}

void ImagePlayCtrl::appendScrollSync()
{
    PLAYER_LOG(warn, "ImagePlayCtrl: scrolling is not available yet");
}

void ImagePlayCtrl::appendFoldScroll(bool)
{
    PLAYER_LOG(warn, "ImagePlayCtrl: scrolling is not available yet");
}

void ImagePlayCtrl::tick(ns::MoveType)
{
}

void ImagePlayCtrl::slotMoveUp()
{
}

void ImagePlayCtrl::slotMoveDown()
{
}

void ImagePlayCtrl::slotMoveLeft()
{
}

void ImagePlayCtrl::slotMoveRight()
{
}
