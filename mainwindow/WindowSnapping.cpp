#include "WindowSnapping.h"

#include <cstdlib>

namespace snapping {
namespace {

bool near(int a, int b) {
    return std::abs(a - b) < Distance;
}

// The two windows overlap horizontally (with the snapping margin): vertical snapping applies.
bool overlapsHorizontally(const QRect& moving, const QRect& other) {
    return moving.left() < other.right() + Distance && moving.right() > other.left() - Distance;
}

bool overlapsVertically(const QRect& moving, const QRect& other) {
    return moving.bottom() > other.top() - Distance && moving.top() < other.bottom() + Distance;
}

} // namespace

Placement snapPlayer(QPoint proposed, const QRect& player, const QRect& playlist) {
    const int w = player.width();
    const int h = player.height();
    const int L = playlist.left(), T = playlist.top(), R = playlist.right(), B = playlist.bottom();
    int top = proposed.y();
    int left = proposed.x();
    Docking docking;

    if (overlapsHorizontally(player, playlist)) {
        if (near(top, B)) {
            top = B + 1, docking.vertical = 2;
        } else if (near(top + h, B)) {
            top = B - h + 1, docking.vertical = 4;
        } else if (near(top + h, T)) {
            top = T - h - 1, docking.vertical = 3; // one empty row between, as players expect
        } else if (near(top, T)) {
            top = T, docking.vertical = 1;
        }
    }
    if (overlapsVertically(player, playlist)) {
        if (near(left, R)) {
            left = R + 1, docking.horizontal = 2;
        } else if (near(left + w, L)) {
            left = L - w, docking.horizontal = 4;
        } else if (near(left, L)) {
            left = L, docking.horizontal = 1;
        } else if (near(left + w, R)) {
            left = R - w, docking.horizontal = 3;
        }
    }
    return {QPoint(left, top), docking};
}

QPoint carriedPlaylist(const Docking& docking, const QRect& player, const QRect& playlist,
                       QPoint proposedPlayer, QPoint offset) {
    const int ph = playlist.height();
    const int pw = playlist.width();
    int top = proposedPlayer.y() - offset.y();
    switch (docking.vertical) {
    case 1:
        top = player.top();
        break;
    case 2:
        top = player.top() - ph;
        break;
    case 3:
        top = player.bottom() + 1;
        break;
    case 4:
        top = player.bottom() - ph;
        break;
    default:
        break;
    }
    int left = proposedPlayer.x() - offset.x();
    switch (docking.horizontal) {
    case 1:
        left = player.left();
        break;
    case 2:
        left = player.left() - pw;
        break;
    case 3:
        left = player.right() - pw;
        break;
    case 4:
        left = player.right() + 1;
        break;
    default:
        break;
    }
    return {left, top};
}

Placement snapPlaylist(QPoint proposed, const QRect& playlist, const QRect& player) {
    const int w = playlist.width();
    const int h = playlist.height();
    const int L = player.left(), T = player.top(), R = player.right(), B = player.bottom();
    int top = proposed.y();
    int left = proposed.x();
    Docking docking;

    if (overlapsHorizontally(playlist, player)) {
        if (near(top, B)) {
            top = B + 1, docking.vertical = 3;
        } else if (near(top + h, T)) {
            top = T - h, docking.vertical = 2;
        } else if (near(top, T)) {
            top = T, docking.vertical = 1;
        } else if (near(top + h, B)) {
            top = B - h + 1, docking.vertical = 4;
        }
    }
    if (overlapsVertically(playlist, player)) {
        if (near(left, R)) {
            left = R + 1, docking.horizontal = 4;
        } else if (near(left + w, L)) {
            left = L - w, docking.horizontal = 2;
        } else if (near(left, L)) {
            left = L, docking.horizontal = 1;
        } else if (near(left + w, R)) {
            left = R - w, docking.horizontal = 3;
        }
    }
    return {QPoint(left, top), docking};
}

QSize snapPlaylistSize(QSize proposed, const QRect& playlist, const QRect& player) {
    int width = proposed.width();
    int height = proposed.height();
    const int left = playlist.left();
    const int top = playlist.top();
    if (overlapsHorizontally(playlist, player)) {
        if (near(top + height, player.top())) {
            height = player.top() - top;
        } else if (near(top + height, player.bottom())) {
            height = player.bottom() - top + 1;
        }
    }
    if (overlapsVertically(playlist, player)) {
        if (near(left + width, player.right())) {
            width = player.right() - left + 1;
        } else if (near(left + width, player.left())) {
            width = player.left() - left;
        }
    }
    return {width, height};
}

} // namespace snapping
