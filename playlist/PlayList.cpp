#include "PlayList.h"

#include "MP3Database.h"
#include "WindowSnapping.h"
#include "ui_PlayList.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QTableWidgetItem>
#include <QUrl>

namespace {

const QColor playingColour(25, 130, 115, 255);
const QColor normalColour(0, 0, 0, 255);

bool isPressEvent(const QEvent* event) {
    return event->type() == QEvent::MouseButtonPress ||
           event->type() == QEvent::MouseButtonDblClick;
}

} // namespace

QString PlayList::shownTitle(const std::string& title) {
    QString text = QFile::decodeName(QByteArray::fromStdString(title));
    if (text.size() > MaxShownTitleChars) {
        const bool splitsPair = text.at(MaxShownTitleChars - 1).isHighSurrogate();
        text.truncate(splitsPair ? MaxShownTitleChars - 1 : MaxShownTitleChars);
        text += QStringLiteral("...");
    }
    return text;
}

PlayList::PlayList(MP3Database* player, SoundEngine* engine, LogFile& log,
                   PlaylistModel::Options options)
    : QDialog(player), ui(std::make_unique<Ui::PlayList>()), player_(player), engine_(engine),
      model_(std::make_unique<PlaylistModel>(log, std::move(options))) {
    ui->setupUi(this);
    ui->tableWidget->setColumnCount(1);
    ui->tableWidget->horizontalHeader()->hide();
    ui->tableWidget->verticalHeader()->hide();
    ui->tableWidget->horizontalHeader()->setStretchLastSection(true);
    ui->tableWidget->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    ui->tableWidget->verticalHeader()->setDefaultSectionSize(RowHeight);
    ui->labelTopBar->installEventFilter(this);
    ui->labelResize->installEventFilter(this);

    connect(model_.get(), &PlaylistModel::entriesAppended, this, &PlayList::onEntriesAppended);
    connect(model_.get(), &PlaylistModel::rowsRemoved, this, &PlayList::onRowsRemoved);
    connect(model_.get(), &PlaylistModel::cleared, this, &PlayList::onCleared);
    connect(model_.get(), &PlaylistModel::entryChanged, this, &PlayList::onEntryChanged);
}

PlayList::~PlayList() {
    // Unpacked zip members survive to the next start when the last list is to be reloaded.
    model_->clearList(!model_->keepTempFiles());
}

// ---- table mirror ----

void PlayList::onEntriesAppended(int first, int count) {
    QTableWidget* table = ui->tableWidget;
    table->setUpdatesEnabled(false);
    table->setRowCount(first + count);
    for (int row = first; row < first + count; ++row) {
        const PlaylistEntry& entry = model_->entry(row);
        auto* item = new QTableWidgetItem(shownTitle(entry.title));
        item->setToolTip(QFile::decodeName(QByteArray::fromStdString(entry.path)));
        table->setItem(row, 0, item);
    }
    table->setUpdatesEnabled(true);
}

void PlayList::onRowsRemoved(int first, int count) {
    for (int i = 0; i < count; ++i) {
        ui->tableWidget->removeRow(first);
    }
}

void PlayList::onCleared() {
    ui->tableWidget->setRowCount(0);
}

void PlayList::onEntryChanged(int row) {
    QTableWidgetItem* item = ui->tableWidget->item(row, 0);
    if (!item) {
        return;
    }
    const PlaylistEntry& entry = model_->entry(row);
    item->setText(shownTitle(entry.title));
    item->setToolTip(QFile::decodeName(QByteArray::fromStdString(entry.path)));
    applyRowLook(row);
}

void PlayList::applyRowLook(int row) {
    QTableWidgetItem* item = ui->tableWidget->item(row, 0);
    if (!item) {
        return;
    }
    QFont font = item->font();
    font.setStrikeOut(model_->isUnplayable(row));
    item->setFont(font);
}

void PlayList::setRowPlaying(int row, bool playing) {
    QTableWidgetItem* item = ui->tableWidget->item(row, 0);
    if (!item) {
        return;
    }
    QFont font = item->font();
    font.setWeight(playing ? QFont::Bold : QFont::Normal);
    item->setFont(font);
    item->setForeground(playing ? playingColour : normalColour);
    if (playing) {
        ui->tableWidget->scrollToItem(item, QAbstractItemView::PositionAtCenter);
    }
}

// ---- look ----

void PlayList::applySkin(const QString& appDir) {
    const QString resources = appDir + "/Resources/";
    auto url = [&](const char* image) { return "url(\"" + resources + image + "\")"; };
    ui->pushButtonHide->setStyleSheet(
        QString("#pushButtonHide{background-image: %1;background-repeat: no-repeat;"
                "background-position: top right;border: none;}"
                "#pushButtonHide:pressed{background-image: %2;}")
            .arg(url("quit.png"), url("quit-down.png")));
    ui->labelResize->setStyleSheet(
        QString("#labelResize{background-image: %1;background-repeat: no-repeat;"
                "background-position: top right;}"
                "#labelResize:pressed{background-image: %2;background-position: bottom right;}")
            .arg(url("resize.png"), url("resize-down.png")));
    ui->frameTop->setStyleSheet(
        QString("#frameTop{background-image: %1;background-repeat: repeat-x;border: 0px;}"
                "#labelTopBar{color: #c8d2d6;font-weight: bold;}")
            .arg(url("topbar-repeat.png")));
    ui->frameMain->setStyleSheet(
        QString("#frameMain{background-image: %1;border: 0px;}").arg(url("bg-repeat.png")));
}

// ---- buttons ----

void PlayList::on_buttonSave_clicked() {
    const QString target =
        QFileDialog::getSaveFileName(this, "Save playlist", QString(), "Playlist files (*.m3u)");
    model_->writeM3u(target);
}

void PlayList::on_buttonAddDirs_clicked() {
    const QString folder = QFileDialog::getExistingDirectory(this, "Add directory");
    if (folder.isEmpty()) {
        return;
    }
    model_->addPaths(model_->collectDirectory(folder, true));
}

void PlayList::on_pushButtonHide_clicked() {
    hide();
}

void PlayList::on_tableWidget_itemDoubleClicked(QTableWidgetItem* item) {
    if (player_->currentSound >= 0) {
        setRowPlaying(player_->currentSound, false);
    }
    player_->currentSound = item->tableWidget() ? item->row() : -1;
    player_->playFromPlaylist();
    setRowPlaying(player_->currentSound, true);
}

void PlayList::on_tableWidget_clicked(const QModelIndex&) {}

void PlayList::on_pushButton_clicked() {
    model_->clearList(true);
    // No entry is current any more, so entries added later are played from the first.
    player_->currentSound = -1;
}

void PlayList::on_buttonAddFiles_clicked() {
    const QStringList files =
        QFileDialog::getOpenFileNames(this, "Add files", QString(), "All files (*.*)");
    if (!files.isEmpty()) {
        model_->addPaths(files);
    }
}

// ---- keys and drops ----

void PlayList::keyPressEvent(QKeyEvent* event) {
    // Only Delete is handled; every other key is swallowed so Escape cannot close the window.
    if (event->key() != Qt::Key_Delete) {
        return;
    }
    std::vector<int> rows;
    for (const QModelIndex& index : ui->tableWidget->selectionModel()->selectedRows()) {
        rows.push_back(index.row());
    }
    if (rows.empty()) {
        return;
    }
    player_->currentSound = model_->removeRows(std::move(rows), player_->currentSound);
}

void PlayList::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat("text/uri-list")) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void PlayList::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        paths << url.toLocalFile();
    }
    model_->addPaths(model_->expandFolders(paths));
}

// ---- moving and resizing with snapping to the player ----

bool PlayList::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ui->labelTopBar) {
        return moveByTopBar(event);
    }
    if (watched == ui->labelResize) {
        return resizeByGrip(event);
    }
    return player_->eventFilter(watched, event);
}

// A press on the bar or the grip is remembered and consumed; a move is for the caller to handle;
// anything else passes on.
PlayList::DragStep PlayList::dragStep(QEvent* event) {
    if (isPressEvent(event)) {
        pressPosition_ = static_cast<QMouseEvent*>(event)->position().toPoint();
        return DragStep::Pressed;
    }
    return event->type() == QEvent::MouseMove ? DragStep::Moved : DragStep::Other;
}

bool PlayList::moveByTopBar(QEvent* event) {
    const DragStep step = dragStep(event);
    if (step != DragStep::Moved) {
        return step == DragStep::Pressed;
    }
    // The bar sits 4 pixels in and 1 down inside the window.
    const QPoint global = static_cast<QMouseEvent*>(event)->globalPosition().toPoint();
    const QPoint proposed = global - pressPosition_ - QPoint(4, 1);
    const snapping::Placement placed =
        snapping::snapPlaylist(proposed, geometry(), player_->geometry());
    player_->dockVertical = placed.docking.vertical;
    player_->dockHorizontal = placed.docking.horizontal;
    move(placed.topLeft);
    return true;
}

bool PlayList::resizeByGrip(QEvent* event) {
    const DragStep step = dragStep(event);
    if (step != DragStep::Moved) {
        return step == DragStep::Pressed;
    }
    // Keep the grip under the pointer: the pointer's point inside the grip stays the same.
    const QPoint global = static_cast<QMouseEvent*>(event)->globalPosition().toPoint();
    const QRect grip(ui->labelResize->mapTo(this, QPoint(0, 0)), ui->labelResize->size());
    const QRect self = geometry();
    const QSize proposed(
        (global.x() - pressPosition_.x()) - self.left() - grip.left() + grip.right() + 1,
        (global.y() - pressPosition_.y()) - self.top() - grip.top() + grip.bottom() + 1);
    setGeometry(
        QRect(self.topLeft(), snapping::snapPlaylistSize(proposed, self, player_->geometry())));
    return true;
}
