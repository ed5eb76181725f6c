#pragma once
// The playlist window: a frameless tool window beside the player that shows the playlist model
// as a one-column table. Double-click plays a row, Delete removes the selected rows, the
// buttons add files and folders, clear and save the list, and the window is moved by its top
// bar and resized by its grip, both snapping to the player window's edges.
//
// It owns the playlist model; the player window steps through the entries itself and reaches
// the model through model().
//
// Threading: GUI thread only.

#include "PlaylistModel.h"

#include <QDialog>
#include <QPoint>
#include <memory>

class MP3Database;
class SoundEngine;
class QTableWidgetItem;
class QModelIndex;

namespace Ui {
class PlayList;
}

class PlayList : public QDialog {
    Q_OBJECT
public:
    // `player` receives plays and holds currentSound and the docking fields; `engine` is kept
    // for the player's use. Zip and folder errors go to `log`.
    PlayList(MP3Database* player, SoundEngine* engine, LogFile& log,
             PlaylistModel::Options options = PlaylistModel::Options::systemDefaults());
    ~PlayList() override;

    PlaylistModel& model() { return *model_; }
    const PlaylistModel& model() const { return *model_; }

    // Forwards to the model; the table follows through the model's signals.
    void addPaths(const QStringList& paths) { model_->addPaths(paths); }
    QStringList expandFolders(const QStringList& paths) { return model_->expandFolders(paths); }
    bool writeM3u(const QString& target) const { return model_->writeM3u(target); }
    void clearList(bool removeTempFolder) { model_->clearList(removeTempFolder); }
    void markUnplayable(int row) { model_->setUnplayable(row, true); }

    // Gives a row the playing look (bold, RGB 25/130/115, scrolled to the centre) or the normal
    // look (normal weight, black). Out-of-range rows are ignored.
    void setRowPlaying(int row, bool playing);

    // Style sheets for the hide button, the resize grip, the title bar and the background, with
    // image addresses built from the application folder.
    void applySkin(const QString& appDir);

    bool keepTempFiles() const { return model_->keepTempFiles(); }
    void setKeepTempFiles(bool keep) { model_->setKeepTempFiles(keep); }

    static constexpr int RowHeight = 16;

    // The text shown for a title: cut after MaxShownTitleChars characters (then ending in "...")
    // so that no row or label ever lays out a huge text.
    static QString shownTitle(const std::string& title);

public slots:
    void on_buttonSave_clicked();
    void on_buttonAddDirs_clicked();
    void on_pushButtonHide_clicked();
    void on_tableWidget_itemDoubleClicked(QTableWidgetItem* item);
    void on_tableWidget_clicked(const QModelIndex& index);
    void on_pushButton_clicked();
    void on_buttonAddFiles_clicked();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void onEntriesAppended(int first, int count);
    void onRowsRemoved(int first, int count);
    void onCleared();
    void onEntryChanged(int row);
    void applyRowLook(int row);
    enum class DragStep { Pressed, Moved, Other };
    DragStep dragStep(QEvent* event);
    bool moveByTopBar(QEvent* event);
    bool resizeByGrip(QEvent* event);

    std::unique_ptr<Ui::PlayList> ui;
    MP3Database* player_;
    SoundEngine* engine_; // kept for the player; unused here
    std::unique_ptr<PlaylistModel> model_;
    QPoint pressPosition_;
};
