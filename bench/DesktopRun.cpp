// SPDX-License-Identifier: MIT
// A search of the desktop program over the documents of a project: started with it, the question
// answered, the search button clicked. Prints the processor seconds between click and end, and the
// text that tells the result. The windows are drawn all the while.
//
//     bench_desktop_run make PROJECT FOLDER TEXT   writes a project that searches the folder
//     bench_desktop_run PROJECT                    starts with it
#include <time.h>

#include <cstdlib>
#include <cstring>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <fmt/format.h>

#include "base/Heap.h"
#include "project/ProjectFile.h"
#include "shell/modBrindle.h"
#include "ui/common/QtText.h"
#include "UntilUsable.h"

namespace {

void makeProject(const char* path, const char* folder, const char* text) {
    brindle::clsProjExcel project;
    project.IsGrid = true;
    project.IsScanFolder = true;
    project.StartFolder = folder;
    project.SpreadsheetTypeToExamine = "*.xlsx;";
    brindle::Entries entries;
    entries.Add(text, "", 0, false, false, "Item-1");
    brindle::writeProjectFile(path, brindle::projectBag(project, entries));
}

double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void answerYes() {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    QAbstractButton* yes = box ? box->button(QMessageBox::Yes) : nullptr;
    if (yes) return yes->click();
    fmt::print(stderr, "no question came\n");
    std::exit(EXIT_FAILURE);
}

void search(QWidget& window) {
    double start = 0;
    QTimer::singleShot(0, [&start] {
        start = processorSeconds();
        answerYes();
    });
    window.findChild<QPushButton*>("cmdStartSearching")->click();
    const double seconds = processorSeconds() - start;
    const auto* result = window.findChild<QLabel*>("lblChangesMade");
    if (!result) std::exit(EXIT_FAILURE);
    fmt::print("{} {}\n", seconds, brindle::fromQt(result->text()));
}

void prepare() {
    bench::endWhenUsable(search);
}
Q_COREAPP_STARTUP_FUNCTION(prepare)

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], "make") == 0) {
        makeProject(argv[2], argv[3], argv[4]);
        return 0;
    }
    brindle::prepareHeap();
    return brindle::Main(argc, argv);
}
