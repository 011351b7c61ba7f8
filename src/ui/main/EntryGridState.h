// SPDX-License-Identifier: MIT
// What the sources of EntryGrid share.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QPoint>
#include <QPointer>

#include "ui/main/EntryGrid.h"
#include "ui/main/EntryGridDelegate.h"
#include "ui/main/EntryGridModel.h"

namespace brindle {

struct EntryGrid::State {
    EntryGridModel model;
    EntryGridDelegate delegate;

    // The current cell as the program sees it; the view follows when it may redraw.
    int row = 0;
    int column = 0;
    bool redraw = true;
    bool followsView = true;                           // off while the view follows us
    std::optional<std::pair<int, int>> toSelect;       // rows that the view has yet to select
    mutable std::optional<std::vector<int>> selected;  // the selected rows, once asked for

    QPointer<QLineEdit> editor;  // null: none is open
    int editRow = 0;
    int editColumn = 0;
    bool committed = false;                  // the open editor's text is in the cell
    bool focusIsOurs = false;                // it comes back from the editor
    bool tabStep = false;                    // Tab in the editor asked for one
    bool handingOn = false;                  // a key goes to an editor without the focus
    QInputMethodEvent* composing = nullptr;  // what KeyDown is being raised for

    enum class Pointer { Away, Cells, Header };
    Pointer pointer = Pointer::Away;
    QPoint pointerAt;

    std::array<int, EntryGridModel::kColumns> widths{};  // as they were asked for
    bool applyingWidths = false;
};

}  // namespace brindle
