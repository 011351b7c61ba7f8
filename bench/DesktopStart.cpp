// SPDX-License-Identifier: MIT
// A whole start of the desktop program, which ends as soon as its window can be used and prints
// the number of entries in it.
//
//   bench_desktop_start make PROJECT COUNT   writes a project of so many entries
//   bench_desktop_start PROJECT              starts with it
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "project/ProjectFile.h"
#include "shell/modBrindle.h"
#include "ui/main/EntryGrid.h"
#include "UntilUsable.h"

namespace {

void makeProject(const char* path, int count) {
    brindle::clsProjExcel project;
    project.IsGrid = true;
    brindle::Entries entries;
    for (int i = 1; i <= count; ++i) {
        const std::string number = std::to_string(i);
        entries.Add("find what " + number, "replace with " + number, 0, i % 2 == 0, false,
                    "Item-" + number);
    }
    brindle::writeProjectFile(path, brindle::projectBag(project, entries));
}

void reportEntries(QWidget& window) {
    const auto* grid = window.findChild<brindle::EntryGrid*>("vsflex");
    std::printf("%d\n", grid ? grid->Rows() - 1 : -1);
}

void prepare() {
    bench::endWhenUsable(reportEntries);
}
Q_COREAPP_STARTUP_FUNCTION(prepare)

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "make") == 0) {
        makeProject(argv[2], std::atoi(argv[3]));
        return 0;
    }
    return brindle::Main(argc, argv);
}
