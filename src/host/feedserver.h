#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

/// What a LoopbackFeedServer answers to one GET.
struct FeedReply {
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/rss+xml; charset=utf-8";
    QByteArray location; ///< sent as Location when not empty, for redirects
};

/// A feed server on 127.0.0.1 that answers over HTTPS and HTTP, with a key and a self-signed
/// certificate made when it starts. The demo serves its sample feed with it; tests use it as the
/// far end of a fetch. The handler runs on the server's threads.
class LoopbackFeedServer {
public:
    /// `path` is the request's path; `tls` tells HTTPS from HTTP.
    using Handler = std::function<FeedReply(const QString& path, bool tls)>;

    LoopbackFeedServer();
    ~LoopbackFeedServer();
    LoopbackFeedServer(const LoopbackFeedServer&) = delete;
    LoopbackFeedServer& operator=(const LoopbackFeedServer&) = delete;

    /// Binds both ports (0 picks a free one) and serves until stop(). A negative port leaves that
    /// server out. False, with the reason in `error`, when a port cannot be bound or TLS cannot be set up.
    bool start(int httpsPort, int httpPort, Handler handler, QString* error);
    void stop();
    int httpsPort() const;
    int httpPort() const;
    /// Requests answered so far, over HTTPS and over HTTP.
    int httpsRequests() const;
    int httpRequests() const;
    /// The headers of the last request, one "Name: value" line each, in the order received.
    QByteArray lastRequestHeaders() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
