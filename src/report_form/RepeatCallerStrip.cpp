#include "report_form/RepeatCallerStrip.h"

#include "store/FormFields.h"
#include "store/RepeatCallers.h"
#include "store/ReportCatalog.h"
#include "store/ZelvatMsg.h"
#include "ui/LinkButton.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"

#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QVBoxLayout>

RepeatCallerStrip::RepeatCallerStrip(const QString &programFolder, ReportCatalog *reports, QWidget *parent)
    : QFrame(parent)
    , m_programFolder(programFolder)
    , m_reports(reports)
{
    setObjectName(QStringLiteral("lblRepeatCaller"));
    setAccessibleName(QStringLiteral("Earlier calls"));
    setFocusPolicy(Qt::NoFocus);
    setContentsMargins(8, 3, 8, 3);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);
    setToolTip(QStringLiteral("Reports of the last 24 hours with the same address or phone; click one to read it"));
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
    struct Shown {
        QString name, text, spoken;
    };
    struct Line {
        QString lead;
        QList<Shown> named;
        qsizetype more = 0;
    };
    QList<Line> lines;
    QStringList shown;
    for (const auto &[lead, matched] : {std::pair{QStringLiteral("Earlier at this address:"), found.atAddress},
                                        std::pair{QStringLiteral("Earlier from this phone:"), found.fromPhone}}) {
        if (matched.isEmpty())
            continue;
        Line line{lead, {}, std::max<qsizetype>(0, matched.size() - Named)};
        QStringList texts;
        for (qsizetype i = 0; i < std::min<qsizetype>(Named, matched.size()); ++i) {
            line.named.append({reports->name(matched[i]), RepeatCallers::describe(*reports, matched[i], now),
                               RepeatCallers::spoken(*reports, matched[i], now)});
            texts << line.named.last().text;
        }
        shown << lead + QLatin1Char(' ') + texts.join(QStringLiteral(", "))
                + (line.more ? QStringLiteral(" and %1 more").arg(line.more) : QString());
        lines.append(line);
    }
    const bool wasVisible = isVisibleTo(parentWidget());
    if (shown == m_lines && wasVisible == !lines.isEmpty())
        return;
    // The strip is made anew: a caption per kind, a button per report named, and the count of more.
    for (const QList<QWidget *> &parts : std::as_const(m_parts))
        qDeleteAll(parts);
    m_parts.clear();
    m_links.clear();
    m_linked.clear();
    m_lines = shown;
    for (const Line &line : std::as_const(lines)) {
        QList<QWidget *> parts;
        auto *caption = new QLabel(line.lead, this);
        caption->setObjectName(QStringLiteral("lblEarlierCaption"));
        parts << caption;
        for (const Shown &n : line.named) {
            auto *link = makeLinkButton(n.text, line.lead.chopped(1) + QStringLiteral("; opens the report read-only"), this);
            link->setObjectName(QStringLiteral("cmdEarlierCall"));
            link->setAccessibleName(n.spoken);
            link->setToolTip(n.spoken);
            connect(link, &QPushButton::clicked, this, [this, name = n.name] { openReport(name); });
            m_links << link;
            m_linked << n.name;
            parts << link;
        }
        if (line.more) {
            auto *more = new QLabel(QStringLiteral("and %1 more").arg(line.more), this);
            more->setObjectName(QStringLiteral("lblEarlierMore"));
            parts << more;
        }
        for (QWidget *w : std::as_const(parts))
            w->show();
        m_parts << parts;
    }
    setVisible(!lines.isEmpty());
    emit heightChanged();
}

int RepeatCallerStrip::flow(int width)
{
    const QMargins m = contentsMargins();
    const int gap = 6;
    int y = m.top();
    for (const QList<QWidget *> &parts : std::as_const(m_parts)) {
        int x = m.left();
        int rowHeight = 0;
        for (QWidget *w : parts) {
            const QSize size = w->sizeHint();
            if (x > m.left() && x + size.width() > width - m.right()) {
                x = m.left();
                y += rowHeight;
                rowHeight = 0;
            }
            w->setGeometry(x, y, std::min(size.width(), width - m.left() - m.right()), size.height());
            x += size.width() + gap;
            rowHeight = std::max(rowHeight, size.height());
        }
        y += rowHeight;
    }
    return y + m.bottom();
}

int RepeatCallerStrip::placeAbove(const QStatusBar *statusBar)
{
    if (!isVisibleTo(parentWidget()))
        return 0;
    const int width = parentWidget()->width();
    const int height = flow(width);
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
    auto *viewer = new ReportViewer(QStringLiteral("Report %1 (read only)").arg(record.EID().isEmpty() ? name : record.EID()),
                                    FormFields::readOnlyText(record));
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
