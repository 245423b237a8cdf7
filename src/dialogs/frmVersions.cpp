#include "dialogs/frmVersions.h"

#include "link/SendLock.h"
#include "store/FormFields.h"
#include "store/ZelvatMsg.h"
#include "support/Platform.h"

#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

enum Column { Time, State, Station, ColumnCount };

QString shownTime(const QDateTime &time)
{
    return time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

} // namespace

frmVersions::frmVersions(const QString &programFolder, const QString &name, QWidget *parent)
    : QDialog(parent)
    , m_programFolder(programFolder)
    , m_name(name)
    , m_versions(ZelvatMsg(programFolder).messageFolder())
{
    setObjectName(QStringLiteral("frmVersions"));
    setWindowTitle(QStringLiteral("Earlier Versions of %1").arg(name));

    lstVersions = new QTreeWidget(this);
    lstVersions->setObjectName(QStringLiteral("lstVersions"));
    lstVersions->setAccessibleName(QStringLiteral("Earlier versions of %1").arg(name));
    lstVersions->setRootIsDecorated(false);
    lstVersions->setColumnCount(ColumnCount);
    lstVersions->setHeaderLabels({QStringLiteral("Kept"), QStringLiteral("State"), QStringLiteral("Station")});
    lstVersions->header()->setStretchLastSection(true);
    for (const ReportVersions::Version &v : m_versions.list(name)) {
        auto *item = new QTreeWidgetItem(lstVersions, {shownTime(v.time), v.state, v.station});
        item->setData(Time, Qt::UserRole, v.token);
    }
    lstVersions->resizeColumnToContents(Time);
    lstVersions->resizeColumnToContents(State);
    lblNone = new QLabel(QStringLiteral("No earlier version of %1 is kept.").arg(name), this);
    lblNone->setVisible(lstVersions->topLevelItemCount() == 0);

    txtVersion = new QPlainTextEdit(this);
    txtVersion->setObjectName(QStringLiteral("txtVersion"));
    txtVersion->setAccessibleName(QStringLiteral("The selected version (read only)"));
    txtVersion->setReadOnly(true);

    cmdRestore = new QPushButton(QStringLiteral("&Restore"), this);
    cmdRestore->setObjectName(QStringLiteral("cmdRestore"));
    cmdRestore->setToolTip(QStringLiteral("Put this version back as the report; the report as it stands is kept"));
    cmdRestore->setAutoDefault(false);
    cmdRestore->setEnabled(false);
    cmdClose = new QPushButton(QStringLiteral("Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    cmdClose->setAutoDefault(false);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdRestore);
    buttons->addWidget(cmdClose);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lblNone);
    layout->addWidget(lstVersions, 2);
    layout->addWidget(txtVersion, 3);
    layout->addLayout(buttons);
    resize(620, 560);

    connect(lstVersions, &QTreeWidget::currentItemChanged, this, &frmVersions::showSelected);
    connect(cmdRestore, &QPushButton::clicked, this, &frmVersions::cmdRestore_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    // The newest is the one most often wanted back.
    if (QTreeWidgetItem *newest = lstVersions->topLevelItem(lstVersions->topLevelItemCount() - 1))
        lstVersions->setCurrentItem(newest);
    lstVersions->setFocus();
}

QString frmVersions::selectedToken() const
{
    const QTreeWidgetItem *item = lstVersions->currentItem();
    return item ? item->data(Time, Qt::UserRole).toString() : QString();
}

void frmVersions::showSelected()
{
    const QString token = selectedToken();
    cmdRestore->setEnabled(!token.isEmpty());
    if (token.isEmpty()) {
        txtVersion->clear();
        return;
    }
    QByteArray bytes;
    RunError error;
    if (!m_versions.read(m_name, token, &bytes, &error)) {
        txtVersion->setPlainText(QStringLiteral("This version cannot be read: %1").arg(error.description));
        cmdRestore->setEnabled(false);
        return;
    }
    // Bytes the loader refuses are shown as such, without a message box per selection.
    ZelvatMsg::Fields fields;
    int step = 0;
    ZelvatMsg record(m_programFolder);
    if (!ZelvatMsg::scan(bytes, &fields, &error, &step) || !record.LoadBytes(bytes, token)) {
        txtVersion->setPlainText(QStringLiteral("This version does not read as a report (%1). Restore puts its bytes back "
                                                "as they are.")
                                     .arg(error.description));
        return;
    }
    txtVersion->setPlainText(FormFields::readOnlyText(record));
}

void frmVersions::cmdRestore_Click()
{
    const QString token = selectedToken();
    const QTreeWidgetItem *item = lstVersions->currentItem();
    if (token.isEmpty() || !item)
        return;
    const auto answer = QMessageBox::question(
        this, QStringLiteral("Restore"),
        QStringLiteral("Put back the version of %1 kept at %2 (%3, %4)?\n\nThe report as it stands now is kept as an "
                       "earlier version, and the form shows the restored one.")
            .arg(m_name, item->text(Time), item->text(State), item->text(Station)));
    if (answer != QMessageBox::Yes)
        return;
    // Not while the report is being sent: the send's last save would go over the restored one.
    const SendLock lock(ZelvatMsg(m_programFolder).messageFolder(), m_name);
    if (!lock.locked()) {
        notify(lock.why(), Notice::Exclamation);
        return;
    }
    RunError error;
    if (!m_versions.restore(m_name, token, &error)) {
        notify(QStringLiteral("The version of %1 kept at %2 was not restored; the report is as it was.\r\n%3")
                   .arg(m_name, item->text(Time), error.text()),
               Notice::Exclamation);
        return;
    }
    emit restored();
    accept();
}
