#pragma once

#include <QList>
#include <QSize>
#include <QString>

/// One file the text renderer handed on, in order.
struct RenderedImage {
    QString name; // full path, or "isEmpty" for an empty last page
    QSize size; // of the file; invalid when there is no file behind the name
    bool lastImage = false;
};

/// A character of the record that no installed font can draw, with where it stands (from 1).
struct MissingCharacter {
    char32_t codePoint = 0;
    int paragraph = 0;
    int line = 0;
    int run = 0;
    QString runText;
};

/// Largest widget edge --render-text accepts, in pixels.
constexpr int kRenderTextMaxEdge = 16384;

/// Renders the rich text record in `recordFile` (the JSON text a text widget carries) for a widget
/// of `size` into `outDir`, as the text player does on its worker: pages, or the pieces of a band
/// for a left or right scroll. Runs on the calling thread. False with a message when the record
/// cannot be read or the directory cannot be made; a record that renders nothing gives an empty list.
/// `missing` receives the characters that would show as empty boxes.
bool renderTextRecord(const QString& recordFile, const QSize& size, const QString& outDir, QList<RenderedImage>* images,
    QList<MissingCharacter>* missing, QString* error);
