// The report form's Print button and its clipboard: Cut, Copy and Paste act on the box with the
// focus, and what is pasted follows the box's key rules as typing does.

#include "report_form/frmZelvatcts.h"

#include "settings/ZelvatIni.h"
#include "store/FormPaste.h"
#include "store/SaveStamps.h"
#include "support/DatetimeLib.h"
#include "ui/SheetPrinting.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>

// Sits in front of the form's own key rules on every box: the clipboard keys, the context menu's
// Paste and the middle button's paste of the selection all go through the box's rules; text
// dropped from elsewhere is not taken.
class FormClipboard : public QObject {
public:
    explicit FormClipboard(frmZelvatcts *form)
        : QObject(form)
        , m_form(form)
    {
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *box = static_cast<QWidget *>(watched);
        switch (event->type()) {
        case QEvent::KeyPress: {
            auto *key = static_cast<QKeyEvent *>(event);
            if (key->matches(QKeySequence::Cut)) {
                m_form->editCut();
                return true;
            }
            if (key->matches(QKeySequence::Copy)) {
                m_form->editCopy();
                return true;
            }
            if (key->matches(QKeySequence::Paste)) {
                m_form->editPaste();
                return true;
            }
            return false;
        }
        case QEvent::ContextMenu: {
            auto *line = qobject_cast<QLineEdit *>(box);
            QMenu *menu = line ? line->createStandardContextMenu()
                               : static_cast<QPlainTextEdit *>(box)->createStandardContextMenu();
            for (QAction *a : menu->actions()) {
                if (a->objectName() == QLatin1String("edit-paste") || a->text().startsWith(QLatin1String("&Paste"))) {
                    QObject::disconnect(a, &QAction::triggered, nullptr, nullptr);
                    connect(a, &QAction::triggered, m_form, [this, box] { m_form->pasteInto(box, false); });
                }
            }
            menu->exec(static_cast<QContextMenuEvent *>(event)->globalPos());
            delete menu;
            return true;
        }
        case QEvent::MouseButtonRelease:
            if (static_cast<QMouseEvent *>(event)->button() != Qt::MiddleButton)
                return false;
            m_form->pasteInto(box, true);
            return true;
        case QEvent::DragEnter:
        case QEvent::Drop:
            event->ignore();
            return true;
        default:
            return false;
        }
    }

private:
    frmZelvatcts *m_form;
};

void frmZelvatcts::installClipboardRules()
{
    auto *rules = new FormClipboard(this);
    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *box = boxWidget(b.group, b.index);
        box->installEventFilter(rules);
        box->setAcceptDrops(false);
        if (auto *text = qobject_cast<QPlainTextEdit *>(box))
            text->viewport()->setAcceptDrops(false);
    }
}

void frmZelvatcts::editCut()
{
    if (auto *line = qobject_cast<QLineEdit *>(focusWidget()); line && boxRow(line))
        line->isReadOnly() ? line->copy() : line->cut();
    else if (auto *text = qobject_cast<QPlainTextEdit *>(focusWidget()); text && boxRow(text))
        text->isReadOnly() ? text->copy() : text->cut();
}

void frmZelvatcts::editCopy()
{
    if (auto *line = qobject_cast<QLineEdit *>(focusWidget()); line && boxRow(line))
        line->copy();
    else if (auto *text = qobject_cast<QPlainTextEdit *>(focusWidget()); text && boxRow(text))
        text->copy();
}

void frmZelvatcts::editPaste()
{
    pasteInto(focusWidget(), false);
}

void frmZelvatcts::pasteInto(QWidget *box, bool selection)
{
    const FormFields::Box *b = box ? boxRow(box) : nullptr;
    if (!b || !box->isEnabled())
        return;
    auto *line = qobject_cast<QLineEdit *>(box);
    auto *text = qobject_cast<QPlainTextEdit *>(box);
    if (line ? line->isReadOnly() : text->isReadOnly())
        return;
    const QString clip = QGuiApplication::clipboard()->text(selection ? QClipboard::Selection : QClipboard::Clipboard);
    const FormPaste::Result r = FormPaste::filter(*b, clip);
    if (r.refused > 0)
        QApplication::beep();
    if (r.text.isEmpty())
        return;
    if (line)
        line->insert(r.text);
    else
        text->insertPlainText(r.text);
}

SheetReport frmZelvatcts::shownReport() const
{
    SheetReport report{ZelvatMsg(m_context.programFolder), chkReqContact->isChecked(), m_update};
    ZelvatMsg &r = report.record;
    writeBoxesTo(r);
    r.setAST(m_state);
    if (!m_record.ADT().isEmpty() || !m_record.ATM().isEmpty()) {
        r.setUID(m_record.UID());
        r.setULO(m_record.ULO());
        r.setADT(m_record.ADT());
        r.setATM(m_record.ATM());
    } else if (m_context.station) {
        applySaveStamps(r, *m_context.station, DatetimeLib::now());
    }
    return report;
}

void frmZelvatcts::cmdPrint_Click()
{
    const SheetStation station = m_context.station ? SheetPrinting::stationOf(*m_context.station) : SheetStation{};
    SheetPrinting::print(this, {shownReport()}, station);
}
