#pragma once

#include "effectdisplay_export.h"

#include <QByteArray>
#include <QString>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <mutex>

namespace rssbounds {
/// Largest feed document taken from the network or read: a longer one is cut there.
constexpr int kMaxDocumentBytes = 16 * 1024 * 1024;
/// Characters the reader takes from one document, entity expansions included.
constexpr qint64 kMaxDocumentChars = 16 * 1024 * 1024;
/// Characters kept of one title, date or description; the HTML step slows down sharply with
/// nesting depth, so its input is cut first.
constexpr int kMaxTextChars = 16 * 1024;
/// Items read from one document.
constexpr int kMaxItems = 10000;
} // namespace rssbounds

/// One blocking fetch of a feed document: the name probe, HTTPS, then HTTP after an HTTPS reply
/// other than 200. cancel() may be called from any thread; it ends a request in flight at once by
/// shutting its socket. Not installed: exported for the tests only.
class EFFECTDISPLAY_EXPORT RssFetch {
public:
    struct Ports {
        int https = 443;
        int http = 80;
    };
    /// The ports of every fetch started from now on; users keep 443 and 80, tests use their own.
    static void setPorts(Ports ports);
    static Ports ports();

    RssFetch() = default;
    ~RssFetch();

    /// The document at `link`, cut at its first zero byte; empty after any failure or a cancel.
    QByteArray fetch(const QString& link);
    void cancel();
    bool isCancelled() const;

    /// Called by the client with each socket it opens, before it connects.
    void adoptSocket(int socket);
    void releaseSocket();

private:
    RssFetch(const RssFetch&) = delete;
    RssFetch& operator=(const RssFetch&) = delete;

    mutable std::mutex m_mutex;
    bool m_cancelled = false;
    int m_socket = -1; // our duplicate of the client's socket, so that shutting it is never a stranger's
};

/// Fetches one feed document on its own thread; one object serves one fetch.
class RSSRequestThread : public QThread {
    Q_OBJECT
public:
    explicit RSSRequestThread(const QString& rssLink);
    ~RSSRequestThread() override;

    /// Ends the fetch as soon as it can; no signal follows. Any thread.
    void setStop();

signals:
    /// The document, or empty after any failure. Emitted on the worker thread, once, unless stopped.
    void signalsRequestOK(QByteArray content);

protected:
    void run() override;

private:
    Q_DISABLE_COPY(RSSRequestThread)

    std::atomic<bool> m_bStop { false };
    QString m_strRssLink;
    RssFetch m_fetch;
};

namespace rssrequest {
/// Stops `thread`, waits for it briefly and deletes it; one still blocked (in a name lookup) is
/// kept until it ends, and waited for when the application goes. GUI thread.
void retire(RSSRequestThread* thread);
} // namespace rssrequest
