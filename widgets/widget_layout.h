// The geometry rules of Quivel's own widgets, apart from X so that they can
// be tested without a display.
#pragma once

#include <string>
#include <vector>

namespace quivel {

// Progress bar: the filled width of an inner area for value out of maximum,
// clamped to [0, innerWidth]; a maximum below 1 shows an empty bar.
int progressFillWidth(int innerWidth, int value, int maximum);

// Status bar. Alignment codes: 0 beginning, 1 centre, 2 end.
enum StatusAlignment { kAlignBeginning = 0, kAlignCenter = 1, kAlignEnd = 2 };

struct StatusPartSpec {
    int textWidth;   // pixels the text needs; 0 for an empty part
    int alignment;
};

struct StatusPartBox {
    int x, width;    // the part's box within the bar; width 0 hides an empty part
    int textX;       // where its text starts
};

// Parts with a text get their text's width plus `padding` on each side,
// separated by `gap`. Beginning and centre parts are packed from the left,
// end parts from the right; when the bar is too narrow the left-packed parts
// keep their order and the last of them is shortened first. Empty parts take
// no room.
std::vector<StatusPartBox> layoutStatusParts(int barWidth, const std::vector<StatusPartSpec> &parts, int padding,
                                             int gap);

// Bubble help: where a tip of the given size goes for a pointer at (x, y):
// below and right of the pointer, moved back inside the screen, and above
// the pointer when there is no room below.
struct Point {
    int x, y;
};
Point bubblePosition(int pointerX, int pointerY, int tipWidth, int tipHeight, int screenWidth, int screenHeight);

// Combo box history: `text` moves to the front of `items` (no duplicates,
// blanks ignored), and the list keeps at most `limit` entries.
void rememberComboItem(std::vector<std::string> &items, const std::string &text, size_t limit);

}  // namespace quivel
