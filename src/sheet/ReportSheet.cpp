#include "sheet/ReportSheet.h"
#include "sheet/SheetPdf.h"

#include "link/MessageText.h"
#include "store/FormFields.h"
#include "store/ReportList.h"
#include "store/SaveStamps.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/ErrorOut.h"
#include "support/Platform.h"

#include <QAbstractTextDocumentLayout>
#include <QDate>
#include <QLocale>
#include <QPageLayout>
#include <QPainter>
#include <QTextDocument>
#include <QTime>

namespace {

using Key = ZelvatMsg::Key;

// The program's fonts: Calibri (Carlito where Calibri is not installed) for the sheet,
// Liberation Mono for the message, whose folded lines keep their width.
const QString kSans = QStringLiteral("Calibri");
const QString kMono = QStringLiteral("Liberation Mono");

// Without ligatures: "fi" stays two letters for whoever copies or searches the text of a PDF.
QFont sheetFont(const QString &family, double points)
{
    QFont f(family);
    f.setPointSizeF(points);
    f.setStyleStrategy(QFont::PreferNoShaping);
    return f;
}

QString esc(const QString &text)
{
    return text.toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br/>"));
}

// The caption of a field on the form, without its required mark.
QString caption(Key key)
{
    return QString::fromLatin1(FormFields::boxOf(key)->name);
}

QString shown(const ZelvatMsg &r, Key key)
{
    return FormFields::shownValue(*FormFields::boxOf(key), r);
}

QString captionCell(const QString &caption)
{
    return QStringLiteral("<td width=\"19%\" style=\"color:#404040\">") + esc(caption) + QStringLiteral("</td>");
}

// Fields two to a line: caption, value, caption, value.
QString pairs(const QList<std::pair<QString, QString>> &fields)
{
    QString rows;
    for (qsizetype i = 0; i < fields.size(); i += 2) {
        rows += QStringLiteral("<tr>") + captionCell(fields[i].first) + QStringLiteral("<td width=\"31%\">")
            + esc(fields[i].second) + QStringLiteral("</td>");
        if (i + 1 < fields.size())
            rows += captionCell(fields[i + 1].first) + QStringLiteral("<td width=\"31%\">") + esc(fields[i + 1].second)
                + QStringLiteral("</td>");
        rows += QStringLiteral("</tr>");
    }
    return rows;
}

// A field of its own line, for long and multi-line values.
QString wide(const QString &caption, const QString &value)
{
    return QStringLiteral("<tr>") + captionCell(caption) + QStringLiteral("<td colspan=\"3\">") + esc(value)
        + QStringLiteral("</td></tr>");
}

QString heading(const QString &title)
{
    return QStringLiteral("<p style=\"margin-top:6px; margin-bottom:1px; font-size:10.5pt; font-weight:bold; "
                          "background-color:#e6e6e6\">&nbsp;")
        + esc(title) + QStringLiteral("</p>");
}

QString section(const QString &title, const QString &rows)
{
    return heading(title) + QStringLiteral("<table width=\"100%\" cellspacing=\"0\" cellpadding=\"1\">") + rows
        + QStringLiteral("</table>");
}

QString answer(qint16 value)
{
    return value == 1 ? QStringLiteral("Yes") : value == 0 ? QStringLiteral("No") : QStringLiteral("Not answered");
}

QString stateText(qint16 state)
{
    if (state == Zelvat::StateNew)
        return QStringLiteral("New");
    const QString name = Zelvat::stateName(state);
    return name.isEmpty() ? QStringLiteral("State %1").arg(state) : Zelvat::folderCaption(state);
}

// The date and time of the last save, "16 Nov 2026 14:32"; the stored text when it is no date.
QString savedAt(const QString &adt, const QString &atm)
{
    const auto digits = [](const QString &t, int at) {
        bool ok = false;
        const int v = t.mid(at, 2).toInt(&ok);
        return ok && t[at].isDigit() && t[at + 1].isDigit() ? v : -1;
    };
    if (adt.size() == 6 && atm.size() == 4) {
        const int yy = digits(adt, 0), month = digits(adt, 2), day = digits(adt, 4);
        // Two-digit years 00-29 are 2000-2029, 30-99 are 1930-1999, as in the list's date order.
        const QDate date(yy < 30 ? 2000 + yy : 1900 + yy, month, day);
        const QTime time(digits(atm, 0), digits(atm, 2));
        if (yy >= 0 && date.isValid() && time.isValid())
            return QLocale(QLocale::English).toString(date, QStringLiteral("d MMM yyyy")) + QLatin1Char(' ')
                + time.toString(QStringLiteral("HH:mm"));
    }
    return (adt + QLatin1Char(' ') + atm).trimmed();
}

QString html(const SheetReport &report, const SheetStation &station)
{
    const ZelvatMsg &r = report.record;
    const QString typ = r.TYP();
    const bool ours = !r.UID().isEmpty() && r.UID().compare(station.userId, Qt::CaseInsensitive) == 0;

    QString h = QStringLiteral("<table width=\"100%\" cellspacing=\"0\" cellpadding=\"0\"><tr>"
                               "<td><span style=\"font-size:15pt; font-weight:bold\">Incident Report</span><br/>")
        + esc(QString::fromLatin1(Zelvat::Title)) + QStringLiteral("</td><td align=\"right\">"
                                                                   "<span style=\"font-size:15pt; font-weight:bold\">")
        + esc(r.EID()) + QStringLiteral("</span><br/>") + esc(stateText(r.AST())) + QStringLiteral("</td></tr></table>");

    const auto pair = [](const QString &a, const QString &av, const QString &b, const QString &bv) {
        return QStringLiteral("<tr><td width=\"19%\" style=\"color:#404040\">") + esc(a)
            + QStringLiteral("</td><td width=\"31%\"><b>") + esc(av) + QStringLiteral("</b></td>"
                                                                             "<td width=\"19%\" style=\"color:#404040\">")
            + esc(b) + QStringLiteral("</td><td width=\"31%\"><b>") + esc(bv) + QStringLiteral("</b></td></tr>");
    };
    h += QStringLiteral("<table width=\"100%\" cellspacing=\"0\" cellpadding=\"1\" style=\"margin-top:6px\">")
        + pair(QStringLiteral("Event ID:"), r.EID(), QStringLiteral("State:"), stateText(r.AST()))
        + pair(QStringLiteral("Date and time:"), savedAt(r.ADT(), r.ATM()), QStringLiteral("Message ID:"), r.MID())
        + pair(QStringLiteral("Station:"), ours ? station.name : QString(), QStringLiteral("User ID:"), r.UID())
        + pair(QStringLiteral("Location:"), r.ULO(), QStringLiteral("Event type:"), typ) + QStringLiteral("</table>");

    h += section(QStringLiteral("Incident Summary"),
                 pairs({{caption(Key::ISS), r.ISS()}, {caption(Key::CTY), r.CTY()},
                        {caption(Key::AD1), r.AD1()}, {caption(Key::LAS), r.LAS()}})
                     + wide(caption(Key::AD2), r.AD2()));
    h += section(QStringLiteral("Reporting Person Details"),
                 pairs({{caption(Key::RPN), r.RPN()}, {caption(Key::RPP), r.RPP()}, {caption(Key::RPA), r.RPA()},
                        {QStringLiteral("Asks to be contacted:"),
                         report.contactRequested ? QStringLiteral("Yes") : QStringLiteral("No")}}));
    h += heading(QStringLiteral("Details")) + QStringLiteral("<p style=\"margin-top:2px; margin-bottom:0px\">")
        + esc(shown(r, Key::DTL)) + QStringLiteral("</p>");
    if (typ.contains(QLatin1String("MED")))
        h += section(QStringLiteral("Medical"), pairs({{caption(Key::AGE), r.AGE()}, {caption(Key::GDR), r.GDR()},
                                                       {QStringLiteral("Conscious?"), answer(r.CON())},
                                                       {QStringLiteral("Breathing?"), answer(r.BRE())}}));
    if (typ.contains(QLatin1String("FIRE")))
        h += section(QStringLiteral("Fire"), wide(caption(Key::PIN), r.PIN()));
    if (typ.contains(QLatin1String("LAW")))
        h += section(QStringLiteral("Law"), wide(caption(Key::PDE), shown(r, Key::PDE))
                                                + pairs({{caption(Key::WEA), r.WEA()}, {caption(Key::DOT), r.DOT()},
                                                         {caption(Key::VDE), r.VDE()}, {caption(Key::VDP), r.VDP()},
                                                         {caption(Key::VDS), r.VDS()}}));
    if (typ.contains(QLatin1String("LGOV")))
        h += section(QStringLiteral("Local Government"),
                     wide(QStringLiteral("Utilities:"),
                          QStringLiteral("No details of its own: the request is in the summary and the details.")));

    // The message, character for character: the folded body keeps its soft breaks and its "\n"
    // escapes; only its CR LF line ends become the sheet's line breaks.
    QString body = MessageText::WrapBody(MessageText::BuildBody(r, report.contactRequested));
    body.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    h += heading(r.AST() == Zelvat::StateSubmitted ? QStringLiteral("Message as sent")
                                                   : QStringLiteral("Message as it would be sent"))
        + QStringLiteral("<p style=\"margin-top:2px; margin-bottom:2px\">Subject: <b>")
        + esc(MessageText::BuildSubject(r, report.update)) + QStringLiteral("</b></p>")
        + QStringLiteral("<pre style=\"font-family:'") + kMono + QStringLiteral("'; font-size:8pt; white-space:pre-wrap\">")
        + body.toHtmlEscaped() + QStringLiteral("</pre>");
    return h;
}

} // namespace

SheetReport SheetReport::fromFile(const ZelvatMsg &record)
{
    return SheetReport{record, record.number(ZelvatMsg::Key::RPC) == 1, false};
}

namespace ReportSheet {

QList<SheetReport> fromFiles(const QString &programFolder, const QStringList &names, QStringList *unreadable)
{
    struct Quiet : Notifier {
        void show(const Notice &) override {}
    } quiet;
    ScopedNotifier scoped(&quiet);
    QList<SheetReport> reports;
    ZelvatMsg reader(programFolder);
    for (const QString &name : names) {
        if (reader.Load(name))
            reports.append(SheetReport::fromFile(reader));
        else if (unreadable)
            unreadable->append(ReportList::whyUnreadable(reader, name));
    }
    return reports;
}

std::unique_ptr<QTextDocument> document(const SheetReport &report, const SheetStation &station)
{
    auto doc = std::make_unique<QTextDocument>();
    doc->setDefaultFont(sheetFont(kSans, 9.5));
    doc->setDocumentMargin(0);
    doc->setHtml(html(report, station));
    doc->setMetaInformation(QTextDocument::DocumentTitle, QStringLiteral("Incident Report ") + report.record.EID());
    return doc;
}

int print(QPagedPaintDevice *device, const QList<SheetReport> &reports, const SheetStation &station, RunError *error)
{
    QPainter painter;
    if (!painter.begin(device)) {
        ErrorOut::set(error, ErrorOut::told(RunError::DeviceIoError, QStringLiteral("the printer or file could not be started")));
        return 0;
    }
    const QFont footFont = sheetFont(kSans, 8);
    const QFontMetricsF metrics(footFont, device);
    const QSizeF page(device->width(), device->height());
    const double foot = metrics.height() * 2.2;
    const QSizeF body(page.width(), page.height() - foot);
    const QString printed = QStringLiteral("Printed ")
        + QLocale(QLocale::English).toString(DatetimeLib::now(), QStringLiteral("d MMM yyyy HH:mm"))
        + QStringLiteral(" \u00B7 ") + QString::fromLatin1(Zelvat::Title);

    int pages = 0;
    for (const SheetReport &report : reports) {
        const auto doc = document(report, station);
        doc->documentLayout()->setPaintDevice(device);
        doc->setPageSize(body);
        const int count = doc->pageCount();
        for (int p = 0; p < count; ++p) {
            if (pages > 0)
                device->newPage();
            ++pages;
            painter.save();
            painter.setClipRect(QRectF(QPointF(0, 0), body));
            painter.translate(0, -p * body.height());
            QAbstractTextDocumentLayout::PaintContext context;
            context.clip = QRectF(0, p * body.height(), body.width(), body.height());
            context.palette.setColor(QPalette::Text, Qt::black);
            doc->documentLayout()->draw(&painter, context);
            painter.restore();

            const double top = page.height() - metrics.height();
            painter.setFont(footFont);
            painter.setPen(QPen(Qt::black, 0));
            painter.drawLine(QPointF(0, top - metrics.height() * 0.4), QPointF(page.width(), top - metrics.height() * 0.4));
            const QRectF line(0, top, page.width(), metrics.height());
            painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                             report.record.EID() + QStringLiteral(" \u00B7 page %1 of %2").arg(p + 1).arg(count));
            painter.drawText(line, Qt::AlignRight | Qt::AlignVCenter, printed);
        }
    }
    painter.end();
    return pages;
}

QByteArray pdf(const QList<SheetReport> &reports, const SheetStation &station, const QPageLayout &layout, RunError *error)
{
    const QString title = reports.size() == 1 ? QStringLiteral("Incident Report ") + reports.first().record.EID()
                                              : QStringLiteral("Incident Reports");
    return SheetPdf::make(title, layout,
                          [&](QPagedPaintDevice *device, RunError *e) { return print(device, reports, station, e); }, error);
}

} // namespace ReportSheet
