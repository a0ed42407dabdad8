#pragma once

#include <QMenu>

#include "dolphin/DolphinExtension.h"

namespace kelpie::filemanagers {

// A menu of Qt's with these items, and with submenus that are filled when they are opened. What is
// chosen is handed to the extension. Owned by `parent`. Main thread.
QMenu* newMenu(const DolphinExtension::Menu& menu, QWidget* parent);

}  // namespace kelpie::filemanagers
