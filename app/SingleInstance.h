#pragma once
// One player per user session. The first player listens on a local socket in the user's
// runtime folder ($XDG_RUNTIME_DIR). A later start connects to it, hands over its paths and its
// enqueue flag, waits for the receipt and ends; the first player opens the paths (or, with
// none, comes to the front). A QLockFile beside the socket serialises the check and the
// listen, so two starts at the same moment never both become the listening player, and a
// socket file left by a crashed player (nobody accepts) is removed and taken over.
//
// Threading: GUI thread only. Needs a QCoreApplication; requests arrive through its event loop.

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QLocalServer;

class SingleInstance : public QObject {
    Q_OBJECT
public:
    enum class Role {
        Primary,    // this process listens; later starts arrive as openRequested()
        HandedOff,  // the running player confirmed the request: this process should end (0)
        Unanswered, // a player accepted the connection but sent no receipt within the limit
        Alone,      // no runtime folder, lock or socket: run without handing off (see error())
    };

    // How long a later start waits for the running player's receipt. The running player may be
    // busy on its GUI thread for a while (a module ripper run is cut off after 15 s).
    static constexpr int ReceiptTimeoutMs = 30000;
    // Requests larger than this are dropped unread (a path list of ~64 KiB paths of 1024 bytes).
    static constexpr qint64 MaxRequestBytes = 64 * 1024 * 1024;

    explicit SingleInstance(QObject* parent = nullptr);
    // Stops listening; the socket file is removed.
    ~SingleInstance() override;

    // Hands `paths` (absolute, or URLs) and `enqueue` to a running player, or becomes the one
    // that listens when no player answers the socket. A player that closes the connection
    // without a receipt (it was closing) is asked again, up to three times in all. Blocks while
    // another start holds the lock (at most 10 s each time) and, once connected, for at most
    // ReceiptTimeoutMs.
    Role claim(const QStringList& paths, bool enqueue);
    // Why the last claim() returned Alone or Unanswered; empty otherwise.
    QString error() const { return error_; }

    // "tamberlo-UID.socket" in QStandardPaths::RuntimeLocation; empty when that folder is
    // unavailable.
    static QString socketPath();

signals:
    // A later start asked for `paths` to be opened; empty `paths`: show the window.
    void openRequested(const QStringList& paths, bool enqueue);

private:
    Role handOff(const QString& path, const QStringList& paths, bool enqueue);
    bool listen(const QString& path);
    void acceptRequests();

    std::unique_ptr<QLocalServer> server_;
    QString error_;
};
