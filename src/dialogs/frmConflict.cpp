#include "dialogs/frmConflict.h"


#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

using Kind = ReportConflict::Kind;

QString byWhom(const ReportConflict::Finding &f)
{
    const QString when = f.when.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    return f.writer == QLatin1String("another program") ? QStringLiteral("by another program at %1").arg(when)
                                                        : QStringLiteral("at %1 at %2").arg(f.writer, when);
}

QString messageFor(const ReportConflict::Finding &f, const QString &name, frmConflict::Mode mode)
{
    const QString nothing = mode == frmConflict::Mode::Compare ? QString() : QStringLiteral(" Nothing has been saved yet.");
    switch (f.kind) {
    case Kind::Submitted:
        return QStringLiteral("%1 was submitted %2, after it was opened here.%3 A submitted report is not saved back as "
                              "a draft or a ready report: Update amends the submitted report with your input, marked "
                              "as an update; Cancel leaves the form as it is.")
            .arg(name, byWhom(f), nothing);
    case Kind::Deleted:
        return QStringLiteral("%1 was deleted %2, after it was opened here.%3 Restore It as Draft undeletes it: your "
                              "version is saved as a Draft report. Cancel leaves it deleted and the form as it is.")
            .arg(name, byWhom(f), nothing);
    case Kind::Removed:
        return QStringLiteral("The file of %1 was removed from the message folder by another program.%2 Keep Mine "
                              "writes your version anew; Cancel leaves the form as it is.")
            .arg(name, nothing);
    default:
        if (mode == frmConflict::Mode::Compare)
            return QStringLiteral("%1 was changed %2, after it was opened here. Their version and yours differ in "
                                  "these fields.")
                .arg(name, byWhom(f));
        return QStringLiteral("%1 was changed %2, after it was opened here.%3 Take Theirs shows their version (your "
                              "input stays among the kept input: File > Reopen Closed Report); Keep Mine saves yours "
                              "and keeps theirs as an earlier version; Cancel leaves the form as it is.")
            .arg(name, byWhom(f), nothing);
    }
}

} // namespace

frmConflict::frmConflict(const ReportConflict::Finding &finding, const QString &name, const ZelvatMsg &mine, Mode mode,
                         QWidget *parent)
    : QDialog(parent)
    , m_mineText(ReportConflict::inputText(mine))
{
    setObjectName(QStringLiteral("frmConflict"));
    setWindowTitle(mode == Mode::Compare ? QStringLiteral("Zelvat - Compare with the saved report")
                                         : QStringLiteral("Zelvat - The report was changed elsewhere"));
    auto *column = new QVBoxLayout(this);
    lblWhat = new QLabel(messageFor(finding, name, mode), this);
    lblWhat->setObjectName(QStringLiteral("lblWhat"));
    lblWhat->setWordWrap(true);
    lblWhat->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    column->addWidget(lblWhat);

    // The fields that differ, theirs beside the operator's: read-only, selectable, each cell named.
    tblFields = new QTableWidget(int(finding.differences.size()), 3, this);
    tblFields->setObjectName(QStringLiteral("tblFields"));
    tblFields->setAccessibleName(QStringLiteral("Fields that differ"));
    tblFields->setAccessibleDescription(QStringLiteral("Each row: the field, their value, your value"));
    tblFields->setHorizontalHeaderLabels({QStringLiteral("Field"), QStringLiteral("Theirs"), QStringLiteral("Mine")});
    tblFields->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tblFields->setTabKeyNavigation(false);
    tblFields->verticalHeader()->hide();
    for (int row = 0; row < finding.differences.size(); ++row) {
        const ReportConflict::Difference &d = finding.differences[row];
        const QString cells[3] = {d.field, d.theirs, d.mine};
        const QString spoken[3] = {d.field, QStringLiteral("%1, theirs: %2").arg(d.field, d.theirs.isEmpty() ? QStringLiteral("empty") : d.theirs),
                                   QStringLiteral("%1, mine: %2").arg(d.field, d.mine.isEmpty() ? QStringLiteral("empty") : d.mine)};
        for (int c = 0; c < 3; ++c) {
            auto *item = new QTableWidgetItem(cells[c]);
            item->setData(Qt::AccessibleTextRole, spoken[c]);
            item->setToolTip(cells[c]);
            tblFields->setItem(row, c, item);
        }
    }
    // Theirs and the operator's side by side at equal widths, each value whole on as many lines
    // as it takes.
    tblFields->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    tblFields->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    tblFields->horizontalHeader()->setSectionResizeMode(2, QHeaderView::Stretch);
    tblFields->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    tblFields->setWordWrap(true);
    tblFields->setVisible(!finding.differences.isEmpty());
    column->addWidget(tblFields);

    m_buttons = new QHBoxLayout;
    column->addLayout(m_buttons);
    m_buttons->addStretch();
    switch (finding.kind) {
    case Kind::Submitted:
        if (mode == Mode::BeforeWrite)
            cmdUpdate = addButton(QStringLiteral("&Update"), "cmdUpdate", Choice::Update,
                                  QStringLiteral("Amends the submitted report with your input, marked as an update"));
        break;
    case Kind::Deleted:
        if (mode == Mode::BeforeWrite)
            cmdRestore = addButton(QStringLiteral("&Restore It as Draft"), "cmdRestore", Choice::RestoreAsDraft,
                                   QStringLiteral("Undeletes the report: your version is saved as a Draft report"));
        break;
    case Kind::Removed:
        if (mode == Mode::BeforeWrite)
            cmdKeepMine = addButton(QStringLiteral("&Keep Mine"), "cmdKeepMine", Choice::KeepMine,
                                    QStringLiteral("Writes your version anew"));
        break;
    default:
        cmdTakeTheirs = addButton(QStringLiteral("&Take Theirs"), "cmdTakeTheirs", Choice::TakeTheirs,
                                  QStringLiteral("Shows their version in the form; your input is kept"));
        if (mode == Mode::BeforeWrite)
            cmdKeepMine = addButton(QStringLiteral("&Keep Mine"), "cmdKeepMine", Choice::KeepMine,
                                    QStringLiteral("Saves your version; theirs is kept as an earlier version"));
        break;
    }
    if (mode == Mode::Compare && finding.kind != Kind::Changed && finding.kind != Kind::Removed)
        cmdTakeTheirs = addButton(QStringLiteral("&Take Theirs"), "cmdTakeTheirs", Choice::TakeTheirs,
                                  QStringLiteral("Shows their version in the form; your input is kept"));
    cmdCopyMine = new QPushButton(QStringLiteral("Co&py Mine"), this);
    cmdCopyMine->setObjectName(QStringLiteral("cmdCopyMine"));
    cmdCopyMine->setAccessibleDescription(QStringLiteral("Copies your input to the clipboard"));
    cmdCopyMine->setAutoDefault(false);
    connect(cmdCopyMine, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(m_mineText); });
    m_buttons->addWidget(cmdCopyMine);
    cmdCancel = addButton(mode == Mode::Compare ? QStringLiteral("&Close") : QStringLiteral("&Cancel"), "cmdCancel",
                          Choice::Cancel, QStringLiteral("Writes nothing; the form stays as it is"));
    // Enter writes nothing by mistake: the default is Cancel, as Escape is.
    cmdCancel->setDefault(true);
    resize(640, 360);
}

QPushButton *frmConflict::addButton(const QString &text, const char *objectName, Choice choice, const QString &description)
{
    auto *button = new QPushButton(text, this);
    button->setObjectName(QString::fromLatin1(objectName));
    button->setAccessibleDescription(description);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, choice] {
        m_choice = choice;
        if (choice == Choice::Cancel)
            reject();
        else
            accept();
    });
    m_buttons->addWidget(button);
    return button;
}

QString frmConflict::message() const
{
    return lblWhat->text();
}
