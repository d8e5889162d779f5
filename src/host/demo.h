#pragma once

#include "playlist.h"

#include <QString>
#include <QVector>

/// A transition the demo shows: its effect code and the name the picture captions give it.
struct DemoEffect {
    int code;
    const char* name;
};

/// The transitions the demo's picture tiles take in turn, in the order they take them.
const QVector<DemoEffect>& demoEffects();

/// Builds the demo: a 1280x720 screen with a title strip, picture tiles that loop through
/// demoEffects() and one animated picture. Its pictures are drawn here and written into
/// `pictureDir`, which must exist. False with a message if a picture cannot be written.
bool buildDemoPlaylist(const QString& pictureDir, Playlist& playlist, QString* error);
