#pragma once

#include "report_form/FormLayout.h"
#include "sheet/ReportSheet.h"
#include "store/FormFields.h"
#include "store/FormRecovery.h"
#include "store/ReportConflict.h"
#include "store/ZelvatMsg.h"

#include <QPointer>
#include <QWidget>
#include <array>
#include <functional>

class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QStatusBar;
class QTabWidget;
class QTimer;
class CatalogUpdates;
class FormInUse;
class FormRecoveryKeeper;
class RepeatCallerStrip;
class ReportChangeStrip;
class ReportCatalog;
class ServerSession;
class ZelvatIni;

// What a report form needs from the program: the program folder, the station settings held by
// the main window, the main window's list refresh (BuildNewMsgList), the main window's rows of
// every report for the repeat-caller hint (without them the form keeps rows of its own), and the
// watch that keeps them current, whose notices tell the form that its report was changed.
struct ReportFormContext {
    QString programFolder;
    ZelvatIni *station = nullptr;
    std::function<void()> buildNewMsgList;
    ReportCatalog *reports = nullptr;
    CatalogUpdates *updates = nullptr;
};

// The report form: the window in which the operator writes one incident report, or opens a
// saved one to read, save again, update, delete or submit it.
class frmZelvatcts : public QWidget {
    Q_OBJECT

public:
    explicit frmZelvatcts(const ReportFormContext &context, QWidget *parent = nullptr);
    ~frmZelvatcts() override;

    // Opens the form for one report: "NEW" exactly for a new report, otherwise a report name.
    void StartForm(const QString &eventRecord);

    // The one report form of the program: opens it for `eventRecord`, or, when a form is
    // already open, brings that one to the front and says so, so that unsaved input in it is
    // never lost. Returns the form shown. With `recovered`, the form opens with that input kept
    // when a program stopped, instead of `eventRecord`.
    static frmZelvatcts *open(const ReportFormContext &context, const QString &eventRecord,
                              const FormRecovery::Input *recovered = nullptr);
    static frmZelvatcts *current();

    // The six last-used header texts, shared by every report form while the program runs.
    struct LastUsed {
        QString address, otherLocation, city, name, personAddress, phone;
    };
    static LastUsed &lastUsedValues();
    static void clearLastUsed();

    // The form's own connection to the message server (also used for the link test).
    ServerSession *session() const { return m_session; }

    int reportState() const { return m_state; }
    bool updateFlag() const { return m_update; }
    QString eventNumber() const { return m_eventNumber; }
    const ZelvatMsg &record() const { return m_record; }
    QString statusText() const;
    void setStatus(const QString &text);

    // The event type selection and the medical answers (-1 unanswered, 0 No, 1 Yes).
    bool typeSelected(int index) const { return m_typeSelected[index]; }
    QString BuildTypeList() const;
    qint16 consciousAnswer() const { return m_conscious; }
    qint16 breathingAnswer() const { return m_breathing; }

    // Handlers and routines under their design names, public for the window's own wiring and
    // for tests that drive the form as an operator would.
    void cmdRtype_Click(int index);
    void cmdSave_Click();
    void cmdDelete_Click();
    void cmdClose_Click();
    void cmdSubmit_Click();
    void cmdLast_Click(int index);
    void SaveFormToRecord();
    void LoadRecordToForm();
    void SetButtonsForState(int state);
    void ShowStateCaption(int state);
    void HighlightRequiredFields();
    bool CheckRequiredFields();
    void LockFields(const QString &mode);
    void ClearFields();
    void ShowFirstEnabledTab();
    void enableTabControls(int tab, bool enabled);
    void focusFirstInTab(int tab);
    void Form_Resize();
    void selectTypesFromList(const QString &text);
    // The form's waits are its session's: a cooperative pause, and the one-shot timer of the
    // connection time-outs (capped at 65535 ms).
    void Pause(int milliSeconds);
    void StartGpTimer(int milliSeconds);

    // Print and the clipboard (FormHandOver.cpp). The report as it stands on the form: every box,
    // the types and answers, the event pair and the state, with the save stamps of its last save
    // (or those a save would give now, for a report never saved), the contact request and the
    // update mark; Print puts it on paper through the print dialog.
    SheetReport shownReport() const;
    void cmdPrint_Click();
    // Cut, Copy and Paste on the box with the focus; what is pasted follows the box's key rules.
    void editCut();
    void editCopy();
    void editPaste();
    // Unsaved input kept for recovery (frmZelvatctsRecovery.cpp). What the form holds now, as
    // it is kept; the name its recovery file goes by (the report it was opened from, or its event
    // number); and a write of it now, should input wait to be kept.
    FormRecovery::Input captureInput() const;
    QString recoveryName() const;
    void keepInputNow();
    // Who else has the report open, and this form's mark of it (FormInUse).
    FormInUse *inUse() const { return m_inUse; }

    // The report's file against what the form loaded (FormConflicts.cpp): the strip tells of a
    // change made elsewhere; Compare shows it; Take Theirs shows their version in the form and
    // keeps the operator's input among the closed reports.
    void lookForChange();
    void compareWithFile();
    void takeTheirs();
    // The report's file as the form loaded or last wrote it: what its next write expects to replace.
    const ReportConflict::Seen &seen() const { return m_seen; }

signals:
    // The record was written to disk (after Save, Update, Delete, and both saves of a submission).
    void reportSaved(const QString &eventNumber, int state);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void buildControls();
    QWidget *makeBox(const FormFields::Box &b, QWidget *parent);
    QLabel *makeLabel(const QString &text, QWidget *parent, const TwipsRect &place, QWidget *buddy = nullptr,
                      const char *toolTip = nullptr);
    QLabel *labelOf(const QWidget *box) const;
    QWidget *&boxWidget(FormFields::Group group, int index);
    const FormFields::Box *boxRow(const QObject *widget) const;
    void writeBoxesTo(ZelvatMsg &record) const;
    int px(double twips) const;
    double twips(int pixels) const;
    void place(QWidget *w, const TwipsRect &r) const;
    void applyLayout();
    void onTabChanged(int tab);
    bool onKeyPress(const FormFields::Box &b, QKeyEvent *event);
    void onChange(const FormFields::Box &b);
    void onLeave(const FormFields::Box &b);
    void optCons_Click(int index);
    void optBrea_Click(int index);
    void chkReqContact_Click();
    void tmrClock_Timer();
    bool saveRecord(qint16 state);
    void refreshList();
    // Writes the record in `state` when its file is still the one loaded; otherwise asks the
    // operator first (FormConflicts.cpp). True when the record was written as asked.
    bool writeChecked(qint16 state);
    void showTheirs(const ReportConflict::Seen &theirs);
    void installClipboardRules();
    void pasteInto(QWidget *box, bool selection);
    friend class FormClipboard;
    void restoreInput(const FormRecovery::Input &input);
    void armRecovery();
    void dropRecovery();
    void settleRecovery(bool closedByOperator);

    ReportFormContext m_context;
    ZelvatMsg m_record;
    qint16 m_state = 0;
    QString m_eventNumber;
    QString m_messageId;
    std::array<bool, 4> m_typeSelected {};
    qint16 m_conscious = -1;
    qint16 m_breathing = -1;
    bool m_update = false;
    bool m_closing = false;
    bool m_closeWhenIdle = false;
    ServerSession *m_session = nullptr;
    FormLayout m_layout;
    FormRecoveryKeeper *m_recovery = nullptr;
    FormInUse *m_inUse = nullptr;
    bool m_dropInput = false; // Close or Escape: the operator gives the unsaved input up
    ReportConflict::Seen m_seen; // the report's file as the form loaded or last wrote it
    bool m_sending = false;      // a submission holds the report's lock

public:
    // The controls, under their design names (control arrays by index).
    std::array<QWidget *, 9> txtHeader {};
    std::array<QWidget *, 2> txtMed {};
    std::array<QWidget *, 1> txtFire {};
    std::array<QWidget *, 6> txtLaw {};
    std::array<QPushButton *, 4> cmdRtype {};
    std::array<QRadioButton *, 2> optCons {};
    std::array<QRadioButton *, 2> optBrea {};
    std::array<QPushButton *, 2> cmdLast {};
    std::array<QGroupBox *, 4> nframe {};
    QGroupBox *Frame1 = nullptr;
    QGroupBox *Frame2 = nullptr;
    QGroupBox *Frame3 = nullptr;
    QGroupBox *Frame4 = nullptr;
    QGroupBox *Frame5 = nullptr;
    QCheckBox *chkReqContact = nullptr;
    QTabWidget *SSTab1 = nullptr;
    QLabel *Label6 = nullptr;   // "Conscious?"
    QLabel *Label18 = nullptr;  // "Phone:" / "Phone:*"
    QLabel *Label19 = nullptr;  // "Event ID:"
    QLabel *Label20 = nullptr;  // the event number
    QLabel *Label22 = nullptr;  // the state caption
    QLabel *Label23 = nullptr;  // "Breathing?"
    QPushButton *cmdSubmit = nullptr;
    QPushButton *cmdSave = nullptr;
    QPushButton *cmdDelete = nullptr;
    QPushButton *cmdClose = nullptr;
    QPushButton *cmdPrint = nullptr;
    QPushButton *cmdVersions = nullptr; // "Earlier Versions...", left of Print
    QStatusBar *sbrStatus = nullptr;
    QLabel *sbrStatusPanel = nullptr;      // panel "Status"
    QLabel *sbrCurrentTimePanel = nullptr; // panel "CurrentTime"
    QTimer *tmrClock = nullptr;
    RepeatCallerStrip *lblRepeatCaller = nullptr; // earlier calls from the same address or phone
    ReportChangeStrip *lblReportChanged = nullptr; // the report was changed by another program
};
