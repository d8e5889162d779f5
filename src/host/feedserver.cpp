#include "feedserver.h"

#include <httplib.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace {

constexpr long kCertificateDays = 365;
constexpr char kLoopback[] = "127.0.0.1";

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct CertificateDeleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
};

// A P-256 key and a certificate for "localhost" signed with it: made in a millisecond, and the
// fetch does not verify it.
bool makeCertificate(std::unique_ptr<EVP_PKEY, KeyDeleter>& key, std::unique_ptr<X509, CertificateDeleter>& certificate)
{
    key.reset(EVP_EC_gen("P-256"));
    certificate.reset(X509_new());
    if (!key || !certificate)
        return false;
    X509* cert = certificate.get();
    X509_set_version(cert, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert), kCertificateDays * 24 * 3600);
    X509_NAME* name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(
        name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1, 0);
    X509_set_issuer_name(cert, name);
    return X509_set_pubkey(cert, key.get()) == 1 && X509_sign(cert, key.get(), EVP_sha256()) > 0;
}

} // namespace

struct LoopbackFeedServer::Private {
    std::unique_ptr<httplib::SSLServer> https;
    std::unique_ptr<httplib::Server> http;
    std::thread httpsThread;
    std::thread httpThread;
    int httpsPort = -1;
    int httpPort = -1;
    std::atomic<int> httpsRequests { 0 };
    std::atomic<int> httpRequests { 0 };
    mutable std::mutex mutex;
    QByteArray lastHeaders;

    void route(httplib::Server& server, const Handler& handler, bool tls)
    {
        // httplib's default adds SO_REUSEPORT, with which a second server binds a port another one
        // listens on and takes a share of its connections: a port in use has to fail instead.
        server.set_socket_options([](socket_t socket) {
            int yes = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
        });
        server.Get(".*", [this, handler, tls](const httplib::Request& request, httplib::Response& response) {
            (tls ? httpsRequests : httpRequests)++;
            QByteArray headers;
            for (const auto& header : request.headers)
                headers += QByteArray::fromStdString(header.first + ": " + header.second + "\n");
            {
                std::lock_guard<std::mutex> lock(mutex);
                lastHeaders = headers;
            }
            const FeedReply reply = handler(QString::fromStdString(request.path), tls);
            response.status = reply.status;
            if (!reply.location.isEmpty())
                response.set_header("Location", reply.location.toStdString());
            response.set_content(reply.body.toStdString(), reply.contentType.toStdString());
        });
    }

    static bool bind(httplib::Server& server, int wanted, int& port)
    {
        port
            = wanted == 0 ? server.bind_to_any_port(kLoopback) : (server.bind_to_port(kLoopback, wanted) ? wanted : -1);
        return port > 0;
    }
};

LoopbackFeedServer::LoopbackFeedServer()
    : d(std::make_unique<Private>())
{
}

LoopbackFeedServer::~LoopbackFeedServer()
{
    stop();
}

bool LoopbackFeedServer::start(int httpsPort, int httpPort, Handler handler, QString* error)
{
    stop();
    auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (httpsPort >= 0) {
        std::unique_ptr<EVP_PKEY, KeyDeleter> key;
        std::unique_ptr<X509, CertificateDeleter> certificate;
        if (!makeCertificate(key, certificate))
            return fail(QStringLiteral("no TLS certificate could be made"));
        // The server keeps its own references to both.
        d->https = std::make_unique<httplib::SSLServer>(certificate.get(), key.get());
        if (!d->https->is_valid())
            return fail(QStringLiteral("TLS could not be set up"));
        d->route(*d->https, handler, true);
        if (!Private::bind(*d->https, httpsPort, d->httpsPort)) {
            stop();
            return fail(QStringLiteral("cannot bind %1:%2 for HTTPS").arg(QLatin1String(kLoopback)).arg(httpsPort));
        }
    }
    if (httpPort >= 0) {
        d->http = std::make_unique<httplib::Server>();
        d->route(*d->http, handler, false);
        if (!Private::bind(*d->http, httpPort, d->httpPort)) {
            stop();
            return fail(QStringLiteral("cannot bind %1:%2 for HTTP").arg(QLatin1String(kLoopback)).arg(httpPort));
        }
    }
    if (d->https)
        d->httpsThread = std::thread([server = d->https.get()] { server->listen_after_bind(); });
    if (d->http)
        d->httpThread = std::thread([server = d->http.get()] { server->listen_after_bind(); });
    // stop() only reaches a server that listens already: do not return before both do.
    for (httplib::Server* server : { static_cast<httplib::Server*>(d->https.get()), d->http.get() }) {
        while (server && !server->is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

void LoopbackFeedServer::stop()
{
    for (httplib::Server* server : { static_cast<httplib::Server*>(d->https.get()), d->http.get() }) {
        if (server)
            server->stop();
    }
    for (std::thread* thread : { &d->httpsThread, &d->httpThread }) {
        if (thread->joinable())
            thread->join();
    }
    d->https.reset();
    d->http.reset();
    d->httpsPort = d->httpPort = -1;
}

int LoopbackFeedServer::httpsPort() const
{
    return d->httpsPort;
}

int LoopbackFeedServer::httpPort() const
{
    return d->httpPort;
}

int LoopbackFeedServer::httpsRequests() const
{
    return d->httpsRequests;
}

int LoopbackFeedServer::httpRequests() const
{
    return d->httpRequests;
}

QByteArray LoopbackFeedServer::lastRequestHeaders() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->lastHeaders;
}
