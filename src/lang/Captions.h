// SPDX-License-Identifier: MIT
// The one walk through a window's controls that gives them their texts from the language file.
//
// Controls are known by the prefix of their object names: cmd, lbl, opt, chk, cbo, txt; mnu and
// menu are menu items (QMenu and QAction). Others, and the controls of windows that the window
// owns, are passed over. Texts are assigned unchecked: what the file does not have becomes empty.
#pragma once

#include <string>
#include <vector>

#include <QString>

class QWidget;

namespace brindle {

struct WindowTexts {
    std::string section;    // of the language file
    bool toolTips = false;  // whether the file has those of this window
    int tabs = 0;           // so many tabs of "SSTab1", from the first, are in the file
    std::vector<std::string> kept = {};  // names of controls whose text the program writes itself
};

// Captions of buttons, labels, option buttons, check boxes, menu items and tabs; tooltips; then
// the accessible names of the controls that can be used. The window's title is left to the caller.
//
// - A member of an array of controls has its index in its name and key: "optLoad(0)".
// - The menu items "mnuDefRF" show paths and stay as they are.
// - A menu item with the caption "-" becomes a line. A line stays one when its caption is empty.
// - "\r\n" in a tooltip breaks the line, but not in one of an array's member.
// - A control without words of its own (a text box, a button "...") is accessible by the caption of
//   the label whose buddy it is, else by its tooltip, else by the tab it stands on, else by the
//   title of its window.
void loadCaptions(QWidget& window, const WindowTexts& texts);

// The text of the key "NAME.caption".
QString captionOf(const std::string& section, const std::string& name);

// A caption as plain words: "&Save" is "Save", "檔案(&F)" is "檔案", "A && B" is "A & B".
QString withoutMnemonic(QString caption);

}  // namespace brindle
