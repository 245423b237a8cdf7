#include "app/RecoveryOffer.h"

#include "report_form/frmZelvatcts.h"
#include "store/FormRecovery.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/ZelvatLogLib.h"

#include <QDir>
#include <QMessageBox>
#include <QPushButton>

RecoveryOffer::RecoveryOffer(RecoveryHost *host, QObject *parent)
    : QObject(parent)
    , m_host(host)
{
}

RecoveryAnswer RecoveryOffer::askInBox(QWidget *parent, const QString &question)
{
    QMessageBox box(QMessageBox::Question, QString::fromLatin1(Zelvat::Title), question, QMessageBox::NoButton, parent);
    box.setObjectName(QStringLiteral("dlgRestore"));
    QPushButton *restore = box.addButton(QStringLiteral("&Restore"), QMessageBox::AcceptRole);
    QPushButton *discard = box.addButton(QStringLiteral("&Discard"), QMessageBox::DestructiveRole);
    QPushButton *later = box.addButton(QStringLiteral("&Later"), QMessageBox::RejectRole);
    later->setToolTip(QStringLiteral("Keep it and ask again at the next start"));
    box.setDefaultButton(restore);
    box.setEscapeButton(later); // Escape never throws a call away
    box.exec();
    return box.clickedButton() == restore   ? RecoveryAnswer::Restore
        : box.clickedButton() == discard    ? RecoveryAnswer::Discard
                                            : RecoveryAnswer::Later;
}

void RecoveryOffer::offerNext()
{
    const frmZelvatcts *open = frmZelvatcts::current();
    const RecoveryQuestion ask = m_host->restoreQuestion();
    if ((open && open->isVisible()) || !ask)
        return;
    const QString folder = m_host->programFolder();
    for (const FormRecovery::Entry &e : FormRecovery::list(folder)) {
        if (!e.holder.isEmpty() || m_later.contains(e.name))
            continue;
        if (!e.input) {
            QString keptAs;
            RunError error;
            const QString path = QDir::toNativeSeparators(FormRecovery::pathFor(folder, e.name));
            if (FormRecovery::keepAside(folder, e.name, &keptAs, &error))
                notify(QStringLiteral("The kept input of a report form, %1, cannot be read: %2.\r\nIt was put aside as %3; "
                                      "nothing was deleted.")
                           .arg(path, e.problem, QDir::toNativeSeparators(keptAs)),
                       Notice::Exclamation);
            else
                notify(QStringLiteral("The kept input of a report form, %1, cannot be read: %2.\r\nIt could not be put "
                                      "aside either (%3) and stays where it is.")
                           .arg(path, e.problem, error.description),
                       Notice::Exclamation);
            m_later.insert(e.name);
            continue;
        }
        switch (ask(FormRecovery::offerText(*e.input))) {
        case RecoveryAnswer::Restore: {
            frmZelvatcts *form = frmZelvatcts::open(
                ReportFormContext{folder, &m_host->station(), [h = m_host] { h->BuildNewMsgList(); }, nullptr,
                                  m_host->catalogUpdates()},
                QString(),
                &*e.input);
            ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: restored the unsaved input of %1").arg(e.name));
            connect(form, &QObject::destroyed, this, &RecoveryOffer::offerNext, Qt::QueuedConnection);
            return;
        }
        case RecoveryAnswer::Discard: {
            RunError error;
            if (FormRecovery::remove(folder, e.name, &error))
                ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: discarded the unsaved input of %1").arg(e.name));
            else
                notify(QStringLiteral("The kept input of %1 could not be removed: %2").arg(e.name, error.description), Notice::Exclamation);
            break;
        }
        case RecoveryAnswer::Later:
            m_later.insert(e.name);
            break;
        }
    }
}
