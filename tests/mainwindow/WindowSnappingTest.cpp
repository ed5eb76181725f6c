// The snapping rules on plain rectangles; moving the playlist by its top bar is tested on the
// real windows in PlaylistWindowTest.
#include "WindowSnapping.h"

#include <gtest/gtest.h>

using snapping::Docking;

namespace {

// The playlist window at (500, 300), 417 x 206: left 500, top 300, right 916, bottom 505.
const QRect playlist(500, 300, 417, 206);
const QSize playerSize(417, 206);

QRect playerAt(int x, int y) {
    return QRect(QPoint(x, y), playerSize);
}

TEST(SnapPlayer, EdgeRulesAndTheirOrder) {
    struct Case {
        QPoint proposed;
        QPoint expected;
        Docking docking;
    };
    const Case cases[] = {
        {{520, 516}, {520, 506}, {2, 0}}, // 10 below the bottom edge: bottom + 1, list above
        {{520, 519}, {520, 506}, {2, 0}}, // 14 below: still snaps
        {{520, 520}, {520, 520}, {0, 0}}, // 15 below: free
        {{520, 105}, {520, 93}, {3, 0}},  // bottom near the playlist's top: one empty row
        {{520, 310}, {520, 300}, {4, 0}}, // equal heights: bottoms level wins over tops level
        {{920, 300}, {917, 300}, {4, 2}}, // right of the playlist: left = R + 1
        {{80, 300}, {83, 300}, {4, 4}},   // left of it: left = L - W
        {{505, 700}, {505, 700}, {0, 0}}, // far below: no snapping
    };
    for (const Case& c : cases) {
        const QRect player(c.proposed, playerSize);
        const auto placed = snapping::snapPlayer(c.proposed, player, playlist);
        EXPECT_EQ(placed.topLeft, c.expected) << c.proposed.x() << "," << c.proposed.y();
        EXPECT_EQ(placed.docking.vertical, c.docking.vertical) << c.proposed.y();
        EXPECT_EQ(placed.docking.horizontal, c.docking.horizontal) << c.proposed.x();
    }
}

TEST(CarriedPlaylist, FollowsThePlayerByItsDockingCodes) {
    const QRect player = playerAt(500, 506); // docked below the playlist (code 2)
    const QPoint proposed(600, 600);
    const QPoint offset = player.topLeft() - playlist.topLeft();
    // Vertical 2: above the player's top (before the move); horizontal 0: keeps the offset.
    EXPECT_EQ(snapping::carriedPlaylist({2, 0}, player, playlist, proposed, offset),
              QPoint(600, 506 - 206));
    EXPECT_EQ(snapping::carriedPlaylist({3, 4}, player, playlist, proposed, offset),
              QPoint(player.right() + 1, player.bottom() + 1));
    EXPECT_EQ(snapping::carriedPlaylist({4, 3}, player, playlist, proposed, offset),
              QPoint(player.right() - 417, player.bottom() - 206));
}

TEST(SnapPlaylistSize, GripSnapsBottomAndRightEdgesToThePlayer) {
    const QRect player = playerAt(100, 100); // right 516, bottom 305
    const QRect list(530, 100, 200, 150);
    EXPECT_EQ(snapping::snapPlaylistSize({200, 200}, list, player).height(), 206); // to bottom
    EXPECT_EQ(snapping::snapPlaylistSize({200, 180}, list, player).height(), 180);
    const QRect below(100, 306, 300, 100);
    EXPECT_EQ(snapping::snapPlaylistSize({410, 100}, below, player).width(), 417); // to right
}

} // namespace
