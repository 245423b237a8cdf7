// The report form's event types and their tabs: the type buttons, which tab each opens, and the
// answers (conscious, breathing, contact wanted) that decide what is required.

#include "report_form/frmZelvatcts.h"

#include "store/FormRules.h"
#include "support/CommonConst.h"
#include "ui/Paint.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

QString frmZelvatcts::BuildTypeList() const
{
    return FormRules::BuildTypeList(m_typeSelected);
}

void frmZelvatcts::selectTypesFromList(const QString &text)
{
    const auto found = FormRules::typesInList(text);
    for (int i = 0; i < FormRules::TypeCount; ++i) {
        if (found[i])
            cmdRtype_Click(i);
    }
}

void frmZelvatcts::cmdRtype_Click(int index)
{
    SSTab1->setVisible(true);
    SSTab1->setCurrentIndex(index);
    for (QPushButton *b : cmdRtype) {
        if (Paint::paintOf(b) == Paint::colour(Zelvat::MissingDataColour))
            Paint::clear(b);
    }
    QPushButton *button = cmdRtype[index];
    QFont font = button->font();
    if (!m_typeSelected[index]) {
        m_typeSelected[index] = true;
        font.setBold(true);
        button->setFont(font);
        Paint::paint(button, Paint::colour(Zelvat::SelectedTypeColour));
        SSTab1->setTabEnabled(index, true);
        button->setText(button->text() + QStringLiteral(">>"));
        enableTabControls(index, true);
        if (index == 2)
            chkReqContact->show();
        if (index == 0) {
            for (QRadioButton *b : optCons)
                b->setEnabled(true);
            for (QRadioButton *b : optBrea)
                b->setEnabled(true);
        }
    } else {
        m_typeSelected[index] = false;
        font.setBold(false);
        button->setFont(font);
        Paint::clear(button);
        button->setText(button->text().remove(QStringLiteral(">>")));
        SSTab1->setTabEnabled(index, false);
        enableTabControls(index, false);
        ShowFirstEnabledTab();
        if (index == 2)
            chkReqContact->hide();
        if (index == 0) {
            for (QRadioButton *b : optCons)
                b->setEnabled(false);
            for (QRadioButton *b : optBrea)
                b->setEnabled(false);
        }
    }
    txtHeader[1]->setFocus();
}

void frmZelvatcts::ShowFirstEnabledTab()
{
    for (int i = 0; i < SSTab1->count(); ++i) {
        if (SSTab1->isTabEnabled(i)) {
            SSTab1->setCurrentIndex(i);
            return;
        }
    }
}

void frmZelvatcts::enableTabControls(int tab, bool enabled)
{
    for (QWidget *w : nframe[tab]->findChildren<QWidget *>(Qt::FindDirectChildrenOnly))
        w->setEnabled(enabled);
}

void frmZelvatcts::onTabChanged(int tab)
{
    for (int i = 0; i < 4; ++i)
        nframe[i]->setEnabled(i == tab);
    focusFirstInTab(tab);
    Form_Resize();
}

void frmZelvatcts::focusFirstInTab(int tab)
{
    if (tab < 0 || tab >= 4)
        return;
    // The first control of the tab's frame in tab order; nothing when it cannot take the focus.
    for (QWidget *w : nframe[tab]->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (w->focusPolicy() == Qt::NoFocus)
            continue;
        if (w->isEnabled() && w->isVisibleTo(this))
            w->setFocus();
        return;
    }
}

void frmZelvatcts::optCons_Click(int index)
{
    m_conscious = qint16(index);
    Paint::clear(Label6);
}

void frmZelvatcts::optBrea_Click(int index)
{
    m_breathing = qint16(index);
    Paint::clear(Label23);
}

void frmZelvatcts::chkReqContact_Click()
{
    if (chkReqContact->isChecked()) {
        Paint::paint(txtHeader[5], Paint::colour(Zelvat::RequiredFieldColour));
        Label18->setText(QStringLiteral("Phone:*"));
    } else {
        Paint::clear(txtHeader[5]);
        Label18->setText(QStringLiteral("Phone:"));
    }
}
