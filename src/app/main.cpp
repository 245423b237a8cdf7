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

int main(int argc, char *argv[])
{
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
