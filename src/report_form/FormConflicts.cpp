// The report form against other programs on its message folder: each write checks first that the
// report's file is still the one the form loaded (under the report's lock, so that the look and
// the write are one step); a change seen by the folder watch shows in a strip.

#include "report_form/frmZelvatcts.h"

#include "dialogs/frmConflict.h"
#include "link/SendLock.h"
#include "report_form/FormInUse.h"
#include "report_form/FormRecoveryKeeper.h"
#include "report_form/ReportChangeStrip.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <memory>

namespace {

using Kind = ReportConflict::Kind;

// Messages of the loader about their bytes are not shown: the form shows what reads of them.
struct Quiet : Notifier {
    void show(const Notice &) override {}
};

void uncheck(const std::array<QRadioButton *, 2> &pair)
{
    for (QRadioButton *b : pair) {
        b->setAutoExclusive(false);
        b->setChecked(false);
        b->setAutoExclusive(true);
    }
}

} // namespace

bool frmZelvatcts::writeChecked(qint16 state)
{
    const QString name = recoveryName();
    const QString folder = m_record.messageFolder();
    const qint16 asked = state;
    for (;;) {
        // Within a submission the report's lock is held already, from before its state was read.
        std::unique_ptr<SendLock> lock;
        if (!m_sending) {
            lock = std::make_unique<SendLock>(folder, name);
            if (!lock->locked()) {
                notify(lock->why() + QStringLiteral("; it was not saved from here. Try again in a moment."),
                       Notice::Exclamation);
                return false;
            }
        }
        const ReportConflict::Finding found = ReportConflict::examine(m_record, name, m_seen, state);
        if (found.kind == Kind::Unchanged) {
            if (!m_record.Fadd())
                return false;
            m_seen = ReportConflict::look(folder, name);
            lblReportChanged->clear();
            m_inUse->hold(name); // a new report has a file from its first save on
            if (state == asked)
                return true;
            // Asked to be sent or updated, it was restored as a draft and goes no further now.
            setStatus(QStringLiteral("Restored as a Draft report; it was not sent"));
            return false;
        }
        lock.reset(); // nobody else waits on this program while the operator decides
        frmConflict dialog(found, name, m_record, frmConflict::Mode::BeforeWrite, this);
        dialog.exec();
        switch (dialog.choice()) {
        case frmConflict::Choice::KeepMine:
            m_seen = found.now; // what they wrote is overwritten only when it is still that
            continue;
        case frmConflict::Choice::RestoreAsDraft:
            m_seen = found.now;
            state = m_state = Zelvat::StateDraft;
            m_record.setAST(state);
            SetButtonsForState(m_state);
            ShowStateCaption(m_state);
            continue;
        case frmConflict::Choice::Update:
            // Their submitted report is the one amended: the form's Update flow runs on it.
            m_record = ReportConflict::recordOf(m_record, found.now);
            m_seen = found.now;
            m_state = Zelvat::StateSubmitted;
            SetButtonsForState(m_state);
            ShowStateCaption(m_state);
            QTimer::singleShot(0, this, [this] {
                if (m_state == Zelvat::StateSubmitted && cmdSave->text() == QLatin1String("Update"))
                    cmdSave_Click();
            });
            return false;
        case frmConflict::Choice::TakeTheirs:
            showTheirs(found.now);
            return false;
        case frmConflict::Choice::Cancel:
            return false;
        }
    }
}

void frmZelvatcts::showTheirs(const ReportConflict::Seen &theirs)
{
    // The operator's input goes among the closed reports first (File > Reopen Closed Report), so
    // that showing their version loses nothing.
    if (m_recovery) {
        m_recovery->noteChange();
        m_recovery->putAway();
    }
    for (int i = 0; i < int(m_typeSelected.size()); ++i) {
        if (m_typeSelected[i])
            cmdRtype_Click(i);
    }
    {
        Quiet quiet;
        ScopedNotifier scoped(&quiet);
        m_record.LoadBytes(theirs.bytes, recoveryName());
    }
    m_seen = theirs;
    m_state = m_record.AST();
    m_update = false;
    uncheck(optCons);
    uncheck(optBrea);
    m_conscious = m_breathing = -1;
    LoadRecordToForm();
    SetButtonsForState(m_state);
    ShowStateCaption(m_state);
    lblReportChanged->clear();
    setStatus(QStringLiteral("Their version is shown; your input was kept: File > Reopen Closed Report brings it back"));
}

void frmZelvatcts::lookForChange()
{
    if (m_closing || m_eventNumber.isEmpty() || !isVisible())
        return;
    const QString name = recoveryName();
    SafeFile::Entry now;
    if (!SafeFile::Folder(m_record.messageFolder()).lookUp(name + QStringLiteral(".911"), &now))
        now.kind = SafeFile::Kind::Missing;
    if (ReportConflict::sameFile(now, m_seen.file) || (now.kind == SafeFile::Kind::Missing && !m_seen.present())) {
        lblReportChanged->clear();
        return;
    }
    if (lblReportChanged->isVisibleTo(this) && ReportConflict::sameFile(now, lblReportChanged->shownFile()))
        return; // said already
    ZelvatMsg mine = m_record;
    writeBoxesTo(mine);
    const ReportConflict::Finding found = ReportConflict::examine(mine, name, m_seen, m_state);
    if (found.kind == Kind::Unchanged)
        lblReportChanged->clear();
    else
        lblReportChanged->tell(found);
}

void frmZelvatcts::compareWithFile()
{
    ZelvatMsg mine = m_record;
    writeBoxesTo(mine);
    mine.setAST(m_state);
    const QString name = recoveryName();
    const ReportConflict::Finding found = ReportConflict::examine(mine, name, m_seen, m_state);
    if (found.kind == Kind::Unchanged) {
        lblReportChanged->clear();
        return;
    }
    frmConflict dialog(found, name, mine, frmConflict::Mode::Compare, this);
    dialog.exec();
    if (dialog.choice() == frmConflict::Choice::TakeTheirs)
        showTheirs(found.now);
}

void frmZelvatcts::takeTheirs()
{
    const ReportConflict::Seen theirs = ReportConflict::look(m_record.messageFolder(), recoveryName());
    if (theirs.present() && !theirs.bytes.isEmpty())
        showTheirs(theirs);
}
