#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

class QWidget;

/// One picture of the screen written by FrameCapture.
struct CapturedFrame {
    int number = 0; ///< 1-based, as in the file name
    QString path;
    double seconds = 0; ///< since the capture started
};

/// Grabs a widget a fixed number of times a second into DIR/frame-00001.png, frame-00002.png
/// and so on, on the GUI thread. The first picture is taken one interval after start.
class FrameCapture : public QObject {
    Q_OBJECT
public:
    FrameCapture(QWidget* target, const QString& directory, double fps, QObject* parent = nullptr);

    /// Creates the directory and removes the frame files an earlier capture left in it, so
    /// that the directory holds one capture only. False with a message if that fails.
    bool prepare(QString* error);
    void start();
    void stop();
    const QList<CapturedFrame>& frames() const { return m_frames; }

    /// "frame-00007.png" for 7.
    static QString frameFileName(int number);

private:
    Q_DISABLE_COPY(FrameCapture)

    void grabFrame();

    QWidget* m_target = nullptr;
    QString m_directory;
    QTimer m_timer;
    QElapsedTimer m_clock;
    QList<CapturedFrame> m_frames;
    bool m_failed = false;
};

/// At most `maximum` indices into a list of `count`, spread evenly, first and last included.
QList<int> pickEvenly(int count, int maximum);

/// Maximum number of pictures on a contact sheet.
constexpr int kContactSheetCells = 12;

/// Writes a PNG grid of up to kContactSheetCells of `frames`, evenly spaced, each labelled
/// with its number and time, under a title line. False with a message if there is nothing
/// to show or the file cannot be written.
bool writeContactSheet(
    const QList<CapturedFrame>& frames, const QString& fileName, const QString& title, QString* error);
