// The playlist window beside a real player window: double-click to play, the Delete and Escape
// keys, dropped files and folders, and snapping to the player's edges when moved by its top bar.
#include "PlayList.h"
#include "WindowTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QTableWidget>
#include <QTest>
#include <QUrl>

namespace windowtest {
namespace {

class PlaylistWindow : public WindowTest {
protected:
    // A shown player and playlist window with ten entries of the same short tone.
    MP3Database& playerWithTenEntries() {
        const QString tone = writeTone("tone.wav", 2000);
        MP3Database& window = openPlayer();
        window.playList().addPaths(QStringList(10, tone));
        window.show();
        window.playList().show();
        return window;
    }
    void doubleClickRow(int row) {
        QTableWidget* rows = table(player());
        const QRect cell = rows->visualItemRect(rows->item(row, 0));
        // A double-click is a press and release followed by the second press.
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, {}, cell.center());
        QTest::mouseDClick(rows->viewport(), Qt::LeftButton, {}, cell.center());
    }
    void selectRows(std::initializer_list<int> selected) {
        QTableWidget* rows = table(player());
        rows->clearSelection();
        for (int row : selected) {
            rows->selectionModel()->select(rows->model()->index(row, 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }
};

TEST_F(PlaylistWindow, DoubleClickPlaysDeleteKeepsTheCurrentSongAndOtherKeysDoNothing) {
    MP3Database& window = playerWithTenEntries();
    doubleClickRow(3);
    EXPECT_EQ(window.currentSound, 3);
    EXPECT_FALSE(window.isNoSound());
    EXPECT_TRUE(rowIsMarked(window, 3));
    doubleClickRow(7);
    ASSERT_EQ(window.currentSound, 7);
    EXPECT_FALSE(rowIsMarked(window, 3));
    EXPECT_TRUE(rowIsMarked(window, 7));

    selectRows({2, 5});
    QTest::keyClick(table(window), Qt::Key_Delete);
    EXPECT_EQ(window.currentSound, 5) << "the playing song moved up by two rows";
    EXPECT_EQ(window.playList().model().count(), 8);
    EXPECT_EQ(table(window)->rowCount(), 8);
    EXPECT_TRUE(rowIsMarked(window, 5)) << "the table follows the model";

    selectRows({});
    QTest::keyClick(table(window), Qt::Key_Delete);
    EXPECT_EQ(window.playList().model().count(), 8) << "nothing selected, nothing removed";

    selectRows({5});
    QTest::keyClick(table(window), Qt::Key_Delete);
    EXPECT_EQ(window.currentSound, 5) << "deleting the playing row keeps the index";
    EXPECT_EQ(window.playList().model().count(), 7);

    QTest::keyClick(&window.playList(), Qt::Key_Escape);
    EXPECT_TRUE(window.playList().isVisible()) << "Escape does not close the playlist";
}

TEST_F(PlaylistWindow, AfterClearTheNewEntriesPlayFromTheFirst) {
    MP3Database& window = playerWithTenEntries();
    doubleClickRow(7);
    QTest::mouseClick(window.playList().findChild<QAbstractButton*>("pushButton"), Qt::LeftButton);
    ASSERT_EQ(window.playList().model().count(), 0);
    const QStringList fresh{writeTone("n0.wav", 1000), writeTone("n1.wav", 1000)};
    window.playList().addPaths(fresh);
    window.on_buttonNext_clicked(); // the old song still plays: next goes to the first new entry
    waitForSong();
    EXPECT_EQ(window.currentSound, 0);
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("n0.wav"));

    window.on_buttonNext_clicked();
    ASSERT_EQ(window.currentSound, 1);
    window.on_buttonStop_clicked();
    QTest::mouseClick(window.playList().findChild<QAbstractButton*>("pushButton"), Qt::LeftButton);
    window.playList().addPaths(QStringList(10, fresh[1]) << fresh[0]);
    window.on_buttonPlay_clicked();
    EXPECT_EQ(window.currentSound, 0) << "not the index that was current before the clear";
    EXPECT_TRUE(rowIsMarked(window, 0));
}

TEST_F(PlaylistWindow, DropsAppendFilesAndFolderContentsAndRefusePlainText) {
    MP3Database& window = playerWithTenEntries();
    QDir(tempFolder()).mkdir("album");
    writeTone("album/b.wav", 100);
    writeTone("album/a.wav", 100);
    const QString single = writeTone("single.wav", 100);

    QMimeData uris;
    uris.setUrls({QUrl::fromLocalFile(tempFolder() + "/album"), QUrl::fromLocalFile(single)});
    EXPECT_TRUE(dragAndDrop(window.playList(), uris));

    const PlaylistModel& model = window.playList().model();
    ASSERT_EQ(model.count(), 13) << "appended after the ten entries";
    EXPECT_EQ(model.entry(10).title, "a.wav") << "folder contents in name order";
    EXPECT_EQ(model.entry(11).title, "b.wav");
    EXPECT_EQ(model.entry(12).title, "single.wav");
    EXPECT_EQ(table(window)->rowCount(), 13);
    EXPECT_EQ(table(window)->item(12, 0)->text(), "single.wav");

    QMimeData text;
    text.setText(single);
    EXPECT_FALSE(dragAndDrop(window.playList(), text));
}

// Moves the playlist by a press and a move on its top bar so that, unsnapped, its top-left
// would land at `target` (the bar sits 4 pixels in and 1 down inside the window).
void dragPlaylistTo(PlayList& list, QPoint target) {
    auto* bar = list.findChild<QLabel*>("labelTopBar");
    ASSERT_NE(bar, nullptr);
    const QPoint grab(6, 4);
    QMouseEvent press(QEvent::MouseButtonPress, grab, bar->mapToGlobal(grab), Qt::LeftButton,
                      Qt::LeftButton, {});
    QApplication::sendEvent(bar, &press);
    const QPoint global = target + grab + QPoint(4, 1);
    QMouseEvent move(QEvent::MouseMove, bar->mapFromGlobal(global), global, Qt::NoButton,
                     Qt::LeftButton, {});
    QApplication::sendEvent(bar, &move);
    QMouseEvent release(QEvent::MouseButtonRelease, bar->mapFromGlobal(global), global,
                        Qt::LeftButton, Qt::NoButton, {});
    QApplication::sendEvent(bar, &release);
}

TEST_F(PlaylistWindow, MovingSnapsBelowThePlayerWithinFourteenPixels) {
    MP3Database& window = openPlayer();
    window.show();
    PlayList& list = window.playList();
    list.show();
    window.move(100, 100);
    const QRect player = window.geometry();
    // Overlapping the player sideways, with no left or right edge near the player's.
    const int left = player.left() + 60;
    list.setGeometry(left, player.bottom() + 100, player.width() - 200, 150);

    struct Case {
        int gap;      // pixels between the player's bottom edge and the proposed top
        int top;      // where the playlist's top ends up
        int vertical; // docking code left in the player
    };
    const Case cases[] = {
        {14, player.bottom() + 1, 3},
        {15, player.bottom() + 15, 0},
        {-14, player.bottom() + 1, 3},
        {40, player.bottom() + 40, 0},
    };
    for (const Case& c : cases) {
        dragPlaylistTo(list, QPoint(left, player.bottom() + c.gap));
        EXPECT_EQ(list.geometry().top(), c.top) << "gap " << c.gap;
        EXPECT_EQ(list.geometry().left(), left) << "gap " << c.gap;
        EXPECT_EQ(window.dockVertical, c.vertical) << "gap " << c.gap;
        EXPECT_EQ(window.dockHorizontal, 0) << "gap " << c.gap;
    }

    // Far to the side of the player nothing snaps, even level with its bottom edge.
    list.move(player.right() + 200, list.y());
    dragPlaylistTo(list, QPoint(player.right() + 200, player.bottom() + 5));
    EXPECT_EQ(list.geometry().top(), player.bottom() + 5);
    EXPECT_EQ(window.dockVertical, 0);
}

TEST_F(PlaylistWindow, ResizingByTheGripKeepsTheGripUnderThePointer) {
    MP3Database& window = openPlayer();
    window.show();
    window.move(100, 100);
    PlayList& list = window.playList();
    list.show();
    list.setGeometry(100, 600, 400, 200); // far from the player: nothing snaps
    QApplication::processEvents();
    auto* grip = list.findChild<QLabel*>("labelResize");
    ASSERT_NE(grip, nullptr);
    const QPoint hold(8, 8);
    QMouseEvent press(QEvent::MouseButtonPress, hold, grip->mapToGlobal(hold), Qt::LeftButton,
                      Qt::LeftButton, {});
    QApplication::sendEvent(grip, &press);
    // A move that does not go anywhere, then two steps out and one back in.
    for (const QPoint step : {QPoint(0, 0), QPoint(30, 20), QPoint(30, 20), QPoint(-10, 5)}) {
        const QRect before = list.geometry();
        const QPoint global = grip->mapToGlobal(hold) + step;
        QMouseEvent move(QEvent::MouseMove, grip->mapFromGlobal(global), global, Qt::NoButton,
                         Qt::LeftButton, {});
        QApplication::sendEvent(grip, &move);
        EXPECT_EQ(list.geometry(),
                  QRect(before.topLeft(), before.size() + QSize(step.x(), step.y())))
            << "step " << step.x() << "," << step.y();
        EXPECT_EQ(grip->mapToGlobal(hold), global) << "step " << step.x() << "," << step.y();
    }
}

} // namespace
} // namespace windowtest
