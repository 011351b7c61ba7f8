// SPDX-License-Identifier: MIT
#include "shell/modBrindle.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include <QApplication>

#include "base/StandardDescriptors.h"
#include "engine/excel/Application.h"
#include "lang/modINI.h"
#include "shell/EndSignals.h"
#include "shell/ErrorLog.h"
#include "shell/FileAssociation.h"
#include "shell/LostDisplay.h"
#include "ui/common/Icons.h"
#include "ui/main/frmMain.h"

namespace brindle {

namespace {

constexpr const char* kApplicationName = "Brindle";

QtMessageHandler gFormerHandler = nullptr;

// Without a display the window library aborts, which looks like a crash of ours.
void endOnFatal(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type != QtFatalMsg) return gFormerHandler(type, context, text);
    std::fprintf(stderr,
                 "Brindle: no window can be opened here. Start it in a desktop session, or use "
                 "tarvello, which needs none.\n%s\n",
                 qUtf8Printable(text.trimmed()));
    _exit(EXIT_FAILURE);
}

class FatalMessagesEndTheProgram {
public:
    FatalMessagesEndTheProgram() { gFormerHandler = qInstallMessageHandler(endOnFatal); }
    ~FatalMessagesEndTheProgram() { qInstallMessageHandler(gFormerHandler); }
};

void introduce() {
    QApplication::setApplicationName(kApplicationName);
    QApplication::setApplicationVersion(BRINDLE_VERSION);
    // Ties the windows to the desktop entry.
    QApplication::setDesktopFileName(kApplicationName);
    QApplication::setWindowIcon(ownIcon("Brindle"));
}

void registerProjectType() {
    const std::string program = compiledFile("icons/Brindle.svg");
    const std::string file = compiledFile("icons/application-x-tarvello-project.svg");
    CreateAssociation(kApplicationName, "tvl", "Tarvello-Excel Setting File", {program, file});
}

std::unique_ptr<excel::Application> createExcel(const ExcelFactory& factory) {
    auto excel = factory ? factory() : std::make_unique<excel::Application>();
    if (!excel)
        throw Error(ErrorKind::System, error_number::kCannotCreateObject,
                    "The spreadsheet application cannot be started");
    return excel;
}

int runMainWindow(Services& services, const std::string& commandLine) {
    frmMain window(services);
    window.Form_Load(commandLine);
    window.show();
    // A session that ends may say so by a signal only, so the state is kept. Before the window has
    // taken over the last state, there is nothing to keep.
    const EndSignals signals([&] {
        window.SaveProject();
        window.endProgram();
    });
    const LostDisplay display([&] { window.SaveProject(); });
    return QApplication::exec();
}

}  // namespace

int Main(int argc, char** argv) {
    if (!holdStandardDescriptors()) return EXIT_FAILURE;
    // A limit on the size of files is a failing write like any other, and so is a reader of our
    // complaints who has left. Unlike an ignored signal, a handler is not passed on to the programs
    // that we start.
    for (const int signal : {SIGXFSZ, SIGPIPE}) std::signal(signal, [](int) {});
    auto untilThereIsADisplay = std::make_unique<FatalMessagesEndTheProgram>();
    QApplication application(argc, argv);
    untilThereIsADisplay.reset();
    introduce();
    PlatformDialogs dialogs;
    PlatformDesktop desktop;
    Services services{dialogs, desktop, {}, {}};
    return runDesktop(services, commandLineOf(argc, argv));
}

std::string commandLineOf(int argc, const char* const* argv) {
    std::string line;
    for (int i = 1; i < argc; ++i) line += (i > 1 ? " " : "") + std::string(argv[i]);
    return line;
}

int runDesktop(Services& services, const std::string& commandLine) {
    int status = EXIT_FAILURE;
    guarded({"Main", ModuleKind::Module, "modBrindle"}, [&] {
        registerProjectType();
        gLanguageFile = services.settings.get(kApplicationName, "INIFILE", "PATH", "English.lng");
        if (CheckExcelInstalled(services)) status = runMainWindow(services, commandLine);
    });
    return status;
}

bool CheckExcelInstalled(Services& services) {
    std::optional<Error> failure;
    try {
        createExcel(services.excel)->Quit();
        return true;
    } catch (...) {
        failure = currentError();
    }
    const bool isMissing = failure->number() == error_number::kCannotCreateObject;
    services.dialogs.show(nullptr, {GetLngString("global msg", isMissing ? "1028" : "1029"),
                                    MessageIcon::Critical,
                                    MessageButtons::Ok,
                                    {},
                                    {}});
    return false;
}

}  // namespace brindle
