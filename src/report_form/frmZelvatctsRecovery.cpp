// The report form's unsaved input, kept for recovery: what is kept, when it is written and
// dropped, and the form opened again with it.

#include "report_form/frmZelvatcts.h"

#include "report_form/FormInUse.h"
#include "report_form/FormRecoveryKeeper.h"
#include "store/SaveStamps.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>

namespace {

QString textOf(const QWidget *box)
{
    if (const auto *line = qobject_cast<const QLineEdit *>(box))
        return line->text();
    return static_cast<const QPlainTextEdit *>(box)->toPlainText();
}

void setTextOf(QWidget *box, const QString &text)
{
    if (auto *line = qobject_cast<QLineEdit *>(box))
        line->setText(text);
    else
        static_cast<QPlainTextEdit *>(box)->setPlainText(text);
}

// Messages of the loader while the form finds the file it was opened from are not shown: the
// input is restored whether or not that file still reads.
struct Quiet : Notifier {
    void show(const Notice &) override {}
};

} // namespace

QString frmZelvatcts::recoveryName() const
{
    return m_record.fileName().isEmpty() ? m_eventNumber : m_record.fileName();
}

FormRecovery::Input frmZelvatcts::captureInput() const
{
    FormRecovery::Input input(m_context.programFolder);
    ZelvatMsg &r = input.record;
    r.setTYP(BuildTypeList());
    r.setEID(m_eventNumber);
    r.setMID(m_messageId);
    // The boxes as they stand, blanks and all: the operator goes on typing where they were.
    for (const FormFields::Box &b : FormFields::boxes()) {
        const QString text = textOf(const_cast<frmZelvatcts *>(this)->boxWidget(b.group, b.index));
        r.setRawText(b.key, b.multiLine ? escapeBreaks(text) : text);
    }
    r.setCON(m_conscious);
    r.setBRE(m_breathing);
    r.setAST(m_state);
    input.openedFrom = m_record.fileName();
    input.update = m_update;
    input.contact = chkReqContact->isChecked();
    return input;
}

void frmZelvatcts::restoreInput(const FormRecovery::Input &input)
{
    show();
    setWindowTitle(input.openedFrom.isEmpty() ? QStringLiteral("Zelvat - New report") : QStringLiteral("Zelvat - Report form"));
    // Saved again into the file it was opened from, as it would have been.
    m_record.Clear();
    if (!input.openedFrom.isEmpty()) {
        Quiet quiet;
        ScopedNotifier scoped(&quiet);
        if (!ReportConflict::load(m_record, input.openedFrom, &m_seen))
            m_record.Clear();
        // Written after the input was last kept, the file is not what the input was typed over:
        // the first save asks the operator.
        if (m_seen.present() && m_seen.file.modifiedNs / 1000000 > input.written.toMSecsSinceEpoch())
            m_seen.file = SafeFile::Entry{};
    }
    const ZelvatMsg &r = input.record;
    selectTypesFromList(r.TYP());
    m_eventNumber = r.EID(); // the event ID it had: no new number is taken
    m_messageId = r.MID();
    Label20->setText(m_eventNumber);
    for (const FormFields::Box &b : FormFields::boxes()) {
        const QString text = r.rawText(b.key);
        setTextOf(boxWidget(b.group, b.index), b.multiLine ? unescapeBreaks(text) : text);
    }
    if (r.CON() == 0 || r.CON() == 1)
        optCons[r.CON()]->setChecked(true);
    if (r.BRE() == 0 || r.BRE() == 1)
        optBrea[r.BRE()]->setChecked(true);
    m_state = r.AST();
    m_update = input.update;
    HighlightRequiredFields();
    chkReqContact->setChecked(input.contact);
    SetButtonsForState(m_state);
    ShowStateCaption(m_state);
    armRecovery();
    // Edited again here: the other positions see it open (a new report once its first save gives
    // it a file).
    m_inUse->hold(input.openedFrom);
    setStatus(QStringLiteral("Restored the input kept at %1; it is not saved yet").arg(FormRecovery::writtenText(input)));
}

void frmZelvatcts::armRecovery()
{
    if (m_recovery || m_eventNumber.isEmpty())
        return;
    m_recovery = new FormRecoveryKeeper(
        m_context.programFolder, recoveryName(), [this] { return captureInput(); }, [this](const QString &s) { setStatus(s); },
        this);
    // Every change the operator can make after the form was filled: typing, the type buttons,
    // the answers and the contact request.
    const auto note = [this] { m_recovery->noteChange(); };
    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *box = boxWidget(b.group, b.index);
        if (auto *line = qobject_cast<QLineEdit *>(box))
            connect(line, &QLineEdit::textChanged, m_recovery, note);
        else
            connect(static_cast<QPlainTextEdit *>(box), &QPlainTextEdit::textChanged, m_recovery, note);
    }
    for (QPushButton *b : cmdRtype)
        connect(b, &QPushButton::clicked, m_recovery, note);
    for (QRadioButton *b : optCons)
        connect(b, &QRadioButton::toggled, m_recovery, note);
    for (QRadioButton *b : optBrea)
        connect(b, &QRadioButton::toggled, m_recovery, note);
    connect(chkReqContact, &QCheckBox::toggled, m_recovery, note);
}

void frmZelvatcts::keepInputNow()
{
    if (m_recovery)
        m_recovery->keepNow();
}

void frmZelvatcts::dropRecovery()
{
    if (m_recovery)
        m_recovery->drop();
}

void frmZelvatcts::settleRecovery(bool closedByOperator)
{
    // Closed with Close, Escape or the window's close box: the input is kept among the closed
    // reports, which File > Reopen Closed Report brings back. Closed by the program (the main
    // window closing): the input is kept for the next start.
    if (closedByOperator && m_recovery)
        m_recovery->putAway();
    else
        keepInputNow();
}
