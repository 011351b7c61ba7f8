// SPDX-License-Identifier: MIT
// How long the main window takes to show the entries of a project, against a bare table with the
// same texts. Processor seconds of this one process, each side shown and painted; pairs that ran
// one after the other. Prints a line of JSON with the medians.
//
// Usage: bench_grid_load FOLDER ENTRIES RUNS
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include <QApplication>
#include <QTableWidget>

#include "project/ProjectFile.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/frmMain.h"

namespace {

using namespace brindle;

double seconds(const std::function<void()>& body) {
    const std::clock_t start = std::clock();
    body();
    QCoreApplication::processEvents();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void writeProject(const std::string& path, int count) {
    Entries entries;
    for (int index = 1; index <= count; ++index)
        entries.Add("Find text number " + std::to_string(index),
                    "Replacement " + std::to_string(index), static_cast<std::int16_t>(index % 7),
                    index % 2 == 0, index % 14 == 0, "Item-" + std::to_string(index));
    clsProjExcel options;
    options.IsGrid = true;
    writeProjectFile(path, projectBag(options, entries));
}

std::vector<QString> textsOf(const EntryGrid& grid) {
    std::vector<QString> texts;
    for (int row = 1; row < grid.Rows(); ++row)
        for (int column = 0; column < grid.Cols(); ++column)
            texts.push_back(grid.TextMatrix(row, column));
    return texts;
}

void fill(QTableWidget& table, const std::vector<QString>& texts, int columns) {
    const int rows = static_cast<int>(texts.size()) / columns;
    table.clearContents();
    table.setRowCount(0);
    table.setRowCount(rows);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            table.setItem(
                row, column,
                new QTableWidgetItem(texts[static_cast<std::size_t>(row * columns + column)]));
    table.setCurrentCell(rows - 1, 1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("QT_STYLE_OVERRIDE", "fusion", 0);
    const QApplication application(argc, argv);
    const std::string path = std::string(argv[1]) + "/entries.tvl";
    const int count = std::stoi(argv[2]);
    const int runs = std::stoi(argv[3]);
    writeProject(path, count);

    PlatformDialogs dialogs;
    PlatformDesktop desktop;
    Services services{dialogs, desktop, {}, {}};
    frmMain window(services);
    window.show();
    auto* grid = window.findChild<EntryGrid*>("vsflex");
    window.LoadProject(path);
    const std::vector<QString> texts = textsOf(*grid);
    if (grid->Rows() != count + 1) return 1;

    QTableWidget table(0, grid->Cols());
    table.resize(window.size());
    table.show();
    std::vector<double> ours, bare, reading, ratios;
    for (int run = 0; run <= runs; ++run) {
        bare.push_back(seconds([&] { fill(table, texts, grid->Cols()); }));
        ours.push_back(seconds([&] { window.LoadProject(path); }));
        reading.push_back(seconds([&] {
            Entries entries;
            std::int32_t counter = 1;
            readProjectEntries(readProjectFile(path), entries, counter, [](const Entry&) {});
        }));
        ratios.push_back(ours.back() / bare.back());
        if (run == 0) ours.clear(), bare.clear(), reading.clear(), ratios.clear();  // warm-up
    }
    std::printf("{\"ratio\": %.3f, \"ours\": %.4f, \"bare\": %.4f, \"reading\": %.4f}\n",
                median(ratios), median(ours), median(bare), median(reading));
    return 0;
}
