// Dragging the real, frameless player window by its top bar (offscreen, synthetic mouse events
// on labelTopBar): snapping to the playlist window, docking it, and carrying it along.
#include "PlayList.h"
#include "PlayerTestSupport.h"
#include "ui_MP3Database.h"

#include <QApplication>
#include <QMouseEvent>

#include <gtest/gtest.h>

namespace {

// The playlist window: left 300, top 100, right 699, bottom 249.
const QRect playlistStart(300, 100, 400, 150);

class WindowDragging : public ::testing::Test {
protected:
    PlayerSession session;
    MP3Database& player = session.player();
    PlayList& playlist = player.playList();
    QLabel* topBar = player.form().labelTopBar;
    const QPoint grip{60, 5}; // where the pointer holds the top bar, in the bar's coordinates

    void SetUp() override {
        player.dockVertical = 0;
        player.dockHorizontal = 0;
        playlist.setGeometry(playlistStart);
        player.move(320, 400); // well away from the playlist
        player.show();
        playlist.show();
        ASSERT_EQ(playlist.geometry(), playlistStart);
    }

    QPoint gripInWindow() const { return grip + topBar->pos(); }

    void send(QEvent::Type type, QPoint global) {
        const Qt::MouseButtons held =
            type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, QPointF(grip), QPointF(global), Qt::LeftButton, held,
                          Qt::NoModifier);
        QApplication::sendEvent(topBar, &event);
    }
    // Presses the top bar where the window is now.
    void press() { send(QEvent::MouseButtonPress, player.pos() + gripInWindow()); }
    // Moves the pointer so that the proposed window corner is `topLeft`.
    void moveTo(QPoint topLeft) { send(QEvent::MouseMove, topLeft + gripInWindow()); }
    void releaseAt(QPoint topLeft) { send(QEvent::MouseButtonRelease, topLeft + gripInWindow()); }
};

TEST_F(WindowDragging, AHiddenPlaylistDoesNotPullThePlayer) {
    playlist.hide();
    press();
    moveTo({320, 259});
    releaseAt({320, 259});
    EXPECT_EQ(player.pos(), QPoint(320, 259));
    EXPECT_EQ(player.dockVertical, 0);
    EXPECT_EQ(player.dockHorizontal, 0);
}

// 10 below the playlist's bottom edge (249), overlapping it: the player snaps to bottom + 1 on
// that very event and docks the playlist above itself, which stays where it was.
TEST_F(WindowDragging, MovingIntoReachSnapsOnThatEvent) {
    press();
    moveTo({320, 330});
    EXPECT_EQ(player.pos(), QPoint(320, 330));
    EXPECT_EQ(player.dockVertical, 0);
    moveTo({320, 259});
    EXPECT_EQ(player.pos(), QPoint(320, 250));
    EXPECT_EQ(player.dockVertical, 2);
    EXPECT_EQ(playlist.geometry(), playlistStart);
}

TEST_F(WindowDragging, TheDragThatSnapsCarriesThePlaylistFromThenOn) {
    press();
    moveTo({330, 259});
    ASSERT_EQ(player.pos(), QPoint(330, 250));
    ASSERT_EQ(player.dockVertical, 2);
    // Releasing where the pointer rests keeps the windows together, with no gap.
    releaseAt({330, 259});
    EXPECT_EQ(player.pos(), QPoint(330, 250));
    EXPECT_EQ(playlist.geometry().bottom() + 1, player.y());
    EXPECT_EQ(player.x() - playlist.x(), 30);

    // The same within one drag: after the snap the pointer carries both windows.
    player.dockVertical = 0;
    playlist.setGeometry(playlistStart);
    player.move(320, 400);
    press();
    moveTo({330, 259});
    moveTo({430, 309});
    releaseAt({430, 309});
    EXPECT_EQ(player.pos(), QPoint(430, 300));
    EXPECT_EQ(playlist.geometry().bottom() + 1, player.y());
    EXPECT_EQ(player.x() - playlist.x(), 30);
}

TEST_F(WindowDragging, DockedPlaylistFollowsEveryLaterDrag) {
    press();
    releaseAt({320, 259}); // a drop in reach snaps too
    ASSERT_EQ(player.pos(), QPoint(320, 250));
    ASSERT_EQ(player.dockVertical, 2);
    const int offsetX = player.x() - playlist.x(); // horizontal code 0: the offset is kept

    const QPoint path[] = {{360, 300}, {420, 500}, {200, 700}, {10, 40}};
    for (const QPoint& to : path) {
        press();
        const QRect before = player.geometry();
        moveTo(to);
        EXPECT_EQ(player.pos(), to);
        // Placed from the player's edges before this move: it trails by one event ...
        EXPECT_EQ(playlist.y(), before.top() - playlist.height()) << to.x() << "," << to.y();
        releaseAt(to);
        // ... and lines up once the pointer rests.
        EXPECT_EQ(player.pos(), to);
        EXPECT_EQ(playlist.y(), player.y() - playlist.height()) << to.x() << "," << to.y();
        EXPECT_EQ(player.x() - playlist.x(), offsetX) << to.x() << "," << to.y();
        EXPECT_EQ(playlist.size(), playlistStart.size());
    }
}

TEST_F(WindowDragging, DockedPlayerIsNeverSnapped) {
    struct Case {
        int vertical, horizontal;
        const char* what;
    };
    const Case dockings[] = {{2, 0, "above"}, {0, 4, "to the right"}, {3, 1, "below, lefts"}};
    for (const Case& docking : dockings) {
        playlist.setGeometry(playlistStart);
        player.move(320, 400);
        player.dockVertical = docking.vertical;
        player.dockHorizontal = docking.horizontal;
        // Each corner lies within reach of a playlist edge as it is before the event.
        for (const QPoint& to : {QPoint(320, 259), QPoint(305, 262), QPoint(710, 95)}) {
            press();
            const QRect list = playlist.geometry();
            moveTo(to);
            EXPECT_EQ(player.pos(), to)
                << docking.what << " near " << list.left() << "," << list.top();
            releaseAt(to);
            EXPECT_EQ(player.pos(), to) << docking.what;
            EXPECT_EQ(player.dockVertical, docking.vertical);
            EXPECT_EQ(player.dockHorizontal, docking.horizontal);
        }
    }
}

TEST_F(WindowDragging, PointerEventsWithoutAPressDoNothing) {
    const QPoint start = player.pos();
    moveTo({320, 259});
    releaseAt({320, 259});
    EXPECT_EQ(player.pos(), start);
    EXPECT_EQ(player.dockVertical, 0);
}

} // namespace
