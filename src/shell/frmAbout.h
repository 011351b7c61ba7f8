// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <QDialog>

namespace brindle {

namespace Ui {
class frmAbout;
}

// What the program is, its version, and the licences of what it consists of.
class frmAbout : public QDialog {
    Q_OBJECT

public:
    explicit frmAbout(QWidget* owner);
    ~frmAbout() override;

private:
    void LoadLng();

    std::unique_ptr<Ui::frmAbout> ui;
};

}  // namespace brindle
