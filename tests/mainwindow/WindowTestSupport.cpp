#include "WindowTestSupport.h"

#include "EngineTestSupport.h"
#include "PlayList.h"
#include "SoundEngine.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFont>
#include <QLabel>
#include <QMimeData>
#include <QTableWidget>
#include <QTest>

#include <cmath>

namespace windowtest {

QString settingsPath() {
    return QCoreApplication::applicationDirPath() + "/settings.ini";
}

QString media(const QString& name) {
    return qEnvironmentVariable("TAMBERLO_TEST_MEDIA") + "/" + name;
}

QString labelText(MP3Database& player, const char* name) {
    const QLabel* label = formWidget<QLabel>(player, name);
    return label ? label->text() : QString("<no label %1>").arg(name);
}

QTableWidget* table(MP3Database& player) {
    return player.playList().findChild<QTableWidget*>("tableWidget");
}

QTableWidgetItem* rowItem(MP3Database& player, int row) {
    return table(player)->item(row, 0);
}

bool rowIsMarked(MP3Database& player, int row) {
    const QTableWidgetItem* item = rowItem(player, row);
    return item && item->font().bold() && item->foreground().color() == QColor(25, 130, 115);
}

bool dragAndDrop(QWidget& target, QMimeData& data) {
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
    enter.setAccepted(false);
    QApplication::sendEvent(&target, &enter);
    if (!enter.isAccepted()) {
        return false;
    }
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(&target, &drop);
    return true;
}

void WindowTest::SetUp() {
    previousTmp_ = qgetenv("TMPDIR");
    temp_ = std::make_unique<QTemporaryDir>();
    ASSERT_TRUE(temp_->isValid());
    qputenv("TMPDIR", QFile::encodeName(temp_->path()));
    // The player reads the temporary folder when its windows are built; it must follow TMPDIR.
    ASSERT_EQ(QDir(QDir::tempPath()).canonicalPath(), QDir(temp_->path()).canonicalPath());
    QFile::remove(settingsPath());
}

void WindowTest::TearDown() {
    closePlayer();
    QFile::remove(settingsPath());
    if (previousTmp_.isEmpty()) {
        qunsetenv("TMPDIR");
    } else {
        qputenv("TMPDIR", previousTmp_);
    }
    temp_.reset();
}

MP3Database& WindowTest::openPlayer(const QStringList& arguments) {
    closePlayer();
    player_ = std::make_unique<MP3Database>(PlayerStartup{"offline", arguments});
    waitForSong(); // the first of the arguments starts playing
    return *player_;
}

void WindowTest::closePlayer() {
    if (player_) {
        player_->close();
        player_.reset();
    }
}

void WindowTest::waitForSong() {
    ASSERT_TRUE(QTest::qWaitFor([this] { return !player_->isLoading(); }, 20000));
    QCoreApplication::processEvents(); // the completion's queued signals
}

void WindowTest::play(unsigned ms) {
    for (unsigned done = 0; done < ms; done += 20) {
        waitForSong();
        enginetest::mixMs(player_->engine(), 20);
        player_->timerProgress();
    }
}

QString WindowTest::writeTone(const QString& name, unsigned ms, double frequency, int rate) {
    const QString path = temp_->path() + "/" + name;
    const double step = 2.0 * M_PI * frequency / rate;
    const auto frames = static_cast<uint32_t>(static_cast<uint64_t>(ms) * rate / 1000);
    enginetest::writeWav(QFile::encodeName(path).toStdString(), rate, frames,
                         [step](uint32_t frame, int) {
                             return static_cast<int16_t>(8000.0 * std::sin(step * frame));
                         });
    return path;
}

} // namespace windowtest
