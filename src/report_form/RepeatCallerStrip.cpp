#include "report_form/RepeatCallerStrip.h"

#include "store/FormFields.h"
#include "store/RepeatCallers.h"
#include "store/ReportCatalog.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"

#include <QFileInfo>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QUrl>
#include <QVBoxLayout>

RepeatCallerStrip::RepeatCallerStrip(const QString &programFolder, ReportCatalog *reports, QWidget *parent)
    : QLabel(parent)
    , m_programFolder(programFolder)
    , m_reports(reports)
{
    setObjectName(QStringLiteral("lblRepeatCaller"));
    setAccessibleName(QStringLiteral("Earlier calls"));
    setWordWrap(true);
    setTextFormat(Qt::RichText);
    setTextInteractionFlags(Qt::LinksAccessibleByMouse);
    setFocusPolicy(Qt::NoFocus);
    setContentsMargins(8, 3, 8, 3);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);
    setToolTip(QStringLiteral("Reports of the last 24 hours with the same address or phone; click one to read it"));
    connect(this, &QLabel::linkActivated, this,
            [this](const QString &link) { openReport(QUrl::fromPercentEncoding(link.toLatin1())); });
    hide();
}

RepeatCallerStrip::~RepeatCallerStrip() = default;

void RepeatCallerStrip::lookUp(const QString &address, const QString &phone, const QString &exceptName)
{
    ReportCatalog *reports = m_reports;
    if (!reports) {
        if (!m_own)
            m_own = std::make_unique<ReportCatalog>(m_programFolder);
        m_own->refresh();
        reports = m_own.get();
    }
    const QDateTime now = DatetimeLib::now();
    const RepeatCallers::Found found = RepeatCallers::find(*reports, address, phone, now, exceptName);
    m_linked.clear();
    const auto line = [&](const QString &lead, const QList<int> &matched) {
        if (matched.isEmpty())
            return QString();
        QStringList named;
        for (qsizetype i = 0; i < std::min<qsizetype>(Named, matched.size()); ++i) {
            const QString name = reports->name(matched[i]);
            m_linked.append(name);
            named << QStringLiteral("<a href=\"%1\">%2</a>")
                         .arg(QString::fromLatin1(QUrl::toPercentEncoding(name)),
                              RepeatCallers::describe(*reports, matched[i], now).toHtmlEscaped());
        }
        QString text = lead.toHtmlEscaped() + QLatin1Char(' ') + named.join(QStringLiteral(", "));
        if (matched.size() > Named)
            text += QStringLiteral(" and %1 more").arg(matched.size() - Named);
        return text;
    };
    QStringList lines;
    for (const QString &l : {line(QStringLiteral("Earlier at this address:"), found.atAddress),
                             line(QStringLiteral("Earlier from this phone:"), found.fromPhone)}) {
        if (!l.isEmpty())
            lines << l;
    }
    const bool wasVisible = isVisibleTo(parentWidget());
    const QString html = lines.join(QStringLiteral("<br>"));
    if (html == text() && wasVisible == !lines.isEmpty())
        return;
    setText(html);
    setVisible(!lines.isEmpty());
    emit heightChanged();
}

int RepeatCallerStrip::placeAbove(const QStatusBar *statusBar)
{
    if (!isVisibleTo(parentWidget()))
        return 0;
    const int width = parentWidget()->width();
    const int height = heightForWidth(width);
    setGeometry(0, parentWidget()->height() - statusBar->sizeHint().height() - height, width, height);
    return height;
}

void RepeatCallerStrip::openReport(const QString &name)
{
    // The viewer belongs to the form: it goes when the form goes.
    if (ReportViewer *viewer = ReportViewer::open(m_programFolder, name)) {
        viewer->setParent(window(), Qt::Window);
        viewer->show();
    }
}

// --- the read-only report -------------------------------------------------------------------

ReportViewer *ReportViewer::open(const QString &programFolder, const QString &name)
{
    ZelvatMsg record(programFolder);
    if (!record.Load(name)) {
        if (!QFileInfo::exists(record.pathFor(name)))
            notify(QStringLiteral("The report %1 is no longer in the message folder %2.").arg(name, record.messageFolder()),
                   Notice::Exclamation);
        return nullptr;
    }
    using Key = ZelvatMsg::Key;
    QStringList lines;
    const auto add = [&lines](const QString &caption, const QString &value) {
        lines << caption + QLatin1Char(' ') + value;
    };
    const auto answer = [](qint16 v) {
        return v == 1 ? QStringLiteral("Yes") : v == 0 ? QStringLiteral("No") : QString();
    };
    add(QStringLiteral("Event ID:"), record.EID());
    add(QStringLiteral("Message ID:"), record.MID());
    add(QStringLiteral("State:"), Zelvat::stateName(record.AST()));
    add(QStringLiteral("Type:"), record.TYP());
    // The boxes of the summary, and those of the types the report is of.
    const QString typ = record.TYP();
    const auto ofReport = [&typ](FormFields::Group g) {
        switch (g) {
        case FormFields::Group::Header: return true;
        case FormFields::Group::Med: return typ.contains(QLatin1String("MED"));
        case FormFields::Group::Fire: return typ.contains(QLatin1String("FIRE"));
        case FormFields::Group::Law: return typ.contains(QLatin1String("LAW"));
        }
        return false;
    };
    for (const FormFields::Box &b : FormFields::boxes()) {
        if (!ofReport(b.group))
            continue;
        QString value = FormFields::shownValue(b, record);
        if (value.contains(QLatin1Char('\n')))
            value = QStringLiteral("\n  ") + value.replace(QLatin1Char('\n'), QStringLiteral("\n  "));
        add(QString::fromLatin1(b.name), value);
        if (b.group == FormFields::Group::Med && b.index == 1) {
            add(QStringLiteral("Conscious?"), answer(record.CON()));
            add(QStringLiteral("Breathing?"), answer(record.BRE()));
        }
    }
    add(QStringLiteral("Contact requested:"), record.number(Key::RPC) ? QStringLiteral("Yes") : QStringLiteral("No"));
    add(QStringLiteral("Saved:"), record.ADT() + QLatin1Char(' ') + record.ATM() + QStringLiteral(" by ") + record.UID()
                                      + QStringLiteral(" at ") + record.ULO());
    auto *viewer = new ReportViewer(QStringLiteral("Report %1 (read only)").arg(record.EID().isEmpty() ? name : record.EID()),
                                    lines.join(QLatin1Char('\n')));
    viewer->setObjectName(QStringLiteral("frmReportViewer"));
    return viewer;
}

ReportViewer::ReportViewer(const QString &title, const QString &text)
    : QWidget(nullptr, Qt::Window)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(QStringLiteral("txtReport"));
    m_text->setAccessibleName(title);
    m_text->setReadOnly(true);
    m_text->setPlainText(text);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    resize(560, 480);
}

QString ReportViewer::text() const
{
    return m_text->toPlainText();
}
