// mediahost: the reference playback host. It lays out the regions of a playlist on a screen
// widget and drives one player per item through IMediaPlay, as a signage host does.
#include "capture.h"
#include "demo.h"
#include "feedserver.h"
#include "foldpattern.h"
#include "gallery.h"
#include "hostscreen.h"
#include "playerfactory.h"
#include "playlist.h"
#include "rendertext.h"

#include <playerpath.h>
#include <spdlogger.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

constexpr int kExitUsage = 2;
constexpr int kExitFailure = 1;
constexpr double kDefaultFps = 4;
constexpr double kMaxFps = 60;
constexpr double kHeadlessSeconds = 10;
constexpr double kMaxSeconds = 2000000; // QTimer counts in int milliseconds
constexpr int kSignalPollMs = 100;
constexpr int kQuotedRun = 60; // characters of a run quoted in the glyph report

const QStringList kLogLevels { QStringLiteral("trace"), QStringLiteral("debug"), QStringLiteral("info"),
    QStringLiteral("warn"), QStringLiteral("error"), QStringLiteral("critical"), QStringLiteral("off") };

std::atomic<bool> g_stopRequested { false };

extern "C" void requestStop(int)
{
    g_stopRequested = true;
}

// Without any display Qt would abort at start-up; offscreen still paints and grabs.
void chooseHeadlessPlatformIfNeeded()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

bool isHeadless()
{
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

struct Options {
    QString playlistFile;
    bool demo = false;
    std::optional<double> seconds;
    QString captureDir;
    double fps = kDefaultFps;
    QString contactSheet;
    QString cacheDir;
    QString gallery;
    QSize gallerySize = kGalleryDefaultCellSize;
    QString renderText;
    QSize renderSize;
    QString renderOut;
    bool foldPattern = false;
    spdlog::level::level_enum logLevel = spdlog::level::info;
};

// "WxH" with each side in [minEdge, maxEdge]; an invalid size otherwise.
QSize parseSize(const QString& text, int minEdge, int maxEdge)
{
    static const QRegularExpression sizePattern(QStringLiteral("^(\\d{1,5})[xX](\\d{1,5})$"));
    const QRegularExpressionMatch match = sizePattern.match(text.trimmed());
    if (!match.hasMatch())
        return QSize();
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    const auto inRange = [&](int edge) { return edge >= minEdge && edge <= maxEdge; };
    return inRange(size.width()) && inRange(size.height()) ? size : QSize();
}

int usageError(const QString& message)
{
    std::fprintf(stderr, "mediahost: %s\nTry 'mediahost --help'.\n", qPrintable(message));
    return kExitUsage;
}

// Returns -1 when the options are good, otherwise the exit code.
int parseOptions(const QApplication& app, Options& options)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Plays a playlist of media regions on one screen, each region looping over its items.\n"
                       "Without a display it runs offscreen; --capture and --contact-sheet show what it played.\n"
                       "--gallery writes a picture of every effect code instead."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(
        QStringLiteral("playlist"), QStringLiteral("Playlist file (JSON) to play."), QStringLiteral("[PLAYLIST.json]"));
    const QCommandLineOption demo(QStringLiteral("demo"),
        QStringLiteral("Play the built-in demo instead of a playlist file; it draws its own pictures."));
    const QCommandLineOption seconds(QStringLiteral("seconds"),
        QStringLiteral("Quit after N seconds. Default: run until the window is closed; %1 s when there is no "
                       "display.")
            .arg(kHeadlessSeconds),
        QStringLiteral("N"));
    const QCommandLineOption capture(QStringLiteral("capture"),
        QStringLiteral("Grab the screen into DIR/frame-00001.png, ... (old frame files there are removed)."),
        QStringLiteral("DIR"));
    const QCommandLineOption fps(QStringLiteral("fps"),
        QStringLiteral("Frames grabbed per second with --capture or --contact-sheet (default %1, at most %2).")
            .arg(kDefaultFps)
            .arg(kMaxFps),
        QStringLiteral("F"));
    const QCommandLineOption contactSheet(QStringLiteral("contact-sheet"),
        QStringLiteral("At the end, write up to %1 evenly spaced frames as one labelled PNG grid. Without "
                       "--capture the frames go to a temporary directory.")
            .arg(kContactSheetCells),
        QStringLiteral("FILE"));
    const QCommandLineOption cacheDir(QStringLiteral("cache-dir"),
        QStringLiteral("Directory of the players' image cache (default %1).").arg(PlayerPath::defaultImageCachePath()),
        QStringLiteral("DIR"));
    const QCommandLineOption logLevel(QStringLiteral("log-level"),
        QStringLiteral("Log level on stderr: %1 (default info).").arg(kLogLevels.join(QStringLiteral(", "))),
        QStringLiteral("LEVEL"), QStringLiteral("info"));
    const QCommandLineOption gallery(QStringLiteral("gallery"),
        QStringLiteral("Write every effect code at four stages of its transition into one labelled PNG, print "
                       "its path and quit; plays nothing."),
        QStringLiteral("FILE"));
    const QCommandLineOption gallerySize(QStringLiteral("gallery-size"),
        QStringLiteral("Size of one player on the --gallery sheet (default %1x%2; each side %3 to %4).")
            .arg(kGalleryDefaultCellSize.width())
            .arg(kGalleryDefaultCellSize.height())
            .arg(kGalleryMinCellEdge)
            .arg(kGalleryMaxCellEdge),
        QStringLiteral("WxH"));
    const QCommandLineOption renderText(QStringLiteral("render-text"),
        QStringLiteral("Render the rich text record in RECORD.json into the image files a text region would show "
                       "(needs --size and --out), print one line per file: name, size, last flag; plays nothing."),
        QStringLiteral("RECORD.json"));
    const QCommandLineOption renderSize(QStringLiteral("size"),
        QStringLiteral("Size of the text region for --render-text, e.g. 1920x1080."), QStringLiteral("WxH"));
    const QCommandLineOption renderOut(
        QStringLiteral("out"), QStringLiteral("Directory for the files of --render-text."), QStringLiteral("DIR"));
    const QCommandLineOption foldPattern(QStringLiteral("fold-pattern"),
        QStringLiteral("Play every folded item of the playlist as a test strip instead of its content: numbered "
                       "arrows and a ruler running across its rectangles in order, to check how a wall is wired."));
    parser.addOptions({ demo, seconds, capture, fps, contactSheet, cacheDir, logLevel, gallery, gallerySize, renderText,
        renderSize, renderOut, foldPattern });

    if (!parser.parse(app.arguments()))
        return usageError(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();

    const QStringList positional = parser.positionalArguments();
    options.demo = parser.isSet(demo);
    if (positional.size() > 1)
        return usageError(QStringLiteral("one playlist at a time, got %1").arg(positional.size()));
    options.gallery = parser.value(gallery);
    if (parser.isSet(renderText)) {
        options.renderText = parser.value(renderText);
        options.renderOut = parser.value(renderOut);
        if (options.renderText.isEmpty() || options.renderOut.isEmpty() || !parser.isSet(renderSize))
            return usageError(QStringLiteral("--render-text needs a record file, --size WxH and --out DIR"));
        if (options.demo || !positional.isEmpty() || parser.isSet(gallery) || parser.isSet(capture)
            || parser.isSet(contactSheet))
            return usageError(QStringLiteral("--render-text plays nothing: give it no playlist, --demo, --gallery, "
                                             "--capture or --contact-sheet"));
        options.renderSize = parseSize(parser.value(renderSize), 1, kRenderTextMaxEdge);
        if (!options.renderSize.isValid())
            return usageError(QStringLiteral("--size needs WIDTHxHEIGHT with each side 1 to %1, not '%2'")
                                  .arg(kRenderTextMaxEdge)
                                  .arg(parser.value(renderSize)));
    } else if (parser.isSet(renderSize) || parser.isSet(renderOut)) {
        return usageError(QStringLiteral("--size and --out go with --render-text"));
    } else if (parser.isSet(gallery)) {
        if (options.gallery.isEmpty())
            return usageError(QStringLiteral("--gallery needs a file name"));
        if (options.demo || !positional.isEmpty() || parser.isSet(capture) || parser.isSet(contactSheet))
            return usageError(QStringLiteral("--gallery plays nothing: give it no playlist, --demo, --capture or "
                                             "--contact-sheet"));
    } else if (parser.isSet(gallerySize)) {
        return usageError(QStringLiteral("--gallery-size goes with --gallery"));
    } else if (options.demo == !positional.isEmpty()) {
        return usageError(QStringLiteral("give either a playlist file or --demo"));
    }
    if (parser.isSet(gallerySize)) {
        const QSize size = parseSize(parser.value(gallerySize), kGalleryMinCellEdge, kGalleryMaxCellEdge);
        if (!size.isValid())
            return usageError(QStringLiteral("--gallery-size needs WIDTHxHEIGHT with each side %1 to %2, not '%3'")
                                  .arg(kGalleryMinCellEdge)
                                  .arg(kGalleryMaxCellEdge)
                                  .arg(parser.value(gallerySize)));
        options.gallerySize = size;
    }
    if (!positional.isEmpty())
        options.playlistFile = positional.first();
    options.foldPattern = parser.isSet(foldPattern);
    if (options.foldPattern && options.playlistFile.isEmpty())
        return usageError(QStringLiteral("--fold-pattern goes with a playlist file"));

    if (parser.isSet(seconds)) {
        bool ok = false;
        const double value = parser.value(seconds).toDouble(&ok);
        if (!ok || !(value > 0) || value > kMaxSeconds)
            return usageError(QStringLiteral("--seconds needs a positive number up to %1, not '%2'")
                                  .arg(kMaxSeconds, 0, 'f', 0)
                                  .arg(parser.value(seconds)));
        options.seconds = value;
    }
    if (parser.isSet(fps)) {
        bool ok = false;
        const double value = parser.value(fps).toDouble(&ok);
        if (!ok || !(value > 0) || value > kMaxFps)
            return usageError(QStringLiteral("--fps needs a number above 0 and at most %1, not '%2'")
                                  .arg(kMaxFps)
                                  .arg(parser.value(fps)));
        options.fps = value;
    }
    options.captureDir = parser.value(capture);
    options.contactSheet = parser.value(contactSheet);
    options.cacheDir = parser.value(cacheDir);
    if (parser.isSet(capture) && options.captureDir.isEmpty())
        return usageError(QStringLiteral("--capture needs a directory"));
    if (parser.isSet(contactSheet) && options.contactSheet.isEmpty())
        return usageError(QStringLiteral("--contact-sheet needs a file name"));

    const QString level = parser.value(logLevel).trimmed().toLower();
    if (!kLogLevels.contains(level))
        return usageError(QStringLiteral("unknown log level '%1'; use one of %2")
                              .arg(parser.value(logLevel), kLogLevels.join(QStringLiteral(", "))));
    options.logLevel = spdlog::level::from_str(level.toStdString());
    return -1;
}

// `demoDir` holds the demo's pictures; null when a playlist file is played.
bool loadContent(const Options& options, const QTemporaryDir* demoDir, Playlist& playlist)
{
    if (demoDir) {
        QString error = QStringLiteral("cannot create a temporary directory for the pictures");
        if (!demoDir->isValid() || !buildDemoPlaylist(demoDir->path(), playlist, &error)
            || !addDemoFeed(demoDir->path(), playlist, &error)) {
            PLAYER_LOG(error, "demo: {}", error.toStdString());
            return false;
        }
        return true;
    }
    const PlaylistLoad load = loadPlaylist(options.playlistFile);
    for (const QString& error : load.errors)
        PLAYER_LOG(error, "{}", error.toStdString());
    for (const QString& warning : load.warnings)
        PLAYER_LOG(warn, "{}", warning.toStdString());
    if (!load.ok)
        return false;
    playlist = load.playlist;
    if (playlist.name.isEmpty())
        playlist.name = QFileInfo(options.playlistFile).fileName();
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    chooseHeadlessPlatformIfNeeded();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("mediahost"));
    QApplication::setApplicationVersion(QStringLiteral(MEDIAHOST_VERSION));

    Options options;
    if (const int exitCode = parseOptions(app, options); exitCode >= 0)
        return exitCode;
    SpdLogger::setLevel(options.logLevel);
    if (!options.cacheDir.isEmpty())
        PlayerPath::getInstance().setImageCachePath(options.cacheDir);

    if (!options.renderText.isEmpty()) {
        QList<RenderedImage> images;
        QList<MissingCharacter> missing;
        QString error;
        if (!renderTextRecord(options.renderText, options.renderSize, options.renderOut, &images, &missing, &error)) {
            PLAYER_LOG(error, "render-text: {}", error.toStdString());
            return kExitFailure;
        }
        if (images.isEmpty())
            PLAYER_LOG(warn, "render-text: {} renders no image", options.renderText.toStdString());
        for (const RenderedImage& image : images) {
            const QString size = image.size.isValid()
                ? QStringLiteral("%1x%2").arg(image.size.width()).arg(image.size.height())
                : QStringLiteral("no-file");
            std::printf("%s\t%s\t%s\n", qPrintable(image.name), qPrintable(size), image.lastImage ? "last" : "more");
        }
        // After the files, so that scripts reading them line by line meet them first.
        for (const MissingCharacter& character : missing) {
            const QString hex
                = QString::number(uint(character.codePoint), 16).toUpper().rightJustified(4, QLatin1Char('0'));
            const QString run = character.runText.size() > kQuotedRun
                ? character.runText.left(kQuotedRun) + QStringLiteral("...")
                : character.runText;
            std::printf("missing-glyph\tU+%s\tparagraph %d, line %d, run %d\t%s\n", qPrintable(hex),
                character.paragraph, character.line, character.run, run.toUtf8().constData());
        }
        return images.isEmpty() ? kExitFailure : 0;
    }

    if (!options.gallery.isEmpty()) {
        QString error;
        if (!writeEffectGallery(options.gallery, options.gallerySize, &error)) {
            PLAYER_LOG(error, "gallery: {}", error.toStdString());
            return kExitFailure;
        }
        std::printf("%s\n", qPrintable(QFileInfo(options.gallery).absoluteFilePath()));
        return 0;
    }

    // Declared before the screen so that the pictures outlive the players that show them.
    std::unique_ptr<QTemporaryDir> demoDir;
    if (options.demo) {
        demoDir = std::make_unique<QTemporaryDir>();
        // The demo's texts are rendered afresh on every run; their files go with its pictures.
        if (options.cacheDir.isEmpty() && demoDir->isValid())
            PlayerPath::getInstance().setImageCachePath(demoDir->filePath(QStringLiteral("image-cache")));
    }
    Playlist playlist;
    if (!loadContent(options, demoDir.get(), playlist))
        return kExitFailure;
    if (options.foldPattern) {
        const int replaced = useFoldPattern(playlist);
        if (replaced == 0) {
            PLAYER_LOG(error, "fold pattern: {} has no folded item", options.playlistFile.toStdString());
            return kExitFailure;
        }
        PLAYER_LOG(info, "fold pattern: {} folded items show the test strip", replaced);
    }
    // Declared before the screen, so that the demo's feed is served for as long as its player runs.
    LoopbackFeedServer feedServer;
    if (options.demo) {
        QString error;
        if (!startDemoFeed(feedServer, &error))
            PLAYER_LOG(warn, "demo: the sample feed is not served: {}", error.toStdString());
    }

    HostScreen screen(playlist, PlayerFactory::withBuiltinPlayers());
    screen.show();

    std::unique_ptr<QTemporaryDir> frameDir;
    std::unique_ptr<FrameCapture> capture;
    if (!options.captureDir.isEmpty() || !options.contactSheet.isEmpty()) {
        QString directory = options.captureDir;
        if (directory.isEmpty()) {
            frameDir = std::make_unique<QTemporaryDir>();
            if (!frameDir->isValid()) {
                PLAYER_LOG(error, "capture: cannot create a temporary directory for the frames");
                return kExitFailure;
            }
            directory = frameDir->path();
        }
        capture = std::make_unique<FrameCapture>(&screen, directory, options.fps);
        QString error;
        if (!capture->prepare(&error)) {
            PLAYER_LOG(error, "capture: {}", error.toStdString());
            return kExitFailure;
        }
    }

    std::optional<double> seconds = options.seconds;
    if (!seconds && isHeadless()) {
        seconds = kHeadlessSeconds;
        PLAYER_LOG(info, "no display: playing for {} s", kHeadlessSeconds);
    }
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    QTimer signalPoll;
    QObject::connect(&signalPoll, &QTimer::timeout, &app, [] {
        if (g_stopRequested)
            QCoreApplication::quit();
    });
    signalPoll.start(kSignalPollMs);

    screen.start();
    if (capture)
        capture->start();
    // Armed after the start, so that the time counts what was played, not the loading.
    if (seconds)
        QTimer::singleShot(int(*seconds * 1000), &app, &QCoreApplication::quit);
    const int exitCode = app.exec();
    if (capture)
        capture->stop();
    screen.stop();
    feedServer.stop();

    if (!options.contactSheet.isEmpty()) {
        QString error;
        const QString title = QStringLiteral("%1, %2 fps").arg(playlist.name).arg(options.fps);
        if (!writeContactSheet(capture->frames(), options.contactSheet, title, &error)) {
            PLAYER_LOG(error, "contact sheet: {}", error.toStdString());
            return kExitFailure;
        }
        PLAYER_LOG(info, "contact sheet: {} ({} frames captured)", options.contactSheet.toStdString(),
            capture->frames().size());
    }
    return exitCode;
}
