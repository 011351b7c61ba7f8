// SPDX-License-Identifier: MIT
// What is wrong with the look and the names of a window, whatever window it is.
#pragma once

#include <string>
#include <vector>

class QWidget;

namespace brindle::test {

// Looks through a shown window at its present size and language, every tab page in turn, and its
// menus. A line for each fault, which begins with its kind and the object name of the control:
//
//   clipped        a text that does not fit its control, or a control that does not fit the window;
//                  a label whose tooltip is its text may be cut short
//   empty          a control without the caption that it needs, or a window without a title
//   mnemonic       two captions with the same one that compete: in one menu, or in the menu bar,
//                  the tab page and what stands beside the tabs; or one of a label without buddy,
//                  unless that shows plain text
//   unnamed        a control that has no name for a screen reader: caption, label or accessible
//                  name
//   unreachable    a control that the Tab key should come to but never does
std::vector<std::string> auditWindow(QWidget& window);

}  // namespace brindle::test
