// The report form's controls: built once from the layout in twips and the table of boxes, and
// placed again when the window is resized.
#include "report_form/frmZelvatcts.h"

#include "dialogs/frmVersions.h"
#include "report_form/FormKeys.h"
#include "report_form/RepeatCallerStrip.h"
#include "report_form/ReportChangeStrip.h"
#include "ui/Captions.h"
#include "ui/Paint.h"
#include "ui/Twips.h"
#include "ui/WindowAccessibility.h"
#include "store/FormRules.h"
#include "support/CommonConst.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>

int frmZelvatcts::px(double twips) const
{
    return Twips::toPixels(this, twips);
}

double frmZelvatcts::twips(int pixels) const
{
    return Twips::fromPixels(this, pixels);
}

void frmZelvatcts::place(QWidget *w, const TwipsRect &r) const
{
    w->setGeometry(px(r.left), px(r.top), std::max(0, px(r.width)), std::max(0, px(r.height)));
}

QLabel *frmZelvatcts::makeLabel(const QString &text, QWidget *parent, const TwipsRect &place, QWidget *buddy,
                                const char *toolTip)
{
    auto *label = new QLabel(text, parent);
    this->place(label, place);
    if (buddy) {
        label->setBuddy(buddy);
        buddy->setProperty("caption", text);
    }
    if (toolTip)
        label->setToolTip(QString::fromLatin1(toolTip));
    return label;
}

QWidget *&frmZelvatcts::boxWidget(FormFields::Group group, int index)
{
    switch (group) {
    case FormFields::Group::Header: return txtHeader[index];
    case FormFields::Group::Med: return txtMed[index];
    case FormFields::Group::Fire: return txtFire[index];
    case FormFields::Group::Law: break;
    }
    return txtLaw[index];
}

QLabel *frmZelvatcts::labelOf(const QWidget *box) const
{
    for (QLabel *label : findChildren<QLabel *>()) {
        if (label->buddy() == box)
            return label;
    }
    return nullptr;
}

const FormFields::Box *frmZelvatcts::boxRow(const QObject *widget) const
{
    for (const FormFields::Box &b : FormFields::boxes()) {
        if (const_cast<frmZelvatcts *>(this)->boxWidget(b.group, b.index) == widget)
            return &b;
    }
    return nullptr;
}

QWidget *frmZelvatcts::makeBox(const FormFields::Box &b, QWidget *parent)
{
    QWidget *box = nullptr;
    if (b.multiLine) {
        auto *edit = new QPlainTextEdit(parent);
        edit->setTabChangesFocus(true);
        connect(edit, &QPlainTextEdit::textChanged, this, [this, &b] { onChange(b); });
        box = edit;
    } else {
        auto *edit = new QLineEdit(parent);
        connect(edit, &QLineEdit::textChanged, this, [this, &b] { onChange(b); });
        box = edit;
    }
    box->setObjectName(FormFields::objectName(b));
    box->setToolTip(QString::fromLatin1(b.toolTip));
    box->installEventFilter(this);
    makeLabel(FormFields::caption(b), parent, FormLayout::labelOf(b.group, b.index), box, b.labelTip);
    return box;
}

void frmZelvatcts::buildControls()
{
    setObjectName(QStringLiteral("frmZelvatcts"));
    setFont(QFont(QStringLiteral("Calibri"), 10));
    installEventFilter(this);

    Label22 = new QLabel(this);
    Label22->setObjectName(QStringLiteral("Label22"));
    Label22->setFont(QFont(QStringLiteral("Calibri"), 14, QFont::Bold));

    // "Incident Summary": what, where, the city and the type buttons; "Reporting Person Details";
    // last seen and details.
    Frame1 = new QGroupBox(QStringLiteral("Incident Summary"), this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Frame2 = new QGroupBox(QStringLiteral("Reporting Person Details"), this);
    Frame2->setObjectName(QStringLiteral("Frame2"));
    Frame3 = new QGroupBox(this);
    Frame3->setObjectName(QStringLiteral("Frame3"));
    static const char *typeTips[4] = {
        "Medical emergency; requires Paramedics, Hospital transport",
        "Requires Fire Department assistance",
        "Requires Police or Sheriff assistance",
        "Requres City DPW, EOC, or City Staff assistance",
    };
    for (int i = 0; i < FormRules::TypeCount; ++i) {
        cmdRtype[i] = new QPushButton(FormRules::typeCode(i), Frame1);
        cmdRtype[i]->setObjectName(QStringLiteral("cmdRtype_%1").arg(i));
        cmdRtype[i]->setToolTip(QString::fromLatin1(typeTips[i]));
        cmdRtype[i]->setAutoFillBackground(true);
        place(cmdRtype[i], {120.0 + i * 1100, 2920, 1000, 420});
        connect(cmdRtype[i], &QPushButton::clicked, this, [this, i] { cmdRtype_Click(i); });
    }
    static const char *lastTips[2] = {"Load 'Last Used' address for this request",
                                      "Load 'Last Used' Reporting Person for this request"};
    static const char *lastNames[2] = {"Last used address", "Last used reporting person"};
    // Each clear of the lines around it: the address one between the first two boxes, the person
    // one beside its frame's title, above the frame's line.
    static const TwipsRect lastPlaces[2] = {{5700, 880, 530, 240}, {4490, 0, 530, 240}};
    for (int i = 0; i < 2; ++i) {
        cmdLast[i] = new QPushButton(QStringLiteral("L/U"), i == 0 ? Frame1 : Frame2);
        cmdLast[i]->setObjectName(QStringLiteral("cmdLast_%1").arg(i));
        cmdLast[i]->setToolTip(QString::fromLatin1(lastTips[i]));
        cmdLast[i]->setAccessibleName(QString::fromLatin1(lastNames[i]));
        place(cmdLast[i], lastPlaces[i]);
        connect(cmdLast[i], &QPushButton::clicked, this, [this, i] { cmdLast_Click(i); });
    }
    chkReqContact = new QCheckBox(QStringLiteral("Request Sheriff to contact me"), Frame2);
    chkReqContact->setObjectName(QStringLiteral("chkReqContact"));
    chkReqContact->setToolTip(QStringLiteral("If checked, make sure Phone number is filled in"));
    place(chkReqContact, {120, 2260, 4800, 330});
    connect(chkReqContact, &QCheckBox::toggled, this, &frmZelvatcts::chkReqContact_Click);

    Label19 = new QLabel(QStringLiteral("Event ID:"), this);
    Label19->setObjectName(QStringLiteral("Label19"));
    Label20 = new QLabel(QStringLiteral("<eventID>"), this);
    Label20->setObjectName(QStringLiteral("Label20"));
    Label20->setFont(QFont(QStringLiteral("Calibri"), 12, QFont::Bold));
    Label20->setTextInteractionFlags(Qt::TextSelectableByMouse);

    // The event type tabs, one frame each.
    SSTab1 = new QTabWidget(this);
    SSTab1->setObjectName(QStringLiteral("SSTab1"));
    static const char *tabCaptions[4] = {"  MEDICAL  ", "  FIRE  ", "  LAW  ", "LOCAL GOV"};
    static const char *frameCaptions[4] = {"Medical", "Fire", "Law", "Utilities"};
    for (int i = 0; i < 4; ++i) {
        auto *page = new QWidget;
        nframe[i] = new QGroupBox(QString::fromLatin1(frameCaptions[i]), page);
        nframe[i]->setObjectName(QStringLiteral("nframe_%1").arg(i));
        SSTab1->addTab(page, QString::fromLatin1(tabCaptions[i]));
    }

    // The boxes and their labels, from the table of fields.
    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *frame = b.group == FormFields::Group::Med  ? nframe[0]
            : b.group == FormFields::Group::Fire            ? nframe[1]
            : b.group == FormFields::Group::Law             ? nframe[2]
            : b.index >= 3 && b.index <= 5                   ? Frame2
            : b.index == 6 || b.index == 7                   ? Frame3
                                                             : Frame1;
        boxWidget(b.group, b.index) = makeBox(b, frame);
    }
    Label18 = labelOf(txtHeader[5]);
    Label18->setObjectName(QStringLiteral("Label18"));

    // The medical questions.
    Label6 = makeLabel(QStringLiteral("Conscious?"), nframe[0], {120, 1230, 1400, 260});
    Label6->setObjectName(QStringLiteral("Label6"));
    Frame4 = new QGroupBox(nframe[0]);
    Frame4->setObjectName(QStringLiteral("Frame4"));
    place(Frame4, {1600, 1130, 2600, 480});
    Label23 = makeLabel(QStringLiteral("Breathing?"), nframe[0], {120, 1780, 1400, 260});
    Label23->setObjectName(QStringLiteral("Label23"));
    Frame5 = new QGroupBox(nframe[0]);
    Frame5->setObjectName(QStringLiteral("Frame5"));
    place(Frame5, {1600, 1680, 2600, 480});
    for (int i = 0; i < 2; ++i) {
        const QString caption = i == 0 ? QStringLiteral("No") : QStringLiteral("Yes");
        optCons[i] = new QRadioButton(caption, Frame4);
        optCons[i]->setObjectName(QStringLiteral("optCons_%1").arg(i));
        optCons[i]->setAccessibleName(QStringLiteral("Conscious? ") + caption);
        place(optCons[i], {150.0 + i * 1150, 110, 1000, 280});
        connect(optCons[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on)
                optCons_Click(i);
        });
        optBrea[i] = new QRadioButton(caption, Frame5);
        optBrea[i]->setObjectName(QStringLiteral("optBrea_%1").arg(i));
        optBrea[i]->setAccessibleName(QStringLiteral("Breathing? ") + caption);
        place(optBrea[i], {150.0 + i * 1150, 110, 1000, 280});
        connect(optBrea[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on)
                optBrea_Click(i);
        });
    }
    makeLabel(QStringLiteral("No details of its own: describe the request in the summary and the details."), nframe[3],
              {120, 300, 8000, 260});

    // The commands, last in the tab order.
    cmdSubmit = new QPushButton(QStringLiteral("Submit"), this);
    cmdSave = new QPushButton(QStringLiteral("Save"), this);
    cmdDelete = new QPushButton(QStringLiteral("Delete"), this);
    cmdClose = new QPushButton(QStringLiteral("Close"), this);
    cmdSubmit->setObjectName(QStringLiteral("cmdSubmit"));
    cmdSave->setObjectName(QStringLiteral("cmdSave"));
    cmdDelete->setObjectName(QStringLiteral("cmdDelete"));
    cmdDelete->setToolTip(QStringLiteral("Cancel and close this report"));
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    cmdPrint = new QPushButton(QStringLiteral("Print"), this);
    cmdPrint->setObjectName(QStringLiteral("cmdPrint"));
    cmdPrint->setToolTip(QStringLiteral("Print this report as it stands on the form"));
    connect(cmdPrint, &QPushButton::clicked, this, &frmZelvatcts::cmdPrint_Click);
    // The kept versions of the report, in a dialog of their own; a restore shows the report again.
    cmdVersions = new QPushButton(QStringLiteral("Earlier &Versions..."), this);
    cmdVersions->setObjectName(QStringLiteral("cmdVersions"));
    cmdVersions->setAccessibleName(QStringLiteral("Earlier Versions"));
    cmdVersions->setToolTip(QStringLiteral("The versions of this report kept before it was replaced (Alt+V)"));
    connect(cmdVersions, &QPushButton::clicked, this, [this] {
        const QString name = m_record.fileName().isEmpty() ? m_eventNumber : m_record.fileName();
        auto *dialog = new frmVersions(m_context.programFolder, name, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(dialog, &frmVersions::restored, this, [this, name] { StartForm(name); });
        dialog->open();
    });
    for (QPushButton *b : {cmdSubmit, cmdSave, cmdDelete, cmdClose, cmdPrint, cmdVersions})
        b->setAutoDefault(false);
    connect(cmdSubmit, &QPushButton::clicked, this, &frmZelvatcts::cmdSubmit_Click);
    connect(cmdSave, &QPushButton::clicked, this, &frmZelvatcts::cmdSave_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmZelvatcts::cmdDelete_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmZelvatcts::cmdClose_Click);
    for (int i = 0; i < 2; ++i)
        connect(cmdLast[i], &QPushButton::clicked, this, [this, i] { cmdLast_Click(i); });

    sbrStatus = new QStatusBar(this);
    sbrStatus->setObjectName(QStringLiteral("sbrStatus"));
    sbrStatus->setSizeGripEnabled(false);
    sbrStatusPanel = new QLabel(sbrStatus);
    sbrStatusPanel->setObjectName(QStringLiteral("sbrStatus_Status"));
    sbrCurrentTimePanel = new QLabel(sbrStatus);
    sbrCurrentTimePanel->setObjectName(QStringLiteral("sbrStatus_CurrentTime"));
    sbrStatus->addWidget(sbrStatusPanel, 1);
    sbrStatus->addPermanentWidget(sbrCurrentTimePanel);

    tmrClock = new QTimer(this);
    tmrClock->setInterval(1000);
    connect(tmrClock, &QTimer::timeout, this, &frmZelvatcts::tmrClock_Timer);

    // Tab follows the reading order of the form, whatever order the controls were made in.
    const QList<QWidget *> reading = {
        txtHeader[0], txtHeader[1], cmdLast[0], txtHeader[2], txtHeader[8], cmdRtype[0], cmdRtype[1], cmdRtype[2],
        cmdRtype[3], txtHeader[3], cmdLast[1], txtHeader[4], txtHeader[5], chkReqContact, txtHeader[6], txtHeader[7],
        SSTab1, txtMed[0], txtMed[1], optCons[0], optCons[1], optBrea[0], optBrea[1], txtFire[0], txtLaw[0],
        txtLaw[1], txtLaw[2], txtLaw[3], txtLaw[4], txtLaw[5], cmdSubmit, cmdSave, cmdDelete, cmdClose, cmdVersions, cmdPrint,
    };
    for (qsizetype i = 1; i < reading.size(); ++i)
        setTabOrder(reading[i - 1], reading[i]);

    lblRepeatCaller = new RepeatCallerStrip(m_context.programFolder, m_context.reports, this);
    connect(lblRepeatCaller, &RepeatCallerStrip::heightChanged, this, &frmZelvatcts::Form_Resize);
    lblReportChanged = new ReportChangeStrip(this);
    connect(lblReportChanged, &ReportChangeStrip::heightChanged, this, &frmZelvatcts::Form_Resize);
    connect(lblReportChanged, &ReportChangeStrip::compareClicked, this, &frmZelvatcts::compareWithFile);
    connect(lblReportChanged, &ReportChangeStrip::takeTheirsClicked, this, &frmZelvatcts::takeTheirs);
    installFormKeys(this, cmdSave, cmdSubmit);

    resize(px(FormLayout::DesignWidth), px(FormLayout::DesignHeight));
    applyLayout();
    Captions::fit(this);
}

void frmZelvatcts::applyLayout()
{
    const FormLayout &f = m_layout;
    place(Label22, f.Label22);
    place(cmdSubmit, f.cmdSubmit);
    place(cmdSave, f.cmdSave);
    place(cmdDelete, f.cmdDelete);
    place(cmdClose, f.cmdClose);
    place(cmdPrint, f.cmdPrint);
    place(cmdVersions, {f.cmdPrint.left - 1700, f.cmdPrint.top, 1700, f.cmdPrint.height});
    place(Label19, f.Label19);
    place(Label20, f.Label20);
    place(Frame1, f.Frame1);
    place(Frame2, f.Frame2);
    place(Frame3, f.Frame3);
    place(SSTab1, f.SSTab1);
    for (int i = 0; i < 9; ++i)
        place(txtHeader[i], f.txtHeader[i]);
    for (int i = 0; i < 4; ++i)
        place(nframe[i], f.nframe[i]);
    for (int i = 0; i < 2; ++i)
        place(txtMed[i], f.txtMed[i]);
    place(txtFire[0], f.txtFire);
    for (int i = 0; i < 6; ++i)
        place(txtLaw[i], f.txtLaw[i]);
    const int bar = sbrStatus->sizeHint().height();
    sbrStatus->setGeometry(0, height() - bar, width(), bar);
    lblReportChanged->placeAbove(height() - bar - lblRepeatCaller->placeAbove(sbrStatus));
}

void frmZelvatcts::Form_Resize()
{
    if (!sbrStatus || !lblRepeatCaller || !lblReportChanged)
        return;
    // A hint of earlier calls and the strip of a change made elsewhere take their room from the
    // tabs, as the status bar does.
    const int bar = sbrStatus->sizeHint().height();
    const int strips = lblRepeatCaller->placeAbove(sbrStatus);
    if (m_layout.resize(twips(width()), twips(height()),
                        twips(bar + strips + lblReportChanged->placeAbove(height() - bar - strips))))
        applyLayout();
    else
        sbrStatus->setGeometry(0, height() - bar, width(), bar);
}

void frmZelvatcts::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    Form_Resize();
}

