#include "report_form/FormInUse.h"

#include "report_form/frmZelvatcts.h"
#include "support/CommonConst.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>

FormInUse::FormInUse(const QString &messageFolder, QObject *parent)
    : QObject(parent)
    , m_marks(messageFolder)
{
    m_refresh.setInterval(InUseMarks::kRefreshMs);
    connect(&m_refresh, &QTimer::timeout, this, [this] { m_marks.refresh(); });
    // The program may end with the form open: the mark goes with it.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &FormInUse::release);
}

FormInUse::~FormInUse()
{
    release();
}

FormInUse::Question &FormInUse::ask()
{
    static Question question = &FormInUse::askInBox;
    return question;
}

FormInUse::Choice FormInUse::askInBox(QWidget *parent, const QString &text)
{
    QMessageBox box(QMessageBox::Question, QString::fromLatin1(Zelvat::Title), text, QMessageBox::NoButton, parent);
    QPushButton *readOnly = box.addButton(QStringLiteral("Open &Read-Only"), QMessageBox::AcceptRole);
    QPushButton *edit = box.addButton(QStringLiteral("&Edit Anyway"), QMessageBox::DestructiveRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(readOnly);
    box.setEscapeButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() == readOnly)
        return Choice::ReadOnly;
    return box.clickedButton() == edit ? Choice::Edit : Choice::Cancel;
}

FormInUse::Choice FormInUse::opening(QWidget *form, const QString &name)
{
    const auto mark = m_marks.isOpenElsewhere(name);
    if (!mark)
        return Choice::Edit;
    return ask()(form, QStringLiteral("The report %1 is open in another report form.\n%2.\n\n"
                                      "Open it read-only, or edit it anyway?")
                           .arg(name, InUseMarks::describe(*mark)));
}

void FormInUse::settle(frmZelvatcts *form, const QString &name, Choice choice)
{
    m_readOnly = choice == Choice::ReadOnly;
    if (m_readOnly) {
        // The form's own lock of its boxes; the buttons that write the report are off.
        form->LockFields(QStringLiteral("LOCK"));
        form->chkReqContact->setEnabled(false);
        for (QWidget *w : {static_cast<QWidget *>(form->cmdSave), static_cast<QWidget *>(form->cmdSubmit),
                           static_cast<QWidget *>(form->cmdDelete)}) {
            w->setEnabled(false);
            w->hide();
        }
        for (QWidget *w : form->cmdRtype)
            w->setEnabled(false);
        for (QWidget *w : form->cmdLast)
            w->setEnabled(false);
        for (QRadioButton *b : form->optCons)
            b->setEnabled(false);
        for (QRadioButton *b : form->optBrea)
            b->setEnabled(false);
        form->setWindowTitle(form->windowTitle() + QStringLiteral(" (read-only)"));
        return;
    }
    hold(name);
}

void FormInUse::hold(const QString &name)
{
    if (m_readOnly || name.isEmpty() || name == m_name)
        return;
    release();
    if (m_marks.mark(name)) {
        m_name = name;
        m_refresh.start();
    }
}

void FormInUse::release()
{
    m_refresh.stop();
    if (!m_name.isEmpty())
        m_marks.unmark(m_name);
    m_name.clear();
}
