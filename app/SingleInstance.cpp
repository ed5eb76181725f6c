#include "SingleInstance.h"

#include <QDataStream>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

#include <unistd.h>

namespace {

// Every request: magic, version, enqueue flag, paths (QDataStream, Qt 6.0 format), behind a
// 32-bit byte count so the receiver knows when it has the whole request.
constexpr quint32 RequestMagic = 0x544d424c; // "TMBL"
constexpr quint32 RequestVersion = 1;
constexpr char Receipt = 'k';
constexpr int LockTimeoutMs = 10000;
constexpr int ConnectTimeoutMs = 2000;
constexpr int MaxAttempts = 3;

QByteArray encodeRequest(const QStringList& paths, bool enqueue) {
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_0);
    out << RequestMagic << RequestVersion << enqueue << paths;
    QByteArray framed;
    QDataStream frame(&framed, QIODevice::WriteOnly);
    frame << static_cast<quint32>(body.size());
    return framed + body;
}

enum class Request { Incomplete, Valid, Invalid };

// Takes one whole request off `socket` into `paths` and `enqueue`, or reports that more bytes
// are needed, or that what arrived is not a request of ours (or too large).
Request takeRequest(QLocalSocket& socket, QStringList* paths, bool* enqueue) {
    QDataStream in(&socket);
    in.setVersion(QDataStream::Qt_6_0);
    in.startTransaction();
    quint32 size = 0;
    in >> size;
    if (in.status() != QDataStream::Ok) {
        in.rollbackTransaction();
        return Request::Incomplete;
    }
    if (size > SingleInstance::MaxRequestBytes) {
        in.abortTransaction();
        return Request::Invalid;
    }
    if (socket.bytesAvailable() < size) {
        in.rollbackTransaction();
        return Request::Incomplete;
    }
    in.commitTransaction();
    QDataStream request(socket.read(size));
    request.setVersion(QDataStream::Qt_6_0);
    quint32 magic = 0;
    quint32 version = 0;
    request >> magic >> version >> *enqueue >> *paths;
    const bool ours =
        request.status() == QDataStream::Ok && magic == RequestMagic && version == RequestVersion;
    return ours ? Request::Valid : Request::Invalid;
}

} // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

SingleInstance::~SingleInstance() {
    if (server_) {
        server_->close();
    }
}

QString SingleInstance::socketPath() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty()) {
        return {};
    }
    return QDir(folder).filePath(QString("tamberlo-%1.socket").arg(::getuid()));
}

SingleInstance::Role SingleInstance::claim(const QStringList& paths, bool enqueue) {
    error_.clear();
    const QString path = socketPath();
    if (path.isEmpty()) {
        error_ = "no runtime folder";
        return Role::Alone;
    }
    // A player that is closing may take the connection and go away without a receipt; the next
    // attempt then finds no player, and this start becomes the player.
    for (int attempt = 1;; ++attempt) {
        QLockFile lock(path + ".lock");
        if (!lock.tryLock(LockTimeoutMs)) {
            error_ = "could not lock " + path + ".lock";
            return Role::Alone;
        }
        QLocalSocket socket;
        socket.connectToServer(path);
        if (!socket.waitForConnected(ConnectTimeoutMs)) {
            // Nobody accepts: no socket file, or one left by a player that crashed.
            QLocalServer::removeServer(path);
            return listen(path) ? Role::Primary : Role::Alone;
        }
        lock.unlock(); // the running player is known; other starts need not wait for our receipt
        socket.write(encodeRequest(paths, enqueue));
        socket.flush();
        if (socket.waitForReadyRead(ReceiptTimeoutMs) && socket.read(1) == QByteArray(1, Receipt)) {
            return Role::HandedOff;
        }
        if (socket.error() == QLocalSocket::SocketTimeoutError || attempt == MaxAttempts) {
            error_ = "the running player did not confirm the request";
            return Role::Unanswered;
        }
    }
}

bool SingleInstance::listen(const QString& path) {
    server_ = std::make_unique<QLocalServer>();
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_->listen(path)) {
        error_ = "cannot listen on " + path + ": " + server_->errorString();
        server_.reset();
        return false;
    }
    connect(server_.get(), &QLocalServer::newConnection, this, &SingleInstance::acceptRequests);
    return true;
}

void SingleInstance::acceptRequests() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            QStringList paths;
            bool enqueue = false;
            const Request request = takeRequest(*socket, &paths, &enqueue);
            if (request == Request::Incomplete) {
                return; // the rest comes with a later readyRead
            }
            if (request == Request::Invalid) {
                socket->abort();
                return;
            }
            // The receipt goes out first: the sender may end while the paths are opened.
            socket->write(QByteArray(1, Receipt));
            socket->flush();
            socket->disconnectFromServer();
            emit openRequested(paths, enqueue);
        });
    }
}
