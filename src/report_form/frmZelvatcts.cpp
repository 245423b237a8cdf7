#include "report_form/frmZelvatcts.h"

#include "report_form/FormInUse.h"
#include "report_form/FormKeys.h"
#include "report_form/RepeatCallerStrip.h"
#include "ui/Captions.h"
#include "ui/Paint.h"
#include "ui/Twips.h"
#include "ui/WindowAccessibility.h"

#include "link/Outbox.h"
#include "link/RequiredFields.h"
#include "link/ServerSession.h"
#include "link/Submission.h"
#include "report_form/ReportChangeStrip.h"
#include "store/CatalogUpdates.h"
#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/EventNumbers.h"
#include "store/FormPaste.h"
#include "store/FormRules.h"
#include "store/SaveStamps.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/StringLib.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>

namespace {

using Key = ZelvatMsg::Key;

QPointer<frmZelvatcts> g_current;

QString boxText(const QWidget *box)
{
    if (const auto *line = qobject_cast<const QLineEdit *>(box))
        return line->text();
    return static_cast<const QPlainTextEdit *>(box)->toPlainText();
}

void setBoxText(QWidget *box, const QString &text)
{
    if (boxText(box) == text)
        return;
    if (auto *line = qobject_cast<QLineEdit *>(box))
        line->setText(text);
    else
        static_cast<QPlainTextEdit *>(box)->setPlainText(text);
}

} // namespace

// --- opening --------------------------------------------------------------------------------

frmZelvatcts::LastUsed &frmZelvatcts::lastUsedValues()
{
    static LastUsed values;
    return values;
}

void frmZelvatcts::clearLastUsed()
{
    lastUsedValues() = LastUsed{};
}

frmZelvatcts *frmZelvatcts::current()
{
    return g_current;
}

frmZelvatcts *frmZelvatcts::open(const ReportFormContext &context, const QString &eventRecord,
                                 const FormRecovery::Input *recovered)
{
    if (g_current && g_current->isVisible()) {
        g_current->raise();
        g_current->activateWindow();
        notify(QStringLiteral("The report %1 is still open. Save or close it before opening another report.")
                   .arg(g_current->eventNumber()),
               Notice::Exclamation);
        return g_current;
    }
    auto *form = new frmZelvatcts(context);
    form->setAttribute(Qt::WA_DeleteOnClose);
    g_current = form;
    if (recovered)
        form->restoreInput(*recovered);
    else
        form->StartForm(eventRecord);
    return form;
}

frmZelvatcts::frmZelvatcts(const ReportFormContext &context, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_context(context)
    , m_record(context.programFolder)
    , m_layout(FormLayout::design())
{
    WindowAccessibility::presentAsWindow("frmZelvatcts");
    buildControls();
    m_session = new ServerSession(context.station, this);
    m_inUse = new FormInUse(m_record.messageFolder(), this);
    connect(m_session, &ServerSession::status, this, &frmZelvatcts::setStatus);

    // The contact request is hidden until LAW is chosen.
    chkReqContact->hide();
    // No type is selected: every tab and every control inside the tab frames is disabled.
    for (int tab = 0; tab < FormRules::TypeCount; ++tab) {
        m_typeSelected[tab] = false;
        SSTab1->setTabEnabled(tab, false);
        enableTabControls(tab, false);
    }
    // The medical questions are unanswered and cannot be answered yet.
    m_conscious = -1;
    m_breathing = -1;
    for (QRadioButton *b : optCons)
        b->setEnabled(false);
    for (QRadioButton *b : optBrea)
        b->setEnabled(false);
    // Tab 0 is current, handled as if it had just been chosen.
    SSTab1->setCurrentIndex(0);
    onTabChanged(0);
    connect(SSTab1, &QTabWidget::currentChanged, this, &frmZelvatcts::onTabChanged);
    // The clock runs; Submit waits for StartForm to set the buttons by state.
    tmrClock->start();
    cmdSubmit->setEnabled(false);
    // Empty required boxes are marked.
    HighlightRequiredFields();
    installClipboardRules();
    // The folder watch tells the form of changes to its report's file made by other programs.
    if (context.updates)
        connect(context.updates, &CatalogUpdates::changed, this, &frmZelvatcts::lookForChange);
}

frmZelvatcts::~frmZelvatcts() = default;

void frmZelvatcts::StartForm(const QString &eventRecord)
{
    show();
    FormInUse::Choice use = FormInUse::Choice::Edit;
    if (eventRecord != QLatin1String("NEW")) {
        setWindowTitle(QStringLiteral("Zelvat - Report form"));
        use = m_inUse->opening(this, eventRecord);
        if (use == FormInUse::Choice::Cancel) {
            close();
            return;
        }
        m_record.Clear();
        if (ReportConflict::load(m_record, eventRecord, &m_seen)) {
            m_state = m_record.AST();
            LoadRecordToForm();
            if (m_record.fileName() != m_record.EID())
                notify(QStringLiteral("The report file %1.911 holds the event ID %2. It is saved back to %1.911; no other "
                                      "report is overwritten.")
                           .arg(m_record.fileName(), m_record.EID()),
                       Notice::Information);
        } else {
            notify(QStringLiteral("Could not load message file \r\n") + eventRecord, Notice::Exclamation, QStringLiteral(" "));
            close();
            return;
        }
    } else {
        m_state = Zelvat::StateNew;
        setWindowTitle(QStringLiteral("Zelvat - New report"));
        RunError error;
        const auto pair = m_context.station ? EventNumbers::newEventPair(*m_context.station, m_record, &error) : std::nullopt;
        if (!pair) {
            // No number could be taken (the counter is used up, the location ID cannot name a
            // file, the settings are locked): a report without an event number cannot be saved.
            notify(error.description.isEmpty() ? QStringLiteral("No event number could be taken.") : error.description,
                   Notice::Exclamation);
            close();
            return;
        }
        m_eventNumber = pair->eventNumber;
        m_messageId = pair->messageId;
        Label20->setText(m_eventNumber);
    }
    SetButtonsForState(m_state);
    ShowStateCaption(m_state);
    if (eventRecord != QLatin1String("NEW"))
        m_inUse->settle(this, eventRecord, use);
    armRecovery();
}

// --- states and buttons ---------------------------------------------------------------------

void frmZelvatcts::SetButtonsForState(int state)
{
    const auto view = FormRules::viewOfState(state);
    if (!view) {
        cmdSave->setText(QStringLiteral("Save"));
        return;
    }
    cmdDelete->setEnabled(view->deleteEnabled);
    cmdSave->setEnabled(view->saveEnabled);
    cmdSave->setText(view->saveCaption);
    cmdSubmit->setEnabled(view->submitEnabled);
    cmdClose->setEnabled(view->closeEnabled);
}

void frmZelvatcts::ShowStateCaption(int state)
{
    if (const auto view = FormRules::viewOfState(state))
        Label22->setText(view->caption);
}

QString frmZelvatcts::statusText() const
{
    return sbrStatusPanel->text();
}

void frmZelvatcts::setStatus(const QString &text)
{
    sbrStatusPanel->setText(text);
}

void frmZelvatcts::Pause(int milliSeconds)
{
    m_session->Pause(milliSeconds);
}

void frmZelvatcts::StartGpTimer(int milliSeconds)
{
    m_session->StartGpTimer(milliSeconds);
}

void frmZelvatcts::tmrClock_Timer()
{
    sbrCurrentTimePanel->setText(DatetimeLib::clock(DatetimeLib::now()));
}

// --- record and controls --------------------------------------------------------------------

void frmZelvatcts::LoadRecordToForm()
{
    selectTypesFromList(m_record.TYP());
    m_eventNumber = m_record.EID();
    m_messageId = m_record.MID();
    Label20->setText(m_eventNumber);
    for (const FormFields::Box &b : FormFields::boxes())
        setBoxText(boxWidget(b.group, b.index), FormFields::shownValue(b, m_record));
    // A stored answer other than 0 or 1 (-1 for unanswered) has no button: none is checked.
    if (m_record.CON() == 0 || m_record.CON() == 1)
        optCons[m_record.CON()]->setChecked(true);
    if (m_record.BRE() == 0 || m_record.BRE() == 1)
        optBrea[m_record.BRE()]->setChecked(true);
    HighlightRequiredFields();
}

void frmZelvatcts::SaveFormToRecord()
{
    saveRecord(m_record.AST());
}

// Copies every control into the record (cleared by the caller, its state given), stamps it and
// writes it. Characters the file's code page cannot hold are named to the operator, who keeps
// the form open to correct them; the report is saved either way so nothing typed is lost.
bool frmZelvatcts::saveRecord(qint16 state)
{
    m_record.setAST(state);
    writeBoxesTo(m_record);
    if (m_context.station)
        applySaveStamps(m_record, *m_context.station, DatetimeLib::now());

    QStringList unencodable;
    for (const FormFields::Box &b : FormFields::boxes()) {
        const QString odd = CodePage::unencodable(boxText(boxWidget(b.group, b.index)));
        if (!odd.isEmpty())
            unencodable << QStringLiteral("%1 \"%2\"").arg(FormFields::caption(b), odd);
    }
    if (!unencodable.isEmpty())
        notify(QStringLiteral("These characters cannot be stored in a report file and were saved as \"?\":\r\n")
                   + unencodable.join(QStringLiteral("\r\n")),
               Notice::Exclamation);

    // Text the report file cannot hold is refused here, naming the box; the form stays open.
    ZelvatMsg::Key key {};
    if (const QString why = m_record.storageProblem(&key); !why.isEmpty()) {
        const FormFields::Box *b = FormFields::boxOf(key);
        notify(QStringLiteral("The report was not saved: %1 %2. Shorten it, or take out the control characters.")
                   .arg(b ? QStringLiteral("\"%1\"").arg(QString::fromLatin1(b->name)) : QString(), why),
               Notice::Exclamation);
        return false;
    }
    const bool saved = writeChecked(state);
    LastUsed &last = lastUsedValues();
    last.address = boxText(txtHeader[1]);
    last.otherLocation = boxText(txtHeader[2]);
    last.city = boxText(txtHeader[8]);
    last.name = boxText(txtHeader[3]);
    last.personAddress = boxText(txtHeader[4]);
    last.phone = boxText(txtHeader[5]);
    if (saved) {
        dropRecovery();
        emit reportSaved(m_eventNumber, state);
    }
    return saved;
}

// What the form holds, into a record: the types, the event pair, every box and the answers.
void frmZelvatcts::writeBoxesTo(ZelvatMsg &record) const
{
    record.setTYP(BuildTypeList());
    record.setEID(m_eventNumber);
    record.setMID(m_messageId);
    for (const FormFields::Box &b : FormFields::boxes())
        FormFields::storeValue(b, record, boxText(const_cast<frmZelvatcts *>(this)->boxWidget(b.group, b.index)));
    record.setCON(m_conscious);
    record.setBRE(m_breathing);
}

void frmZelvatcts::refreshList()
{
    if (m_context.buildNewMsgList)
        m_context.buildNewMsgList();
}

void frmZelvatcts::cmdSave_Click()
{
    if (cmdSave->text() == QLatin1String("Update")) {
        // A submitted report is being amended: mark the details, reopen it as new.
        m_update = true;
        const QString line = FormRules::updateLine(m_record.EID(), m_record.ADT(), m_record.ATM());
        setBoxText(txtHeader[7], line + QLatin1Char('\n') + boxText(txtHeader[7]));
        m_record.Clear();
        m_state = Zelvat::StateNew;
        saveRecord(Zelvat::StateNew);
        refreshList();
        SetButtonsForState(Zelvat::StateNew);
        ShowStateCaption(Zelvat::StateNew);
        return;
    }
    m_update = false;
    m_record.Clear();
    // A save that failed has told the operator why; the form stays open so nothing typed is lost.
    if (!saveRecord(Zelvat::StateDraft))
        return;
    refreshList();
    ShowStateCaption(Zelvat::StateDraft);
    close();
}

void frmZelvatcts::cmdDelete_Click()
{
    m_record.Clear();
    if (!saveRecord(Zelvat::StateDeleted))
        return;
    refreshList();
    close();
}

void frmZelvatcts::cmdClose_Click()
{
    m_dropInput = true;
    close();
}

void frmZelvatcts::cmdLast_Click(int index)
{
    const LastUsed &last = lastUsedValues();
    if (index == 0) {
        setBoxText(txtHeader[1], last.address);
        setBoxText(txtHeader[2], last.otherLocation);
        setBoxText(txtHeader[8], last.city);
    } else if (index == 1) {
        setBoxText(txtHeader[3], last.name);
        setBoxText(txtHeader[4], last.personAddress);
        setBoxText(txtHeader[5], last.phone);
    }
}

void frmZelvatcts::closeEvent(QCloseEvent *event)
{
    // Closing while a session waits: the session is cancelled (socket closed, the report stays
    // Ready on disk) and the form closes once the submission has unwound.
    if (m_session->busy()) {
        m_closeWhenIdle = true;
        m_session->cancel(QStringLiteral("the report form was closed"));
        event->ignore();
        return;
    }
    m_closing = true;
    tmrClock->stop();
    m_inUse->release();
    settleRecovery(m_dropInput || event->spontaneous());
    QWidget::closeEvent(event);
}

void frmZelvatcts::LockFields(const QString &mode)
{
    const bool lock = mode == QLatin1String("LOCK");
    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *box = boxWidget(b.group, b.index);
        if (auto *line = qobject_cast<QLineEdit *>(box))
            line->setReadOnly(lock);
        else if (auto *text = qobject_cast<QPlainTextEdit *>(box))
            text->setReadOnly(lock);
    }
    chkReqContact->setEnabled(lock); // the same flag, not its inverse
}

void frmZelvatcts::ClearFields()
{
    for (const FormFields::Box &b : FormFields::boxes())
        setBoxText(boxWidget(b.group, b.index), QString());
}

// --- required fields ------------------------------------------------------------------------

void frmZelvatcts::HighlightRequiredFields()
{
    // The boxes that must be filled whenever their type is chosen start light red while empty.
    for (const FormFields::Box &b : FormFields::boxes()) {
        if (b.required == FormFields::Required::Never || b.required == FormFields::Required::ForContact)
            continue;
        QWidget *box = boxWidget(b.group, b.index);
        if (StringLib::trimBlanks(boxText(box)).isEmpty())
            Paint::paint(box, Paint::colour(Zelvat::RequiredFieldColour));
        else
            Paint::clear(box);
    }
}

// --- typing ---------------------------------------------------------------------------------

bool frmZelvatcts::eventFilter(QObject *watched, QEvent *event)
{
    const FormFields::Box *b = boxRow(watched);
    if (event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        // Escape closes the form from any box, without saving.
        if (key->key() == Qt::Key_Escape) {
            cmdClose_Click();
            return true;
        }
        if (b)
            return onKeyPress(*b, key);
    } else if (event->type() == QEvent::FocusOut && b) {
        onLeave(*b);
    }
    return QWidget::eventFilter(watched, event);
}

// The key rules of a box: true when the key was dealt with here (refused with a beep, or put in
// as its upper-case letter).
bool frmZelvatcts::onKeyPress(const FormFields::Box &b, QKeyEvent *event)
{
    QWidget *box = boxWidget(b.group, b.index);
    // Only typed characters reach the key rules; Tab moves the focus as always.
    const QString text = event->text();
    if (!box->isEnabled() || text.size() != 1 || event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab)
        return false;
    // Typing clears a highlight of the box, and of the status text for the summary and law boxes.
    Paint::clear(box);
    if (b.group == FormFields::Group::Header || b.group == FormFields::Group::Law)
        setStatus(QString());
    const QChar k = FormPaste::typed(b, text[0]);
    if (k.isNull()) {
        QApplication::beep();
        return true;
    }
    if (k == text[0])
        return false;
    if (auto *line = qobject_cast<QLineEdit *>(box))
        line->insert(QString(k));
    else
        static_cast<QPlainTextEdit *>(box)->insertPlainText(QString(k));
    return true;
}

void frmZelvatcts::onChange(const FormFields::Box &b)
{
    QWidget *box = boxWidget(b.group, b.index);
    if (!box)
        return; // still being built
    Paint::clear(box);
    // The address and the phone of the reporting person stand in for each other.
    if (b.required == FormFields::Required::ForContact && txtHeader[4] && txtHeader[5]) {
        Paint::clear(txtHeader[4]);
        Paint::clear(txtHeader[5]);
    }
}

void frmZelvatcts::onLeave(const FormFields::Box &b)
{
    if (m_closing)
        return;
    QWidget *box = boxWidget(b.group, b.index);
    if (b.leave == FormFields::Leave::properCase)
        setBoxText(box, StringLib::properCase(boxText(box)));
    else if (b.leave == FormFields::Leave::LastSeen)
        setBoxText(box, FormRules::ResolveLastSeen(boxText(box), DatetimeLib::now()));
    if (b.key == Key::AD1 || b.key == Key::RPP)
        lblRepeatCaller->lookUp(boxText(txtHeader[1]), boxText(txtHeader[5]), m_eventNumber);
}

// --- submission -----------------------------------------------------------------------------

bool frmZelvatcts::CheckRequiredFields()
{
    ZelvatMsg shown(m_context.programFolder);
    writeBoxesTo(shown);
    const QList<RequiredFields::Failure> failures = RequiredFields::check(shown, chkReqContact->isChecked());
    const QColor missing = Paint::colour(Zelvat::MissingDataColour);
    // Each failing box is painted and takes the focus, so the last one ends up focused.
    for (const RequiredFields::Failure &f : failures) {
        switch (f.target) {
        case RequiredFields::Target::Box: {
            QWidget *box = boxWidget(f.box->group, f.box->index);
            Paint::paint(box, missing);
            if (f.box->group == FormFields::Group::Med)
                SSTab1->setCurrentIndex(0);
            box->setFocus();
            break;
        }
        case RequiredFields::Target::ConsciousLabel:
            Paint::paint(Label6, missing);
            break;
        case RequiredFields::Target::BreathingLabel:
            Paint::paint(Label23, missing);
            break;
        case RequiredFields::Target::TypeButtons:
            for (QPushButton *b : cmdRtype)
                Paint::paint(b, missing);
            notify(RequiredFields::noEventTypeMessage(), Notice::Exclamation);
            txtHeader[0]->setFocus();
            break;
        }
    }
    return failures.isEmpty();
}

void frmZelvatcts::cmdSubmit_Click()
{
    if (m_session->busy())
        return; // one session at a time
    if (ServerSession::anyBusy() || Outbox::sending()) {
        // The outbox stops after the report in hand, so that this one goes next.
        Outbox::makeWay();
        setStatus(Outbox::sending() ? QStringLiteral("The outbox is sending a Ready report: Submit again in a moment")
                                    : QStringLiteral("Another session with the message server is running: Submit again when it is done"));
        return;
    }
    Submission::Hooks hooks;
    hooks.checkRequiredFields = [this] { return CheckRequiredFields(); };
    hooks.saveAs = [this](qint16 state) { return saveRecord(state); };
    hooks.stateChanged = [this](qint16 state) {
        m_state = state;
        SetButtonsForState(state);
        ShowStateCaption(state);
    };
    hooks.refreshList = [this] { refreshList(); };
    const QString name = m_record.fileName().isEmpty() ? m_eventNumber : m_record.fileName();
    m_sending = true; // the submission takes the report's lock before it saves
    const Submission::Outcome outcome = Submission::submit(name, m_state, m_record, chkReqContact->isChecked(), m_update,
                                                           *m_session, m_context.station ? m_context.station->Enc : QString(),
                                                           hooks);
    m_sending = false;
    if (outcome == Submission::Outcome::SentNotMarked)
        setStatus(QStringLiteral("Message transferred, but not marked Submitted"));
    if (outcome == Submission::Outcome::Sent || m_closeWhenIdle) {
        m_closeWhenIdle = false;
        close();
    }
}
