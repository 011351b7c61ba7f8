// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

namespace brindle {

// One line of plain text that ends in an ellipsis where it does not fit; the whole text is then
// its tooltip. Takes whatever width it is given.
class HelpLine : public QLabel {
    Q_OBJECT

public:
    explicit HelpLine(QWidget* parent = nullptr);

    // Line breaks become blanks.
    void setHelp(QString help);

    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QString shownText() const;
    void updateToolTip();
};

}  // namespace brindle
