#include "app/ClosedReportsMenu.h"

#include "report_form/frmZelvatcts.h"
#include "store/ClosedForms.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "support/ZelvatLogLib.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QMenu>

ClosedReportsMenu::ClosedReportsMenu(RecoveryHost *host, QMenu *file, QObject *parent)
    : QObject(parent)
    , m_host(host)
{
    m_reopen = file->addAction(QStringLiteral("Reopen Closed Report"));
    m_reopen->setObjectName(QStringLiteral("mnuReopenClosed"));
    m_reopen->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_T));
    m_reopen->setStatusTip(QStringLiteral("Open again the last report form closed with unsaved input"));
    connect(m_reopen, &QAction::triggered, this, [this] { reopen(QString()); });
    m_others = file->addMenu(QStringLiteral("Closed Reports"));
    m_others->setObjectName(QStringLiteral("mnuClosedReports"));
    m_others->menuAction()->setObjectName(QStringLiteral("mnuClosedReportsMenu"));
    connect(file, &QMenu::aboutToShow, this, &ClosedReportsMenu::refresh);
    qApp->installEventFilter(this); // a report form that closes may have been put among the closed
    refresh();
}

bool ClosedReportsMenu::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Hide && qobject_cast<frmZelvatcts *>(watched))
        QMetaObject::invokeMethod(this, &ClosedReportsMenu::refresh, Qt::QueuedConnection);
    return false;
}

void ClosedReportsMenu::refresh()
{
    const QString folder = m_host->programFolder();
    const QDateTime now = DatetimeLib::now();
    m_newest.clear();
    m_others->clear();
    for (const ClosedForms::Entry &e : ClosedForms::list(folder, now)) {
        if (e.input && m_newest.isEmpty()) {
            m_newest = e.fileName;
            m_reopen->setText(QStringLiteral("Reopen Closed Report (%1)").arg(ClosedForms::describe(e, now)));
        } else if (e.input) {
            QAction *a = m_others->addAction(ClosedForms::describe(e, now));
            connect(a, &QAction::triggered, this, [this, file = e.fileName] { reopen(file); });
        } else {
            QString keptAs;
            RunError error;
            const QString path = QDir::toNativeSeparators(e.path);
            if (FormRecovery::keepFileAside(e.path, &keptAs, &error))
                notify(QStringLiteral("The kept input of a closed report form, %1, cannot be read: %2.\r\nIt was put aside as "
                                      "%3; nothing was deleted.")
                           .arg(path, e.problem, QDir::toNativeSeparators(keptAs)),
                       Notice::Exclamation);
            else
                ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: %1 cannot be read (%2) nor put aside (%3)")
                                               .arg(path, e.problem, error.description));
        }
    }
    if (m_newest.isEmpty())
        m_reopen->setText(QStringLiteral("Reopen Closed Report"));
    m_reopen->setEnabled(!m_newest.isEmpty());
    m_others->setEnabled(!m_others->isEmpty());
}

void ClosedReportsMenu::reopen(const QString &fileName)
{
    const ReportFormContext context{m_host->programFolder(), &m_host->station(), [h = m_host] { h->BuildNewMsgList(); },
                                    nullptr, m_host->catalogUpdates()};
    if (const frmZelvatcts *open = frmZelvatcts::current(); open && open->isVisible()) {
        frmZelvatcts::open(context, QString()); // brought to the front, and the operator told
        return;
    }
    refresh();
    const QString file = fileName.isEmpty() ? m_newest : fileName;
    if (file.isEmpty())
        return;
    RunError error;
    const std::optional<FormRecovery::Input> input = ClosedForms::reopen(m_host->programFolder(), file, &error);
    if (!input) {
        notify(QStringLiteral("The closed report form could not be opened again: ") + error.description, Notice::Exclamation);
        refresh();
        return;
    }
    frmZelvatcts *form = frmZelvatcts::open(context, QString(), &*input);
    ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: reopened the closed report form of %1").arg(input->record.EID()));
    connect(form, &QObject::destroyed, this, &ClosedReportsMenu::refresh, Qt::QueuedConnection);
    refresh();
}
