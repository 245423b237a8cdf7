#include "ui/MessageBoxNotifier.h"

#include "support/CommonConst.h"

#include <QApplication>
#include <QMessageBox>

void MessageBoxNotifier::show(const Notice &notice)
{
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(notice.title.isEmpty() ? QString::fromLatin1(Zelvat::Title) : notice.title);
    QString text = notice.text;
    box.setText(text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    switch (notice.icon) {
    case Notice::Exclamation: box.setIcon(QMessageBox::Warning); break;
    case Notice::Critical: box.setIcon(QMessageBox::Critical); break;
    case Notice::Information: box.setIcon(QMessageBox::Information); break;
    case Notice::NoIcon: box.setIcon(QMessageBox::NoIcon); break;
    }
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}
