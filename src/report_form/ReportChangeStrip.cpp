#include "report_form/ReportChangeStrip.h"

#include "ui/LinkButton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

ReportChangeStrip::ReportChangeStrip(QWidget *parent)
    : QFrame(parent)
{
    setObjectName(QStringLiteral("lblReportChanged"));
    setAccessibleName(QStringLiteral("Report changed elsewhere"));
    setFocusPolicy(Qt::NoFocus);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(8, 2, 8, 2);
    lblChangedText = new QLabel(this);
    lblChangedText->setObjectName(QStringLiteral("lblChangedText"));
    cmdCompare = makeLinkButton(QStringLiteral("Compare"), QStringLiteral("Shows their version beside yours"), this);
    cmdCompare->setObjectName(QStringLiteral("cmdCompareChanged"));
    cmdTakeTheirs = makeLinkButton(QStringLiteral("Take Theirs"),
                             QStringLiteral("Shows their version in the form; your input is kept among the closed reports"), this);
    cmdTakeTheirs->setObjectName(QStringLiteral("cmdTakeTheirsChanged"));
    row->addWidget(lblChangedText);
    row->addWidget(cmdCompare);
    row->addWidget(cmdTakeTheirs);
    row->addStretch();
    connect(cmdCompare, &QPushButton::clicked, this, &ReportChangeStrip::compareClicked);
    connect(cmdTakeTheirs, &QPushButton::clicked, this, &ReportChangeStrip::takeTheirsClicked);
    m_file.kind = SafeFile::Kind::Missing;
    hide();
}

void ReportChangeStrip::tell(const ReportConflict::Finding &finding)
{
    const bool removed = finding.kind == ReportConflict::Kind::Removed;
    if (isVisibleTo(parentWidget()) && removed == m_removed && ReportConflict::sameFile(finding.now.file, m_file))
        return;
    m_file = finding.now.file;
    m_removed = removed;
    const QString headline = ReportConflict::headline(finding);
    lblChangedText->setText(headline + QStringLiteral(" --"));
    cmdTakeTheirs->setVisible(!removed);
    setAccessibleDescription(headline);
    setVisible(true);
    emit heightChanged();
}

void ReportChangeStrip::clear()
{
    m_file = SafeFile::Entry{};
    m_file.kind = SafeFile::Kind::Missing;
    if (!isVisibleTo(parentWidget()))
        return;
    hide();
    emit heightChanged();
}

QString ReportChangeStrip::shownText() const
{
    if (!isVisibleTo(parentWidget()))
        return {};
    return lblChangedText->text() + QStringLiteral(" Compare") + (m_removed ? QString() : QStringLiteral(", Take Theirs"));
}

int ReportChangeStrip::placeAbove(int bottom)
{
    if (!isVisibleTo(parentWidget()))
        return 0;
    const int height = sizeHint().height();
    setGeometry(0, bottom - height, parentWidget()->width(), height);
    return height;
}
