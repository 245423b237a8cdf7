#include "report_form/FormKeys.h"

#include <QKeySequence>
#include <QPushButton>
#include <QShortcut>

void installFormKeys(QWidget *form, QPushButton *save, QPushButton *submit)
{
    const auto bind = [form](const QKeySequence &keys, QPushButton *button) {
        auto *shortcut = new QShortcut(keys, form);
        shortcut->setContext(Qt::WindowShortcut);
        QObject::connect(shortcut, &QShortcut::activated, button, &QPushButton::click);
    };
    bind(QKeySequence(Qt::CTRL | Qt::Key_S), save);
    bind(QKeySequence(Qt::CTRL | Qt::Key_Return), submit);
    bind(QKeySequence(Qt::CTRL | Qt::Key_Enter), submit);
    save->setToolTip(QStringLiteral("Ctrl+S"));
    submit->setToolTip(QStringLiteral("Ctrl+Enter"));
}
