#include "dialogs/frmNote.h"

#include "ui/Twips.h"

#include <QEventLoop>
#include <QLabel>
#include <QPointer>
#include <QTimer>

namespace {
QPointer<frmNote> g_note;
}

frmNote::frmNote()
    : QWidget(nullptr, Qt::Tool | Qt::WindowStaysOnTopHint)
{
    setObjectName(QStringLiteral("frmNote"));
    setAttribute(Qt::WA_DeleteOnClose);
    lblNote = new QLabel(this);
    lblNote->setObjectName(QStringLiteral("lblNote"));
    lblNote->setFont(QFont(QStringLiteral("Calibri"), 12));
    Twips::place(lblNote, 120, 120, 4560, 420);
    setFixedSize(Twips::toPixels(this, 4800), Twips::toPixels(this, 660));
}

frmNote *frmNote::instance()
{
    if (!g_note) {
        g_note = new frmNote;
        g_note->show(); // loading the note shows it, without an owner
    }
    return g_note;
}

void frmNote::Pause(int milliSeconds)
{
    QEventLoop loop;
    QTimer::singleShot(std::max(0, milliSeconds), &loop, &QEventLoop::quit);
    loop.exec();
}

void frmNote::PostNote(const QString &text)
{
    QPointer<frmNote> self(this);
    show();
    lblNote->setText(text);
    Pause(2000);
    if (self)
        close();
}
