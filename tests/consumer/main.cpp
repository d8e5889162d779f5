// Plays one picture the way a host does, against the installed headers and libraries.
// Exit code 0 only when the player reported MediaReady and its picture shows.
#include <effectInfo.h>
#include <fromstring.h>
#include <jsonrecords.h>

#include <QApplication>
#include <QEventLoop>
#include <QImage>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>

#include <nlohmann/json.hpp>

#include <cstdio>

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kReadyTimeoutMs = 5000;
const QColor kPictureColor { 30, 140, 200 };

int fail(const char* what)
{
    std::fprintf(stderr, "consumer: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    // The record readers of both installed libraries: the guarded reader and the raw one.
    ns::PictureGroupMediaData group;
    from_string(R"({"pictures": [{"path": "page1.png", "stayTime": 3000, "effectCode": 16}]})", group);
    if (group.pictures.size() != 1 || group.pictures[0].path != "page1.png" || group.pictures[0].stayTime != 3000
        || group.pictures[0].effectCode != 16)
        return fail("from_string did not read the picture group");
    ns::Widget parsed;
    ns::from_json(nlohmann::json::parse(R"({"id": 7, "effectCode": 0})"), parsed);
    if (parsed.id != 7)
        return fail("ns::from_json did not read the widget");

    QTemporaryDir dir;
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(kPictureColor);
    const QString path = dir.filePath(QStringLiteral("picture.png"));
    if (!dir.isValid() || !picture.save(path))
        return fail("could not write the picture");

    QWidget window;
    window.resize(kWidth, kHeight);
    auto* player = new EffectInfo(&window);

    ns::Widget item;
    item.id = 1;
    item.duration = 10000;
    item.effectCode = 0;
    item.path = path.toStdString();

    bool ready = false;
    QEventLoop loop;
    player->iInit(item, [&](EnumMediaStatus status) {
        if (status == MediaReady) {
            ready = true;
            loop.quit();
        }
    });
    player->iPlay();
    window.show();
    QTimer::singleShot(kReadyTimeoutMs, &loop, &QEventLoop::quit);
    loop.exec();

    const QImage frame = window.grab().toImage();
    const bool shows = frame.pixelColor(kWidth / 2, kHeight / 2) == kPictureColor;

    player->hide();
    player->iStop();
    player->iDestory();
    delete player;

    if (!ready)
        return fail("no MediaReady within the time-out");
    if (!shows)
        return fail("the picture does not show");
    std::printf("consumer: MediaReady received, picture shown\n");
    return 0;
}
