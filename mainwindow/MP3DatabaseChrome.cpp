// The player window's chrome: the time-display toggle on the LCD and dragging the frameless
// window by its top bar, with snapping to the playlist window and carrying a docked playlist.
#include "MP3Database.h"
#include "PlayList.h"
#include "ui_MP3Database.h"

#include <QMouseEvent>

bool MP3Database::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ui->labelLCDOverlay) {
        const bool press = event->type() == QEvent::MouseButtonPress ||
                           event->type() == QEvent::MouseButtonDblClick;
        if (press && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
            timeDisplayElapsed_ = !timeDisplayElapsed_;
            if (!noSound_) {
                // Show the other reading at once: while paused no tick rewrites the label.
                on_sliderProgress_valueChanged(ui->sliderProgress->value());
            }
            return true;
        }
        return false;
    }
    if (watched == ui->labelTopBar) {
        return dragByTopBar(event);
    }
    return QMainWindow::eventFilter(watched, event);
}

bool MP3Database::dragByTopBar(QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        pressPoint_ = static_cast<QMouseEvent*>(event)->position().toPoint() +
                      ui->labelTopBar->pos(); // the press point within the window
        playlistOffset_ = geometry().topLeft() - playList_->geometry().topLeft();
        dragging_ = true;
        return true;
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        if (!dragging_) {
            return false;
        }
        break;
    default:
        return false;
    }
    const QPoint proposed =
        static_cast<QMouseEvent*>(event)->globalPosition().toPoint() - pressPoint_;
    const QRect player = geometry();
    const snapping::Docking docking{dockVertical, dockHorizontal};
    if (docking.any()) {
        // Docked: the player moves freely and carries the playlist along, placed from the
        // player's edges before this move (it trails by one event and lines up at rest).
        playList_->move(snapping::carriedPlaylist(docking, player, playList_->geometry(), proposed,
                                                  playlistOffset_));
        setGeometry(QRect(proposed, player.size()));
        return true;
    }
    if (!playList_->isVisible()) {
        // A hidden playlist window has no edges the user could see, so nothing pulls.
        setGeometry(QRect(proposed, player.size()));
        return true;
    }
    const snapping::Placement placed =
        snapping::snapPlayer(proposed, player, playList_->geometry());
    dockVertical = placed.docking.vertical;
    dockHorizontal = placed.docking.horizontal;
    if (placed.docking.any()) {
        // The rest of this drag goes on from the snapped place: the pointer's hold on the
        // window shifts by the snap, so a release where the pointer rests keeps the windows
        // together instead of pulling the player back to the pointer.
        pressPoint_ += proposed - placed.topLeft;
        playlistOffset_ = placed.topLeft - playList_->geometry().topLeft();
    }
    setGeometry(QRect(placed.topLeft, player.size()));
    return true;
}
