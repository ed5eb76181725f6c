// The player window: construction, shutdown, dialogs, the context menu and drops.
#include "MP3Database.h"

#include "DataFolders.h"
#include "LevelMeter.h"
#include "LogFile.h"
#include "PlayList.h"
#include "PlaybackSequencer.h"
#include "PlayerSkin.h"
#include "SongLoader.h"
#include "SoundEngine.h"
#include "StartupTrace.h"
#include "aboutDlg.h"
#include "settingsDlg.h"
#include "ui_MP3Database.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenu>
#include <QMimeData>

MP3Database::MP3Database(const PlayerStartup& startup, QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags), ui(std::make_unique<Ui::MP3DatabaseClass>()) {
    connect(&progressTimer_, &QTimer::timeout, this, &MP3Database::timerProgress);

    const QString appDir = QCoreApplication::applicationDirPath();
    if (!theLogFile) {
        const DataFolders folders = chooseDataFolders(appDir);
        theLogFile = new LogFile(QFile::encodeName(folders.logFile).toStdString());
        if (!folders.besideProgram) {
            theLogFile->logLine(
                LogFile::Black, "The program folder %s is not writable: settings in %s, log in %s",
                qPrintable(appDir), qPrintable(folders.settingsFile), qPrintable(folders.logFile));
        }
    }

    engine_ = std::make_unique<SoundEngine>();
    audio::OutputSpec output;
    if (!startup.output.isEmpty() &&
        audio::parseOutputSpec(startup.output.toStdString(), &output) != audio::Result::Ok) {
        theLogFile->logLine(LogFile::Red, "Unknown audio output '%s', using the default",
                            qPrintable(startup.output));
    }
    engine_->init(output);
    startupTrace_ = StartupTrace::fromEnvironment(this, engine_.get());
    ui->setupUi(this);
    setWindowFlags(Qt::FramelessWindowHint);
    setWindowIcon(QIcon(skin::resourcePath(appDir, "mp3.png")));
    playList_ = new PlayList(this, engine_.get(), *theLogFile);
    playList_->setWindowFlags(Qt::Tool | Qt::FramelessWindowHint);
    levelMeter_ = std::make_unique<LevelMeter>(ui->labelVUMeter, engine_.get());
    // The loader reports from its own thread; the window takes the song on the GUI thread.
    loader_ = std::make_unique<SongLoader>(*engine_, [this] {
        QMetaObject::invokeMethod(this, &MP3Database::collectPreparedSong, Qt::QueuedConnection);
    });
    sequencer_ = std::make_unique<PlaybackSequencer>(*engine_, loader_.get());

    ui->labelTopBar->setPixmap(skin::skinPixmap(appDir, "top.png", qApp->devicePixelRatio()));
    skin::applyPlayerStyleSheets(*ui, appDir);
    skin::applyPlayerFonts(*ui, appDir);
    skin::applyPlayerTextColours(*ui);
    playList_->applySkin(appDir);
    installContextMenu();
    loadSettings();
    // The stored entry index applies only to the restored last playlist; files from the command
    // line start at their first entry.
    const int storedSound = currentSound;

    // Nothing plays yet.
    currentSound = -1;
    ui->buttonPause->setChecked(false);
    ui->sliderProgress->setValue(0);
    ui->sliderProgress->setEnabled(false);
    ui->sliderPitch->snapValue = 100;
    ui->sliderPitch->snapEnabled = true;
    ui->sliderPitch->setValue(100);
    ui->sliderBalance->snapValue = 0;
    ui->sliderBalance->snapEnabled = true;
    ui->sliderBalance->setValue(0);

    ui->labelLCDOverlay->installEventFilter(this);
    ui->labelTopBar->installEventFilter(this);
    ui->labelCurrentTime->installEventFilter(this);

    if (!startup.paths.isEmpty() && !startup.enqueue) {
        playList_->addPaths(playList_->expandFolders(startup.paths));
        on_buttonPlay_clicked();
    } else {
        currentSound = storedSound;
        restoreLastPlaylist();
        if (!startup.paths.isEmpty()) {
            openPaths(startup.paths, true);
        }
    }
    progressTimer_.start(20);
}

MP3Database::~MP3Database() {
    if (!shutDown_) {
        QCloseEvent event;
        closeEvent(&event);
    }
}

void MP3Database::closeEvent(QCloseEvent* event) {
    if (shutDown_) {
        event->accept();
        return;
    }
    shutDown_ = true;
    saveSettings();
    progressTimer_.stop();
    if (playList_->keepTempFiles()) {
        playList_->model().saveLastPlaylist();
    } else {
        QFile::remove(playList_->model().options().lastPlaylistFile);
    }
    delete playList_; // its destructor clears the list and, unless kept, the unpacked members
    playList_ = nullptr;
    // A preparation in flight is cancelled; what the loader holds goes before the System.
    sequencer_.reset();
    loader_.reset();
    engine_->shutdown();
    event->accept();
}

void MP3Database::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat("text/uri-list")) {
        event->acceptProposedAction();
    }
}

void MP3Database::dropEvent(QDropEvent* event) {
    playList_->clearList(true);
    currentSound = 0;
    currentSubsong_ = 0;
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        paths << url.toLocalFile();
    }
    // A folder brings the files below it, as on the playlist window and the command line.
    playList_->addPaths(playList_->expandFolders(paths));
    if (playList_->model().count() > 0) {
        noSound_ = false;
        paused_ = false;
        ui->buttonPause->setChecked(false);
        channel().setPaused(false);
        markRow(0, true);
        ui->sliderProgress->setEnabled(true);
        startCurrentEntry();
    }
    emit playbackChanged();
}

void MP3Database::replacePlaylistAndPlay(const QStringList& paths) {
    playList_->clearList(true);
    // The new list plays from its start: neither the old entry and subsong nor a pause (which
    // would make play resume the old song) carry over.
    currentSound = -1;
    currentSubsong_ = 0;
    paused_ = false;
    playList_->addPaths(paths);
    on_buttonPlay_clicked();
}

void MP3Database::openPaths(const QStringList& paths, bool enqueue) {
    const int firstNew = playList_->model().count();
    playList_->addPaths(playList_->expandFolders(paths));
    if (enqueue || playList_->model().count() == firstNew) {
        return;
    }
    if (currentSound >= 0) {
        markRow(currentSound, false);
    }
    currentSound = firstNew;
    markRow(currentSound, true);
    playFromPlaylist();
}

void MP3Database::openSound() {
    const QString path =
        QFileDialog::getOpenFileName(this, "Load sound", QString(), "All files (*.*)");
    if (!path.isEmpty()) {
        replacePlaylistAndPlay({path});
    }
}

void MP3Database::openURL() {
    bool accepted = false;
    const QString url = QInputDialog::getText(
        this, "Open URL",
        "Enter URL to open:\nFor example: http://radio.example.org:80/stream/1234",
        QLineEdit::Normal, lastUrlOpened, &accepted);
    if (accepted && !url.isEmpty()) {
        replacePlaylistAndPlay({url});
        lastUrlOpened = url;
    }
}

void MP3Database::showSettingsDialog() {
    settingsDlg dialog(this, engine_.get(), playList_, this);
    dialog.exec();
    saveSettings();
}

void MP3Database::showAboutDialog() {
    aboutDlg dialog(this);
    dialog.exec();
}

void MP3Database::showPlayListDialog() {
    playlistShowPending_ = false;
    playList_->show();
}

void MP3Database::paintEvent(QPaintEvent* event) {
    QMainWindow::paintEvent(event);
    if (playlistShowPending_) {
        // After this paint has reached the screen, not from within it.
        QTimer::singleShot(0, this, [this] {
            if (playlistShowPending_) {
                showPlayListDialog();
            }
        });
    }
}

void MP3Database::popupminimizeWindow() {
    showMinimized();
}

void MP3Database::installContextMenu() {
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        QMenu menu(this);
        menu.addAction("&Open file", this, &MP3Database::openSound);
        menu.addAction("&Open URL", this, &MP3Database::openURL);
        menu.addAction("&Playlist", this, &MP3Database::showPlayListDialog);
        menu.addAction("&Settings", this, &MP3Database::showSettingsDialog);
        menu.addAction("&About", this, &MP3Database::showAboutDialog);
        menu.addAction("&Quit program", this, &QWidget::close);
        menu.exec(mapToGlobal(at));
    });
}
