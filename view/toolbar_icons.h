// The view toolbar's button pictures, 16 x 16, drawn as text.
#pragma once

#include "app/icon_images.h"

namespace quivel {

inline constexpr int kToolbarIconCount = 27;

// The icon of a toolbar button (ToolbarButton::icon), or nullptr.
const IconImage *toolbarIcon(int index);

}  // namespace quivel
