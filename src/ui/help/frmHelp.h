// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <QWidget>

namespace brindle {

// The help window: a table of contents beside the page. Pages are the files of the folder Help
// that is shipped with the program.
class frmHelp : public QWidget {
    Q_OBJECT

public:
    // A window of its own, deleted with `owner` or when it is closed.
    explicit frmHelp(QWidget* owner);

    // A page by its file name without extension; empty: the first one. Brings the window to the
    // front.
    void showPage(const std::string& name);
};

}  // namespace brindle
