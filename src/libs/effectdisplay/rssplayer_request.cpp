#include "rssplayer_p.h"

#include <playersettings.h>
#include <spdlogger.h>

#include <QCoreApplication>
#include <QHostInfo>
#include <QUrl>

#include <httplib.h>

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <list>
#include <memory>
#include <string>

namespace {

constexpr time_t kConnectTimeoutSec = 3;
constexpr int kStopWaitMs = 100;
constexpr int kStatusOk = 200;

std::atomic<int> s_httpsPort { 443 };
std::atomic<int> s_httpPort { 80 };

enum class Reply {
    None, // no response: refused, timed out, TLS or transfer failure, cancelled
    Ok,
    OtherStatus,
};

void logRequestError(const QString& link)
{
    PLAYER_LOG(error, "request error! m_strRssLink is {}", link.toStdString());
}

// A GET of `path` with the client's default request. The body is kept up to the document bound;
// a longer one is cut there and counts as read.
template <class Client> Reply get(Client& client, RssFetch& fetch, const std::string& path, std::string& body)
{
    client.set_connection_timeout(kConnectTimeoutSec);
    client.set_socket_options([&fetch](socket_t socket) { fetch.adoptSocket(socket); });
    int status = 0;
    bool cut = false;
    body.clear();
    const httplib::Result result = client.Get(
        path, httplib::Headers(),
        [&status](const httplib::Response& response) {
            status = response.status;
            // The body of anything but a 200 is never used.
            return status == kStatusOk;
        },
        [&body, &cut](const char* data, size_t length) {
            const size_t room = size_t(rssbounds::kMaxDocumentBytes) - body.size();
            body.append(data, std::min(length, room));
            cut = length > room;
            return !cut;
        });
    fetch.releaseSocket();
    if (fetch.isCancelled())
        return Reply::None;
    if (result)
        return result->status == kStatusOk ? Reply::Ok : Reply::OtherStatus;
    if (status == kStatusOk && cut) {
        PLAYER_LOG(warn, "RSSRequestThread: the feed is larger than {} bytes; its first {} bytes are read",
            rssbounds::kMaxDocumentBytes, rssbounds::kMaxDocumentBytes);
        return Reply::Ok;
    }
    // A status other than 200 was answered and its body refused: that is a reply.
    if (status != 0 && status != kStatusOk && result.error() == httplib::Error::Canceled)
        return Reply::OtherStatus;
    return Reply::None;
}

// Retired request threads still blocked in a name lookup, which nothing can interrupt.
std::list<std::unique_ptr<RSSRequestThread>>& retiredThreads()
{
    static std::list<std::unique_ptr<RSSRequestThread>> list;
    static const bool waitAtExit = [] {
        // A running QThread must not be destroyed, nor outlive the application's objects.
        qAddPostRoutine([] {
            for (const auto& thread : retiredThreads())
                thread->wait();
            retiredThreads().clear();
        });
        return true;
    }();
    Q_UNUSED(waitAtExit)
    return list;
}

} // namespace

void RssFetch::setPorts(Ports ports)
{
    s_httpsPort = ports.https;
    s_httpPort = ports.http;
}

RssFetch::Ports RssFetch::ports()
{
    return { s_httpsPort.load(), s_httpPort.load() };
}

RssFetch::~RssFetch()
{
    releaseSocket();
}

void RssFetch::cancel()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cancelled = true;
    // Wakes the client from a connect, a handshake or a read; it fails and returns at once.
    if (m_socket >= 0)
        ::shutdown(m_socket, SHUT_RDWR);
}

bool RssFetch::isCancelled() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_cancelled;
}

void RssFetch::adoptSocket(int socket)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_socket >= 0)
        ::close(m_socket);
    // The client closes its descriptor when it likes; a duplicate keeps the number ours, so a
    // late cancel never shuts a socket that has since been opened for something else.
    m_socket = ::dup(socket);
    if (m_cancelled)
        ::shutdown(socket, SHUT_RDWR);
}

void RssFetch::releaseSocket()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_socket >= 0)
        ::close(m_socket);
    m_socket = -1;
}

QByteArray RssFetch::fetch(const QString& link)
{
    const QUrl url(link);
    const std::string host = url.host(QUrl::FullyDecoded).toStdString();
    std::string path = url.path(QUrl::FullyDecoded).toStdString();
    // "GET  HTTP/1.1" is no request: a bare host asks for its root.
    if (path.empty())
        path = "/";

    const QString probe = PlayerSettings::getInstance().reachabilityHost();
    if (probe.isEmpty() || QHostInfo::fromName(probe).addresses().isEmpty()) {
        logRequestError(link);
        return {};
    }
    if (isCancelled())
        return {};

    // The resolver takes an empty name for this machine: a link without a host must reach nobody.
    if (host.empty()) {
        logRequestError(link);
        return {};
    }
    const Ports ports = RssFetch::ports();
    std::string body;
    httplib::SSLClient https(host, ports.https, std::string(), std::string());
    https.enable_server_certificate_verification(false);
    Reply reply = get(https, *this, path, body);
    if (reply == Reply::OtherStatus && !isCancelled()) {
        httplib::Client http(host, ports.http, std::string(), std::string());
        reply = get(http, *this, path, body);
    }
    if (reply != Reply::Ok) {
        if (!isCancelled())
            logRequestError(link);
        return {};
    }
    return QByteArray(body.c_str(), -1);
}

RSSRequestThread::RSSRequestThread(const QString& rssLink)
    : m_strRssLink(rssLink)
{
}

RSSRequestThread::~RSSRequestThread()
{
    if (isRunning()) {
        setStop();
        wait();
    }
}

void RSSRequestThread::setStop()
{
    m_bStop = true;
    m_fetch.cancel();
}

void RSSRequestThread::run()
{
    const QByteArray content = m_fetch.fetch(m_strRssLink);
    if (m_bStop) {
        PLAYER_LOG(error, "request object destory");
        return;
    }
    emit signalsRequestOK(content);
}

void rssrequest::retire(RSSRequestThread* thread)
{
    auto& retired = retiredThreads();
    retired.remove_if([](const std::unique_ptr<RSSRequestThread>& old) { return old->isFinished(); });
    if (!thread)
        return;
    thread->setStop();
    if (thread->wait(kStopWaitMs))
        delete thread;
    else
        retired.emplace_back(thread);
}
