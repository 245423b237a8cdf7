#include "report_form/FormRecoveryKeeper.h"

#include "store/ClosedForms.h"
#include "support/DatetimeLib.h"
#include "support/SafeFile.h"
#include "support/ZelvatLogLib.h"

#include <QTimer>

FormRecoveryKeeper::FormRecoveryKeeper(const QString &programFolder, const QString &name,
                                       std::function<FormRecovery::Input()> capture,
                                       std::function<void(const QString &)> tell, QObject *parent)
    : QObject(parent)
    , m_folder(programFolder)
    , m_name(name)
    , m_capture(std::move(capture))
    , m_tell(std::move(tell))
    , m_claim(std::make_unique<FormRecovery::Claim>(programFolder, name))
    , m_timer(new QTimer(this))
{
    m_timer->setInterval(250);
    connect(m_timer, &QTimer::timeout, this, &FormRecoveryKeeper::tick);
    if (!m_claim->held())
        ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: %1 is open in another program, which keeps its unsaved input")
                                       .arg(m_name));
}

FormRecoveryKeeper::~FormRecoveryKeeper() = default;

void FormRecoveryKeeper::noteChange()
{
    m_schedule.noteChange(DatetimeLib::now());
    if (!m_timer->isActive())
        m_timer->start();
}

void FormRecoveryKeeper::tick()
{
    if (!m_schedule.pending())
        m_timer->stop();
    else if (m_schedule.due(DatetimeLib::now()))
        write();
}

void FormRecoveryKeeper::keepNow()
{
    if (m_schedule.pending())
        write();
}

void FormRecoveryKeeper::write()
{
    m_schedule.written();
    m_timer->stop();
    if (!m_claim->held())
        return;
    FormRecovery::Input input = m_capture();
    input.written = DatetimeLib::now();
    RunError error;
    if (FormRecovery::write(m_folder, m_name, input, &error)) {
        m_lastProblem.clear();
        return;
    }
    const QString why = error.description;
    // Said once, not at every keystroke; the next change tries again.
    if (why == m_lastProblem)
        return;
    m_lastProblem = why;
    ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: the unsaved input of %1 could not be kept: %2").arg(m_name, why));
    if (m_tell)
        m_tell(QStringLiteral("Unsaved input is not kept for recovery: ") + why);
}

void FormRecoveryKeeper::drop()
{
    m_schedule.written();
    m_timer->stop();
    if (!m_claim->held())
        return;
    RunError error;
    if (!FormRecovery::remove(m_folder, m_name, &error))
        ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: %1 could not be removed: %2").arg(m_name, error.description));
}

void FormRecoveryKeeper::putAway()
{
    keepNow();
    if (!m_claim->held() || SafeFile::kindOf(FormRecovery::pathFor(m_folder, m_name)) != SafeFile::Kind::Regular)
        return;
    RunError error;
    if (ClosedForms::keep(m_folder, m_name, DatetimeLib::now(), &error))
        ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: the unsaved input of %1 was kept as a closed report").arg(m_name));
    else // it stays a recovery file, offered at the next start
        ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: the unsaved input of %1 could not be kept as a closed report: %2")
                                       .arg(m_name, error.description));
}
