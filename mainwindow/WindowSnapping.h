#pragma once
// The magnetic rules between the player window and the playlist window: where a dragged window
// lands near the other one's edges, and which docking codes that leaves. Pure functions on
// rectangles so the rules are testable without windows.
//
// Rectangles are QRect (right and bottom inclusive). Docking codes say where the playlist sits
// relative to the player. Vertical: 0 none, 1 top edges level, 2 playlist above, 3 playlist
// below, 4 bottom edges level. Horizontal: 0 none, 1 left edges level, 2 playlist to the left,
// 3 right edges level, 4 playlist to the right.
//
// Threading: pure functions; any thread.

#include <QPoint>
#include <QRect>

namespace snapping {

inline constexpr int Distance = 15; // pixels within which an edge pulls

struct Docking {
    int vertical = 0;
    int horizontal = 0;
    bool any() const { return vertical != 0 || horizontal != 0; }
};

struct Placement {
    QPoint topLeft;
    Docking docking;
};

// The player is dragged to `proposed` (its new top-left); `player` is its current rectangle and
// `playlist` the playlist window's. Snaps the player to the playlist's edges and returns the
// docking that results (both codes 0 when nothing snapped; the horizontal left is unchanged then).
Placement snapPlayer(QPoint proposed, const QRect& player, const QRect& playlist);

// Where the docked playlist window goes when the player moves: `player` is the player's rectangle
// before this move, `offset` the player's top-left minus the playlist's at the press (used for an
// axis whose code is 0).
QPoint carriedPlaylist(const Docking& docking, const QRect& player, const QRect& playlist,
                       QPoint proposedPlayer, QPoint offset);

// The playlist window is dragged to `proposed`; `playlist` is its current rectangle.
Placement snapPlaylist(QPoint proposed, const QRect& playlist, const QRect& player);

// The playlist's grip proposes a new size; snaps its bottom and right edges to the player's.
QSize snapPlaylistSize(QSize proposed, const QRect& playlist, const QRect& player);

} // namespace snapping
