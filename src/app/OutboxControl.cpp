#include "app/OutboxControl.h"

#include "app/MainLayout.h"
#include "app/OutboxHost.h"
#include "store/ReportCatalog.h"
#include "support/CommonConst.h"
#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "report_form/frmZelvatcts.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "ui/Twips.h"

#include <QAction>
#include <QEvent>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QStatusBar>

OutboxControl::OutboxControl(OutboxHost *host, QMainWindow *window, QPushButton *cmdDelete)
    : QObject(window)
    , m_host(host)
    , m_window(window)
    , m_settings(OutboxFile(host->programFolder()).settings())
    , m_schedule(m_settings.firstRetrySeconds)
{
    setObjectName(QStringLiteral("outbox"));
    // Beside Delete, on the row of the commands, in Delete's font.
    cmdSendReady = new QPushButton(QStringLiteral("Send Ready Reports"), cmdDelete->parentWidget());
    cmdSendReady->setObjectName(QStringLiteral("cmdSendReady"));
    cmdSendReady->setFont(cmdDelete->font());
    cmdSendReady->setAutoDefault(false);
    cmdSendReady->setToolTip(QStringLiteral("Send every report of the Ready folder to the message server now"));
    Twips::place(cmdSendReady, MainLayout::design().cmdSendReady);
    QWidget::setTabOrder(cmdDelete, cmdSendReady);
    connect(cmdSendReady, &QPushButton::clicked, this, &OutboxControl::cmdSendReady_Click);

    // First in the File menu, where it is found at once in an emergency.
    QMenu *file = window->menuBar()->actions().value(0) ? window->menuBar()->actions().value(0)->menu() : nullptr;
    if (file) {
        QAction *first = file->actions().value(0);
        mnuSendReady = new QAction(QStringLiteral("Send Ready Reports"), file);
        mnuSendReady->setObjectName(QStringLiteral("mnuSendReady"));
        file->insertAction(first, mnuSendReady);
        file->insertSeparator(first);
        connect(mnuSendReady, &QAction::triggered, this, &OutboxControl::cmdSendReady_Click);
    }

    sbrOutbox = new QLabel(window);
    sbrOutbox->setObjectName(QStringLiteral("sbrStatus_Outbox"));
    window->statusBar()->addWidget(sbrOutbox, 2);

    window->installEventFilter(this);
    m_clock.setInterval(1000);
    connect(&m_clock, &QTimer::timeout, this, &OutboxControl::tick);
}

std::function<void(const QString &name)> OutboxControl::guardOpening(std::function<void(const QString &name)> open)
{
    // The report being sent is not opened meanwhile: the operator is told to wait for it.
    return [this, open = std::move(open)](const QString &name) {
        if (m_running && name == m_sending) {
            notify(QStringLiteral("%1 is being sent by the outbox right now. Open it when the sending is done.").arg(name),
                   Notice::Information);
            return;
        }
        if (open)
            open(name);
    };
}

OutboxControl::~OutboxControl()
{
    if (m_session)
        m_session->cancel(QStringLiteral("the program is closing"));
}

bool OutboxControl::eventFilter(QObject *watched, QEvent *event)
{
    // Closing the main window ends a run at once: the report being sent stays Ready.
    if (watched == m_window && event->type() == QEvent::Close && m_session)
        m_session->cancel(QStringLiteral("the program is closing"));
    return QObject::eventFilter(watched, event);
}

void OutboxControl::start()
{
    recount();
    tick();
    m_clock.start();
}

void OutboxControl::setSettings(const OutboxFile::Settings &settings)
{
    RunError error;
    if (!OutboxFile(m_host->programFolder()).setSettings(settings, &error))
        notify(QStringLiteral("The outbox settings could not be kept for the next start: ") + error.description,
               Notice::Exclamation);
    if (settings.firstRetrySeconds != m_settings.firstRetrySeconds) {
        m_schedule.setFirstInterval(settings.firstRetrySeconds);
        m_schedule.clear();
    }
    m_settings = settings;
    tick();
}

void OutboxControl::recount()
{
    // The window's catalog holds every report's state, kept current by its watch on the folder.
    const ReportCatalog &catalog = m_host->catalog();
    // Counted after every change of the folder, sorted only when they are sent (sendReady).
    m_ready.clear();
    for (int slot : catalog.liveSlots()) {
        if (catalog.state(slot) == Zelvat::StateReady)
            m_ready.append(catalog.name(slot));
    }
    if (!m_needOperator.isEmpty())
        m_needOperator.intersect(QSet<QString>(m_ready.cbegin(), m_ready.cend()));
    m_countedAt = catalog.changeCount();
}

bool OutboxControl::isOpen(const QString &name) const
{
    const frmZelvatcts *form = frmZelvatcts::current();
    return form && form->isVisible() && (form->recoveryName() == name || form->eventNumber() == name);
}

QStringList OutboxControl::sendable() const
{
    QStringList names;
    for (const QString &name : m_ready) {
        if (!m_needOperator.contains(name) && !isOpen(name))
            names << name;
    }
    names.sort();
    return names;
}

void OutboxControl::tick()
{
    if (m_running)
        return;
    if (m_countedAt != m_host->catalog().changeCount())
        recount();
    const QDateTime now = DatetimeLib::now();
    m_waitingForSession = false;
    if (!m_settings.automatic || sendable().isEmpty()) {
        m_schedule.clear();
    } else {
        m_schedule.plan(now);
        if (m_schedule.due(now)) {
            if (ServerSession::anyBusy())
                m_waitingForSession = true;
            else
                run(false);
        }
    }
    showStatus();
}

void OutboxControl::showStatus()
{
    QString text;
    if (m_running) {
        text = QStringLiteral("Outbox: sending %1 %2").arg(m_sending, m_progress);
    } else if (m_ready.isEmpty()) {
        text = QStringLiteral("Outbox: no report waiting");
    } else {
        text = QStringLiteral("Outbox: %1 Ready").arg(m_ready.size());
        if (!m_needOperator.isEmpty())
            text += QStringLiteral(" (%1 to complete by hand)").arg(m_needOperator.size());
        if (!m_settings.automatic)
            text += QStringLiteral(", automatic resend off");
        else if (m_waitingForSession)
            text += QStringLiteral(", waiting for the report form's session");
        else if (m_schedule.next().isValid())
            text += QStringLiteral(", next try %1").arg(DatetimeLib::clock(m_schedule.next()));
    }
    if (!m_running && !m_lastRun.isEmpty())
        text += QStringLiteral(" -- ") + m_lastRun;
    sbrOutbox->setText(text);
}

void OutboxControl::cmdSendReady_Click()
{
    if (m_running) {
        m_stopped = true;
        if (m_session)
            m_session->cancel(QStringLiteral("the operator stopped the sending"));
        return;
    }
    if (ServerSession::anyBusy()) {
        notify(QStringLiteral("The report form is talking to the message server. Send the Ready reports when it is done."),
               Notice::Information);
        return;
    }
    recount();
    if (m_ready.isEmpty()) {
        m_lastRun = QStringLiteral("nothing to send");
        showStatus();
        return;
    }
    run(true);
}

void OutboxControl::run(bool byOperator)
{
    // The operator's command sends what is Ready now, not at the watch's last look.
    if (byOperator)
        m_host->BuildNewMsgList();
    recount();
    m_running = true;
    m_lastRun.clear();
    ServerSession session(&m_host->station());
    m_session = &session;
    QProgressDialog *progress = nullptr;
    m_stopped = false;
    if (byOperator) {
        progress = new QProgressDialog(QStringLiteral("Sending the Ready reports..."), QStringLiteral("Cancel"), 0,
                                       int(m_ready.size()), m_window);
        progress->setObjectName(QStringLiteral("dlgSendReady"));
        progress->setWindowTitle(QStringLiteral("Send Ready Reports"));
        progress->setWindowModality(Qt::WindowModal);
        progress->setMinimumDuration(0);
        progress->setAutoClose(false);
        progress->setAutoReset(false);
        const auto cancel = [this, &session] {
            m_stopped = true;
            session.cancel(QStringLiteral("the operator cancelled the sending"));
        };
        connect(progress, &QProgressDialog::canceled, &session, cancel);
        connect(progress, &QDialog::rejected, &session, cancel); // Escape
    }
    QTimer limit;
    limit.setSingleShot(true);
    limit.setInterval(SessionLimitSeconds * 1000);
    connect(&limit, &QTimer::timeout, &session, [&session] {
        session.cancel(QStringLiteral("the message server did not finish within %1 seconds").arg(SessionLimitSeconds));
    });
    connect(&session, &ServerSession::status, this, [this](const QString &s) {
        m_progress = m_progress.section(QStringLiteral(": "), 0, 0) + QStringLiteral(": ") + s;
        showStatus();
    });
    cmdSendReady->setText(QStringLiteral("Stop Sending"));
    if (mnuSendReady)
        mnuSendReady->setText(QStringLiteral("Stop Sending"));

    Outbox::Hooks hooks;
    hooks.isOpen = [this](const QString &name) { return isOpen(name); };
    m_ready.sort();
    hooks.reports = m_ready;
    hooks.starting = [&](int index, int count, const QString &name) {
        m_sending = name;
        m_progress = QStringLiteral("(%1 of %2)").arg(index + 1).arg(count);
        if (progress) {
            progress->setMaximum(count);
            progress->setLabelText(QStringLiteral("Sending %1 (%2 of %3)...").arg(name).arg(index + 1).arg(count));
            progress->setValue(index);
        }
        limit.start();
        showStatus();
    };
    QStringList said;
    hooks.tried = [&](const Outbox::Try &t) {
        limit.stop();
        if (t.result == Outbox::Result::NeedsOperator)
            m_needOperator.insert(t.name);
        else
            m_needOperator.remove(t.name);
        if (t.result != Outbox::Result::Sent && t.result != Outbox::Result::PassedBy)
            said << t.name + QStringLiteral(": ") + t.said;
    };
    const Outbox::Run result = Outbox(m_host->programFolder(), m_host->station()).sendReady(session, hooks);

    delete progress;
    m_session = nullptr;
    m_running = false;
    m_sending.clear();
    m_progress.clear();
    cmdSendReady->setText(QStringLiteral("Send Ready Reports"));
    if (mnuSendReady)
        mnuSendReady->setText(QStringLiteral("Send Ready Reports"));
    m_schedule.tried(!result.linkFailed, DatetimeLib::now());
    m_host->BuildNewMsgList();
    recount();
    m_lastRun = QStringLiteral("last run: %1 of %2 sent").arg(result.sent).arg(result.count);
    if (result.madeWay)
        m_lastRun += QStringLiteral(", paused for the report form");
    else if (result.cancelled)
        m_lastRun += QStringLiteral(", stopped");
    else if (result.linkFailed)
        m_lastRun += QStringLiteral(", the server did not take them");
    // The operator who asked hears how it went; the automatic runs only say it in the panel.
    if (byOperator && !m_stopped && (result.linkFailed || result.needsOperator > 0)) {
        QString text = QStringLiteral("%1 of %2 Ready reports were sent; %3 stay Ready.")
                           .arg(result.sent)
                           .arg(result.count)
                           .arg(m_ready.size());
        if (!said.isEmpty())
            text += QStringLiteral("\r\n") + said.mid(0, 10).join(QStringLiteral("\r\n"));
        if (m_settings.automatic && !m_ready.isEmpty())
            text += QStringLiteral("\r\nThey are sent again by themselves; next try %1.")
                        .arg(DatetimeLib::clock(m_schedule.next().isValid() ? m_schedule.next()
                                                                             : DatetimeLib::now().addSecs(m_schedule.interval())));
        notify(text, Notice::Exclamation);
    }
    tick();
}
