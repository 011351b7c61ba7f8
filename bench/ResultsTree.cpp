// SPDX-License-Identifier: MIT
// CPU time of the processing window with many documents, beside that of a plain tree view over
// Qt's own item model with the same lines. The window files and counts the documents meanwhile;
// the item model is given finished texts.
//
//     bench_results_tree [DOCUMENTS [LINES_UNDER_EACH]]
#include <fmt/format.h>
#include <stdlib.h>
#include <time.h>

#include <array>
#include <functional>
#include <string>

#include <QApplication>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTreeView>

#include "ui/common/Desktop.h"
#include "ui/common/Dialogs.h"
#include "ui/common/QtText.h"
#include "ui/processing/frmProcessingDocuments.h"

namespace {

using namespace brindle;

int gDocuments = 50000;
int gLines = 4;
constexpr int kScrollSteps = 1000;
constexpr QSize kSize(700, 500);

enum Phase { Adding, AddingInSight, Expanding, Scrolling, kPhases };
constexpr std::array<const char*, kPhases> kNames{"adding", "adding in sight, events between",
                                                  "expanding all", "scrolling through"};
using Times = std::array<double, kPhases>;

double cpuSeconds(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double before = now();
    work();
    return now() - before;
}

std::string pathOf(int document) {
    return fmt::format("/home/somebody/Documents/quarter {}/workbook number {}.xlsx",
                       document % 100, document);
}

std::string findOf(int line) {
    return fmt::format("text to find {}", line);
}

void expandAll(QTreeView& tree) {
    tree.expandAll();
    QApplication::processEvents();
}

void scrollThrough(QTreeView& tree) {
    QScrollBar& bar = *tree.verticalScrollBar();
    for (int step = 0; step <= kScrollSteps; ++step) {
        bar.setValue(static_cast<int>(std::int64_t{bar.maximum()} * step / kScrollSteps));
        tree.viewport()->repaint();
    }
}

struct OurWindow {
    PlatformDialogs dialogs;
    PlatformDesktop desktop;
    Services services{dialogs, desktop, {}, {}};
    std::atomic<bool> stop{false};
    RunFlags flags{stop};
    frmProcessingDocuments window{services, flags, nullptr};
    Entries entries;

    OurWindow() {
        for (int line = 0; line < gLines; ++line)
            entries.Add(findOf(line), "", 0, false, false, {})->counts.CellCounter = 3;
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.resize(kSize);
        window.show();
    }
    QTreeView& show() {
        window.findChild<QTabWidget*>("SSTab1")->setCurrentIndex(1);
        QApplication::processEvents();
        return *window.findChild<QTreeView*>("trvChangedFiles");
    }
    void add(int document) { window.AddChangedFiles(pathOf(document), entries, {}); }
};

struct BareModel {
    QStandardItemModel model;
    QTreeView tree;

    BareModel() {
        tree.setUniformRowHeights(true);
        tree.setHeaderHidden(true);
        tree.setModel(&model);
        tree.resize(kSize);
    }
    QTreeView& show() {
        tree.show();
        QApplication::processEvents();
        return tree;
    }
    void add(int document) {
        auto* item = new QStandardItem(toQt(pathOf(document)));
        for (int line = 0; line < gLines; ++line)
            item->appendRow(new QStandardItem(toQt(findOf(line) + " (Cell) : 3")));
        model.appendRow(item);
    }
};

template <class Results>
Times measure() {
    Times times{};
    {
        Results results;
        times[Adding] = cpuSeconds([&] {
            for (int i = 0; i < gDocuments; ++i) results.add(i);
            results.show();
        });
        QTreeView& tree = results.show();
        times[Expanding] = cpuSeconds([&] { expandAll(tree); });
        times[Scrolling] = cpuSeconds([&] { scrollThrough(tree); });
    }
    Results results;
    results.show();
    times[AddingInSight] = cpuSeconds([&] {
        // A tenth: a plain view takes the square of it.
        for (int i = 0; i < gDocuments / 10; ++i) {
            results.add(i);
            QApplication::processEvents();
        }
    });
    return times;
}

}  // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("QT_STYLE_OVERRIDE", "fusion", 0);
    QApplication application(argc, argv);
    if (argc > 1) gDocuments = std::stoi(argv[1]);
    if (argc > 2) gLines = std::stoi(argv[2]);
    const Times bare = measure<BareModel>();
    const Times ours = measure<OurWindow>();
    fmt::print("{} documents, {} lines under each; CPU seconds\n", gDocuments, gLines);
    fmt::print("{:<34}{:>10}{:>10}{:>8}\n", "", "window", "Qt model", "ratio");
    for (std::size_t phase = 0; phase < kPhases; ++phase)
        fmt::print("{:<34}{:>10.3f}{:>10.3f}{:>8.2f}\n", kNames[phase], ours[phase], bare[phase],
                   ours[phase] / bare[phase]);
}
