// Zelvatcts: the window program. Its main window is the start-up object: loading it starts the
// program, closing it ends it.

#include "ui/MessageBoxNotifier.h"
#include "app/frmZelvatmain.h"
#include "settings/TnGlobal.h"
#include "store/ProgramFolder.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

#include <QApplication>
#include <QIcon>
#include <QPrinterInfo>
#include <cstdio>
#include <cstring>

namespace {

// The answers to --help and --version, as the manual page Zelvatcts(1) gives them. They are
// looked for before anything else is made, so that they need no display and touch no folder.
constexpr char kHelp[] =
    "Usage: Zelvatcts [--help | --version]\n"
    "Takes incident calls and submits them as reports to the packet message server.\n"
    "\n"
    "Options:\n"
    "  --help     show the usage and the options and exit\n"
    "  --version  show the version and exit\n"
    "\n"
    "Without an option the window opens on the program folder; the settings are kept there and\n"
    "in the per-user settings store. The headless client is zelvatcts-cli.\n";

// The answer to an option of the program's own, or null when there is none.
const char *ownOption(int argc, char *argv[], QByteArray *version)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0)
            return kHelp;
        if (std::strcmp(argv[i], "--version") == 0) {
            *version = QStringLiteral("Zelvatcts (%1) %2\n").arg(QString::fromLatin1(Zelvat::Title), Zelvat::versionText()).toUtf8();
            return version->constData();
        }
    }
    return nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    QByteArray version;
    if (const char *answer = ownOption(argc, argv, &version)) {
        std::fputs(answer, stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Zelvatcts"));
    QApplication::setApplicationDisplayName(QString::fromLatin1(Zelvat::Title));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/zelvatcts.png")));

    static MessageBoxNotifier messageBoxes;
    Notifier::install(&messageBoxes);
    TnGlobal::setDefaultPrinterName(QPrinterInfo::defaultPrinterName());

    const QString folder = ProgramFolder::resolve(QApplication::applicationDirPath());
    RunError error;
    if (!ProgramFolder::prepare(folder, &error)) {
        notify(error.description + QStringLiteral("\r\nThe program cannot keep reports without its folder."), Notice::Critical);
        return 1;
    }
    frmZelvatmain window(folder);
    window.Form_Load();
    return app.exec();
}
