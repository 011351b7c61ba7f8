// SPDX-License-Identifier: MIT
// The least that a program with a table of entries does at its start: a bare window with a table
// of five columns and as many rows as the first argument says.
#include <cstdlib>

#include <QMainWindow>
#include <QTableWidget>

#include "UntilUsable.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const int rows = argc > 1 ? std::atoi(argv[1]) : 0;
    QMainWindow window;
    auto* table = new QTableWidget(rows, 5, &window);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < 5; ++column)
            table->setItem(row, column, new QTableWidgetItem(QString::number(row)));
    window.setCentralWidget(table);
    window.resize(690, 480);
    window.show();
    bench::endWhenUsable();
    return QApplication::exec();
}
