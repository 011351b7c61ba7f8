// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include <QWidget>

class QUrl;

namespace brindle {

namespace Ui {
class frmHelp;
}

// The help window: a table of contents beside a page. Pages are HTML files of the folder Help
// that is shipped with the program; contents.html is the first of them, and the table shows the
// links of its lists.
class frmHelp : public QWidget {
    Q_OBJECT

public:
    // A window of its own, deleted with `owner` or when it is closed. `owner` may be null.
    explicit frmHelp(QWidget* owner);
    ~frmHelp() override;

    void LoadLng();

    // A page by its file name without extension; empty: contents.html. Brings the window to the
    // front. A page that is missing is named in its place.
    void showPage(const std::string& name);

private:
    void readContents();
    void selectInContents(const QUrl& shown);

    std::unique_ptr<Ui::frmHelp> ui;
};

}  // namespace brindle
